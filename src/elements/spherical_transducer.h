#pragma once

#include "elements/shape.h"

namespace kestrel {

/// A spherically curved, converging shell: aperture radius and radius of curvature, metres, apex at
/// the local origin, concave towards +z, centre of curvature at z = radius of curvature. At most a
/// hemisphere; a larger aperture gives NaN inside the sphere and nothing outside.
///
/// Points behind the rim plane and outside the sphere receive nothing.
class SphericalTransducer : public Shape<Shell> {
 public:
  SphericalTransducer() = default;
  SphericalTransducer(double radius, double radius_of_curvature)
      : Shape(Shell{radius, radius_of_curvature}) {}
  SphericalTransducer(double radius, double radius_of_curvature, double time_delay)
      : Shape(Shell{radius, radius_of_curvature}, time_delay) {}
  SphericalTransducer(double radius, double radius_of_curvature, double amplitude, double phase)
      : Shape(Shell{radius, radius_of_curvature}, amplitude, phase) {}

  /// Prints the radius of curvature too; mex_debug leaves it out.
  void debug(int level) override;
  void mex_debug(int level) override;

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

  double radius() const { return _face.radius; }
  double radius_of_curvature() const { return _face.rad_curvature; }

 private:
  int _kzk_nodes = 0;
};

}  // namespace kestrel
