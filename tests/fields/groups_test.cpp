// Groups of elements whose fields are interpolated, against every element at every point.

#include <gtest/gtest.h>
#include <numbers>

#include "arrays.h"
#include "fields/error_estimate.h"
#include "fields/grouped_field.h"
#include "fields/node_rule.h"

namespace kestrel::fields {
namespace {

Settings to_tolerance(double tolerance) {
  Settings settings = with_nodes(0);
  settings.tolerance = tolerance;
  return settings;
}

Field one_by_one(const std::vector<Element>& array, const CoordinateGrid& grid,
                 const Medium& medium) {
  Settings settings = to_tolerance(1e-10);
  settings.reuse = false;
  return compute(array, grid, medium, settings).field;
}

/// Scattered, tilted and driven at random, without a lattice.
std::vector<Element> scattered(const Geometry& geometry, int count, unsigned seed) {
  std::mt19937 random(seed);
  const auto uniform = [&](double most) {
    return most * (static_cast<double>(random() % 2001) / 1000 - 1);
  };
  std::vector<Element> array;
  for (int i = 0; i < count; ++i) {
    array.push_back(element(geometry, {uniform(12e-3), uniform(12e-3), uniform(2e-3)},
                            {uniform(0.4), uniform(0.4), uniform(3)}, 1 + uniform(0.8),
                            uniform(3)));
  }
  return array;
}

const Geometry kShapes[] = {Rectangle{1.5e-3, 4e-3}, Circle{1e-3}, Ring{1e-3, 2e-3},
                            Shell{2e-3, 8e-3}, ShellRing{1e-3, 3e-3, 9e-3}};

/// Far points, of which most are interpolated.
std::unique_ptr<CoordinateGrid> far_volume() {
  return regular_grid({45, 37, 36}, {-12e-3, -10e-3, 45e-3}, {0.5e-3, 0.5e-3, 0.5e-3});
}

TEST(Groups, KeepTheToleranceForElementsOfEveryShape) {
  const auto grid = far_volume();
  unsigned seed = 1;
  for (const Geometry& shape : kShapes) {
    const Medium medium = water(seed % 2 == 0 ? 0.7 : 0);
    const std::vector<Element> array = scattered(shape, 24, seed++);
    const Field reference = one_by_one(array, *grid, medium);
    for (const double tolerance : {1e-3, 1e-5, 1e-8}) {
      const Computed computed = compute(array, *grid, medium, to_tolerance(tolerance));
      const double truth = difference(computed.field, reference);
      EXPECT_EQ(computed.report.grouped_elements, 24U) << shape_facts(shape).name;
      EXPECT_GT(computed.report.interpolated, 0.9) << shape_facts(shape).name;
      EXPECT_LE(truth, tolerance) << shape_facts(shape).name;
      EXPECT_LE(computed.report.error_estimate, tolerance) << shape_facts(shape).name;
      EXPECT_GE(computed.report.error_estimate, truth / 10) << shape_facts(shape).name;
    }
  }
}

/// A volume that begins behind the elements and holds their axes, rims, centres of curvature and
/// all places where their fields jump.
TEST(Groups, KeepItNextToTheElementsAndBehindThem) {
  const auto grid = regular_grid({31, 31, 53}, {-12e-3, -12e-3, -6e-3}, {0.8e-3, 0.8e-3, 0.8e-3});
  for (const Geometry& shape : {kShapes[0], kShapes[2], kShapes[3]}) {
    std::vector<Element> array = scattered(shape, 12, 9);
    array.push_back(element(shape, {2e-3, 1e-3, 0}));
    // A wave so close to a rim converges slowly, and where a field jumps rounding decides.
    for (Element& e : array) e.center.z += 0.37e-3;
    const GridPoints points(*grid);
    const Medium medium = water(0.5);
    const ToleranceNodes rule(medium, 1e-9);
    const Method& method = *find_continuous_wave_method("fnm_cw");
    TileRunner runner(2, {});
    runner.begin_stage(1);
    NodeRange used;
    std::atomic<double> pairs{0};
    Field field(points.size()), reference(points.size());
    const ElementTree tree(array);
    add_direct_field(runner, {tree.elements(), points, medium, method, rule}, reference.data(),
                     used);
    const double allowed = 1e-6 * peak(reference);
    const GroupPlanner planner(tree, medium, method, rule, allowed);
    add_grouped_field(runner, {planner, *grid, medium, method, rule}, field.data(), used, pairs);
    EXPECT_LE(difference(field, reference), 1e-6) << shape_facts(shape).name;
    EXPECT_GT(pairs, 0.2 * 13 * static_cast<double>(points.size())) << shape_facts(shape).name;
  }
}

TEST(Groups, ArraysOfAllShapesAndSingleLargeElementsAreInterpolatedOnPlanesToo) {
  const auto plane = regular_grid({301, 1, 301}, {-15e-3, 0, 20e-3}, {0.1e-3, 1e-3, 0.1e-3});
  const std::vector<Element> large = {element(Circle{8e-3}, {1e-3, 2e-3, 0}, {0.2, 0.1, 0})};
  for (const std::vector<Element>& array : {mixed_array(4), large}) {
    const Computed computed = compute(array, *plane, water(), to_tolerance(1e-5));
    EXPECT_GT(computed.report.interpolated, 0.9);
    EXPECT_LE(difference(computed.field, one_by_one(array, *plane, water())), 1e-5);
  }
}

TEST(Groups, AreTheSameForAnyNumberOfThreadsAndCloseOnEveryInstructionSet) {
  const auto grid = far_volume();
  const std::vector<Element> array = scattered(kShapes[1], 40, 3);
  Settings settings = to_tolerance(1e-6);
  settings.threads = 1;
  const Computed one = compute(array, *grid, water(0.5), settings);
  EXPECT_GT(one.report.interpolated, 0.9);
  for (const int threads : {2, 5}) {
    settings.threads = threads;
    const Computed more = compute(array, *grid, water(0.5), settings);
    EXPECT_TRUE(more.field == one.field) << threads;
    EXPECT_EQ(more.report.interpolated, one.report.interpolated);
  }
  settings.instruction_set = InstructionSet::scalar;
  EXPECT_LE(difference(compute(array, *grid, water(0.5), settings).field, one.field), 1e-12);
}

TEST(Groups, AreLeftForGivenNodesListsAndWithoutReuseOrMemory) {
  const auto grid = far_volume();
  const std::vector<Element> array = scattered(kShapes[1], 40, 3);
  const auto grouped = [&](const CoordinateGrid& points, const Settings& settings) {
    const Report report = compute(array, points, water(), settings).report;
    EXPECT_EQ(report.grouped_elements + report.direct_elements, array.size());
    if (report.grouped_elements > 0) {
      EXPECT_LE(report.memory, settings.memory);
    }
    return report.grouped_elements > 0;
  };
  Settings settings = to_tolerance(1e-4);
  EXPECT_TRUE(grouped(*grid, settings));
  settings.memory = 1e5;
  EXPECT_FALSE(grouped(*grid, settings));
  settings.memory = 512e6;
  settings.reuse = false;
  EXPECT_FALSE(grouped(*grid, settings));
  EXPECT_FALSE(grouped(*grid, with_nodes(8)));
  std::vector<double> columns;
  for (std::size_t axis = 0; axis < 3; ++axis) {
    for (int i = 0; i < 20000; ++i) {
      const CartesianCoordinate p = grid->spatial_index_value(3 * i);
      columns.push_back(axis == 0 ? p.x : axis == 1 ? p.y : p.z);
    }
  }
  CoordinateGrid list;
  list.CoordinateGridVector(columns.data(), 20000);
  EXPECT_FALSE(grouped(list, to_tolerance(1e-4)));
}

TEST(Groups, EndWhenProgressSaysSo) {
  const auto grid =
      regular_grid({200, 200, 100}, {-50e-3, -50e-3, 40e-3}, {0.5e-3, 0.5e-3, 0.5e-3});
  const std::vector<Element> array = scattered(kShapes[0], 300, 3);
  for (const double from : {0.0, kBegun}) {
    Settings settings = to_tolerance(1e-8);
    settings.progress = [&](double fraction) { return fraction < from; };
    EXPECT_THROW(compute(array, *grid, water(), settings), Cancelled) << from;
  }
}

/// A plan made for another medium, or for an error that is a thousand times too large.
class SpoiledPlan : public testing::Test {
 protected:
  /// The largest error and its estimate, relative to the peak.
  struct Errors {
    double truth, estimate;
  };
  Errors errors(const Medium& planned_for, double allowed) {
    const auto grid = far_volume();
    const GridPoints points(*grid);
    const std::vector<Element> array = scattered(kShapes[1], 40, 3);
    const Medium medium = water();
    const ToleranceNodes rule(medium, 1e-9);
    const Method& method = *find_continuous_wave_method("fnm_cw");
    const Field reference = one_by_one(array, *grid, medium);
    const ElementTree tree(array);
    const GroupPlanner planner(tree, planned_for, method, rule, allowed * peak(reference));
    TileRunner runner(2, {});
    runner.begin_stage(1);
    NodeRange used;
    std::atomic<double> pairs{0};
    Field field(points.size());
    add_grouped_field(runner, {planner, *grid, medium, method, rule}, field.data(), used, pairs);
    return {
        difference(field, reference),
        estimate_error(runner, {array, points, medium, method, rule}, *grid, 20, 20, field.data())};
  }
};

TEST_F(SpoiledPlan, IsMendedWhereTheSeriesDoesNotConvergeAsPlanned) {
  Medium other = water();
  for (const double factor : {0.5, 0.97}) {
    other._f0 = factor * water()._f0;
    EXPECT_LE(errors(other, 1e-6).truth, 1e-6) << factor;
  }
}

TEST_F(SpoiledPlan, IsSeenByTheErrorEstimate) {
  const Errors coarse = errors(water(), 1000), good = errors(water(), 1e-6);
  EXPECT_GT(coarse.truth, 1e-4);
  EXPECT_GE(coarse.estimate, coarse.truth / 3);
  EXPECT_LE(good.truth, 1e-6);
  EXPECT_LE(good.estimate, 1e-6);
}

}  // namespace
}  // namespace kestrel::fields
