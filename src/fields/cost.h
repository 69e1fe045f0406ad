#pragma once

#include <cstddef>

#include "kestrel/geometry.h"
#include "kestrel/grid.h"
#include "kestrel/method.h"

/// Rough times in nanoseconds on one core with AVX2. Only their ratios matter, for the choice
/// between the algorithms, for the size of samples and for the progress.

namespace kestrel::fields {

/// Of an element at a point, by a method with so many nodes.
double cost_per_point(const Method& method, const Geometry& geometry, int nodes);

/// Of an element at a cluster of an error sample (error_sample.h); of a list, a cluster is one
/// point.
double cost_per_cluster(const CoordinateGrid& grid);

/// The clusters of a sample, at least `least`, that a `share` of the work's cost pays for.
std::size_t affordable_clusters(const CoordinateGrid& grid, std::size_t elements, double work_cost,
                                double share, double least);

}  // namespace kestrel::fields
