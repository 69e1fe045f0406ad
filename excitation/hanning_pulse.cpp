#include "excitation/hanning_pulse.h"

#include <cmath>

namespace kestrel {

HanningPulse::HanningPulse(double A0, double f0, double pulse_width, double B, int type)
    : AnalyticPulse(A0, f0, pulse_width, B, type) {}

double HanningPulse::at(const double& t) const {
  if (!inside(t)) return 0.0;
  return _a0 * (1 - std::cos(_two_pi * t / _pulse_width)) * std::sin(_two_pi * _f0 * t);
}

double HanningPulse::derivative(const double& t) const {
  if (!inside(t)) return 0.0;
  return _a0 * ((1 - std::cos(_omegaw * t)) * _omega0 * std::cos(_omega0 * t) +
                std::sin(_omegaw * t) * _omegaw * std::sin(_omega0 * t));
}

HanningPulse::Terms HanningPulse::spatial_terms(double tau) const {
  const double c = std::cos(_omega0 * tau), s = std::sin(_omega0 * tau);
  const double cw = std::cos(_omegaw * tau), sw = std::sin(_omegaw * tau);
  return {_a0 * c, _a0 * s, _a0 * cw * c, _a0 * cw * s, _a0 * sw * c, _a0 * sw * s};
}

HanningPulse::Terms HanningPulse::temporal_terms(double t) const {
  const double c = std::cos(_omega0 * t), s = std::sin(_omega0 * t);
  const double cw = std::cos(_omegaw * t), sw = std::sin(_omegaw * t);
  return {_a0 * s, -_a0 * c, -_a0 * cw * s, _a0 * cw * c, -_a0 * sw * s, _a0 * sw * c};
}

}  // namespace kestrel
