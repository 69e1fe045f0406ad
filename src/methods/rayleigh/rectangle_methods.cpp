#include "kestrel/services.h"
#include "methods/common/superpose_field.h"
#include "methods/common/wave_constants.h"
#include "methods/element_methods.h"
#include "methods/rayleigh/rectangle_farfield.h"
#include "methods/rayleigh/surface_sum.h"

namespace kestrel::detail {

namespace {

/// The product rule over the face, phases at `frequency`.
RectangleSurface surface_of(const Rectangle& face, const ElementInputs& in, double frequency) {
  const double a = face.width * 0.5, b = face.height * 0.5;
  const auto scaled = [](double factor) { return [factor](double x) { return x * factor; }; };
  RectangleSurface surface;
  surface.x_node = from_abscissas(*in.rule, scaled(a));
  surface.x_weight = from_weights(*in.rule, scaled(a));
  surface.y_node = from_abscissas(*in.rule, scaled(b));
  surface.y_weight = from_weights(*in.rule, scaled(b));
  surface.weight = in.weight;
  surface.density = in.medium->_rho_density;
  surface.f0 = in.medium->_f0;  // the stored one: an unset frequency gives no field
  surface.extent = extent_of_nodes(a, surface.x_node) + extent_of_nodes(b, surface.y_node);
  surface.propagation = {negative_attenuation::frequency_first(*in.medium),
                         negative_wavenumber(*in.medium, frequency)};
  return surface;
}

int farfield(const Rectangle& face, ElementInputs& in, bool lossless) {
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    const double a = face.width * 0.5, b = face.height * 0.5;
    const double k = -negative_wavenumber(*in.medium, frequency);
    RectangleFarfield method;
    method.half_width_k = a * k;
    method.half_height_k = b * k;
    // The stored frequency again: unset, it leaves no field.
    method.amplitude =
        in.weight * std::complex<double>(0, in.medium->_f0 * in.medium->_rho_density * 4 * a * b);
    method.propagation = {lossless ? 0 : negative_attenuation::nepers_first(*in.medium), -k};
    return method;
  });
}

}  // namespace

int rayleigh_cw(const Rectangle& face, ElementInputs& in) {
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] { return surface_of(face, in, frequency); });
}

int rayleigh_cw_sse(const Rectangle& face, ElementInputs& in) {
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  services::print("rayleigh_cw_sse: %d abscissas\n", in.rule->get_npoints());
  return run_field_method(
      in, [&] { return RectangleSurfaceFourWide(surface_of(face, in, frequency)); });
}

int farfield_cw(const Rectangle& face, ElementInputs& in) { return farfield(face, in, false); }
int farfield_cw_lossless(const Rectangle& face, ElementInputs& in) {
  return farfield(face, in, true);
}

int radiator_cw(const Rectangle& face, ElementInputs& in) {
  const double frequency = frequency_or_default_keeping_nan(*in.medium);
  if (is_negligible(in.amplitude)) return kSuccess;
  return run_field_method(in, [&] {
    RectangleRadiators method;
    method.n = in.rule->get_npoints();
    method.half_width = face.width * 0.5;
    method.half_height = face.height * 0.5;
    method.prefactor =
        in.weight * std::complex<double>(0, in.medium->_rho_density * in.medium->_f0);
    method.propagation = {negative_attenuation::scaled_first(*in.medium),
                          negative_wavenumber(*in.medium, frequency)};
    return method;
  });
}

}  // namespace kestrel::detail
