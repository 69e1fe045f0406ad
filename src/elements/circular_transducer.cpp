#include <iostream>

#include "kestrel/elements.h"
#include "kestrel/services.h"
#include "methods/kzk/compat.h"

namespace kestrel {

void CircularTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "radius: " << _face.radius << std::endl;
}

void CircularTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("radius: %f\n", _face.radius);
}

void CircularTransducer::Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs,
                                 float* x, float* gam, float* inv) {
  kzk::solve_column(s, t, lo, di, up, rhs, x, gam, inv, _kzk_nodes);
}

void CircularTransducer::TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w,
                                double* v) {
  kzk::solve_harmonic(u, nodes, lhs, rhs, w, v);
}

void CircularTransducer::COEFF(double ds, double theta, double* lhs, double* rhs, int nodes,
                               double step, int n) {
  kzk::diffraction_bands(ds, theta, lhs, rhs, nodes, step, n);
}

int CircularTransducer::NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                               double nonlinearity, int least_substeps) {
  return kzk::nonlinear_step(ds, planes, harmonics, nodes, work, nonlinearity, least_substeps);
}

void CircularTransducer::INIT(int harmonics, double* planes, int nodes, int per_radius, int) {
  kzk::start_uniform(harmonics, planes, nodes, per_radius, 0);
}

}  // namespace kestrel
