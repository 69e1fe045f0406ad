#include "methods/common/cap_tables.h"
#include "methods/common/superpose_caps.h"
#include "methods/element_methods.h"
#include "methods/fnm/four_wide_fields.h"

namespace kestrel::detail {

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
    const std::vector<double> ones(surface.azimuth.size(), 1.0);
    return CapSurfaceFourWide{{},
                              surface,
                              {surface.azimuth, FourWideTable::repeat_last},
                              {ones, FourWideTable::pad_zero},
                              {static_cast<float>(surface.propagation.attenuation),
                               static_cast<float>(surface.propagation.phase)}};
  });
}

int rayleigh_cw(const ShellRing& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return superpose_caps(face, in, [&](double radius, std::complex<double> weight) {
    return cap_surface({radius, face.geometric_focus}, *in.medium, in.rule->get_npoints(), weight);
  });
}

}  // namespace kestrel::detail
