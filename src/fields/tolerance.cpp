#include "fields/tolerance.h"

#include <algorithm>
#include <cmath>

namespace kestrel::fields {

namespace {

/// The sum of the magnitudes of all elements' pressures at their faces.
double summed_amplitude(const std::vector<Element>& elements, const Medium& medium) {
  double amplitudes = 0;
  for (const Element& e : elements) amplitudes += std::abs(e.amplitude);
  return medium._rho_density * medium._soundspeed * amplitudes;
}

}  // namespace

double element_tolerance(const ErrorSample& sample, const std::vector<Element>& elements,
                         const Medium& medium, double tolerance, bool trials) {
  // The part of the tolerance that the sample may use, for other points may be worse.
  constexpr double kAim = 0.05, kMostUsed = 0.1, kMostRaise = 1e4, kLeast = 1e-13, kMost = 10;
  const double sum = summed_amplitude(elements, medium), wanted = tolerance * sample.peak();
  if (!(sum > 0) || !(wanted > 0)) return std::clamp(tolerance, kLeast, kMost);
  const double safe = std::clamp(wanted / sum, kLeast, kMost);
  if (!trials) return safe;
  const auto used = [&](double t) { return sample.error(ToleranceNodes(medium, t)) / wanted; };
  double best = safe, best_used = used(safe);
  double ceiling = kMost;
  constexpr int kTrials = 3;
  for (int trial = 0; trial < kTrials && best_used < kAim / 4; ++trial) {
    const double raise = std::min(kAim / std::max(best_used, 1e-300), kMostRaise);
    const double next = std::min(best * std::pow(raise, 0.8), std::sqrt(best * ceiling));
    const double next_used = used(next);
    if (next_used <= kMostUsed) {
      best = next;
      best_used = next_used;
    } else {
      ceiling = next;
    }
  }
  return best;
}

}  // namespace kestrel::fields
