#pragma once

#include <complex>
#include <span>

#include "fields/direct_field.h"
#include "fields/reuse_plan.h"

namespace kestrel::fields {

/// Adds the field of a group of elements, of equal geometry and orientation, at a part of the grid:
/// computes the plan's distinct points by the method itself, then accumulates weighted copies, the
/// elements of a point always in their order. `result` is the whole grid's; `shares` are the
/// fractions of the whole work, for the progress.
void add_reused_field(TileRunner& runner, const ReuseCosts& shares, const ReusePlan& plan,
                      std::span<const Element> group, const Medium& medium, const Method& method,
                      const NodeRule& rule, std::complex<double>* result, NodeRange& used);

}  // namespace kestrel::fields
