#include "methods/common/superpose_caps.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"
#include "methods/rayleigh/surface_sum.h"

namespace kestrel::detail {

namespace {

/// Rayleigh sum of one cap: midpoints in the polar angle from the apex and in the azimuth.
CapSurface cap_surface(const CapGeometry& cap, const Medium& medium, int n,
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

}  // namespace

int rayleigh_cw(const Shell& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    return cap_surface({face.radius, face.rad_curvature}, *in.medium, in.rule->get_npoints(),
                       in.weight);
  });
}

int rayleigh_cw_sse(const Shell& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    const CapSurface surface = cap_surface({face.radius, face.rad_curvature}, *in.medium,
                                           in.rule->get_npoints(), in.weight);
    return SurfaceFourWide<CapSurface>(surface, FourWideTable::repeat_last);
  });
}

int rayleigh_cw(const ShellRing& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return superpose_caps(face, in, [&](double radius, std::complex<double> weight) {
    return cap_surface({radius, face.geometric_focus}, *in.medium, in.rule->get_npoints(), weight);
  });
}

}  // namespace kestrel::detail
