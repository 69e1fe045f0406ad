#pragma once

#include <complex>
#include <span>

#include "fields/direct_field.h"

namespace kestrel::fields {

/// Estimates the largest difference between a computed field and a converged one, relative to the
/// field's peak, by computing a sample of points again (error_sample.h), and more of them uphill
/// from the worst of it.
///
/// The method's yardstick says what the converged field is: the fast nearfield method with nodes
/// for a tolerance of 1e-11 (for methods that approximate the Rayleigh integral without the factor
/// 1 - j alpha/k by which the two differ in a lossy medium), or the method itself with twice as
/// many nodes, which is also what is left for a shape that has no fast nearfield method.
///
/// `nodes`: how many the job used; `clusters`: of the sample. NaN without points or with a peak
/// that is not positive.
double estimate_error(TileRunner& runner, const DirectJob& job, const CoordinateGrid& grid,
                      int nodes, std::size_t clusters, const std::complex<double>* field);

}  // namespace kestrel::fields
