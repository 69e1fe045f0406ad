#pragma once

#include "elements/shape.h"

namespace kestrel {

namespace detail {
enum class TransientSum : int;
}

/// An annular zone of a spherical shell: inner and outer aperture radius and geometric focus (the
/// radius of curvature), metres. The outer cap less the inner one; an inner radius of zero or less
/// makes it a full shell.
///
/// Each cap keeps its own region test. With the inner radius below the outer one there is a thin
/// zone, outside the sphere and between the two rim planes, in which only the inner cap's test
/// passes: points there receive minus the inner cap's field alone, which is not the ring's field.
class SphericalRingTransducer : public Shape {
 public:
  SphericalRingTransducer() = default;
  SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus)
      : _inner_radius(inner_radius),
        _outer_radius(outer_radius),
        _geometric_focus(geometric_focus) {}
  SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus,
                          double time_delay)
      : SphericalRingTransducer(inner_radius, outer_radius, geometric_focus) {
    _time_delay = time_delay;
  }
  SphericalRingTransducer(double inner_radius, double outer_radius, double geometric_focus,
                          double amplitude, double phase)
      : SphericalRingTransducer(inner_radius, outer_radius, geometric_focus) {
    drive(amplitude, phase);
  }

  void debug(int level) override;
  void mex_debug(int level) override;

  /// Fast nearfield method in double precision.
  int fnm_cw() override;
  /// Rayleigh integral by the midpoint rule, n by n on each of the two caps.
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
  double geometric_focus() const { return _geometric_focus; }

 private:
  int transient(detail::TransientSum sum);

  double _inner_radius = 0.0;
  double _outer_radius = 0.0;
  double _geometric_focus = 0.0;
};

}  // namespace kestrel
