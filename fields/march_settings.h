#pragma once

#include <functional>

#include "inputs/kzk_parameters.h"

namespace kestrel::fields {

/// Called on the calling thread with the seconds that nonlinear marches will take, roughly, before
/// they start.
using Expectation = std::function<void(double seconds)>;

/// The size of a nonlinear march.
struct MarchSize {
  long planes = 0;    ///< axial steps
  long nodes = 0;     ///< radial nodes of a plane
  long unknowns = 0;  ///< per node: harmonics, or time samples of a pulse
};

}  // namespace kestrel::fields
