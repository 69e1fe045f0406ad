#pragma once

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "kestrel/excitation.h"
#include "kestrel/time_axis.h"
#include "methods/transient/impulse_response.h"
#include "mex/standalone/standalone_host.h"
#include "tests/support/situation.h"

namespace kestrel::test {

/// Pressures by point, then by sample.
using Traces = std::vector<std::vector<double>>;
using Excitation = std::shared_ptr<ExcitationFunction>;

struct NamedExcitation {
  std::string name;
  Excitation signal;
};

inline Excitation tone(double width = 3e-6) {
  return std::make_shared<ToneBurst>(1, 1e6, width, 0, 1);
}
inline Excitation hanning() { return std::make_shared<HanningPulse>(2.5, 1e6, 3e-6, 0, 2); }
inline Excitation t_cubed() { return std::make_shared<TCubedPulse>(2.5e18, 1e6, 7e-6, 2.5e6, 3); }
/// A smooth pulse without a mean, by its samples.
inline Excitation sampled(double clip_threshold = 0) {
  constexpr int n = 150;
  std::vector<double> signal(n);
  for (int i = 0; i < n; ++i) {
    const double x = 2 * M_PI * i / n;
    signal[i] = (1 - std::cos(x)) * std::sin(3 * x);
  }
  return std::make_shared<ExcitationFunction>(signal, 20e-9, n * 20e-9, clip_threshold);
}
inline std::vector<NamedExcitation> excitations() {
  return {{"tone", tone()}, {"hanning", hanning()}, {"t-cubed", t_cubed()}, {"sampled", sampled()}};
}

/// Gives an element what every method for pulses needs besides.
inline void wire_pulse(Transducer& element, TimeSamples& axis, const ExcitationFunction& excitation,
                       double* traces) {
  element.set_time_vector(&axis);
  element.set_transient_pressure_pointer(traces);
  element._excitation_function = const_cast<ExcitationFunction*>(&excitation);
}

/// An element with an axis, an excitation and an array for its traces, which starts at zero.
class TransientBench : public Setup {
 public:
  TransientBench(const Situation& s, const Points& points, TimeSamples& axis,
                 const ExcitationFunction& excitation)
      : Setup(s, points), _axis(axis), _points(points.size()), _pressure(_points * axis.nt()) {
    wire_pulse(element(), axis, excitation, _pressure.data());
  }
  void fill(double value) { std::fill(_pressure.begin(), _pressure.end(), value); }
  bool all_equal(double value) const {
    return std::all_of(_pressure.begin(), _pressure.end(), [&](double p) { return p == value; });
  }
  Traces traces() const {
    Traces traces(_points, std::vector<double>(_axis.nt()));
    for (std::size_t p = 0; p < _points; ++p) {
      for (int i = 0; i < _axis.nt(); ++i) traces[p][i] = _pressure[p + i * _points];
    }
    return traces;
  }

 private:
  TimeSamples& _axis;
  std::size_t _points;
  std::vector<double> _pressure;
};

/// The traces of `method` at global points.
inline Traces transient(const Situation& situation, Method method, const Points& points,
                        TimeSamples& axis, const ExcitationFunction& excitation, double delay = 0) {
  TransientBench bench(situation, points, axis, excitation);
  bench.element().set_time_delay(delay);
  bench.call(method);
  return bench.traces();
}

inline double peak(const std::vector<double>& trace) {
  double largest = 0;
  for (const double p : trace) largest = std::max(largest, std::abs(p));
  return largest;
}

/// Largest difference of any point as a fraction of that point's own peak.
inline double difference(const Traces& actual, const Traces& expected) {
  double worst = 0;
  for (std::size_t p = 0; p < expected.size(); ++p) {
    const double largest = peak(expected[p]);
    for (std::size_t i = 0; i < expected[p].size(); ++i) {
      const double error = std::abs(actual[p][i] - expected[p][i]);
      if (std::isnan(error)) return HUGE_VAL;
      if (error > 0) worst = std::max(worst, error / largest);
    }
  }
  return worst;
}

/// p = A rho d/dt (v * h) with the exact impulse response: the integral of v'(t - s) h(s), split at
/// the kinks of h, each piece by a rule that takes the square-root singularities at its ends; and
/// the jumps of v.
class ImpulseConvolution {
 public:
  explicit ImpulseConvolution(const Situation& situation) : _s(situation), _rule(96) {}

