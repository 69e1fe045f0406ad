#include <iostream>

#include "kestrel/elements.h"
#include "kestrel/services.h"
#include "methods/kzk/compat.h"

namespace kestrel {

void SphericalTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "radius: " << _face.radius << std::endl
            << "ROC:" << _face.rad_curvature << std::endl;
}

void SphericalTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("radius: %f\n", _face.radius);
}

void SphericalTransducer::Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs,
                                  float* x, float* gam, float* inv) {
  kzk::solve_column(s, t, lo, di, up, rhs, x, gam, inv, _kzk_nodes);
}

void SphericalTransducer::TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w,
                                 double* v) {
  kzk::solve_harmonic(u, nodes, lhs, rhs, w, v);
}

void SphericalTransducer::COEFF(double ds, double theta, double* lhs, double* rhs, int nodes,
                                double step, double n_gain) {
  kzk::diffraction_bands(ds, theta, lhs, rhs, nodes, step, n_gain);
}

int SphericalTransducer::NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                                double nonlinearity) {
  return kzk::nonlinear_step(ds, planes, harmonics, nodes, work, nonlinearity);
}

void SphericalTransducer::INIT(int harmonics, double* planes, int nodes, int per_radius,
                               double gain) {
  kzk::start_uniform(harmonics, planes, nodes, per_radius, gain);
}

}  // namespace kestrel
