#pragma once

#include <complex>
#include <span>

#include "fields/direct_field.h"

namespace kestrel::fields {

/// Estimates the largest difference between a computed field and a converged one, relative to the
/// field's peak, by computing some points again: half of them drawn at random with a fixed seed,
/// half the nearest to an element of a larger draw, since errors are largest there.
///
/// The method's yardstick says what the converged field is: the fast nearfield method with nodes
/// for a tolerance of 1e-9 (for methods that approximate the Rayleigh integral without the factor
/// 1 - j alpha/k by which the two differ in a lossy medium), or the method itself with twice as
/// many nodes.
///
/// `samples`: how many points at most. NaN without points or with a peak that is not positive.
double estimate_error(TileRunner& runner, const DirectJob& job, int nodes, std::size_t samples,
                      const std::complex<double>* field);

}  // namespace kestrel::fields
