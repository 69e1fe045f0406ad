#pragma once

/// The Rayleigh-Sommerfeld integral over an element's face, converged to some 1e-14: Gauss rules
/// along lines and radii, equal steps (spectral for a periodic integrand) around circles. For
/// points a millimetre or more away from the face.

#include <cmath>
#include <functional>

#include "tests/support/situation.h"

namespace kestrel::test {

/// alpha + jk.
inline Complex propagation_constant(const Medium& m) {
  return {m._dBcmMHz * 100 * m._f0 / 1e6 * std::log(10.0) / 20, 2 * M_PI * m._f0 / m._soundspeed};
}

class SurfaceIntegral {
 public:
  using Profile = std::function<double(double)>;  // of the radius, discs only

  explicit SurfaceIntegral(
      const Situation& s, Profile profile = [](double) { return 1.0; }, int radial = 200,
      int angular = 300)
      : _s(s), _g(propagation_constant(s.medium)), _profile(std::move(profile)), _angular(angular) {
    _rule.allocate_memory(radial);
    _rule.gauss_quadrature();
  }

  /// Pressure at a point of the element's frame: j rho f w times the integral of v e^{-gR}/R.
  Complex operator()(Point p) const {
    Complex sum = 0;
    switch (_s.shape) {
      case ShapeKind::rectangle:
        sum = integrate(-_s.a / 2, _s.a / 2, [&](double x) {
          return integrate(-_s.b / 2, _s.b / 2,
                           [&](double y) { return wave(std::hypot(p.x - x, p.y - y, p.z)); });
        });
        break;
      case ShapeKind::disc:
        sum = annulus(0, _s.a, p);
        break;
      case ShapeKind::ring:
        sum = annulus(_s.a, _s.b, p);
        break;
      case ShapeKind::shell:
        sum = zone(0, _s.a, _s.b, p);
        break;
      case ShapeKind::spherical_ring:
        sum = zone(_s.a, _s.b, _s.c, p);
        break;
    }
    return Complex(0, _s.medium._rho_density * _s.medium._f0) * _s.weight() * sum;
  }

 private:
  Complex wave(double r) const { return std::exp(-_g * r) / r; }

  template <class Integrand>
  Complex integrate(double from, double to, const Integrand& f) const {
    Complex sum = 0;
    for (int i = 0; i < _rule.get_npoints(); ++i) {
      const double x = (from + to) / 2 + _rule.get_abscissa(i) * (to - from) / 2;
      sum += _rule.get_weight(i) * (to - from) / 2 * f(x);
    }
    return sum;
  }
  /// Around a circle of a given radius, `height` below the point.
  Complex circle(double radius, double height, double r) const {
    Complex sum = 0;
    for (int n = 0; n < _angular; ++n) {
      const double cosine = std::cos((n + 0.5) * M_PI / _angular);
      sum += wave(std::sqrt(radius * radius + r * r - 2 * radius * r * cosine + height * height));
    }
    return sum * radius * (2 * M_PI / _angular);
  }
  Complex annulus(double inner, double outer, Point p) const {
    const double r = std::hypot(p.x, p.y);
    return integrate(inner, outer, [&](double rho) { return _profile(rho) * circle(rho, p.z, r); });
  }
  Complex zone(double inner, double outer, double rc, Point p) const {
    const double r = std::hypot(p.x, p.y);
    return integrate(std::asin(inner / rc), std::asin(outer / rc), [&](double theta) {
      return rc * circle(rc * std::sin(theta), p.z - rc + rc * std::cos(theta), r);
    });
  }

  Situation _s;
  Complex _g;
  Profile _profile;
  int _angular;
  NumericalIntegration _rule;
};

}  // namespace kestrel::test
