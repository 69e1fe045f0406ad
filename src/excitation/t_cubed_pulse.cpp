#include <cmath>

#include "excitation/pulse_terms.h"
#include "kestrel/excitation.h"
#include "numerics/constants.h"

namespace kestrel {

TCubedPulse::TCubedPulse(double A0, double f0, double pulse_width, double B, int type)
    : AnalyticPulse(A0, f0, pulse_width, B, type) {
  set_terms({_a0, _omega0, _b}, {_a0, _omega0, _b});
}

double TCubedPulse::at(const double& t) const {
  if (!inside(t)) return 0.0;
  return _a0 * (t * t * t) * std::exp(-_b * t) * std::sin(constants::kShortTwoPi * _f0 * t);
}

double TCubedPulse::derivative(const double& t) const {
  if (!inside(t)) return 0.0;
  const double c = std::cos(_omega0 * t), s = std::sin(_omega0 * t);
  const double cube = t * t * t;
  return std::exp(-_b * t) * (3 * _a0 * (t * t) * s + _omega0 * cube * c - _b * cube * s);
}

}  // namespace kestrel
