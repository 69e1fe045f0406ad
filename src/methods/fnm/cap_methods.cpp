#include "methods/common/superpose_caps.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"
#include "methods/fnm/cap_fnm.h"

namespace kestrel::detail {

namespace {

/// cos psi_j and weights over (0, pi), mapped from a rule on (-1, 1) that stays as it is.
std::vector<double> cap_cosines(const NumericalIntegration& rule) {
  return from_abscissas(rule, [](double x) { return std::cos(x * kHalfPi + kHalfPi); });
}
std::vector<double> cap_weights(const NumericalIntegration& rule) {
  return from_weights(rule, [](double w) { return w * kHalfPi; });
}

/// Fast nearfield expression of one cap. `prefactor` is rho c R_c a / pi in its shape's order of
/// operations; the weight is negated for a hole.
CapFnm cap_fnm(const CapGeometry& cap, const Medium& medium, const NumericalIntegration& rule,
               double prefactor, std::complex<double> weight, Propagation propagation) {
  return {cap,
          prefactor,
          weight,
          medium._rho_density,
          medium._f0,
          cap_cosines(rule),
          cap_weights(rule),
          propagation};
}

CapFnm shell_fnm(const Shell& face, const ElementInputs& in, double frequency) {
  const double impedance = in.medium->_rho_density * in.medium->_soundspeed;
  return cap_fnm(
      {face.radius, face.rad_curvature}, *in.medium, *in.rule,
      ((impedance * face.rad_curvature) * face.radius) / kPi, in.weight,
      {negative_attenuation::scaled_first(*in.medium), negative_wavenumber(*in.medium, frequency)});
}

}  // namespace

int fnm_cw(const Shell& face, ElementInputs& in) {
  const double frequency = frequency_or_default(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] { return shell_fnm(face, in, frequency); });
}

int fnm_cw_sse(const Shell& face, ElementInputs& in) {
  const double frequency = frequency_or_default(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] { return CapFourWide(shell_fnm(face, in, frequency)); });
}

int fnm_cw(const ShellRing& face, ElementInputs& in) {
  const double frequency = frequency_or_default(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  const Medium& medium = *in.medium;
  return superpose_caps(face, in, [&](double radius, std::complex<double> weight) {
    const double impedance = (medium._rho_density * medium._soundspeed) * face.geometric_focus;
    return cap_fnm(
        {radius, face.geometric_focus}, medium, *in.rule, (impedance * radius) / kPi, weight,
        {negative_attenuation::frequency_first(medium), negative_wavenumber(medium, frequency)});
  });
}

}  // namespace kestrel::detail
