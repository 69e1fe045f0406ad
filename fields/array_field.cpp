#include "fields/array_field.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <set>

#include "fields/direct_field.h"
#include "fields/node_rule.h"
#include "fields/points.h"
#include "fields/reused_field.h"
#include "host/host.h"

namespace kestrel::fields {

namespace {

/// What makes elements share a field: geometry, orientation, apodization.
using Likeness = std::array<double, 8>;

Likeness likeness(const Element& e) {
  const auto with = [&](std::array<double, 3> size) -> Likeness {
    return {static_cast<double>(e.geometry.index()), size[0], size[1], size[2],
            e.euler.x, e.euler.y, e.euler.z, static_cast<double>(e.apodization_index)};
  };
  struct Sizes {
    std::array<double, 3> operator()(const Rectangle& g) const { return {g.width, g.height, 0}; }
    std::array<double, 3> operator()(const Circle& g) const { return {g.radius, 0, 0}; }
    std::array<double, 3> operator()(const Ring& g) const {
      return {g.inner_radius, g.outer_radius, 0};
    }
    std::array<double, 3> operator()(const Shell& g) const {
      return {g.radius, g.rad_curvature, 0};
    }
    std::array<double, 3> operator()(const ShellRing& g) const {
      return {g.inner_radius, g.outer_radius, g.geometric_focus};
    }
  };
  return with(std::visit(Sizes{}, e.geometry));
}

/// Rough costs in nanoseconds on one core with AVX2; only their ratios matter, for the choice
/// between the ways and for the progress.
double cost_per_point(const Method& method, const Geometry& geometry, int nodes) {
  constexpr double point = 15, term = 1.6;
  double integrals = 1;
  if (std::holds_alternative<Rectangle>(geometry)) integrals = 4;
  if (std::holds_alternative<Ring>(geometry) || std::holds_alternative<ShellRing>(geometry)) {
    integrals = 2;
  }
  if (method.compute == &Transducer::farfield_cw) return point;
  const bool squared = method.compute == &Transducer::radiator_cw ||
                       method.compute == &Transducer::rayleigh_cw ||
                       method.compute == &Transducer::rayleigh_cw_apodized ||
                       method.compute == &Transducer::rayleigh_cw_sse ||
                       method.compute == &Transducer::fnm_cw_apodized;
  return point + term * (squared ? static_cast<double>(nodes) * nodes : integrals * nodes);
}

double reuse_cost(const ReusePlan& plan, std::size_t elements, double per_point) {
  constexpr double unfold = 4, copy = 0.4, row = 12;
  const double rows = static_cast<double>(plan.rows()) * static_cast<double>(elements);
  return static_cast<double>(plan.distinct_points()) * per_point +
         static_cast<double>(plan.table_size()) * unfold +
         rows * (row + copy * static_cast<double>(plan.row_length()));
}

/// A group of like elements whose field is computed by reuse, part by part of the grid.
struct ReusedGroup {
  std::vector<Element> elements;
  std::vector<ReusePlan> plans;
  double cost = 0;
  double memory = 0;
};

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
                                      const CoordinateGrid& grid, double per_point,
                                      double memory) {
  constexpr int kMostParts = 1024;
  const double direct = static_cast<double>(grid.npoints()) *
                        static_cast<double>(elements.size()) * per_point;
  for (int parts = 1; parts <= kMostParts; parts *= 4) {
    ReusedGroup group;
    bool fits = true;
    for (const GridPart& part : cut(grid, parts)) {
      std::optional<ReusePlan> plan = ReusePlan::make(elements, method, part);
      if (!plan) return std::nullopt;
      group.memory = std::max(group.memory, plan->memory());
      fits = group.memory <= memory;
      if (!fits) break;
      group.cost += reuse_cost(*plan, elements.size(), per_point);
      group.plans.push_back(std::move(*plan));
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

Report compute_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                     const Medium& medium, const Settings& settings,
                     std::complex<double>* result) {
  const auto start = std::chrono::steady_clock::now();
  const Method& method = *settings.method;
  if (settings.nodes < 1) host::fail("the number of nodes must be at least 1.");
  for (std::size_t i = 0; i < elements.size(); ++i) check_element(elements[i], i + 1);
  check_methods(elements, method, continuous_wave_methods(), medium);

  const GridPoints points(grid);
  std::fill_n(result, points.size(), std::complex<double>{});
  TileRunner runner(settings.threads, settings.progress);
  Report report;
  report.threads = runner.threads();
  report.instruction_set = instruction_set();

  // Sort the elements into groups that share a field, and the rest.
  std::vector<ReusedGroup> reused;
  std::vector<Element> direct;
  double direct_cost = 0, whole_cost = 0;
  const auto per_point = [&](const Element& e) {
    return cost_per_point(method, e.geometry, settings.nodes);
  };
  if (settings.reuse && method.reusable && grid.regular()) {
    std::map<Likeness, std::vector<Element>> groups;
    for (const Element& element : elements) groups[likeness(element)].push_back(element);
    std::set<Likeness> shared;
    for (const auto& [key, group] : groups) {
      auto plan = plan_reuse(group, method, grid, per_point(group.front()), settings.memory);
      if (!plan) continue;
      shared.insert(key);
      whole_cost += plan->cost;
      reused.push_back(std::move(*plan));
    }
    for (const Element& element : elements) {
      if (!shared.contains(likeness(element))) direct.push_back(element);
    }
  } else {
    direct = elements;
  }
  for (const Element& e : direct) direct_cost += per_point(e) * static_cast<double>(points.size());
  whole_cost += direct_cost;

  const FixedNodes rule(settings.nodes);
  NodeRange used;
  for (const ReusedGroup& group : reused) {
    runner.begin_stage(group.cost / whole_cost);
    for (const ReusePlan& plan : group.plans) {
      add_reused_field(runner, plan, group.elements, medium, method, rule, result, used);
    }
    report.reused_elements += group.elements.size();
    report.memory = std::max(report.memory, group.memory);
  }
  if (!direct.empty()) {
    const DirectJob job{direct, points, medium, method, rule};
    runner.begin_stage(direct_cost / whole_cost);
    add_direct_field(runner, job, result, used);
    report.direct_elements = direct.size();
    report.memory = std::max(report.memory, direct_memory(job, runner.threads()));
  }

  runner.messages().replay();
  report.least_nodes = used.least;
  report.greatest_nodes = used.greatest;
  report.seconds =
      std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  return report;
}

}  // namespace kestrel::fields
