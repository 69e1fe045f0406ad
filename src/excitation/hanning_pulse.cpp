#include <cmath>

#include "excitation/pulse_terms.h"
#include "kestrel/excitation.h"
#include "numerics/constants.h"

namespace kestrel {

HanningPulse::HanningPulse(double A0, double f0, double pulse_width, double B, int type)
    : AnalyticPulse(A0, f0, pulse_width, B, type) {
  set_terms({_a0, _omega0, _omegaw, _a0}, {_a0, _omega0, _omegaw, 1.0});
}

double HanningPulse::at(const double& t) const {
  if (!inside(t)) return 0.0;
  return _a0 * (1 - std::cos(constants::kShortTwoPi * t / _pulse_width)) *
         std::sin(constants::kShortTwoPi * _f0 * t);
}

double HanningPulse::derivative(const double& t) const {
  if (!inside(t)) return 0.0;
  return _a0 * ((1 - std::cos(_omegaw * t)) * _omega0 * std::cos(_omega0 * t) +
                std::sin(_omegaw * t) * _omegaw * std::sin(_omega0 * t));
}

}  // namespace kestrel
