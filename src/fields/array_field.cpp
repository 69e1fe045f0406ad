#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <map>
#include <memory>
#include <set>

#include "fields/direct_field.h"
#include "fields/error_estimate.h"
#include "fields/error_sample.h"
#include "fields/kzk_array.h"
#include "fields/node_rule.h"
#include "fields/points.h"
#include "fields/reused_field.h"
#include "kestrel/error.h"
#include "kestrel/field.h"
#include "numerics/interruption.h"

namespace kestrel::fields {

namespace {

/// What makes elements share a field: geometry, orientation, apodization.
using Likeness = std::array<double, 8>;

Likeness likeness(const Element& e) {
  Likeness key{static_cast<double>(e.geometry.index())};
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

/// Rough costs in nanoseconds on one core with AVX2; only their ratios matter, for the choice
/// between the ways and for the progress.
double cost_per_point(const Method& method, const Geometry& geometry, int nodes) {
  constexpr double point = 15, term = 1.6;
  if (method.effort == Effort::point) return point;
  const double terms = method.effort == Effort::squared
                           ? static_cast<double>(nodes) * nodes
                           : static_cast<double>(shape_facts(geometry).edge_integrals) * nodes;
  return point + term * terms;
}

/// A group of like elements whose field is computed by reuse, part by part of the grid.
struct ReusedGroup {
  std::vector<Element> elements;
  std::vector<ReusePlan> plans;
  std::vector<ReuseCosts> costs;  ///< of each plan
  double cost = 0;                ///< of all
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
      end_if_cancelled();
      auto plan = plan_reuse(group, method, grid, per_point(group.front()), settings.memory);
      if (!plan) continue;
      shared.insert(key);
      work.cost += plan->cost;
      work.reused.push_back(std::move(*plan));
    }
  }
  constexpr std::size_t kBetweenQuestions = 256;
  for (std::size_t i = 0; i < elements.size(); ++i) {
    if (i % kBetweenQuestions == 0) end_if_cancelled();
    const Element& element = elements[i];
    if (shared.contains(likeness(element))) continue;
    work.direct.push_back(element);
    work.direct_cost += per_point(element) * grid.npoints();
  }
  work.cost += work.direct_cost;
  return work;
}

/// The same, while the user may end the run.
Work plan_listening(const std::vector<Element>& elements, const CoordinateGrid& grid,
                    const Settings& settings, const NodeRule& rule) {
  const InterruptionScope listening([&] { return settings.progress && !settings.progress(0); });
  return plan_work(elements, grid, settings, rule);
}

double together(const std::vector<Element>& elements, const Medium& medium) {
  double amplitudes = 0;
  for (const Element& e : elements) amplitudes += std::abs(e.amplitude);
  return medium._rho_density * medium._soundspeed * amplitudes;
}

/// What a cluster of a sample costs for an element, in nanoseconds; of a list, it is one point.
double cluster_cost(const CoordinateGrid& grid) { return grid.regular() ? 4000 : 2000; }

/// Clusters that a share of the work pays for.
std::size_t affordable_clusters(const CoordinateGrid& grid, std::size_t elements, double work_cost,
                                double share, double least) {
  constexpr double kLeastCost = 4e6, kMost = 100;
  const double affordable =
      std::max(share * work_cost, kLeastCost) /
      (cluster_cost(grid) * static_cast<double>(std::max<std::size_t>(elements, 1)));
  return static_cast<std::size_t>(std::clamp(affordable, least, kMost));
}

/// The tolerance of each element, relative to rho c |amplitude|, for that of the whole field.
///
/// The errors of all elements together may be the sum of their magnitudes, as at a focus, or far
/// less, and the error of most numbers of nodes is less than the estimate by which they are chosen.
/// So a sample tells how much of the tolerance is used, and each element's is raised accordingly.
double element_tolerance(const ErrorSample& sample, const std::vector<Element>& elements,
                         const Medium& medium, double tolerance, bool trials) {
  // The part of the tolerance that the sample may use, for other points may be worse.
  constexpr double kAim = 0.05, kMostUsed = 0.1, kMostRaise = 1e4, kLeast = 1e-13, kMost = 10;
  const double sum = together(elements, medium), wanted = tolerance * sample.peak();
  if (!(sum > 0) || !(wanted > 0)) return std::clamp(tolerance, kLeast, kMost);
  const double safe = std::clamp(wanted / sum, kLeast, kMost);
  if (!trials) return safe;
  const auto used = [&](double t) { return sample.error(ToleranceNodes(medium, t)) / wanted; };
  double best = safe, best_used = used(safe);
  double ceiling = kMost;
  constexpr int kTrials = 3;
  for (int trial = 0; trial < kTrials && best_used < kAim / 4; ++trial) {
    const double raise = std::min(kAim / std::max(best_used, 1e-300), kMostRaise);
    const double next = std::min(best * std::pow(raise, 0.8), std::sqrt(best * ceiling));
    const double next_used = used(next);
    if (next_used <= kMostUsed) {
      best = next;
      best_used = next_used;
    } else {
      ceiling = next;
    }
  }
  return best;
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

/// The settings with what they leave open, or refused.
Settings completed(Settings settings) {
  constexpr double kDefaultTolerance = 1e-4;
  check_method(settings.method);
  check_march_parameters(*settings.method, settings.kzk);
  if (!settings.tolerance && settings.nodes == 0 && settings.method->takes_tolerance) {
    settings.tolerance = kDefaultTolerance;
  }
  if (!settings.tolerance) {
    if (settings.nodes < 1) fail("the number of nodes must be at least 1.");
    return settings;
  }
  if (!settings.method->takes_tolerance) {
    fail("a tolerance chooses the nodes of the method 'fnm_cw'; for '%s' give their number.",
         settings.method->name);
  }
  if (!(*settings.tolerance >= 1e-10 && *settings.tolerance < 1)) {
    fail("the tolerance must be at least 1e-10 and below 1, but it is %g.", *settings.tolerance);
  }
  return settings;
}

/// The medium at the frequency of the settings.
Medium tuned(Medium medium, double frequency) {
  if (!(frequency >= 0) || !std::isfinite(frequency)) {
    fail("the frequency must be greater than 0 and finite, but it is %g.", frequency);
  }
  if (frequency > 0) medium._f0 = frequency;
  check_medium(medium);
  return medium;
}

/// Adds the job's pressures; returns the bytes of working memory.
double add_in_order(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                    NodeRange& used) {
  add_direct_field(runner, job, result, used);
  return direct_memory(job, runner.threads());
}

/// The same, the points of a list taken in an order in which those of a tile lie close together,
/// so that few of them want many nodes of the others.
double add_by_place(TileRunner& runner, const DirectJob& job, std::complex<double>* result,
                    NodeRange& used) {
  const std::vector<std::size_t> order = neighbours_order(job.points);
  const ChosenPoints points(job.points, order);
  std::vector<std::complex<double>> field(order.size());
  const DirectJob ordered{job.elements, points, job.medium, job.method, job.rule};
  add_direct_field(runner, ordered, field.data(), used);
  for (std::size_t i = 0; i < order.size(); ++i) result[order[i]] += field[i];
  constexpr double kPerPoint = sizeof(std::complex<double>) + 3 * sizeof(std::size_t);
  return direct_memory(ordered, runner.threads()) + kPerPoint * static_cast<double>(order.size());
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

/// Adds the field of all elements; `share` of the progress is theirs.
void compute_work(TileRunner& runner, const Work& work, const DirectJob& all,
                  const CoordinateGrid& grid, double share, std::complex<double>* result,
                  Report& report) {
  NodeRange used;
  report.reused_elements = report.direct_elements = 0;
  for (const ReusedGroup& group : work.reused) {
    for (std::size_t i = 0; i < group.plans.size(); ++i) {
      const ReuseCosts& cost = group.costs[i];
      const double each = share / work.cost;
      const ReuseCosts shares{each * cost.compute, each * cost.unfold, each * cost.copy};
      add_reused_field(runner, shares, group.plans[i], group.elements, all.medium, all.method,
                       all.rule, result, used);
    }
    report.reused_elements += group.elements.size();
    report.memory = std::max(report.memory, group.memory);
  }
  if (!work.direct.empty()) {
    runner.begin_stage(share * work.direct_cost / work.cost);
    const DirectJob job{work.direct, all.points, all.medium, all.method, all.rule};
    const bool in_order = grid.regular() || !all.rule.depends_on_place();
    const double memory = in_order ? add_in_order(runner, job, result, used)
                                   : add_by_place(runner, job, result, used);
    report.direct_elements = work.direct.size();
    report.memory = std::max(report.memory, memory);
  }
  report.least_nodes = used.least;
  report.greatest_nodes = used.greatest;
}

/// Chooses the nodes by a sample, and again with more of them as long as the estimate of the error
/// is above the tolerance and that helps.
void compute_to_tolerance(TileRunner& runner, const std::vector<Element>& elements,
                          const CoordinateGrid& grid, const Medium& medium,
                          const Settings& settings, std::complex<double>* result, Report& report) {
  constexpr int kAttempts = 4, kJudged = 8, kClimb = 3;
  const double tolerance = *settings.tolerance;
  const GridPoints points(grid);
  if (elements.empty() || points.size() == 0) return;
  runner.begin_stage(0);
  const ToleranceNodes converged(medium, std::max(1e-13, 1e-5 * tolerance));
  // The cost as if each element were allowed the whole tolerance.
  const Work work = plan_listening(elements, grid, settings, ToleranceNodes(medium, tolerance));
  const std::size_t clusters = affordable_clusters(grid, elements.size(), work.cost, 0.01, 4);
  ErrorSample sample(runner, {elements, points, medium, *settings.method, converged}, grid,
                     clusters, kJudged, 1.0);
  sample.climb_to_peak(clusters < 8 ? 1 : kClimb);
  const double trial_cost = cluster_cost(grid) * static_cast<double>(elements.size() * clusters);
  double each = element_tolerance(sample, elements, medium, tolerance,
                                  trial_cost < std::max(4e6, 0.02 * work.cost));
  double previous = std::numeric_limits<double>::infinity();
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    const ToleranceNodes rule(medium, each);
    const DirectJob job{elements, points, medium, *settings.method, rule};
    if (attempt > 0) std::fill_n(result, points.size(), std::complex<double>{});
    compute_work(runner, work, job, grid, attempt == 0 ? 1 : 0, result, report);
    runner.begin_stage(0);
    report.error_estimate =
        estimate_error(runner, job, grid, report.greatest_nodes,
                       affordable_clusters(grid, elements.size(), work.cost, 0.03, 3), result);
    if (!(report.error_estimate > tolerance) || report.error_estimate > 0.5 * previous) break;
    previous = report.error_estimate;
    each = std::max(1e-14, each * std::clamp(0.2 * tolerance / previous, 1e-4, 0.2));
  }
  if (report.error_estimate > tolerance) {
    char text[160];
    std::snprintf(text, sizeof text,
                  "The error may be %.1e of the peak, more than the tolerance of %.1e: some points "
                  "lie where the field hardly converges.",
                  report.error_estimate, tolerance);
    runner.messages().add_warning(text);
  }
}

}  // namespace

Report compute_harmonics(const std::vector<Element>& elements, const CoordinateGrid& grid,
                         const Medium& given, std::span<const int> harmonics,
                         const Settings& settings, std::complex<double>* result) {
  const Clock clock;
  const Medium medium = tuned(given, settings.frequency);
  for (std::size_t i = 0; i < elements.size(); ++i) check_element(elements[i], i + 1);
  if (settings.tolerance) {
    fail("'kzk_cw' takes no tolerance: its steps decide how accurate it is.");
  }
  check_harmonics(settings.kzk, harmonics);
  check_methods(elements, *find_continuous_wave_method("kzk_cw"), continuous_wave_methods());
  check_march_points(elements, grid, "kzk_cw");
  std::fill_n(result,
              static_cast<std::size_t>(grid.npoints()) * std::max<std::size_t>(harmonics.size(), 1),
              std::complex<double>{});
  const ChosenInstructionSet chosen_set(settings);
  Report report = begin_report(thread_count(settings.threads));
  const MarchJob job{
      elements,         grid,           medium, settings.kzk, settings.announce, settings.progress,
      settings.threads, report.warnings};
  report.march = add_harmonics(job, harmonics, result);
  report.memory = report.march.bytes;
  report.direct_elements = elements.size();
  report.seconds = clock.seconds();
  return report;
}

Report compute_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                     const Medium& given, const Settings& asked, std::complex<double>* result) {
  const Clock clock;
  check_method(asked.method);
  const Method& method = *asked.method;
  if (method.marched) return compute_harmonics(elements, grid, given, {}, asked, result);
  for (std::size_t i = 0; i < elements.size(); ++i) check_element(elements[i], i + 1);
  const Settings settings = completed(asked);
  const Medium medium = tuned(given, settings.frequency);
  check_methods(elements, method, continuous_wave_methods());

  const GridPoints points(grid);
  std::fill_n(result, points.size(), std::complex<double>{});
  const ChosenInstructionSet chosen_set(settings);
  TileRunner runner(settings.threads, settings.progress);
  Report report = begin_report(runner.threads());

  if (settings.tolerance) {
    compute_to_tolerance(runner, elements, grid, medium, settings, result, report);
  } else {
    const FixedNodes rule(settings.nodes);
    const Work work = plan_listening(elements, grid, settings, rule);
    compute_work(runner, work, {elements, points, medium, method, rule}, grid, 1, result, report);
    if (settings.estimate_error) {
      runner.begin_stage(0);
      const std::size_t clusters = affordable_clusters(grid, elements.size(), work.cost, 0.03, 3);
      report.error_estimate = estimate_error(runner, {elements, points, medium, method, rule}, grid,
                                             settings.nodes, clusters, result);
    }
  }

  report.warnings = runner.messages().take_warnings();
  runner.messages().replay();
  report.seconds = clock.seconds();
  return report;
}

ContinuousField continuous_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                                 const Medium& medium, const Settings& settings) {
  ContinuousField field{std::vector<std::complex<double>>(static_cast<std::size_t>(grid.npoints())),
                        {}};
  field.report = compute_field(elements, grid, medium, settings, field.pressure.data());
  return field;
}

}  // namespace kestrel::fields
