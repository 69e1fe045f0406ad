#include "elements/ring_transducer.h"

#include <algorithm>
#include <iostream>

#include "elements/disc_methods.h"
#include "methods/common/superpose_field.h"
#include "methods/transient/transient_methods.h"
#include "services/services.h"

namespace kestrel {

using namespace detail;

void RingTransducer::debug(int level) {
  Transducer::debug(level);
  std::cout << "inner radius: " << _inner_radius << "\nouter radius: " << _outer_radius << "\n";
}

void RingTransducer::mex_debug(int level) {
  Transducer::mex_debug(level);
  services::print("inner radius: %f\n", _inner_radius);
  services::print("outer radius: %f\n\n", _outer_radius);
}

int RingTransducer::fnm_cw() {
  if (!has_field_inputs(*this)) return kMisuse;
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    _integral->gauss_quadrature(0, kPi);
    const auto edge = [&](double radius, double sign) {
      const std::complex<double> prefactor =
          ((radius / kPi) * _complex_weight) * _medium->_soundspeed * _medium->_rho_density;
      return disc_edge(*_integral, radius, sign, prefactor);
    };
    DiscFnm<true> method;
    method.edges.push_back(edge(_outer_radius, 1));
    if (_inner_radius > 0) method.edges.push_back(edge(_inner_radius, -1));
    method.cosine = from_abscissas(*_integral, [](double psi) { return std::cos(psi); });
    method.weight = from_weights(*_integral, [](double w) { return w; });
    method.propagation = {negative_attenuation::nepers_first(*_medium),
                          negative_wavenumber(*_medium, _medium->_f0)};
    return method;
  });
}

int RingTransducer::rayleigh_cw() {
  if (!has_field_inputs(*this)) return kMisuse;
  if (is_negligible(_amplitude)) return kSuccess;
  return run_field_method(*this, [&] {
    const int n = _integral->get_npoints();
    PlanarSurface method = planar_surface(*_medium, _outer_radius, n, _complex_weight);
    if (_inner_radius > 0) {
      // Outer disc and hole in turn, circle by circle: the order in which their terms are added.
      std::vector<SurfaceCircle> both;
      const std::vector<SurfaceCircle> hole = midpoint_circles(_inner_radius, n);
      for (std::size_t m = 0; m < hole.size(); ++m) {
        both.push_back(method.circles[m]);
        both.push_back({hole[m].radius, 0, -hole[m].weight});
      }
      method.circles = std::move(both);
      // Nothing keeps a hole from being wider than the disc.
      method.extent = std::max(_outer_radius, _inner_radius);
      method.surfaces = 2;
    }
    method.propagation = {negative_attenuation::nepers_first(*_medium),
                          negative_wavenumber(*_medium, _medium->_f0)};
    return method;
  });
}

int RingTransducer::transient(TransientSum sum) {
  return superpose_transient(
      *this, sum, [&] { return flat_delays(*_medium, *_integral, _outer_radius, _inner_radius); });
}

int RingTransducer::fnm_transient() { return transient(TransientSum::direct); }
int RingTransducer::fnm_tsd() { return transient(TransientSum::decomposed); }
int RingTransducer::fnm_tsd_low_precision() { return transient(TransientSum::low_precision); }
int RingTransducer::fnm_fdtsd() { return transient(TransientSum::decomposed); }

int RingTransducer::impulse_response() {
  if (!_medium) return kMisuse;
  if (is_negligible(_amplitude)) return kSuccess;
  const double c = _medium->_soundspeed;
  if (!(_inner_radius > 0)) {
    return superpose_impulse_response<DiscImpulse>(*this, {{{_outer_radius, c}}});
  }
  return superpose_impulse_response<DiscImpulse>(
      *this, {{{_outer_radius, c}, 1}, {{_inner_radius, c}, -1}});
}

int RingTransducer::impulse_begin_and_end_times() {
  return find_impulse_span(*this,
                           [&](double x, double y, double z) {
                             return ring_paths(x, y, z, _inner_radius, _outer_radius);
                           },
                           {_impulse_begin_time, _impulse_end_time});
}

}  // namespace kestrel
