#pragma once

#include "methods/kzk/radial_operator.h"

/// The steps of the march as functions on plain arrays, one column, one harmonic or one node at a
/// time. The class table of the circle and the shell promises them to programs that build a march
/// of their own. The marches here do not call them; they use the same templates for many at a
/// time. The source plane is start_uniform, radial_operator.h.

namespace kestrel::kzk {

/// Solves (s A - t B) x = rhs for one real column, with the rows of B in `lo`, `di`, `up`. The
/// factors are left in `gam` (nodes) and `inv` (2 * nodes); s = 0 reuses them.
void solve_column(float s, float t, const float* lo, const float* di, const float* up,
                  const float* rhs, float* x, float* gam, float* inv, int nodes);

/// The bands of one harmonic's step of length `ds`: six doubles a row (sub, diagonal, super; real,
/// imaginary). `order_gain` is n G, the harmonic's number times the focusing gain (1 for the
/// piston); `theta` 1 is backward Euler, 1/2 Crank-Nicolson.
void diffraction_bands(double ds, double theta, double* lhs, double* rhs, int nodes, double step,
                       double order_gain);

/// One harmonic's implicit step in place, with bands from `diffraction_bands`; `inverse` and
/// `super` are work of 2 * nodes doubles.
void solve_harmonic(double* u, int nodes, const double* lhs, const double* rhs, double* inverse,
                    double* super);

/// The nonlinear step for all nodes of harmonic-major, interleaved planes. `work` holds the
/// absorption of harmonic n per unit of sigma in work[n], n = 1 .. harmonics, followed by scratch:
/// 10 (harmonics + 2) doubles in all. Returns non-zero on blow-up.
int nonlinear_step(double ds, double* planes, int harmonics, int nodes, double* work,
                   double nonlinearity, int least_substeps = 1);

}  // namespace kestrel::kzk
