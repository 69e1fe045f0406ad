#pragma once

#include <cmath>
#include <complex>

#include "methods/kzk/buffer.h"

namespace kestrel::kzk {

/// The radial grid: nodes xi_j = j * step, j = 0 .. nodes - 1, the field zero beyond. One effective
/// radius of the source holds a whole number of steps.
struct RadialGrid {
  int per_radius;
  int nodes;
  double step() const { return 1.0 / per_radius; }
  double radius() const { return (nodes - 1) * step(); }
};

/// One row of the radial Laplacian (d2/dxi2 + (1/xi) d/dxi) times step^2, and the share D of it
/// that the compact scheme adds to the identity: A = I + D B, and A du/dsigma = g B u.
struct RadialRow {
  double sub, diag, super;
  double compact;

  double mass_sub() const { return compact * sub; }
  double mass_diag() const { return 1.0 + compact * diag; }
  double mass_super() const { return compact * super; }
};

/// Order of the radial scheme. Both are tridiagonal. The march uses the compact rows, which are of
/// fourth order; the plain rows conserve power to rounding, which the tests use.
enum class RadialOrder { second, fourth };

/// Row `j` of the radial operator. All generalised eigenvalues of (B, A) are real and negative, so
/// Crank-Nicolson is stable for every step.
inline RadialRow radial_row(int j, RadialOrder order = RadialOrder::fourth) {
  const bool compact = order == RadialOrder::fourth;
  if (j == 0) return {0.0, -4.0, 4.0, compact ? 1.0 / 16.0 : 0.0};
  const double s = 0.5 / j;
  const double q = compact ? 1.0 / (12.0 * j * static_cast<double>(j) - 3.0) : 0.0;
  return {1.0 - s - q * (1.0 + s), -2.0 + 2.0 * q, 1.0 + s - q * (1.0 - s),
          compact ? 1.0 / 12.0 : 0.0};
}

/// The share, by area, of node j's ring that lies inside the rim of the source. Counting whole
/// nodes instead would round the radius to the grid and give ten times the error.
inline double rim_fraction(int j, int per_radius) {
  if (j != per_radius) return j < per_radius ? 1.0 : 0.0;
  return 0.5 * (1.0 - 0.25 / per_radius);
}

/// The absorbing layer in the outer quarter of the grid: the factors, by node, with which a
/// diffraction step of length `ds` at depth `sigma` multiplies the field. `diffraction` is 1/(4 G).
///
/// The strength follows the waves that reach the layer at this depth. From a source at the origin
/// they have the transverse wavenumber 2 G xi / sigma, at most 1 / step. With a strength constant
/// over depth, a layer for the steep early waves would reflect the flat later ones, and a layer for
/// the flat ones would let the steep ones through to the end of the grid.
inline void layer_factors(const RadialGrid& grid, double diffraction, double sigma, double ds,
                          double* factors) {
  const double inner = 0.75 * grid.radius();
  const double width = grid.radius() - inner;
  const double spread = 4.0 * std::fabs(diffraction);  // 1 / G
  const double rate =
      8.0 / width * std::fmin(spread * grid.per_radius, 4.0 * inner / (sigma + 0.5 * ds));
  for (int j = 0; j < grid.nodes; ++j) {
    const double t = (j * grid.step() - inner) / width;
    factors[j] = t > 0.0 ? std::exp(-rate * ds * t * t * t) : 1.0;
  }
}

/// The source plane of a uniformly moving piston (focusing 0) or cap (focusing G, the phase at the
/// rim): harmonic 1 of `planes`, all higher ones zero. `planes` is harmonic-major, interleaved.
inline void start_uniform(int harmonics, double* planes, int nodes, int per_radius,
                          double focusing) {
  for (int j = 0; j < nodes; ++j) {
    const double xi = static_cast<double>(j) / per_radius;
    const std::complex<double> value =
        rim_fraction(j, per_radius) * std::polar(1.0, focusing * xi * xi);
    planes[2 * j] = value.real();
    planes[2 * j + 1] = value.imag();
  }
  for (Index i = Index{2} * nodes; i < Index{2} * nodes * harmonics; ++i) planes[i] = 0.0;
}

}  // namespace kestrel::kzk
