#pragma once

#include <vector>

#include "fields/error_sample.h"

namespace kestrel::fields {

/// The tolerance of each element, relative to rho c |amplitude|, for that of the whole field.
///
/// The errors of all elements together may be the sum of their magnitudes, as at a focus, or far
/// less, and the error of most numbers of nodes is less than the estimate by which they are chosen.
/// So, with `trials`, the sample tells how much of the tolerance is used, and each element's is
/// raised accordingly.
double element_tolerance(const ErrorSample& sample, const std::vector<Element>& elements,
                         const Medium& medium, double tolerance, bool trials);

}  // namespace kestrel::fields
