#pragma once

/// What the circular piston and the planar ring share: tables and prefactors of their methods.

#include <complex>
#include <vector>

#include "methods/common/wave_constants.h"
#include "methods/fnm/disc_fnm.h"
#include "methods/rayleigh/surface_sum.h"

namespace kestrel::detail {

/// One edge with its table over the nodes of a rule on (0, pi).
inline DiscEdge disc_edge(const NumericalIntegration& rule, double radius, double sign,
                          std::complex<double> prefactor) {
  return {radius, sign, prefactor,
          from_abscissas(rule, [&](double psi) { return (radius + radius) * std::cos(psi); })};
}

/// cos((n + 1/2) pi/N), the midpoint azimuths of the Rayleigh sums.
inline std::vector<double> midpoint_cosines(int n) {
  const double step = kPi / n;
  return table_of(n, [&](int i) { return std::cos((i + 0.5) * step); });
}

/// Midpoint circles of a disc: rho_m = (m + 1/2) a/N, weighted with their cell's area.
inline std::vector<SurfaceCircle> midpoint_circles(double radius, int n) {
  const double radial = radius / n, angular = kPi / n;
  std::vector<SurfaceCircle> circles;
  for (int m = 0; m < n; ++m) {
    const double rho = (m + 0.5) * radial;
    circles.push_back({rho, 0, radial * rho * angular});
  }
  return circles;
}

/// 2j f0 rho w: the Rayleigh integral's j f0 rho w, and 2 for the mirror half of the azimuths.
inline std::complex<double> half_surface_prefactor(const Medium& medium, std::complex<double> w) {
  return std::complex<double>(0, 2 * medium._f0) * medium._rho_density * w;
}

/// Sum over a disc whose circles have weights that are already set.
inline PlanarSurface planar_surface(const Medium& medium, double radius, int n,
                                    std::complex<double> w) {
  PlanarSurface surface;
  surface.circles = midpoint_circles(radius, n);
  surface.azimuth = midpoint_cosines(n);
  surface.extent = radius;
  surface.prefactor = half_surface_prefactor(medium, w);
  return surface;
}

}  // namespace kestrel::detail
