#pragma once

#include "elements/shape.h"

namespace kestrel {

namespace detail {
enum class TransientSum : int;
}

struct CapFnm;

/// A spherically curved, converging shell: aperture radius and radius of curvature, metres, apex at
/// the local origin, concave towards +z, centre of curvature at z = radius of curvature. At most a
/// hemisphere; a larger aperture gives NaN inside the sphere and nothing outside.
///
/// Points behind the rim plane and outside the sphere receive nothing.
class SphericalTransducer : public Shape {
 public:
  SphericalTransducer() = default;
  SphericalTransducer(double radius, double radius_of_curvature)
      : _radius(radius), _radius_of_curvature(radius_of_curvature) {}
  SphericalTransducer(double radius, double radius_of_curvature, double time_delay)
      : SphericalTransducer(radius, radius_of_curvature) {
    _time_delay = time_delay;
  }
  SphericalTransducer(double radius, double radius_of_curvature, double amplitude, double phase)
      : SphericalTransducer(radius, radius_of_curvature) {
    drive(amplitude, phase);
  }

  /// Prints the radius of curvature too; mex_debug leaves it out.
  void debug(int level) override;
  void mex_debug(int level) override;

  /// Fast nearfield method in double precision, closed form at the centre of curvature.
  int fnm_cw() override;
  /// Four nodes at a time in single precision: some 1e-2 of the peak. Close to the centre of
  /// curvature it loses all accuracy (1e-2 within a few tenths of a micrometre, in a 15 mm shell).
  /// The last n mod 4 nodes do not count.
  int fnm_cw_sse() override;
  /// Rayleigh integral over the cap by the midpoint rule, n by n; closed form at the apex.
  int rayleigh_cw() override;
  /// The same, four azimuths at a time in single precision: some 4e-3 relative.
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
  /// The points that the others leave out, behind the shell: the field of the shell's two sides in
  /// free space, without a baffle and without the shell's own shadow.
  int fnm_transient_behind_source() override;
  int fnm_tsd_behind_source() override;
  /// Nonlinear beam by the parabolic (KZK) equation, docs/nonlinear.md: continuous wave, one
  /// harmonic (parameters of the rule), and pulses. kMisuse when the march cannot start or blows
  /// up.
  int kzk_cw() override;
  int kzk_transient() override;

  // Shapes append their own methods to the table here.
  /// Not implemented for this shape.
  virtual int farfield_cw_lossless() { return kNotImplemented; }
  // The steps of the nonlinear march, one harmonic's or one column's at a time.
  /// Solves (s A - t B) x = rhs for one real column of kzk_nodes() entries, B in the bands lo, di,
  /// up; s = 0 reuses the factors left in gam and inv (2 * kzk_nodes() entries).
  virtual void Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs, float* x,
                       float* gam, float* inv);
  /// One harmonic's implicit diffraction step in place: u, w and v hold 2 * nodes doubles.
  virtual void TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w, double* v);
  /// Bands of one harmonic's step of length ds, 6 * nodes doubles each; n_gain is the harmonic's
  /// number times the focusing gain.
  virtual void COEFF(double ds, double theta, double* lhs, double* rhs, int nodes, double step,
                     double n_gain);
  /// Nonlinear step with absorption, see kzk::nonlinear_step; non-zero on blow-up.
  virtual int NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                     double nonlinearity);
  /// Source plane of a uniformly moving cap with the focusing gain `gain`.
  virtual void INIT(int harmonics, double* planes, int nodes, int per_radius, double gain);

  /// Entries of the columns that Tridiag works on.
  void set_kzk_nodes(int nodes) { _kzk_nodes = nodes; }
  int kzk_nodes() const { return _kzk_nodes; }

  double radius() const { return _radius; }
  double radius_of_curvature() const { return _radius_of_curvature; }

 private:
  CapFnm fnm(double frequency) const;
  int transient(detail::TransientSum sum, bool behind = false);

  double _radius = 0.0;
  double _radius_of_curvature = 0.0;
  int _kzk_nodes = 0;
};

}  // namespace kestrel
