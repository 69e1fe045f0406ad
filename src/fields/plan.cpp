#include "fields/plan.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <set>

#include "fields/cost.h"
#include "fields/grouped_field.h"
#include "fields/tile_runner.h"
#include "numerics/interruption.h"

namespace kestrel::fields {

namespace {

/// What makes elements share a field: geometry, orientation, apodization.
using SharingKey = std::array<double, 8>;

SharingKey sharing_key(const Element& e) {
  SharingKey key{static_cast<double>(e.geometry.index())};
  std::visit(
      [&](const auto& face) {
        std::size_t i = 1;
        for (const auto& [name, size] : face.sizes()) key.at(i++) = face.*size;
      },
      e.geometry);
  key[4] = e.euler.x;
  key[5] = e.euler.y;
  key[6] = e.euler.z;
  key[7] = e.apodization_index;
  return key;
}

/// The grid cut across its slowest axis.
std::vector<GridPart> cut(const CoordinateGrid& grid, int parts) {
  const GridPart whole(grid);
  const std::size_t axis = whole.count[2] > 1 ? 2 : whole.count[1] > 1 ? 1 : 0;
  const int count = whole.count[axis];
  std::vector<GridPart> result;
  for (int i = 0; i < parts; ++i) {
    const auto from = static_cast<int>(static_cast<long long>(count) * i / parts);
    const auto to = static_cast<int>(static_cast<long long>(count) * (i + 1) / parts);
    if (from == to) continue;
    GridPart part = whole;
    part.first[axis] = from;
    part.count[axis] = to - from;
    result.push_back(part);
  }
  return result;
}

/// How the group shares its field in the memory allowed; none when it cannot or it does not pay.
std::optional<ReusedGroup> plan_reuse(const std::vector<Element>& elements, const Method& method,
                                      const CoordinateGrid& grid, double per_point, double memory) {
  constexpr int kMostParts = 1024;
  // Planning that costs more than the work it saves is given up; so much is always tried.
  constexpr double kPlanning = 200;  // nanoseconds for each position or radius
  constexpr double kLeastNumbers = 1e6;
  const double direct =
      static_cast<double>(grid.npoints()) * static_cast<double>(elements.size()) * per_point;
  for (int parts = 1; parts <= kMostParts; parts *= 4) {
    ReusedGroup group;
    bool fits = true;
    const PlanLimits limits{memory, std::max(0.8 * direct / kPlanning, kLeastNumbers) / parts};
    for (const GridPart& part : cut(grid, parts)) {
      bool too_large = false;
      std::optional<ReusePlan> plan = ReusePlan::make(elements, method, part, limits, too_large);
      fits = !too_large;
      if (!fits) break;
      if (!plan) return std::nullopt;
      group.memory = std::max(group.memory, plan->memory());
      fits = group.memory <= memory;
      if (!fits) break;
      group.costs.push_back(plan->costs(elements.size(), per_point));
      group.cost += group.costs.back().total();
      group.plans.push_back(std::move(*plan));
      if (group.cost > 0.8 * direct) return std::nullopt;
    }
    if (group.cost > 0.8 * direct) return std::nullopt;
    if (fits) {
      group.elements = elements;
      return group;
    }
  }
  return std::nullopt;
}

}  // namespace

EvaluationPlan plan_evaluation(const std::vector<Element>& elements, const CoordinateGrid& grid,
                               const Settings& settings, const NodeRule& rule) {
  const InterruptionScope listening([&] { return settings.progress && !settings.progress(0); });
  // Costs are those of a point in the middle of the grid.
  const auto middle = [](double from, double to) { return (from + to) / 2; };
  const CartesianCoordinate center{middle(grid.xmin(), grid.xmax()),
                                   middle(grid.ymin(), grid.ymax()),
                                   middle(grid.zmin(), grid.zmax())};
  const Method& method = *settings.method;
  const auto per_point = [&](const Element& e) {
    return cost_per_point(method, e.geometry, rule.nodes(e, {center, center}));
  };
  EvaluationPlan plan;
  std::set<SharingKey> shared;
  if (settings.reuse && method.reusable && grid.regular() && grid.npoints() > 0) {
    std::map<SharingKey, std::vector<Element>> groups;
    for (const Element& element : elements) groups[sharing_key(element)].push_back(element);
    for (const auto& [key, group] : groups) {
      end_if_cancelled();
      auto reused = plan_reuse(group, method, grid, per_point(group.front()), settings.memory);
      if (!reused) continue;
      shared.insert(key);
      plan.cost += reused->cost;
      plan.reused.push_back(std::move(*reused));
    }
  }
  constexpr std::size_t kBetweenQuestions = 256;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (i % kBetweenQuestions == 0) end_if_cancelled();
    const Element& element = elements[i];
    if (shared.contains(sharing_key(element))) continue;
    plan.direct.push_back(element);
    plan.direct_cost += per_point(element) * grid.npoints();
  }
  plan.cost += plan.direct_cost;
  return plan;
}

bool may_group(const EvaluationPlan& plan, const CoordinateGrid& grid, const Settings& settings) {
  constexpr double kLeast = 1e6;  // nanoseconds that are worth planning for
  return settings.reuse && settings.tolerance && settings.method->takes_tolerance &&
         grid.regular() && plan.direct_cost > kLeast;
}

void plan_groups(EvaluationPlan& plan, const CoordinateGrid& grid, const Medium& medium,
                 const Settings& settings, const NodeRule& rule, double allowed, int threads) {
  constexpr double kWorthwhile = 0.7;
  if (!may_group(plan, grid, settings)) return;
  const InterruptionScope listening([&] { return settings.progress && !settings.progress(0); });
  ElementTree tree(plan.direct);
  const GroupPlanner planner(tree, medium, *settings.method, rule, allowed);
  const GroupedJob job{planner, grid, medium, *settings.method, rule};
  if (grouped_memory(job, threads) > settings.memory) return;
  const GroupedCost cost = grouped_cost(job);
  if (!(cost.grouped < kWorthwhile * cost.alone)) return;
  plan.cost += cost.grouped - plan.direct_cost;
  plan.direct_cost = cost.grouped;
  plan.groups = std::move(tree);
}

}  // namespace kestrel::fields
