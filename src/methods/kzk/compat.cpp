#include "methods/kzk/compat.h"

#include <algorithm>

#include "methods/kzk/diffraction_step.h"
#include "methods/kzk/nonlinear_step.h"
#include "methods/kzk/wave_diffraction.h"

namespace kestrel::kzk {

namespace {

/// Bands held in memory, as `diffraction_bands` makes them.
struct StoredBands {
  const double* lhs;
  const double* rhs;
  static Cartesian at(const double* bands, Index j, int band) {
    return {bands[6 * j + 2 * band], bands[6 * j + 2 * band + 1]};
  }
  Cartesian left(Index j, int band, int) const { return at(lhs, j, band); }
  Cartesian right(Index j, int band, int) const { return at(rhs, j, band); }
};

}  // namespace

void solve_column(float s, float t, const float* lo, const float* di, const float* up,
                  const float* rhs, float* x, float* gam, float* inv, int nodes) {
  if (s != 0.0f) {
    Buffer<float> compact(nodes);
    for (int j = 0; j < nodes; ++j) compact[j] = static_cast<float>(radial_row(j).compact);
    Lanes<1>::factor(s, t, lo, di, up, compact.data(), nodes, inv, inv + nodes, gam);
  }
  Lanes<1>::solve(nodes, inv, inv + nodes, gam, rhs, x);
}

void diffraction_bands(double ds, double theta, double* lhs, double* rhs, int nodes, double step,
                       double order_gain) {
  const double weight = ds / (4.0 * order_gain * step * step);
  for (int j = 0; j < nodes; ++j) {
    const RadialRow row = radial_row(j);
    const double mass[3] = {row.mass_sub(), row.mass_diag(), row.mass_super()};
    const double laplacian[3] = {row.sub, row.diag, row.super};
    for (int band = 0; band < 3; ++band) {
      *lhs++ = *rhs++ = mass[band];
      *lhs++ = theta * weight * laplacian[band];
      *rhs++ = -((1.0 - theta) * weight * laplacian[band]);
    }
  }
}

void solve_harmonic(double* u, int nodes, const double* lhs, const double* rhs, double* inverse,
                    double* super) {
  const StoredBands bands{lhs, rhs};
  factor_harmonics<1>(bands, nodes, inverse, super);
  solve_harmonics<1>(bands, nodes, inverse, super, u);
}

int nonlinear_step(double ds, double* planes, int harmonics, int nodes, double* work,
                   double nonlinearity, int least_substeps) {
  static_assert(nonlinear_scratch(160, 1) + 161 <= 10 * 162);
  double* scratch = work + harmonics + 1;
  std::fill_n(scratch, nonlinear_scratch(harmonics, 1), 0.0);
  for (Index j = 0; j < nodes; ++j) {
    if (nonlinear_nodes<StandardMath, 1>(ds, planes + 2 * j, harmonics, nodes, 1, work,
                                         nonlinearity, least_substeps, scratch)) {
      return 1;
    }
  }
  return 0;
}

}  // namespace kestrel::kzk
