#include <algorithm>
#include <cstdio>
#include <limits>

#include "fields/cost.h"
#include "fields/direct_field.h"
#include "fields/error_estimate.h"
#include "fields/error_sample.h"
#include "fields/grouped_field.h"
#include "fields/kzk_array.h"
#include "fields/plan.h"
#include "fields/reused_field.h"
#include "fields/run.h"
#include "fields/tolerance.h"
#include "kestrel/error.h"
#include "kestrel/field.h"

namespace kestrel::fields {

namespace {

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

/// The field of an array that is computed point by point.
class ArrayField {
 public:
  ArrayField(Run& run, std::complex<double>* result)
      : _run(run), _points(run.grid), _result(result) {}

  /// With the settings' number of nodes.
  void compute_with_nodes() {
    const FixedNodes rule(_run.settings.nodes);
    const EvaluationPlan plan = plan_evaluation(_run.elements, _run.grid, _run.settings, rule);
    add_field(plan, rule, 1);
    if (_run.settings.estimate_error) estimate(plan, rule);
  }

  /// Chooses the nodes by a sample, and again with more of them as long as the estimate of the
  /// error is above the tolerance and that helps.
  void compute_to_tolerance() {
    constexpr int kAttempts = 4;
    const double tolerance = *_run.settings.tolerance;
    if (_run.elements.empty() || _points.size() == 0) return;
    // The cost as if each element were allowed the whole tolerance.
    EvaluationPlan plan = plan_evaluation(_run.elements, _run.grid, _run.settings,
                                          ToleranceNodes(_run.medium, tolerance));
    double each = first_tolerance(plan);
    plan_groups(plan, _run.grid, _run.medium, _run.settings, ToleranceNodes(_run.medium, each),
                _allowed, _run.runner.threads());
    double previous = std::numeric_limits<double>::infinity();
    const double& found = _run.report.error_estimate;
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
      const ToleranceNodes rule(_run.medium, each);
      if (attempt > 0) std::fill_n(_result, _points.size(), std::complex<double>{});
      add_field(plan, rule, attempt == 0 ? 1 : 0);
      estimate(plan, rule);
      if (!(found > tolerance)) break;
      if (plan.groups) {
        // Perhaps a group's field is not as smooth as it seemed.
        plan.groups.reset();
        continue;
      }
      if (found > 0.5 * previous) break;
      previous = found;
      each = std::max(1e-14, each * std::clamp(0.2 * tolerance / previous, 1e-4, 0.2));
    }
    if (found > tolerance) warn_of_error(tolerance);
  }

 private:
  DirectJob job(std::span<const Element> elements, const NodeRule& rule) const {
    return {elements, _points, _run.medium, _run.method, rule};
  }

  /// Adds the field of all elements; `share` of the progress is theirs.
  void add_field(const EvaluationPlan& plan, const NodeRule& rule, double share) {
    Report& report = _run.report;
    NodeRange used;
    report.reused_elements = 0;
    for (const ReusedGroup& group : plan.reused) {
      for (std::size_t i = 0; i < group.plans.size(); ++i) {
        const ReuseCosts& cost = group.costs[i];
        const double each = share / plan.cost;
        add_reused_field(_run.runner, {each * cost.compute, each * cost.expand, each * cost.copy},
                         group.plans[i], job(group.elements, rule), _result, used);
      }
      report.reused_elements += group.elements.size();
      report.memory = std::max(report.memory, group.memory);
    }
    report.direct_elements = plan.groups ? 0 : plan.direct.size();
    report.grouped_elements = plan.direct.size() - report.direct_elements;
    report.interpolated = 0;
    if (!plan.direct.empty()) {
      _run.runner.begin_stage(share * plan.direct_cost / plan.cost);
      report.memory =
          std::max(report.memory, plan.groups ? add_groups(*plan.groups, rule, used)
                                              : add_direct(job(plan.direct, rule), used));
    }
    report.least_nodes = used.least;
    report.greatest_nodes = used.greatest;
  }

