#include <algorithm>

#include "kestrel/services.h"
#include "kestrel/special_functions.h"
#include "methods/common/superpose_field.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"
#include "methods/rayleigh/surface_sum.h"

namespace kestrel::detail {

namespace {

/// 2j f0 rho w: the Rayleigh integral's j f0 rho w, and 2 for the mirror half of the azimuths.
std::complex<double> half_surface_prefactor(const Medium& medium, std::complex<double> w) {
  return std::complex<double>(0, 2 * medium._f0) * medium._rho_density * w;
}

/// Sum over a disc whose circles have weights that are already set.
PlanarSurface planar_surface(const Medium& medium, double radius, int n, std::complex<double> w) {
  PlanarSurface surface;
  surface.circles = midpoint_circles(radius, n);
  surface.azimuth = midpoint_cosines(n);
  surface.extent = radius;
  surface.prefactor = half_surface_prefactor(medium, w);
  return surface;
}

}  // namespace

int rayleigh_cw(const Circle& face, ElementInputs& in) {
  double speed = in.medium->_soundspeed;
  if (!(speed > 1e-10)) {
    services::warn("Sound speed not set; using default of 1500 m/s to calculate wavenumber.");
    speed = 1500.0;
  }
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    PlanarSurface method =
        planar_surface(*in.medium, face.radius, in.rule->get_npoints(), in.weight);
    // Positive: in this one method the waves grow with distance. Long-standing results have it so;
    // rayleigh_cw_apodized with the uniform profile decays.
    const double growth =
        (in.medium->_dBcmMHz * 100.0 * in.medium->_f0 / 1000000.0) / kDecibelsPerNeper;
    method.propagation = {growth, in.medium->_f0 * -kTwoPi / speed};
    return method;
  });
}

int rayleigh_cw_apodized(const Circle& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    PlanarSurface method =
        planar_surface(*in.medium, face.radius, in.rule->get_npoints(), in.weight);
    for (SurfaceCircle& circle : method.circles) {
      circle.weight =
          piston_apodization().evaluate(in.apodization_index, circle.radius, face.radius) *
          circle.weight;
    }
    method.propagation = {negative_attenuation::scaled_first(*in.medium),
                          negative_wavenumber(*in.medium, in.medium->_f0)};
    return method;
  });
}

int rayleigh_cw_sse(const Circle& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    const int n = in.rule->get_npoints();
    PlanarSurface surface = planar_surface(*in.medium, face.radius, n, in.weight);
    // Areas are products of floats.
    const auto radial = static_cast<float>(face.radius / n), angular = static_cast<float>(kPi / n);
    for (SurfaceCircle& circle : surface.circles) {
      circle.weight = static_cast<double>(static_cast<float>(circle.radius) * radial * angular);
    }
    surface.propagation = {negative_attenuation::nepers_first(*in.medium),
                           negative_wavenumber(*in.medium, in.medium->_f0)};
    return SurfaceFourWide<PlanarSurface>(surface, FourWideTable::drop);
  });
}

int rayleigh_cw(const Ring& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    const int n = in.rule->get_npoints();
    PlanarSurface method = planar_surface(*in.medium, face.outer_radius, n, in.weight);
    if (face.inner_radius > 0) {
      // Outer disc and hole in turn, circle by circle: the order in which their terms are added.
      std::vector<SurfaceCircle> both;
      const std::vector<SurfaceCircle> hole = midpoint_circles(face.inner_radius, n);
      for (std::size_t m = 0; m < hole.size(); ++m) {
        both.push_back(method.circles[m]);
        both.push_back({hole[m].radius, 0, -hole[m].weight});
      }
      method.circles = std::move(both);
      method.surfaces = 2;
    }
    // Nothing keeps a hole from being wider than the disc.
    method.extent = std::max(face.outer_radius, face.inner_radius);
    method.propagation = {negative_attenuation::nepers_first(*in.medium),
                          negative_wavenumber(*in.medium, in.medium->_f0)};
    return method;
  });
}

}  // namespace kestrel::detail
