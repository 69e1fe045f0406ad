#include "fields/array_field.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <limits>
#include <map>
#include <memory>
#include <set>

#include "fields/direct_field.h"
#include "fields/error_estimate.h"
#include "fields/kzk_array.h"
#include "fields/node_rule.h"
#include "fields/points.h"
#include "fields/pointwise_field.h"
#include "fields/reused_field.h"
#include "services/error.h"

namespace kestrel::fields {

namespace {

/// What makes elements share a field: geometry, orientation, apodization.
using Likeness = std::array<double, 8>;

Likeness likeness(const Element& e) {
  const auto with = [&](std::array<double, 3> size) -> Likeness {
    return {static_cast<double>(e.geometry.index()),
            size[0],
            size[1],
            size[2],
            e.euler.x,
            e.euler.y,
            e.euler.z,
            static_cast<double>(e.apodization_index)};
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
                                      const CoordinateGrid& grid, double per_point, double memory) {
  constexpr int kMostParts = 1024;
  const double direct =
      static_cast<double>(grid.npoints()) * static_cast<double>(elements.size()) * per_point;
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

/// The ways of all elements.
struct Work {
  std::vector<ReusedGroup> reused;
  std::vector<Element> direct;
  double direct_cost = 0;
  double cost = 0;
};

Work plan_work(const std::vector<Element>& elements, const CoordinateGrid& grid,
               const Settings& settings, const NodeRule& rule) {
  // Costs are those of a point in the middle of the grid.
  const auto middle = [](double from, double to) { return (from + to) / 2; };
  const CartesianCoordinate center{middle(grid.xmin(), grid.xmax()),
                                   middle(grid.ymin(), grid.ymax()),
                                   middle(grid.zmin(), grid.zmax())};
  const Method& method = *settings.method;
  const auto per_point = [&](const Element& e) {
    return cost_per_point(method, e.geometry, rule.nodes(e, {center, center}));
  };
  Work work;
  std::set<Likeness> shared;
  if (settings.reuse && method.reusable && grid.regular() && grid.npoints() > 0) {
    std::map<Likeness, std::vector<Element>> groups;
    for (const Element& element : elements) groups[likeness(element)].push_back(element);
    for (const auto& [key, group] : groups) {
      auto plan = plan_reuse(group, method, grid, per_point(group.front()), settings.memory);
      if (!plan) continue;
      shared.insert(key);
      work.cost += plan->cost;
      work.reused.push_back(std::move(*plan));
    }
  }
  for (const Element& element : elements) {
    if (shared.contains(likeness(element))) continue;
    work.direct.push_back(element);
    work.direct_cost += per_point(element) * grid.npoints();
  }
  work.cost += work.direct_cost;
  return work;
}

/// The tolerance of each element, relative to rho c |amplitude|, for that of the whole field: as if
/// the errors of all elements added up. The field's peak is not known yet; that of a small sample
/// is a lower bound.
double element_tolerance(TileRunner& runner, const std::vector<Element>& elements,
                         const PointSource& points, const Medium& medium,
                         const Settings& settings) {
  constexpr std::size_t kSample = 48;
  constexpr double kPilot = 1e-3;
  double amplitudes = 0;
  for (const Element& e : elements) amplitudes += std::abs(e.amplitude);
  const std::vector<std::size_t> sample = draw_points(points.size(), kSample);
  const ToleranceNodes pilot(medium, kPilot);
  const std::vector<std::complex<double>> field =
      compute_points(runner, {elements, points, medium, *settings.method, pilot}, sample);
  double peak = 0;
  for (const auto& p : field) peak = std::max(peak, std::abs(p));
  const double together = medium._rho_density * medium._soundspeed * amplitudes;
  // The sample itself is only as good as its own tolerance.
  const double share = together > 0 ? peak / together - kPilot : 0;
  return std::clamp(*settings.tolerance * std::max(share, kPilot), 1e-12, 0.1);
}

/// A harmonic that is not there must not be answered by another one.
void check_harmonics(const kzk::Parameters& march, std::span<const int> wanted) {
  if (march.harmonics > kzk::kMostHarmonics) {
    fail("%d harmonics were ordered, but a march carries at most %d.", march.harmonics,
         kzk::kMostHarmonics);
  }
  const int carried = kzk::carried_harmonics(march);
  const auto check = [&](int harmonic) {
    if (harmonic >= 1 && harmonic <= carried) return;
    fail("harmonic %d was asked for, but the march carries the harmonics 1 to %d.", harmonic,
         carried);
  };
  for (const int harmonic : wanted) check(harmonic);
  if (wanted.empty() && march.harmonic > 0) check(march.harmonic);
}

void check_settings(const Settings& settings) {
  check_march_parameters(*settings.method, settings.kzk);
  if (!settings.tolerance) {
    if (settings.nodes < 1) fail("the number of nodes must be at least 1.");
    return;
  }
  if (!settings.method->takes_tolerance) {
    fail("a tolerance chooses the nodes of the method 'fnm_cw'; for '%s' give their number.",
         settings.method->name);
  }
  if (!(*settings.tolerance >= 1e-10 && *settings.tolerance < 1)) {
    fail("the tolerance must be at least 1e-10 and below 1, but it is %g.", *settings.tolerance);
  }
}

/// Points of the error's sample: what a few percent of the work pay for, and no fewer than a few.
std::size_t error_samples(const std::vector<Element>& elements, double cost) {
  constexpr double kShare = 0.03, kLeastCost = 2e6;  // nanoseconds
  constexpr double kPerElement = 400;
  const double affordable =
      std::max(kShare * cost, kLeastCost) /
      (kPerElement * static_cast<double>(std::max<std::size_t>(elements.size(), 1)));
  return static_cast<std::size_t>(std::clamp(affordable, 16.0, 1000.0));
}

/// The settings' instruction set, if there is one, for the life of a scope.
class ChosenInstructionSet {
 public:
  explicit ChosenInstructionSet(const Settings& settings) {
    if (!settings.instruction_set) return;
    _scope.emplace(*settings.instruction_set);
    if (!_scope->chosen()) {
      fail("this processor has no instruction set '%s'.", name(*settings.instruction_set));
    }
  }

 private:
  std::optional<ScopedInstructionSet> _scope;
};

class Clock {
 public:
  double seconds() const {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
  }

 private:
  std::chrono::steady_clock::time_point _start = std::chrono::steady_clock::now();
};

Report begin_report(int threads) {
  Report report;
  report.threads = threads;
  report.instruction_set = instruction_set();
  report.error_estimate = std::numeric_limits<double>::quiet_NaN();
  return report;
}

}  // namespace

Report compute_harmonics(const std::vector<Element>& elements, const CoordinateGrid& grid,
                         const Medium& medium, std::span<const int> harmonics,
                         const Settings& settings, std::complex<double>* result) {
  const Clock clock;
  for (std::size_t i = 0; i < elements.size(); ++i) check_element(elements[i], i + 1);
  if (settings.tolerance) {
    fail("'kzk_cw' takes no tolerance: its steps decide how accurate it is.");
  }
  check_harmonics(settings.kzk, harmonics);
  check_methods(elements, *find_continuous_wave_method("kzk_cw"), continuous_wave_methods(),
                medium);
  std::fill_n(result,
              static_cast<std::size_t>(grid.npoints()) * std::max<std::size_t>(harmonics.size(), 1),
              std::complex<double>{});
  const ChosenInstructionSet chosen_set(settings);
  Report report = begin_report(thread_count(settings.threads));
  const MarchJob job{
      elements, grid, medium, settings.kzk, settings.announce, settings.progress, settings.threads};
  report.march = add_harmonics(job, harmonics, result);
  report.memory = report.march.bytes;
  report.direct_elements = elements.size();
  report.seconds = clock.seconds();
  return report;
}

Report compute_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                     const Medium& medium, const Settings& settings, std::complex<double>* result) {
  const Clock clock;
  const Method& method = *settings.method;
  if (method.marched) return compute_harmonics(elements, grid, medium, {}, settings, result);
  for (std::size_t i = 0; i < elements.size(); ++i) check_element(elements[i], i + 1);
  check_settings(settings);
  check_methods(elements, method, continuous_wave_methods(), medium);

  const GridPoints points(grid);
  std::fill_n(result, points.size(), std::complex<double>{});
  const ChosenInstructionSet chosen_set(settings);
  TileRunner runner(settings.threads, settings.progress);
  Report report = begin_report(runner.threads());

  std::unique_ptr<NodeRule> rule;
  if (settings.tolerance) {
    runner.begin_stage(0);
    rule = std::make_unique<ToleranceNodes>(
        medium, element_tolerance(runner, elements, points, medium, settings));
  } else {
    rule = std::make_unique<FixedNodes>(settings.nodes);
  }
  const Work work = plan_work(elements, grid, settings, *rule);

  NodeRange used;
  for (const ReusedGroup& group : work.reused) {
    for (const ReusePlan& plan : group.plans) {
      const double share = group.cost / work.cost / static_cast<double>(group.plans.size());
      add_reused_field(runner, share, plan, group.elements, medium, method, *rule, result, used);
    }
    report.reused_elements += group.elements.size();
    report.memory = std::max(report.memory, group.memory);
  }
  if (!work.direct.empty()) {
    const DirectJob job{work.direct, points, medium, method, *rule};
    runner.begin_stage(work.direct_cost / work.cost);
    add_direct_field(runner, job, result, used);
    report.direct_elements = work.direct.size();
    report.memory = std::max(report.memory, direct_memory(job, runner.threads()));
  }
  report.least_nodes = used.least;
  report.greatest_nodes = used.greatest;
  if (settings.estimate_error) {
    runner.begin_stage(0);
    report.error_estimate =
        estimate_error(runner, {elements, points, medium, method, *rule}, report.greatest_nodes,
                       error_samples(elements, work.cost), result);
  }

  runner.messages().replay();
  report.seconds = clock.seconds();
  return report;
}

}  // namespace kestrel::fields
