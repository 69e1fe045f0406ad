#pragma once

namespace kestrel {

/// Number of whole steps that fit between two bounds. A range that misses a whole number of steps
/// by rounding alone (within 1e-10 of a step) keeps its end point. Nothing, NaN or more than a
/// 32-bit count holds give INT_MIN, so that one test for a negative number covers every useless
/// outcome.
int whole_steps(double lower, double upper, double step);

/// True when an axis has a single value: equal bounds, or a step of zero. NaN is neither.
inline bool single_value(double lower, double upper, double step) {
  return lower == upper || step == 0.0;
}

}  // namespace kestrel
