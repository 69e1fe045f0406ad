#pragma once

#include "elements/shape.h"

namespace kestrel {

/// A flat ring between an inner and an outer radius, metres: the outer disc less the inner one. An
/// inner radius of zero or less (or NaN) makes it a full disc.
class RingTransducer : public Shape<Ring> {
 public:
  RingTransducer() = default;
  RingTransducer(double inner_radius, double outer_radius)
      : Shape(Ring{inner_radius, outer_radius}) {}
  RingTransducer(double inner_radius, double outer_radius, double time_delay)
      : Shape(Ring{inner_radius, outer_radius}, time_delay) {}
  RingTransducer(double inner_radius, double outer_radius, double amplitude, double phase)
      : Shape(Ring{inner_radius, outer_radius}, amplitude, phase) {}

  void debug(int level) override;
  void mex_debug(int level) override;

  double inner_radius() const { return _face.inner_radius; }
  double outer_radius() const { return _face.outer_radius; }
};

}  // namespace kestrel
