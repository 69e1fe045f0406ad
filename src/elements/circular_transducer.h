#pragma once

#include "elements/shape.h"

namespace kestrel {

/// A flat circular piston of a given radius, metres.
///
/// Points behind the face (local z < 0, or NaN) receive nothing. `fnm_cw` and `fnm_cw_apodized`,
/// like all fast nearfield methods of round planar shapes, refill the shared quadrature rule over
/// (0, pi) and leave it so: fill it again before another shape uses it.
class CircularTransducer : public Shape<Circle> {
 public:
  CircularTransducer() = default;
  explicit CircularTransducer(double radius) : Shape(Circle{radius}) {}
  CircularTransducer(double radius, double time_delay) : Shape(Circle{radius}, time_delay) {}
  CircularTransducer(double radius, double amplitude, double phase)
      : Shape(Circle{radius}, amplitude, phase) {}

  void debug(int level) override;
  void mex_debug(int level) override;

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

  double radius() const { return _face.radius; }

 private:
  int _kzk_nodes = 0;
};

}  // namespace kestrel
