#include "elements/circular_transducer.h"

#include <iostream>

#include "elements/disc_methods.h"
#include "methods/common/superpose_field.h"
#include "methods/fnm/four_wide_fields.h"
#include "methods/kzk/compat.h"
#include "methods/kzk/element_methods.h"
#include "methods/transient/transient_methods.h"
#include "services/services.h"

namespace kestrel {

using namespace detail;

namespace {

/// rho (c ((a/pi) w)).
std::complex<double> disc_prefactor(const Medium& medium, double radius, std::complex<double> w) {
  return medium._rho_density * (medium._soundspeed * ((radius / kPi) * w));
}

double cosine(double psi) { return std::cos(psi); }
double unchanged(double x) { return x; }

}  // namespace

void CircularTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "radius: " << _radius << std::endl;
}

void CircularTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("radius: %f\n", _radius);
}

int CircularTransducer::fnm_cw() {
  const double frequency = frequency_or_default(*_medium);
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    _integral->gauss_quadrature(0, kPi);
    DiscFnm<false> method;
    method.edges.push_back(
        disc_edge(*_integral, _radius, 1, disc_prefactor(*_medium, _radius, _complex_weight)));
    method.cosine = from_abscissas(*_integral, cosine);
    method.weight = from_weights(*_integral, unchanged);
    method.propagation = {negative_attenuation::scaled_first(*_medium),
                          negative_wavenumber(*_medium, frequency)};
    return method;
  });
}

int CircularTransducer::fnm_cw_apodized() {
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    _integral->gauss_quadrature(0, kPi);
    ApodizedDiscFnm method;
    method.radius = _radius;
    for (int m = 0; m < _integral->get_npoints(); ++m) {
      const double sigma = _integral->get_abscissa(m) * _radius;
      const double derivative = _apodization.derivative(_piston_apodization_index, sigma, _radius);
      // The nodes reach out to pi a; beyond the rim the profile is flat and adds nothing.
      if (derivative == 0) continue;
      method.radii.push_back(
          {sigma, sigma * sigma, derivative, _integral->get_weight(m) * _radius});
    }
    method.cosine = from_abscissas(*_integral, cosine);
    method.twice_cosine = from_abscissas(*_integral, [](double x) { return 2 * std::cos(x); });
    method.weight = from_weights(*_integral, [](double w) { return w * kPi; });
    method.prefactor = disc_prefactor(*_medium, _radius, _complex_weight);
    method.propagation = {negative_attenuation::nepers_first(*_medium),
                          negative_wavenumber(*_medium, _medium->_f0)};
    return method;
  });
}

int CircularTransducer::fnm_cw_sse() {
  // No amplitude gate in this variant: a silent piston is computed and adds zeros.
  return run_field_method(*this, [&] {
    _integral->gauss_quadrature(0, kPi);
    DiscFourWide method;
    method.radius = static_cast<float>(_radius);
    method.radius_squared = static_cast<float>(_radius * _radius);
    method.cosine = {from_abscissas(*_integral, cosine), FourWideTable::drop};
    method.twice_radius_cosine = {disc_edge(*_integral, _radius, 1, 0).twice_radius_cosine,
                                  FourWideTable::drop};
    method.weight = {from_weights(*_integral, unchanged), FourWideTable::drop};
    method.propagation = {static_cast<float>(negative_attenuation::negated_last(*_medium)),
                          static_cast<float>(negative_wavenumber(*_medium, _medium->_f0))};
    method.prefactor = disc_prefactor(*_medium, _radius, _complex_weight);
    return method;
  });
}

int CircularTransducer::rayleigh_cw() {
  double speed = _medium->_soundspeed;
  if (!(speed > 1e-10)) {
    services::warn("Sound speed not set; using default of 1500 m/s to calculate wavenumber.");
    speed = 1500.0;
  }
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    PlanarSurface method =
        planar_surface(*_medium, _radius, _integral->get_npoints(), _complex_weight);
    // Positive: in this one method the waves grow with distance. Long-standing results have it so;
    // rayleigh_cw_apodized with the uniform profile decays.
    const double growth =
        (_medium->_dBcmMHz * 100.0 * _medium->_f0 / 1000000.0) / kDecibelsPerNeper;
    method.propagation = {growth, _medium->_f0 * -kTwoPi / speed};
    return method;
  });
}

