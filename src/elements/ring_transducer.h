#pragma once

#include "elements/shape.h"

namespace kestrel {

namespace detail {
enum class TransientSum : int;
}

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

  int impulse_begin_and_end_times() override;
  /// Spatial impulse response times amplitude, m/s.
  int impulse_response() override;
  /// Pressure of the element's excitation, lossless, by the fast nearfield method; and the same by
  /// time-space decomposition, tens of times faster, in double and in single precision.
  int fnm_transient() override;
  int fnm_tsd() override;
  int fnm_tsd_low_precision() override;
  /// As `fnm_tsd`: with a sampled signal its terms are the spectral lines.
  int fnm_fdtsd() override;

  double inner_radius() const { return _inner_radius; }
  double outer_radius() const { return _outer_radius; }

 private:
  int transient(detail::TransientSum sum);

  double _inner_radius = 0.0;
  double _outer_radius = 0.0;
};

}  // namespace kestrel
