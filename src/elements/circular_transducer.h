#pragma once

#include "elements/shape.h"

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
  /// instead of (0, a) and its angular weights carry a further pi, so that the result is -pi a
  /// times the pressure; `rayleigh_cw_apodized` gives the pressure itself.
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

  /// Nonlinear beam by the parabolic (KZK) equation, docs/nonlinear.md: continuous wave, one
  /// harmonic (parameters of the rule), and pulses. kMisuse when the march cannot start or blows
  /// up.
  int kzk_cw() override;
  int kzk_transient() override;

  // Shapes append their own methods to the table here.
  // The steps of the nonlinear march, one harmonic's or one column's at a time.
  /// Solves (s A - t B) x = rhs for one real column of kzk_nodes() entries, B in the bands lo, di,
  /// up; s = 0 reuses the factors left in gam and inv (2 * kzk_nodes() entries).
  virtual void Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs, float* x,
                       float* gam, float* inv);
  /// One harmonic's implicit diffraction step in place: u, w and v hold 2 * nodes doubles.
  virtual void TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w, double* v);
  /// Bands of harmonic n's step of length ds, 6 * nodes doubles each; theta 1 is backward Euler,
  /// 1/2 Crank-Nicolson.
  virtual void COEFF(double ds, double theta, double* lhs, double* rhs, int nodes, double step,
                     int n);
  /// Nonlinear step with absorption, see kzk::nonlinear_step; non-zero on blow-up.
  virtual int NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                     double nonlinearity, int least_substeps);
  /// Source plane of a uniform piston (profile 0, the only one there is).
  virtual void INIT(int harmonics, double* planes, int nodes, int per_radius, int profile);

  /// Entries of the columns that Tridiag works on.
  void set_kzk_nodes(int nodes) { _kzk_nodes = nodes; }
  int kzk_nodes() const { return _kzk_nodes; }

  double radius() const { return _radius; }

 private:
  int transient(detail::TransientSum sum);

  double _radius = 0.0;
  int _kzk_nodes = 0;
};

}  // namespace kestrel
