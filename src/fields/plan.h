#pragma once

#include <optional>
#include <vector>

#include "fields/element_groups.h"
#include "fields/node_rule.h"
#include "fields/reuse_plan.h"
#include "kestrel/field.h"

namespace kestrel::fields {

/// A group of equal elements that share their field, part by part of the grid.
struct ReusedGroup {
  std::vector<Element> elements;
  std::vector<ReusePlan> plans;   ///< by part of the grid
  std::vector<ReuseCosts> costs;  ///< of each plan
  double cost = 0;                ///< of all
  double memory = 0;              ///< bytes of the largest
};

/// By which algorithm each element of an array is computed.
struct EvaluationPlan {
  std::vector<ReusedGroup> reused;
  std::vector<Element> direct;
  std::optional<ElementTree> groups;  ///< of the direct elements, when they are to be grouped
  double direct_cost = 0;             ///< of the direct elements, in groups or not
  double cost = 0;                    ///< of all
};

/// Plans to reuse what elements of equal geometry, orientation and apodization share, where that
/// fits into the settings' memory and pays. `rule` tells the nodes, by which costs are judged.
/// While it plans, the settings' progress is asked whether to go on; ends by Cancelled.
EvaluationPlan plan_evaluation(const std::vector<Element>& elements, const CoordinateGrid& grid,
                               const Settings& settings, const NodeRule& rule);

/// Whether elements that are planned to be computed one by one may be grouped (element_groups.h).
bool may_group(const EvaluationPlan& plan, const CoordinateGrid& grid, const Settings& settings);

/// Groups them where that pays; `allowed`: error of the interpolation, pascals.
void plan_groups(EvaluationPlan& plan, const CoordinateGrid& grid, const Medium& medium,
                 const Settings& settings, const NodeRule& rule, double allowed, int threads);

}  // namespace kestrel::fields
