#pragma once

#include <complex>

#include "fields/direct_field.h"
#include "fields/reuse_plan.h"

namespace kestrel::fields {

/// Adds the field of a group of elements, those of the job, of equal geometry and orientation, at
/// the plan's part of a grid: computes the plan's distinct points by the method itself, then
/// accumulates weighted copies, the elements of a point always in their order. `result` is the
/// whole grid's; `shares` are the fractions of the whole work, for the progress.
void add_reused_field(TileRunner& runner, const ReuseCosts& shares, const ReusePlan& plan,
                      const DirectJob& group, std::complex<double>* result, NodeRange& used);

}  // namespace kestrel::fields
