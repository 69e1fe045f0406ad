#pragma once

#include "transducers/shape.h"

namespace kestrel {

namespace detail {
enum class TransientSum : int;
}

/// A flat circular piston of a given radius, metres.
///
/// Points behind the face (local z < 0, or NaN) receive nothing. `fnm_cw` and `fnm_cw_apodized`,
/// like all fast nearfield methods of round planar shapes, refill the shared quadrature rule over
/// (0, pi) and leave it so: fill it again before another shape uses it.
class CircularTransducer : public Shape {
 public:
  CircularTransducer() = default;
  explicit CircularTransducer(double radius) : _radius(radius) {}
  CircularTransducer(double radius, double time_delay) : CircularTransducer(radius) {
    _time_delay = time_delay;
  }
  CircularTransducer(double radius, double amplitude, double phase) : CircularTransducer(radius) {
    drive(amplitude, phase);
  }

  void debug(int level) override;
  void mex_debug(int level) override;

  /// Fast nearfield method in double precision.
  int fnm_cw() override;
  /// Fast nearfield method with a radial velocity profile. Its radial nodes run over (0, pi a)
  /// instead of (0, a) and its angular weights carry a further pi, so that the result is -pi a times
  /// the pressure; `rayleigh_cw_apodized` gives the pressure itself.
  int fnm_cw_apodized() override;
  /// Four nodes at a time in single precision: some 4e-4 of the peak, up to 2e-3 on the axis. The
  /// last n mod 4 nodes do not count; no amplitude gate.
  int fnm_cw_sse() override;
  /// Rayleigh integral by the midpoint rule, n by n. With attenuation its waves GROW with distance:
  /// for a lossy medium use `rayleigh_cw_apodized` with profile 0.
  int rayleigh_cw() override;
  /// Rayleigh integral with a radial velocity profile and decaying waves.
  int rayleigh_cw_apodized() override;
  /// The uniform piston's, four azimuths at a time in single precision.
  int rayleigh_cw_sse() override;

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
  /// Delays and terms by the four-wide kernels.
  int fnm_tsd_sse() override;
  /// Rayleigh integral over the face, n by n midpoints: slow, the independent check.
  int rayleigh_transient() override;

  double radius() const { return _radius; }

 private:
  int transient(detail::TransientSum sum);

  double _radius = 0.0;
};

}  // namespace kestrel