int CircularTransducer::rayleigh_cw_apodized() {
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    PlanarSurface method =
        planar_surface(*_medium, _radius, _integral->get_npoints(), _complex_weight);
    for (SurfaceCircle& circle : method.circles) {
      circle.weight =
          _apodization.evaluate(_piston_apodization_index, circle.radius, _radius) * circle.weight;
    }
    method.propagation = {negative_attenuation::scaled_first(*_medium),
                          negative_wavenumber(*_medium, _medium->_f0)};
    return method;
  });
}

int CircularTransducer::rayleigh_cw_sse() {
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    const int n = _integral->get_npoints();
    DiscSurfaceFourWide method;
    const auto radial = static_cast<float>(_radius / n), angular = static_cast<float>(kPi / n);
    for (const SurfaceCircle& circle : midpoint_circles(_radius, n)) {
      const auto rho = static_cast<float>(circle.radius);
      method.circles.push_back(
          {rho, static_cast<float>(circle.radius * circle.radius), rho * radial * angular});
    }
    method.cosine = {midpoint_cosines(n), FourWideTable::drop};
    method.propagation = {static_cast<float>(negative_attenuation::nepers_first(*_medium)),
                          static_cast<float>(negative_wavenumber(*_medium, _medium->_f0))};
    method.prefactor = half_surface_prefactor(*_medium, _complex_weight);
    return method;
  });
}

int CircularTransducer::transient(TransientSum sum) {
  return superpose_transient(*this, sum,
                             [&] { return flat_delays(*_medium, *_integral, _radius, 0); });
}

int CircularTransducer::fnm_transient() { return transient(TransientSum::direct); }
int CircularTransducer::fnm_tsd() { return transient(TransientSum::decomposed); }
int CircularTransducer::fnm_tsd_low_precision() { return transient(TransientSum::low_precision); }
int CircularTransducer::fnm_fdtsd() { return transient(TransientSum::decomposed); }

int CircularTransducer::fnm_tsd_sse() {
  if (!has_transient_inputs(*this)) return kMisuse;
  const bool analytic =
      suitable_sum(TransientSum::four_wide, *_excitation_function) == TransientSum::four_wide;
  if (!analytic) return fnm_tsd();
  return superpose_transient(*this, TransientSum::four_wide, [&] {
    return std::optional(FourWideDiscDelays(half_rim_rule(*_integral), _radius,
                                            _medium->_rho_density, _medium->_soundspeed));
  });
}

int CircularTransducer::rayleigh_transient() {
  return superpose_rayleigh_transient(*this, _radius);
}

int CircularTransducer::impulse_response() {
  if (!_medium) return kMisuse;
  return superpose_impulse_response<DiscImpulse>(*this, {{{_radius, _medium->_soundspeed}}});
}

int CircularTransducer::impulse_begin_and_end_times() {
  return find_impulse_span(
      *this, [&](double x, double y, double z) { return disc_paths(x, y, z, _radius); },
      {_impulse_begin_time, _impulse_end_time});
}

int CircularTransducer::kzk_cw() { return superpose_kzk_cw(*this, {_radius, 0}); }
int CircularTransducer::kzk_transient() { return superpose_kzk_transient(*this, {_radius, 0}); }

void CircularTransducer::Tridiag(float s, float t, float* lo, float* di, float* up, float* rhs,
                                 float* x, float* gam, float* inv) {
  kzk::solve_column(s, t, lo, di, up, rhs, x, gam, inv, _kzk_nodes);
}

void CircularTransducer::TRIDIA(double* u, int nodes, double* lhs, double* rhs, double* w,
                                double* v) {
  kzk::solve_harmonic(u, nodes, lhs, rhs, w, v);
}

void CircularTransducer::COEFF(double ds, double theta, double* lhs, double* rhs, int nodes,
                               double step, int n) {
  kzk::diffraction_bands(ds, theta, lhs, rhs, nodes, step, n);
}

int CircularTransducer::NONLIN(double ds, double* planes, int harmonics, int nodes, double* work,
                               double nonlinearity, int least_substeps) {
  return kzk::nonlinear_step(ds, planes, harmonics, nodes, work, nonlinearity, least_substeps);
}

void CircularTransducer::INIT(int harmonics, double* planes, int nodes, int per_radius, int) {
  kzk::start_uniform(harmonics, planes, nodes, per_radius, 0);
}

}  // namespace kestrel
