#pragma once

#include "transducers/shape.h"

namespace kestrel {

/// A flat ring between an inner and an outer radius, metres: the outer disc less the inner one. An
/// inner radius of zero or less (or NaN) makes it a full disc.
class RingTransducer : public Shape {
 public:
  RingTransducer() = default;
  RingTransducer(double inner_radius, double outer_radius)
      : _inner_radius(inner_radius), _outer_radius(outer_radius) {}
  RingTransducer(double inner_radius, double outer_radius, double time_delay)
      : RingTransducer(inner_radius, outer_radius) {
    _time_delay = time_delay;
  }
  RingTransducer(double inner_radius, double outer_radius, double amplitude, double phase)
      : RingTransducer(inner_radius, outer_radius) {
    drive(amplitude, phase);
  }

  void debug(int level) override;
  void mex_debug(int level) override;

  /// Fast nearfield method. No default frequency. Refills the shared rule over (0, pi).
  int fnm_cw() override;
  /// Rayleigh integral by the midpoint rule, n by n on each of the two discs.
  int rayleigh_cw() override;

  double inner_radius() const { return _inner_radius; }
  double outer_radius() const { return _outer_radius; }

 private:
  double _inner_radius = 0.0;
  double _outer_radius = 0.0;
};

}  // namespace kestrel
