#include "transducers/spherical_ring_transducer.h"

#include <iostream>
#include <vector>

#include "transducers/detail/cap_methods.h"
#include "transducers/detail/superpose_field.h"

namespace kestrel {

using namespace detail;

namespace {

/// Superposes the outer cap, then, if there is a hole, the inner cap with the opposite sign.
template <class CapMethod>
int superpose_caps(Transducer& element, double inner_radius, double outer_radius,
                   const CapMethod& cap_method) {
  const std::complex<double> weight = element.get_complex_weight();
  return run_field_methods(element, [&] {
    std::vector methods{cap_method(outer_radius, weight)};
    if (inner_radius > 0) methods.push_back(cap_method(inner_radius, -weight));
    return methods;
  });
}

}  // namespace

void SphericalRingTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "inner radius: " << _inner_radius << "\nouter radius: " << _outer_radius
            << "\ngeometric focus: " << _geometric_focus << "\n";
}

void SphericalRingTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  host::print("inner radius: %f\n", _inner_radius);
  host::print("outer radius: %f\n", _outer_radius);
  host::print("geometric focus: %f\n\n", _geometric_focus);
}

int SphericalRingTransducer::fnm_cw() {
  const double frequency = frequency_or_default(*_medium);
  if (is_negligible(_amplitude)) return kSuccess;
  const Medium& medium = *_medium;
  return superpose_caps(
      *this, _inner_radius, _outer_radius, [&](double radius, std::complex<double> weight) {
        const double impedance = (medium._rho_density * medium._soundspeed) * _geometric_focus;
        return cap_fnm({radius, _geometric_focus}, medium, *_integral, (impedance * radius) / kPi,
                       weight,
                       {negative_attenuation::frequency_first(medium),
                        negative_wavenumber(medium, frequency)});
      });
}

int SphericalRingTransducer::rayleigh_cw() {
  if (is_negligible(_amplitude)) return kSuccess;
  return superpose_caps(
      *this, _inner_radius, _outer_radius, [&](double radius, std::complex<double> weight) {
        return cap_surface({radius, _geometric_focus}, *_medium, _integral->get_npoints(), weight);
      });
}

}  // namespace kestrel