  /// Each returns the bytes of working memory.
  double add_groups(const ElementTree& groups, const NodeRule& rule, NodeRange& used) {
    const GroupPlanner planner(groups, _run.medium, _run.method, rule, _allowed);
    const GroupedJob grouped{planner, _run.grid, _run.medium, _run.method, rule};
    std::atomic<double> pairs{0};
    add_grouped_field(_run.runner, grouped, _result, used, pairs);
    _run.report.interpolated = pairs / (static_cast<double>(groups.elements().size()) *
                                        static_cast<double>(_points.size()));
    return grouped_memory(grouped, _run.runner.threads());
  }
  double add_direct(const DirectJob& direct, NodeRange& used) {
    if (!_run.grid.regular() && direct.rule.depends_on_place()) {
      return add_list_field(_run.runner, direct, _result, used);
    }
    add_direct_field(_run.runner, direct, _result, used);
    return direct_memory(direct, _run.runner.threads());
  }

  void estimate(const EvaluationPlan& plan, const NodeRule& rule) {
    _run.runner.begin_stage(0);
    _run.report.error_estimate = estimate_error(
        _run.runner, job(_run.elements, rule), _run.grid, _run.report.greatest_nodes,
        affordable_clusters(_run.grid, _run.elements.size(), plan.cost, 0.03, 3), _result);
  }

  /// What each element is allowed, by a sample of the field.
  double first_tolerance(const EvaluationPlan& plan) {
    constexpr int kJudged = 8, kClimb = 3;
    const double tolerance = *_run.settings.tolerance;
    _run.runner.begin_stage(0);
    const ToleranceNodes converged(_run.medium, std::max(1e-13, 1e-5 * tolerance));
    // Groups make most of the work some fifteen times cheaper.
    const double cost = may_group(plan, _run.grid, _run.settings) ? plan.cost / 15 : plan.cost;
    const std::size_t clusters =
        affordable_clusters(_run.grid, _run.elements.size(), cost, 0.01, 4);
    ErrorSample sample(_run.runner, job(_run.elements, converged), _run.grid, clusters, kJudged,
                       1.0);
    sample.climb_to_peak(clusters < 8 ? 1 : kClimb);
    const double trial_cost =
        cost_per_cluster(_run.grid) * static_cast<double>(_run.elements.size() * clusters);
    constexpr double kInterpolated = 0.5;  // of the tolerance
    _allowed = kInterpolated * tolerance * sample.peak();
    return element_tolerance(sample, _run.elements, _run.medium, tolerance,
                             trial_cost < std::max(4e6, 0.02 * cost));
  }

  void warn_of_error(double tolerance) {
    char text[160];
    std::snprintf(text, sizeof text,
                  "The error may be %.1e of the peak, more than the tolerance of %.1e: some points "
                  "lie where the field hardly converges.",
                  _run.report.error_estimate, tolerance);
    _run.runner.messages().add_warning(text);
  }

  Run& _run;
  const GridPoints _points;
  std::complex<double>* _result;
  double _allowed = 0;  ///< error of the interpolation of groups, pascals
};

}  // namespace

Report compute_harmonics(const std::vector<Element>& elements, const CoordinateGrid& grid,
                         const Medium& medium, std::span<const int> harmonics,
                         const Settings& settings, std::complex<double>* result) {
  Run run(elements, grid, medium, settings, continuous_wave_methods(), "kzk_cw");
  if (!run.method.marched) {
    fail(ErrorKind::unsupported, "harmonics are computed by the method 'kzk_cw', not by '%s'.",
         run.method.name);
  }
  check_harmonics(settings.kzk, harmonics);
  check_march_points(run);
  std::fill_n(result,
              static_cast<std::size_t>(grid.npoints()) * std::max<std::size_t>(harmonics.size(), 1),
              std::complex<double>{});
  run.report.direct_elements = elements.size();
  add_harmonics(run, harmonics, result);
  return run.finish();
}

Report compute_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                     const Medium& medium, const Settings& settings, std::complex<double>* result) {
  if (settings.method != nullptr && settings.method->marched) {
    return compute_harmonics(elements, grid, medium, {}, settings, result);
  }
  Run run(elements, grid, medium, settings, continuous_wave_methods(), "fnm_cw");
  std::fill_n(result, static_cast<std::size_t>(grid.npoints()), std::complex<double>{});
  ArrayField field(run, result);
  if (run.settings.tolerance) {
    field.compute_to_tolerance();
  } else {
    field.compute_with_nodes();
  }
  return run.finish();
}

ContinuousField continuous_field(const std::vector<Element>& elements, const CoordinateGrid& grid,
                                 const Medium& medium, const Settings& settings) {
  ContinuousField field{std::vector<std::complex<double>>(static_cast<std::size_t>(grid.npoints())),
                        {}};
  field.report = compute_field(elements, grid, medium, settings, field.pressure.data());
  return field;
}

}  // namespace kestrel::fields
