#pragma once

/// What the spherical shell and the spherical ring share: one cap's methods, ready to superpose.

#include <complex>

#include "methods/common/wave_constants.h"
#include "methods/fnm/cap_fnm.h"
#include "methods/rayleigh/surface_sum.h"

namespace kestrel::detail {

/// cos psi_j and weights over (0, pi), mapped from a rule on (-1, 1) that stays as it is.
inline std::vector<double> cap_cosines(const NumericalIntegration& rule) {
  return from_abscissas(rule, [](double x) { return std::cos(x * kHalfPi + kHalfPi); });
}
inline std::vector<double> cap_weights(const NumericalIntegration& rule) {
  return from_weights(rule, [](double w) { return w * kHalfPi; });
}

/// Fast nearfield expression of one cap. `prefactor` is rho c R_c a / pi in its shape's order of
/// operations; the weight is negated for a hole.
inline CapFnm cap_fnm(const CapGeometry& cap, const Medium& medium,
                      const NumericalIntegration& rule, double prefactor,
                      std::complex<double> weight, Propagation propagation) {
  return {cap,
          prefactor,
          weight,
          medium._rho_density,
          medium._f0,
          cap_cosines(rule),
          cap_weights(rule),
          propagation};
}

/// Rayleigh sum of one cap: midpoints in the polar angle from the apex and in the azimuth.
inline CapSurface cap_surface(const CapGeometry& cap, const Medium& medium, int n,
                              std::complex<double> weight) {
  CapSurface surface(cap);
  const double polar = std::asin(cap.radius / cap.curvature) / n, azimuthal = kPi / n;
  for (int m = 0; m < n; ++m) {
    const double theta = (m + 0.5) * polar;
    const double radius = cap.curvature * std::sin(theta);
    surface.circles.push_back(
        {radius, cap.curvature * std::cos(theta), cap.curvature * radius * polar * azimuthal});
  }
  surface.azimuth = table_of(n, [&](int i) {
    const double half_sine = std::sin((i + 0.5) * azimuthal / 2);
    return 2 * half_sine * half_sine;
  });
  surface.axial_origin = cap.curvature;
  surface.extent = cap.extent();
  surface.prefactor = std::complex<double>(0, 2 * medium._f0) * medium._rho_density * weight;
  surface.propagation = {negative_attenuation::scaled_first(medium),
                         negative_wavenumber(medium, medium._f0)};
  return surface;
}

}  // namespace kestrel::detail
