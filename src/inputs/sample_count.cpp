#include "inputs/sample_count.h"

#include <cmath>
#include <limits>

namespace kestrel {

int whole_steps(double lower, double upper, double step) {
  const double steps = std::floor((upper - lower) / step + 1e-10);
  constexpr double least = std::numeric_limits<int>::min();
  constexpr double greatest = std::numeric_limits<int>::max();
  const bool representable = steps >= least && steps <= greatest;  // false for NaN
  return representable ? static_cast<int>(steps) : std::numeric_limits<int>::min();
}

}  // namespace kestrel
