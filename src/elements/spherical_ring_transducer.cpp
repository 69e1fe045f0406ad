#include "elements/spherical_ring_transducer.h"

#include <iostream>
#include <vector>

#include "elements/cap_methods.h"
#include "methods/common/superpose_field.h"
#include "methods/transient/transient_methods.h"
#include "services/services.h"

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
  services::print("inner radius: %f\n", _inner_radius);
  services::print("outer radius: %f\n", _outer_radius);
  services::print("geometric focus: %f\n\n", _geometric_focus);
}

int SphericalRingTransducer::fnm_cw() {
  if (!has_field_inputs(*this)) return kMisuse;
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
  if (!has_field_inputs(*this)) return kMisuse;
  if (is_negligible(_amplitude)) return kSuccess;
  return superpose_caps(
      *this, _inner_radius, _outer_radius, [&](double radius, std::complex<double> weight) {
        return cap_surface({radius, _geometric_focus}, *_medium, _integral->get_npoints(), weight);
      });
}

int SphericalRingTransducer::transient(TransientSum sum) {
  return superpose_transient(*this, sum, [&] {
    return cap_delays(*_medium, *_integral, _outer_radius, _inner_radius, _geometric_focus);
  });
}

int SphericalRingTransducer::fnm_transient() { return transient(TransientSum::direct); }
int SphericalRingTransducer::fnm_tsd() { return transient(TransientSum::decomposed); }
int SphericalRingTransducer::fnm_tsd_low_precision() {
  return transient(TransientSum::low_precision);
}
int SphericalRingTransducer::fnm_fdtsd() { return transient(TransientSum::decomposed); }

int SphericalRingTransducer::impulse_response() {
  if (!_medium || !_time_vector) return kMisuse;
  if (is_negligible(_amplitude)) return kSuccess;
  const CapGeometry outer(_outer_radius, _geometric_focus);
  const double c = _medium->_soundspeed, interval = _time_vector->deltat();
  if (!(_inner_radius > 0)) {
    return superpose_impulse_response<CapImpulse>(*this, {{{outer, outer, c, interval}}});
  }
  const CapGeometry inner(_inner_radius, _geometric_focus);
  return superpose_impulse_response<CapImpulse>(
      *this, {{{outer, outer, c, interval}, 1}, {{inner, outer, c, interval}, -1}});
}

int SphericalRingTransducer::impulse_begin_and_end_times() {
  const CapGeometry outer(_outer_radius, _geometric_focus);
  return find_impulse_span(
      *this, [&](double x, double y, double z) { return cap_paths(x, y, z, outer, _inner_radius); },
      {_impulse_begin_time, _impulse_end_time});
}

}  // namespace kestrel
