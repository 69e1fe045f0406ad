#pragma once

#include <atomic>
#include <complex>

#include "fields/direct_field.h"
#include "fields/element_groups.h"

namespace kestrel::fields {

/// The field of an array on a regular grid, made block by block from those of groups of its
/// elements (element_groups.h).
struct GroupedJob {
  const GroupPlanner& planner;
  const CoordinateGrid& grid;
  const Medium& medium;
  const Method& method;
  const NodeRule& rule;
};

/// Estimates of the time of one core, in nanoseconds, from the plans of some blocks.
struct GroupedCost {
  double grouped = 0;
  double alone = 0;  ///< if every element were computed at every point
};
GroupedCost grouped_cost(const GroupedJob& job);

/// Bytes that add_grouped_field works with, at most.
double grouped_memory(const GroupedJob& job, int threads);

/// Adds the job's pressures to result[0 .. points-1]. The blocks depend on the grid and the
/// elements alone, so the result is the same, bit for bit, for any number of threads. Where the
/// interpolation of a group's field does not converge as planned, as its last coefficients tell, it
/// gets more places, and in the end its elements are computed at every point.
///
/// `pairs`: those of elements and points that were interpolated are added to it.
void add_grouped_field(TileRunner& runner, const GroupedJob& job, std::complex<double>* result,
                       NodeRange& used, std::atomic<double>& pairs);

}  // namespace kestrel::fields
