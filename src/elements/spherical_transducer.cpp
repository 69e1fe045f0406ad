#include "elements/spherical_transducer.h"

#include <iostream>

#include "elements/cap_methods.h"
#include "methods/common/superpose_field.h"
#include "methods/fnm/four_wide_fields.h"
#include "methods/kzk/compat.h"
#include "methods/kzk/element_methods.h"
#include "methods/transient/transient_methods.h"
#include "services/services.h"

namespace kestrel {

using namespace detail;

void SphericalTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "radius: " << _radius << std::endl << "ROC:" << _radius_of_curvature << std::endl;
}

void SphericalTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("radius: %f\n", _radius);
}

CapFnm SphericalTransducer::fnm(double frequency) const {
  const double impedance = _medium->_rho_density * _medium->_soundspeed;
  return cap_fnm(
      {_radius, _radius_of_curvature}, *_medium, *_integral,
      ((impedance * _radius_of_curvature) * _radius) / kPi, _complex_weight,
      {negative_attenuation::scaled_first(*_medium), negative_wavenumber(*_medium, frequency)});
}

int SphericalTransducer::fnm_cw() {
  const double frequency = frequency_or_default(*_medium);
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] { return fnm(frequency); });
}

int SphericalTransducer::fnm_cw_sse() {
  const double frequency = frequency_or_default(*_medium);
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    const CapFnm cap = fnm(frequency);
    return CapFourWide{{},
                       cap,
                       {cap.cosine, FourWideTable::drop},
                       {cap.node_weight, FourWideTable::drop},
                       {static_cast<float>(cap.propagation.attenuation),
                        static_cast<float>(cap.propagation.phase)}};
  });
}

int SphericalTransducer::rayleigh_cw() {
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    return cap_surface({_radius, _radius_of_curvature}, *_medium, _integral->get_npoints(),
                       _complex_weight);
  });
}

int SphericalTransducer::rayleigh_cw_sse() {
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    const CapSurface surface = cap_surface({_radius, _radius_of_curvature}, *_medium,
                                           _integral->get_npoints(), _complex_weight);
    const std::vector<double> ones(surface.azimuth.size(), 1.0);
    return CapSurfaceFourWide{{},
                              surface,
                              {surface.azimuth, FourWideTable::repeat_last},
                              {ones, FourWideTable::pad_zero},
                              {static_cast<float>(surface.propagation.attenuation),
                               static_cast<float>(surface.propagation.phase)}};
  });
}

int SphericalTransducer::transient(TransientSum sum, bool behind) {
  return superpose_transient(*this, sum, [&] {
    return cap_delays(*_medium, *_integral, _radius, 0, _radius_of_curvature,
                      behind ? RimDelays::Side::behind : RimDelays::Side::front);
  });
}

int SphericalTransducer::fnm_transient() { return transient(TransientSum::direct); }
int SphericalTransducer::fnm_tsd() { return transient(TransientSum::decomposed); }
int SphericalTransducer::fnm_tsd_low_precision() { return transient(TransientSum::low_precision); }
int SphericalTransducer::fnm_fdtsd() { return transient(TransientSum::decomposed); }
int SphericalTransducer::fnm_transient_behind_source() {
  return transient(TransientSum::direct, true);
}
int SphericalTransducer::fnm_tsd_behind_source() {
  return transient(TransientSum::decomposed, true);
}

int SphericalTransducer::impulse_response() {
  if (!_medium || !_time_vector) return kMisuse;
  if (is_negligible(_amplitude)) return kSuccess;
  const CapGeometry cap(_radius, _radius_of_curvature);
  return superpose_impulse_response<CapImpulse>(
      *this, {{{cap, cap, _medium->_soundspeed, _time_vector->deltat()}}});
}

int SphericalTransducer::impulse_begin_and_end_times() {
  const CapGeometry cap(_radius, _radius_of_curvature);
  return find_impulse_span(*this,
                           [&](double x, double y, double z) { return cap_paths(x, y, z, cap, 0); },
                           {_impulse_begin_time, _impulse_end_time});
}

int SphericalTransducer::kzk_cw() {
  return superpose_kzk_cw(*this, {_radius, _radius_of_curvature});
}
int SphericalTransducer::kzk_transient() {
  return superpose_kzk_transient(*this, {_radius, _radius_of_curvature});
}

void SphericalTransducer::Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs,
                                  float* x, float* gam, float* inv) {
  kzk::solve_column(s, t, lo, di, up, rhs, x, gam, inv, _kzk_nodes);
}

void SphericalTransducer::TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w,
                                 double* v) {
  kzk::solve_harmonic(u, nodes, lhs, rhs, w, v);
}

void SphericalTransducer::COEFF(double ds, double theta, double* lhs, double* rhs, int nodes,
                                double step, double n_gain) {
  kzk::diffraction_bands(ds, theta, lhs, rhs, nodes, step, n_gain);
}

int SphericalTransducer::NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                                double nonlinearity) {
  return kzk::nonlinear_step(ds, planes, harmonics, nodes, work, nonlinearity);
}

void SphericalTransducer::INIT(int harmonics, double* planes, int nodes, int per_radius,
                               double gain) {
  kzk::start_uniform(harmonics, planes, nodes, per_radius, gain);
}

}  // namespace kestrel
