// The number of nodes for a tolerance, and the estimate of the error.

#include <gtest/gtest.h>
#include <numbers>

#include "arrays.h"
#include "boundary/outcome.h"
#include "fields/direct_field.h"
#include "fields/node_rule.h"
#include "tests/fields/random_jobs.h"

namespace kestrel::fields {
namespace {

constexpr double kWavelength = 1.5e-3;

/// An element at the origin and a point in front of it, both drawn at random: sizes from a fifth of
/// a wavelength to fifteen, points from a hundredth of a wavelength off the face or an edge to a
/// hundred.
struct Probe {
  Element source;
  CartesianCoordinate point;
};

class Draw {
 public:
  explicit Draw(unsigned seed) : _random(seed) {}

  Probe operator()() {
    const double size = kWavelength * logarithmic(0.2, 15), ratio = uniform(0.05, 0.95);
    const double curvature = size / 2 * (1.01 + 3 * uniform(0, 1) * uniform(0, 1));
    const Geometry shapes[] = {Rectangle{size, size * ratio}, Circle{size / 2},
                               Ring{size / 2 * ratio, size / 2}, Shell{size / 2, curvature},
                               ShellRing{size / 2 * ratio, size / 2, curvature}};
    const auto shape = static_cast<std::size_t>(uniform(0, 5)) % 5;
    // A place on the face, twice out of three on an edge.
    const bool on_edge = uniform(0, 3) < 2;
    double x, y, depth = 0;
    if (shape == 0) {
      x = size / 2 * (on_edge ? 1 : uniform(-1, 1));
      y = size * ratio / 2 * uniform(-1, 1);
    } else {
      const double angle = uniform(0, 2 * std::numbers::pi);
      const double r = size / 2 * (on_edge ? 1 : uniform(0, 1));
      x = r * std::cos(angle);
      y = r * std::sin(angle);
      if (shape >= 3) depth = curvature - std::sqrt(curvature * curvature - r * r);
    }
    const double distance = kWavelength * logarithmic(0.01, 100), cosine = uniform(0, 1);
    const double azimuth = uniform(0, 2 * std::numbers::pi), sine = std::sqrt(1 - cosine * cosine);
    return {element(shapes[shape]),
            {x + distance * sine * std::cos(azimuth), y + distance * sine * std::sin(azimuth),
             depth + distance * cosine}};
  }

  double uniform(double from, double to) {
    return from + (to - from) * static_cast<double>(_random() % 1000003) / 1000003;
  }

