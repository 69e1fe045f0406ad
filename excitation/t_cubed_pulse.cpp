#include "excitation/t_cubed_pulse.h"

#include <cmath>

namespace kestrel {

TCubedPulse::TCubedPulse(double A0, double f0, double pulse_width, double B, int type)
    : AnalyticPulse(A0, f0, pulse_width, B, type) {}

double TCubedPulse::at(const double& t) const {
  if (!inside(t)) return 0.0;
  return _a0 * (t * t * t) * std::exp(-_b * t) * std::sin(_two_pi * _f0 * t);
}

double TCubedPulse::derivative(const double& t) const {
  if (!inside(t)) return 0.0;
  const double c = std::cos(_omega0 * t), s = std::sin(_omega0 * t);
  const double cube = t * t * t;
  return std::exp(-_b * t) * (3 * _a0 * (t * t) * s + _omega0 * cube * c - _b * cube * s);
}

// (t - tau)^3 by the binomial theorem, sin(omega0 (t - tau)) by the addition theorem.

TCubedPulse::Terms TCubedPulse::spatial_terms(double tau) const {
  const double e = std::exp(_b * tau);
  const double c = std::cos(_omega0 * tau), s = std::sin(_omega0 * tau);
  Terms terms;
  double power = _a0;  // A0 tau^k
  for (int k = 0; k < 4; ++k) {
    terms[k] = power * e * c;
    terms[4 + k] = power * e * s;
    power *= tau;
  }
  return terms;
}

TCubedPulse::Terms TCubedPulse::temporal_terms(double t) const {
  const double e = std::exp(-_b * t);
  const double c = std::cos(_omega0 * t), s = std::sin(_omega0 * t);
  const double binomial[4] = {t * t * t, -3 * (t * t), 3 * t, -1};
  Terms terms;
  for (int k = 0; k < 4; ++k) {
    terms[k] = binomial[k] * e * s;
    terms[4 + k] = -(binomial[k] * e * c);
  }
  return terms;
}

}  // namespace kestrel
