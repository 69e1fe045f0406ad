#pragma once

#include "elements/shape.h"

namespace kestrel {

/// A flat triangle: a placeholder that computes nothing and cannot be created by itself, since it
/// leaves five methods of the table open.
class TriangleTransducer : public PlaceholderShape {
 public:
  TriangleTransducer() = default;

  void debug(int level) override;
  void mex_debug(int level) override;

  /// A skeleton: prints the settings and walks grid and rule, but adds nothing. Returns 0.
  int fnm_cw() override;

  // Shapes append their own methods to the table here.
  virtual int fnm_cw_cuda(int) { return kSuccess; }
  virtual int fnm_transient_cuda(int) { return kNotImplemented; }
  virtual int kzk_nonlinear() { return kNotImplemented; }
};

}  // namespace kestrel
