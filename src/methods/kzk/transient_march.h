#pragma once

#include <functional>
#include <limits>
#include <span>

#include "methods/kzk/problem.h"

namespace kestrel::kzk {

/// The drive of an element over time.
struct Drive {
  /// Normalised normal velocity at time t (s); zero before t = 0.
  std::function<double(double)> at;
  double frequency = 0;  ///< its centre frequency, Hz; 0 when unknown
  /// When it ends, s; infinity (or unknown) makes the window end with the last time asked for.
  double duration = std::numeric_limits<double>::infinity();
  double sampling_interval = 0;  ///< of a sampled signal, s; 0 for an analytic one
  double delay = 0;              ///< the element's time delay, s
};

/// A pulsed beam of one element: pressure over time at a list of points.
struct TransientProblem : Problem {
  double amplitude = 0;  ///< normal velocity, m/s, that multiplies the drive
  Drive drive;
  std::span<const double> times;  ///< s, in any order
};

struct TransientResult : Report {
  /// Pressure, Pa: point i at time j lies at i * times + j. Single precision, as the march.
  /// Empty after an error.
  std::vector<float> pressure;
  Cost cost;
};

/// Marches. Never throws; what goes wrong is the report's error.
TransientResult march_transient(const TransientProblem& problem);

/// The size of the march that `march_transient` would make; zero when it would not march.
Cost estimate_transient(const TransientProblem& problem);

}  // namespace kestrel::kzk