  double operator()(Point p, const ExcitationFunction& excitation, double t) const {
    const SignalRate rate(excitation);
    const double width = excitation.get_pulse_width();
    std::vector<double> ends = {t - width, t};
    for (const double kink : kinks(p)) {
      if (kink > t - width && kink < t) ends.push_back(kink);
    }
    std::sort(ends.begin(), ends.end());
    double sum = integrate(ends, [&](double s) { return rate(t - s) * response(p, s); });
    const double up = excitation.at(0.0), down = excitation.at(std::nextafter(width, 0.0));
    if (up != 0) sum += up * response(p, t);
    if (down != 0) sum -= down * response(p, t - width);
    return _s.amplitude * _s.medium._rho_density * sum;
  }

  /// The integral of h over all times.
  double area(Point p) const {
    std::vector<double> ends = kinks(p);
    std::sort(ends.begin(), ends.end());
    return integrate(ends, [&](double s) { return response(p, s); });
  }

  double response(Point p, double s) const {
    const double c = _s.medium._soundspeed;
    const auto one = [&](const auto& impulse) {
      double h = 0;
      impulse.respond(p.x, p.y, p.z, &s, 1, &h);
      return h;
    };
    const auto cap = [&](double radius, double rc) {
      const CapGeometry geometry(radius, rc);
      return one(CapImpulse{geometry, geometry, c, 0});
    };
    switch (_s.shape) {
      case ShapeKind::rectangle:
        return one(RectangleImpulse{_s.a, _s.b, c});
      case ShapeKind::disc:
        return one(DiscImpulse{_s.a, c});
      case ShapeKind::ring:
        return one(DiscImpulse{_s.b, c}) - one(DiscImpulse{_s.a, c});
      case ShapeKind::shell:
        return cap(_s.a, _s.b);
      default:
        return cap(_s.b, _s.c) - cap(_s.a, _s.c);
    }
  }

 private:
  struct Rule {
    int nodes;
    std::vector<double> angle, weight;
    explicit Rule(int n) : nodes(n), angle(n), weight(n) {
      NumericalIntegration::grule(n, angle.data(), weight.data());
      for (double& a : angle) a *= M_PI / 2;
      for (double& w : weight) w *= M_PI / 2;
    }
  };

  template <class Integrand>
  double integrate(const std::vector<double>& ends, const Integrand& f) const {
    double sum = 0;
    for (std::size_t i = 1; i < ends.size(); ++i) {
      const double middle = (ends[i - 1] + ends[i]) / 2, half = (ends[i] - ends[i - 1]) / 2;
      for (int j = 0; j < _rule.nodes && half > 0; ++j) {
        const double angle = _rule.angle[j];
        sum += _rule.weight[j] * std::cos(angle) * half * f(middle + half * std::sin(angle));
      }
    }
    return sum;
  }

  /// Times at which h may have a corner or a jump.
  std::vector<double> kinks(Point p) const {
    std::vector<double> paths;
    const double r = std::hypot(p.x, p.y);
    const auto rim = [&](double radius, double z) {
      paths.push_back(std::hypot(r - radius, z));
      paths.push_back(std::hypot(r + radius, z));
    };
    switch (_s.shape) {
      case ShapeKind::rectangle: {
        const double s[2] = {_s.a / 2 + p.x, _s.a / 2 - p.x};
        const double l[2] = {_s.b / 2 + p.y, _s.b / 2 - p.y};
        paths.push_back(p.z);
        for (int i = 0; i < 2; ++i) {
          paths.push_back(std::hypot(s[i], p.z));
          paths.push_back(std::hypot(l[i], p.z));
          for (int j = 0; j < 2; ++j) paths.push_back(std::hypot(s[i], l[j], p.z));
        }
        break;
      }
      case ShapeKind::ring:
        rim(_s.b, p.z);
        [[fallthrough]];
      case ShapeKind::disc:
        rim(_s.a, p.z);
        paths.push_back(std::abs(p.z));
        break;
      default: {
        const double rc = _s.shape == ShapeKind::shell ? _s.b : _s.c, zeta = p.z - rc;
        paths.push_back(std::abs(rc - std::hypot(r, zeta)));
        paths.push_back(rc + std::hypot(r, zeta));
        rim(_s.a, zeta + std::sqrt(rc * rc - _s.a * _s.a));
        if (_s.shape == ShapeKind::spherical_ring)
          rim(_s.b, zeta + std::sqrt(rc * rc - _s.b * _s.b));
      }
    }
    for (double& path : paths) path /= _s.medium._soundspeed;
    return paths;
  }

  Situation _s;
  Rule _rule;
};

}  // namespace kestrel::test