 private:
  double logarithmic(double from, double to) { return from * std::pow(to / from, uniform(0, 1)); }
  std::mt19937_64 _random;
};

/// Largest error of so many elements, relative to rho c times the tolerance, with `saved` of the
/// nodes that the rule asks for.
double worst_of(double tolerance, int elements, double used) {
  const Medium medium = water();
  const ToleranceNodes rule(medium, tolerance), converged(medium, 1e-3 * tolerance);
  Draw draw(11);
  double worst = 0;
  for (int i = 0; i < elements; ++i) {
    const Probe probe = draw();
    CoordinateGrid grid;
    grid.SinglePoint(probe.point);
    const Box box{probe.point, probe.point};
    const int nodes = std::max(1, static_cast<int>(used * rule.nodes(probe.source, box)));
    const Field field = sum_of_single_calls({probe.source}, grid, medium, nodes);
    const Field reference =
        sum_of_single_calls({probe.source}, grid, medium, converged.nodes(probe.source, box) + 10);
    worst = std::max(worst, std::abs(field[0] - reference[0]) / (tolerance * 1.5e6));
  }
  return worst;
}

TEST(Tolerance, TheRuleKeepsItForElementsOfEveryShapeNearAndFarAndHalfTheNodesWouldNot) {
  for (const double tolerance : {1e-2, 1e-4, 1e-6}) {
    EXPECT_LE(worst_of(tolerance, 1000, 1), 1.0) << tolerance;
    EXPECT_GT(worst_of(tolerance, 1000, 0.5), 1.0) << tolerance;
  }
}

/// A thousand elements of all shapes, scattered and turned, with random weights, and points among
/// them and far away.
struct Scene {
  std::vector<Element> array;
  CoordinateGrid grid;
};

void make_scene(Scene& scene, int elements, int points) {
  Draw draw(5);
  for (int i = 0; i < elements; ++i) {
    Element e = draw().source;
    e.center = {draw.uniform(-0.1, 0.1), draw.uniform(-0.1, 0.1), draw.uniform(-0.01, 0.01)};
    e.euler = {draw.uniform(-0.3, 0.3), draw.uniform(-0.3, 0.3), 0};
    e.amplitude = draw.uniform(0.5, 1.5);
    e.phase = draw.uniform(-3, 3);
    scene.array.push_back(e);
  }
  std::vector<double> columns(3 * static_cast<std::size_t>(points));
  for (int i = 0; i < points; ++i) {
    const auto at = static_cast<std::size_t>(i), n = static_cast<std::size_t>(points);
    columns[at] = draw.uniform(-0.1, 0.1);
    columns[at + n] = draw.uniform(-0.1, 0.1);
    columns[at + 2 * n] = i % 2 == 0 ? draw.uniform(0, 0.01) : draw.uniform(0, 0.3);
  }
  scene.grid.CoordinateGridVector(columns.data(), points);
}

TEST(Tolerance, IsKeptByAThousandElementsTogetherAndTheEstimateIsTrue) {
  Scene scene;
  make_scene(scene, 1000, 100);
  const Medium medium = water();
  const ToleranceNodes converged(medium, 1e-10);
  const GridPoints points(scene.grid);
  const PointwiseNodes rule(converged, points);
  Field reference(100);
  NodeRange used;
  TileRunner runner(2, {});
  runner.begin_stage(1);
  add_direct_field(runner,
                   {scene.array, points, medium, *find_continuous_wave_method("fnm_cw"), rule, 10},
                   reference.data(), used);
  Settings settings = with_nodes(0);
  settings.estimate_error = true;
  for (const double tolerance : {1e-2, 1e-4, 1e-6}) {
    settings.tolerance = tolerance;
    const Computed computed = compute(scene.array, scene.grid, medium, settings);
    EXPECT_LE(difference(computed.field, reference), tolerance);
  }
  settings.tolerance.reset();
  for (const int nodes : {4, 8, 12, 20}) {
    settings.nodes = nodes;
    const Computed computed = compute(scene.array, scene.grid, medium, settings);
    const double truth = difference(computed.field, reference);
    EXPECT_GE(computed.report.error_estimate, truth / 3) << nodes;
    EXPECT_LE(computed.report.error_estimate, truth * 3) << nodes;
  }
}

TEST(Tolerance, WorksWithReuseAndSavesNodes) {
  const auto grid = regular_grid({81, 5, 60}, {-12e-3, -4e-3, 1e-3}, {0.3e-3, 2e-3, 1e-3});
  const std::vector<Element> array = lattice(Rectangle{0.5e-3, 10e-3}, 16, 1, 0.6e-3, 0);
  const Field reference = sum_of_single_calls(array, *grid, water(), 120);
  int most = 0;
  for (const double tolerance : {1e-2, 1e-4, 1e-6}) {
    Settings settings = with_nodes(0);
    settings.tolerance = tolerance;
    for (const bool reuse : {true, false}) {
      settings.reuse = reuse;
      const Computed computed = compute(array, *grid, water(), settings);
      EXPECT_LE(difference(computed.field, reference), tolerance);
      EXPECT_EQ(computed.report.reused_elements, reuse ? 16U : 0U);
      EXPECT_GT(computed.report.greatest_nodes, most);
      if (!reuse) most = computed.report.greatest_nodes;
    }
  }
}

/// Near the plane of its rim the integrand of a hemisphere has a pole close to the interval.
TEST(Tolerance, IsKeptByHemispheresToo) {
  const auto grid = regular_grid({51, 1, 36}, {-10e-3, 0, 5e-3}, {0.4e-3, 1e-3, 0.2e-3});
  const double radius = 5.04e-3;
  const Geometry shapes[] = {Shell{radius, radius}, Shell{0.999 * radius, radius},
                             ShellRing{radius / 2, radius, radius}};
  for (const Geometry& shape : shapes) {
    const Field reference = sum_of_single_calls({element(shape)}, *grid, water(), 3000);
    for (const double tolerance : {1e-2, 1e-4, 1e-8}) {
      Settings settings = with_nodes(0);
      settings.tolerance = tolerance;
      const Computed computed = compute({element(shape)}, *grid, water(), settings);
      EXPECT_LE(difference(computed.field, reference), tolerance) << shape_facts(shape).name;
      EXPECT_LT(computed.report.greatest_nodes, 1000) << shape_facts(shape).name;
    }
  }
}

/// So close to that plane that no number of nodes which the rule allows is enough.
TEST(Tolerance, SaysSoWhenItIsNotKept) {
  CoordinateGrid grid;
  grid.SinglePoint(3e-3, 0, 5.04e-3 + 2e-9);
  Settings settings = with_nodes(0);
  settings.tolerance = 1e-8;
  const Report report = compute({element(Shell{5.04e-3, 5.04e-3})}, grid, water(), settings).report;
  ASSERT_EQ(report.warnings.size(), 1U);
  EXPECT_NE(report.warnings.front().find("more than the tolerance of 1.0e-08"), std::string::npos);
}

/// `make validate` does the same for many more.
TEST(Tolerance, IsKeptByRandomJobsAndSeldomByFar) {
  RandomJobs jobs(3);
  constexpr int kJobs = 30;
  int by_far = 0;
  for (int i = 0; i < kJobs; ++i) {
    const RandomJob job = jobs();
    Settings settings = with_nodes(0);
    settings.tolerance = std::pow(10, -1 - i % 6);
    const Computed computed = compute(job.elements, *job.grid, job.medium, settings);
    const double used = difference(computed.field, converged_field(job)) / *settings.tolerance;
    EXPECT_LE(used, 1) << job.name;
    if (used < 1e-3) ++by_far;
  }
  EXPECT_LE(by_far, kJobs / 4);
}

TEST(Tolerance, RefusesWhatItCannotKeep) {
  const auto grid = regular_grid({3, 3, 3}, {0, 0, 1e-3}, {1e-3, 1e-3, 1e-3});
  Settings settings;
  const auto refused = [&](const std::vector<Element>& array) {
    return outcome_of([&] { compute(array, *grid, water(), settings); }).error.value_or("");
  };
  for (const double tolerance : {0.0, 1e-11, 1.0, std::nan("")}) {
    settings.tolerance = tolerance;
    EXPECT_NE(refused(mixed_array()).find("the tolerance must be"), std::string::npos);
  }
  settings.tolerance = 1e-3;
  settings.method = find_continuous_wave_method("fnm_cw_single");
  EXPECT_NE(refused({element(Rectangle{1e-3, 1e-3})}).find("for 'fnm_cw_single' give their number"),
            std::string::npos);
}

/// What each kind of method is compared with: the estimate of a good setting is small, with loss
/// too.
TEST(ErrorEstimate, KnowsWhatEachMethodApproximates) {
  const auto grid = regular_grid({11, 5, 9}, {-5e-3, -2e-3, 4e-3}, {1e-3, 1e-3, 4e-3});
  const struct {
    const char* method;
    Geometry shape;
    int nodes;
    double least, most;
  } cases[] = {
      {"fnm_cw", Rectangle{2e-3, 4e-3}, 24, 0, 1e-8},
      {"fnm_cw", Rectangle{2e-3, 4e-3}, 3, 1e-4, 0.1},
      {"fnm_cw_single", Rectangle{2e-3, 4e-3}, 24, 1e-7, 1e-4},
      {"rayleigh_cw", Rectangle{2e-3, 4e-3}, 30, 0, 1e-6},
      {"rayleigh_cw", Ring{1e-3, 2e-3}, 100, 1e-7, 1e-3},
      {"rayleigh_cw", Shell{2e-3, 9e-3}, 100, 1e-7, 1e-3},
      {"farfield_cw", Rectangle{2e-3, 4e-3}, 4, 1e-3, 1},
      {"radiator_cw", Rectangle{2e-3, 4e-3}, 20, 1e-5, 1e-2},
      {"rayleigh_cw_apodized", Circle{2e-3}, 60, 1e-7, 1e-3},
  };
  for (const auto& c : cases) {
    Settings settings = with_nodes(c.nodes);
    settings.method = find_continuous_wave_method(c.method);
    settings.estimate_error = true;
    Element e = element(c.shape);
    e.apodization_index = 1;
    const double estimate = compute({e}, *grid, water(3), settings).report.error_estimate;
    EXPECT_GE(estimate, c.least) << c.method << " " << shape_facts(c.shape).name;
    EXPECT_LE(estimate, c.most) << c.method << " " << shape_facts(c.shape).name;
  }
}

/// Where quadrature is worst: next to the edges, in the first row of points.
TEST(ErrorEstimate, SeesTheNeighbourhoodOfTheFaces) {
  const std::vector<Element> bars = lattice(Rectangle{0.6e-3, 10e-3}, 64, 1, 0.7e-3, 0);
  const std::vector<Element> squares = lattice(Rectangle{0.6e-3, 0.6e-3}, 16, 16, 0.7e-3, 0.7e-3);
  const std::vector<Element> large = {element(Rectangle{10e-3, 10e-3})};
  const struct {
    const std::vector<Element>& array;
    double from;
    int nodes;
  } cases[] = {{bars, 0.05e-3, 12}, {bars, 0.05e-3, 24},   {bars, 0.2e-3, 16},
               {bars, 0.5e-3, 8},   {squares, 0.05e-3, 8}, {large, 0.1e-3, 24}};
  for (const auto& c : cases) {
    const auto grid = regular_grid({201, 1, 101}, {-25e-3, 0, c.from}, {0.25e-3, 1e-3, 0.3e-3});
    const Field reference = compute(c.array, *grid, water(), with_nodes(200)).field;
    Settings settings = with_nodes(c.nodes);
    settings.estimate_error = true;
    const Computed computed = compute(c.array, *grid, water(), settings);
    const double truth = difference(computed.field, reference);
    EXPECT_GE(computed.report.error_estimate, truth / 2) << c.from << " " << c.nodes;
    EXPECT_LE(computed.report.error_estimate, truth * 3) << c.from << " " << c.nodes;
  }
}

}  // namespace
}  // namespace kestrel::fields
