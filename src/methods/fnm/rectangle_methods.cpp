#include "methods/common/superpose_field.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"
#include "methods/fnm/rectangle_fnm.h"

namespace kestrel::detail {

namespace {

double as_float(double x) { return static_cast<double>(static_cast<float>(x)); }

/// Squared node of the rule moved to (0, 1).
double unit_squared(double abscissa) {
  const double t = (abscissa + 1) * 0.5;
  return t * t;
}

/// A face of half sides a and b; `narrow` is what becomes of an abscissa or weight before use.
template <class Precision, class Narrow>
RectangleFnm<Precision> face_with_rule(double a, double b, const NumericalIntegration& rule,
                                       Narrow narrow) {
  RectangleFnm<Precision> face;
  face.half_width = a;
  face.half_height = b;
  face.rule.unit_node_squared =
      from_abscissas(rule, [&](double x) { return unit_squared(narrow(x)); });
  face.rule.unit_weight = from_weights(rule, [&](double w) { return narrow(w) * 0.5; });
  for (const int axis : {0, 1}) {
    const double half_side = axis == 0 ? a : b;
    const auto scaled = [&](double x) { return narrow(x) * half_side; };
    face.rule.node[axis] = from_abscissas(rule, scaled);
    face.rule.weight[axis] = from_weights(rule, scaled);
  }
  return face;
}

double unchanged(double x) { return x; }

/// w c rho / (-2 pi), multiplied from left to right.
std::complex<double> fnm_prefactor(std::complex<double> w, const Medium& medium) {
  return {w.real() * medium._soundspeed * medium._rho_density / -kTwoPi,
          w.imag() * medium._soundspeed * medium._rho_density / -kTwoPi};
}

// Each constant of the single-precision methods is rounded to float where it stands; leaving one
// out moves the field by 1e-9 to 5e-6 of its peak.
constexpr float kMinusTwoPi = -6.2831855f;

Propagation single_propagation(const Medium& medium, double frequency) {
  const auto wavelength = static_cast<float>(medium._soundspeed / frequency);
  return {as_float(negative_attenuation::left_to_right(medium)),
          static_cast<double>(kMinusTwoPi / wavelength)};
}

}  // namespace

int fnm_cw_single(const Rectangle& face, ElementInputs& in) {
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    auto method =
        face_with_rule<SinglePrecision>(face.width * 0.5, face.height * 0.5, *in.rule, as_float);
    method.propagation = single_propagation(*in.medium, frequency);
    const double density = as_float(in.medium->_rho_density);
    const double speed = as_float(in.medium->_soundspeed);
    const auto divisor = static_cast<double>(kMinusTwoPi);
    method.prefactor = {in.weight.real() * density * speed / divisor,
                        in.weight.imag() * density * speed / divisor};
    return method;
  });
}

int fnm_cw(const Rectangle& face, ElementInputs& in) {
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    auto method =
        face_with_rule<DoublePrecision>(face.width * 0.5, face.height * 0.5, *in.rule, unchanged);
    method.propagation = {negative_attenuation::scaled_first(*in.medium),
                          negative_wavenumber(*in.medium, frequency)};
    method.prefactor = fnm_prefactor(in.weight, *in.medium);
    return method;
  });
}

int fnm_cw_sse(const Rectangle& face, ElementInputs& in) {
  // No amplitude gate in this variant: a silent element is computed and adds zeros.
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  return run_field_method(in, [&] {
    auto exact = face_with_rule<DoublePrecision>(as_float(face.width * 0.5),
                                                 as_float(face.height * 0.5), *in.rule, unchanged);
    exact.propagation = {negative_attenuation::frequency_first(*in.medium),
                         negative_wavenumber(*in.medium, frequency)};
    exact.prefactor = fnm_prefactor(in.weight, *in.medium);
    return RectangleFourNodes(exact);
  });
}

int fnm_cw_sse2(const Rectangle& face, ElementInputs& in) {
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    auto exact = face_with_rule<SinglePrecision>(as_float(face.width * 0.5),
                                                 as_float(face.height * 0.5), *in.rule, as_float);
    // The squared nodes alone are rounded but once, at the end.
    exact.rule.unit_node_squared = from_abscissas(*in.rule, unit_squared);
    exact.propagation = single_propagation(*in.medium, frequency);
    const auto impedance = static_cast<double>(static_cast<float>(in.medium->_rho_density) *
                                               static_cast<float>(in.medium->_soundspeed));
    exact.prefactor = {in.weight.real() * impedance / -kTwoPi,
                       in.weight.imag() * impedance / -kTwoPi};
    return RectangleFourIntegrals(exact);
  });
}

}  // namespace kestrel::detail
