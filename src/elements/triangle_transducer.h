#pragma once

#include "elements/transducer.h"

namespace kestrel {

/// A flat triangle: a placeholder that computes nothing and cannot be created by itself, since it
/// leaves five methods of the table open.
class TriangleTransducer : public Transducer {
 public:
  TriangleTransducer() = default;

  void debug(int level) override;
  void mex_debug(int level) override;

  /// A skeleton: prints the settings and walks grid and rule, but adds nothing. Returns 0.
  int fnm_cw() override;
  int farfield_cw() override { return kNotImplemented; }
  int fnm_cw_apodized() override { return kNotImplemented; }
  int fnm_cw_single() override { return kNotImplemented; }
  int fnm_cw_sse() override { return kNotImplemented; }
  int fnm_cw_sse2() override { return kNotImplemented; }
  int radiator_cw() override { return kNotImplemented; }
  int rayleigh_cw() override { return kNotImplemented; }
  int rayleigh_cw_apodized() override { return kNotImplemented; }
  int rayleigh_cw_sse() override { return kNotImplemented; }
  int impulse_begin_and_end_times() override { return kNotImplemented; }
  int impulse_response() override { return kNotImplemented; }
  int fnm_transient() override { return kNotImplemented; }
  int fnm_transient_behind_source() override { return kNotImplemented; }
  int fnm_fdtsd() override { return kNotImplemented; }
  int fnm_tsd() override { return kNotImplemented; }
  int fnm_tsd_behind_source() override { return kNotImplemented; }
  int fnm_tsd_low_precision() override { return kNotImplemented; }
  int fnm_tsd_sse() override { return kNotImplemented; }
  int rayleigh_transient() override { return kNotImplemented; }

  // Shapes append their own methods to the table here.
  virtual int fnm_cw_cuda(int) { return kSuccess; }
  virtual int fnm_transient_cuda(int) { return kNotImplemented; }
  virtual int kzk_nonlinear() { return kNotImplemented; }
};

}  // namespace kestrel
