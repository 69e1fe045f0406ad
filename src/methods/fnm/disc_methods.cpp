#include "kestrel/special_functions.h"
#include "methods/common/superpose_field.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"
#include "methods/fnm/disc_fnm.h"

namespace kestrel::detail {

namespace {

/// One edge with its table over the nodes of a rule on (0, pi).
DiscEdge disc_edge(const NumericalIntegration& rule, double radius, double sign,
                   std::complex<double> prefactor) {
  return {radius, sign, prefactor,
          from_abscissas(rule, [&](double psi) { return (radius + radius) * std::cos(psi); })};
}

/// rho (c ((a/pi) w)).
std::complex<double> disc_prefactor(const Medium& medium, double radius, std::complex<double> w) {
  return medium._rho_density * (medium._soundspeed * ((radius / kPi) * w));
}

double cosine(double psi) { return std::cos(psi); }

DiscFnm<false> disc_fnm(const Circle& face, const ElementInputs& in, Propagation propagation) {
  in.rule->gauss_quadrature(0, kPi);
  DiscFnm<false> method;
  method.edges.push_back(
      disc_edge(*in.rule, face.radius, 1, disc_prefactor(*in.medium, face.radius, in.weight)));
  method.cosine = from_abscissas(*in.rule, cosine);
  method.weight = weights(*in.rule);
  method.propagation = propagation;
  return method;
}

}  // namespace

int fnm_cw(const Circle& face, ElementInputs& in) {
  const double frequency = frequency_or_default(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    return disc_fnm(face, in,
                    {negative_attenuation::scaled_first(*in.medium),
                     negative_wavenumber(*in.medium, frequency)});
  });
}

int fnm_cw_apodized(const Circle& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    in.rule->gauss_quadrature(0, kPi);
    ApodizedDiscFnm method;
    method.radius = face.radius;
    for (int m = 0; m < in.rule->get_npoints(); ++m) {
      const double sigma = in.rule->get_abscissa(m) * face.radius;
      const double derivative =
          piston_apodization().derivative(in.apodization_index, sigma, face.radius);
      // The nodes reach out to pi a; beyond the rim the profile is flat and adds nothing,
      // even where a growing wave overflows.
      if (derivative == 0) continue;
      method.radii.push_back(
          {sigma, sigma * sigma, derivative, in.rule->get_weight(m) * face.radius});
    }
    method.cosine = from_abscissas(*in.rule, cosine);
    method.twice_cosine = from_abscissas(*in.rule, [](double x) { return 2 * std::cos(x); });
    method.weight = from_weights(*in.rule, [](double w) { return w * kPi; });
    method.prefactor = disc_prefactor(*in.medium, face.radius, in.weight);
    method.propagation = {negative_attenuation::nepers_first(*in.medium),
                          negative_wavenumber(*in.medium, in.medium->_f0)};
    return method;
  });
}

int fnm_cw_sse(const Circle& face, ElementInputs& in) {
  // No amplitude gate in this variant: a silent piston is computed and adds zeros.
  return run_field_method(in, [&] {
    return DiscFourWide(disc_fnm(face, in,
                                 {negative_attenuation::negated_last(*in.medium),
                                  negative_wavenumber(*in.medium, in.medium->_f0)}));
  });
}

int fnm_cw(const Ring& face, ElementInputs& in) {
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    in.rule->gauss_quadrature(0, kPi);
    const auto edge = [&](double radius, double sign) {
      const std::complex<double> prefactor =
          ((radius / kPi) * in.weight) * in.medium->_soundspeed * in.medium->_rho_density;
      return disc_edge(*in.rule, radius, sign, prefactor);
    };
    DiscFnm<true> method;
    method.edges.push_back(edge(face.outer_radius, 1));
    if (face.inner_radius > 0) method.edges.push_back(edge(face.inner_radius, -1));
    method.cosine = from_abscissas(*in.rule, cosine);
    method.weight = weights(*in.rule);
    method.propagation = {negative_attenuation::nepers_first(*in.medium),
                          negative_wavenumber(*in.medium, in.medium->_f0)};
    return method;
  });
}

}  // namespace kestrel::detail
