#include <cmath>
#include <gtest/gtest.h>
#include <numbers>

#include "arrays.h"
#include "fields/direct_field.h"
#include "fields/reuse_plan.h"
#include "fields/tile_runner.h"
#include "numerics/interruption.h"

namespace kestrel::fields {
namespace {

constexpr double kHalfTurn = std::numbers::pi, kQuarterTurn = std::numbers::pi / 2;

/// Grid and array share a lattice; the field by reuse is the direct one up to rounding: positions
/// are merged within 8 epsilon of the largest coordinate, which the wavenumber turns into 1e-13 of
/// an element's field, and sums of many elements are taken in another order.
constexpr double kRounding = 1e-12;

struct Case {
  const char* what;
  std::vector<Element> array;
  std::array<int, 3> n;
  std::array<double, 3> min, step;
};

std::vector<Element> moved(std::vector<Element> array, double dx, double dy, double dz) {
  for (Element& e : array) {
    e.center = {e.center.x + dx, e.center.y + dy, e.center.z + dz};
  }
  return array;
}

std::vector<Element> joined(std::vector<Element> a, const std::vector<Element>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

const Rectangle kBar{0.5e-3, 4e-3}, kTile{0.6e-3, 0.6e-3};

Case lattice_case(const char* what, std::vector<Element> array, std::array<int, 3> n,
                  std::array<double, 3> min, std::array<double, 3> step) {
  return {what, std::move(array), n, min, step};
}

std::vector<Case> lattice_cases() {
  return {
      lattice_case("pitch of two steps", lattice(kBar, 16, 1, 0.6e-3, 0), {61, 1, 50},
                   {-9e-3, 0, 1e-3}, {0.3e-3, 0, 0.7e-3}),
      lattice_case("edges on grid points", lattice(kTile, 8, 8, 0.6e-3, 0.6e-3), {33, 29, 9},
                   {-4.8e-3, -4.2e-3, 0}, {0.3e-3, 0.3e-3, 1.7e-3}),
      lattice_case("pitch of 2/3 and 5/4 steps", lattice(kTile, 9, 7, 0.8e-3, 1.5e-3), {31, 22, 8},
                   {-17e-3, -13e-3, 2e-3}, {1.2e-3, 1.2e-3, 5e-3}),
      lattice_case("off centre by a third of a step",
                   moved(lattice(kBar, 12, 2, 1e-3, 5e-3), 1e-3 / 3, 0, 0), {40, 9, 7},
                   {-20e-3, 0, 1e-3}, {1e-3, 1e-3, 4e-3}),
      lattice_case(
          "centres at several depths",
          joined(lattice(kBar, 8, 1, 1e-3, 0), moved(lattice(kBar, 8, 1, 1e-3, 0), 0, 0, -4e-3)),
          {40, 5, 15}, {-20e-3, 0, 1e-3}, {1e-3, 1e-3, 2e-3}),
      lattice_case("rows along y", lattice(kBar, 8, 4, 1e-3, 5e-3), {1, 60, 40},
                   {0.5e-3, -15e-3, 1e-3}, {0, 0.5e-3, 1e-3}),
      lattice_case("rows along z", lattice(kBar, 9, 5, 1e-3, 5e-3), {1, 1, 400}, {0, 0, 1e-3},
                   {0, 0, 1e-4}),
      lattice_case("facing down, turned by a quarter",
                   lattice(kBar, 8, 1, 1e-3, 0, {kHalfTurn, 0, kQuarterTurn}), {40, 9, 10},
                   {-20e-3, -4e-3, -10.5e-3}, {1e-3, 1e-3, 1e-3}),
      lattice_case("facing along x", lattice(kBar, 1, 8, 0, 1e-3, {kQuarterTurn, 0, 0}),
                   {20, 30, 9}, {0.5e-3, -15e-3, -4e-3}, {1e-3, 1e-3, 1e-3}),
      lattice_case("discs", lattice(Circle{0.4e-3}, 6, 6, 1e-3, 1e-3), {31, 31, 7},
                   {-7.5e-3, -7.5e-3, 0}, {0.5e-3, 0.5e-3, 3e-3}),
      lattice_case("rings, other steps in x and y",
                   lattice(Ring{0.2e-3, 0.4e-3}, 6, 4, 1e-3, 1.2e-3), {31, 21, 7},
                   {-7.5e-3, -6e-3, 1e-3}, {0.5e-3, 0.6e-3, 3e-3}),
      lattice_case("shells and a focus on the grid", lattice(Shell{0.9e-3, 3e-3}, 5, 5, 2e-3, 2e-3),
                   {25, 25, 9}, {-6e-3, -6e-3, -1e-3}, {0.5e-3, 0.5e-3, 0.5e-3}),
      lattice_case("shell rings along y", lattice(ShellRing{0.3e-3, 0.9e-3, 4e-3}, 1, 6, 0, 2e-3),
                   {9, 41, 6}, {-2e-3, -10e-3, 0.2e-3}, {0.5e-3, 0.5e-3, 1e-3}),
      lattice_case("two sizes, one of them alone on its lattice",
                   joined(lattice(kBar, 12, 1, 1e-3, 0), lattice(kTile, 6, 1, 2e-3, 0)), {41, 7, 9},
                   {-20e-3, 0, 1e-3}, {1e-3, 1e-3, 4e-3}),
      lattice_case("an element by itself, mirrored", {element(kBar, {0, 0, 0}, {}, 1.3, 0.4)},
                   {41, 41, 9}, {-10e-3, -10e-3, 1e-3}, {0.5e-3, 0.5e-3, 4e-3}),
  };
}

TEST(Reuse, EqualsTheDirectWayToRounding) {
  for (const Case& c : lattice_cases()) {
    const auto grid = regular_grid(c.n, c.min, c.step);
    for (const double loss : {0.0, 0.8}) {
      Settings settings = with_nodes(10);
      const Computed reused = compute(c.array, *grid, water(loss), settings);
      EXPECT_EQ(reused.report.direct_elements, 0U) << c.what;
      settings.reuse = false;
      const Computed direct = compute(c.array, *grid, water(loss), settings);
      EXPECT_EQ(direct.report.reused_elements, 0U) << c.what;
      EXPECT_LE(difference(reused.field, direct.field), kRounding) << c.what;
    }
  }
}

TEST(Reuse, WorksForEveryMethodThatAllowsIt) {
  const auto grid = regular_grid({41, 21, 9}, {-10e-3, -5e-3, 1e-3}, {0.5e-3, 0.5e-3, 3e-3});
  for (const Method& method : continuous_wave_methods()) {
    if (!method.reusable) continue;
    std::vector<Element> array;
    for (const Geometry& shape : {Geometry(kBar), Geometry(Circle{0.9e-3})}) {
      if (method.is_of(shape)) array = joined(array, lattice(shape, 6, 3, 2e-3, 2e-3));
    }
    for (Element& e : array) e.apodization_index = 3;
    Settings settings = with_nodes(6);
    settings.method = &method;
    const Computed reused = compute(array, *grid, water(0.3), settings);
    EXPECT_EQ(reused.report.direct_elements, 0U) << method.name;
    settings.reuse = false;
    EXPECT_LE(difference(reused.field, compute(array, *grid, water(0.3), settings).field),
              kRounding)
        << method.name;
  }
}

TEST(Reuse, IsLeftWhereItWouldNotBeExact) {
  const std::vector<Element> bars = lattice(kBar, 8, 1, 1e-3, 0);
  const auto above = regular_grid({40, 9, 10}, {-20e-3, -4e-3, 1e-3}, {1e-3, 1e-3, 1e-3});
  const auto through_face = regular_grid({40, 9, 10}, {-20e-3, -4e-3, -9e-3}, {1e-3, 1e-3, 1e-3});
  CoordinateGrid list;
  std::vector<double> columns(3 * 500, 1e-3);
  list.CoordinateGridVector(columns.data(), 500);
  const auto reused = [&](const std::vector<Element>& array, const CoordinateGrid& grid,
                          const char* method = "fnm_cw") {
    Settings settings = with_nodes(4);
    settings.method = find_continuous_wave_method(method);
    return compute(array, grid, water(), settings).report.reused_elements;
  };
  EXPECT_EQ(reused(bars, *above), 8U);
  EXPECT_EQ(reused(bars, list), 0U);
  EXPECT_EQ(reused(bars, *above, "fnm_cw_single"), 0U);
  EXPECT_EQ(reused(lattice(kBar, 8, 1, 1e-3, 0, {0, 1e-6, 0}), *above), 0U);
  // The sine of half a turn is not quite zero: rounding decides on which side of the face a grid
  // point in its plane lies.
  EXPECT_EQ(reused(lattice(kBar, 8, 1, 1e-3, 0, {kHalfTurn, 0, 0}), *through_face), 0U);
  // Points that lie on the shell itself: 0.6, 0.8 and 1 are sides of a right triangle.
  const auto on_shell = regular_grid({41, 41, 6}, {-2e-3, -2e-3, 0}, {1e-4, 1e-4, 1e-4});
  EXPECT_EQ(reused(lattice(Shell{0.9e-3, 1e-3}, 2, 2, 2e-3, 2e-3), *on_shell), 0U);
  // Centres without a lattice.
  std::vector<Element> scattered = bars;
  for (std::size_t i = 0; i < scattered.size(); ++i) {
    const double x = static_cast<double>(i * i);
    scattered[i].center = {1e-4 * std::sqrt(2 + x), 1e-4 * std::sqrt(3 + x),
                           1e-4 * std::sqrt(5 + x)};
  }
  EXPECT_EQ(reused(scattered, *above), 0U);
}

TEST(Reuse, StaysWithinTheMemoryAllowed) {
  const std::vector<Element> array = lattice(kTile, 8, 8, 0.6e-3, 0.6e-3);
  const auto grid = regular_grid({41, 41, 40}, {-6e-3, -6e-3, 1e-3}, {0.3e-3, 0.3e-3, 1e-3});
  Settings settings = with_nodes(6);
  const Computed free = compute(array, *grid, water(), settings);
  settings.memory = free.report.memory / 5;
  const Computed bound = compute(array, *grid, water(), settings);
  EXPECT_EQ(bound.report.reused_elements, 64U);
  EXPECT_LE(bound.report.memory, settings.memory);
  EXPECT_LE(difference(bound.field, free.field), kRounding);
  settings.memory = 1000;
  EXPECT_EQ(compute(array, *grid, water(), settings).report.reused_elements, 0U);
}

TEST(Lattice, EveryElementFindsItsDifferences) {
  std::vector<double> values(57);
  for (std::size_t i = 0; i < values.size(); ++i) values[i] = static_cast<double>(i) * 3e-4 - 7e-3;
  const struct {
    double pitch;
    std::size_t most;  // positions, for 20 elements
  } cases[] = {{6e-4, 57 + 38},
               {3e-4, 57 + 19},
               {4.5e-4, 2 * 57 + 2 * 27},
               {1e-4, 3 * (57 + 7)},
               {0, 57},
               {1, 20 * 57},
               {3e-4 * std::numbers::sqrt2, 20 * 57}};
  for (const auto& c : cases) {
    std::vector<double> centers(20);
    for (std::size_t e = 0; e < 20; ++e)
      centers[e] = (static_cast<double>(e * 7 % 20) - 9.5) * c.pitch;
    const auto found = find_lattice(values, 3e-4, centers);
    ASSERT_TRUE(found);
    EXPECT_LE(found->position.size(), c.most) << c.pitch;
    for (std::size_t e = 0; e < 20; ++e) {
      for (std::size_t i = 0; i < 57; ++i) {
        ASSERT_NEAR(found->position[found->start[e] + i], values[i] - centers[e],
                    2 * found->tolerance);
      }
    }
  }
}

// The numbers of elements without a common lattice are sorted, which takes seconds.
TEST(Reuse, PlanningEndsAtTheFirstYes) {
  const auto grid = regular_grid({100001, 1, 1}, {0, 0, 1e-3}, {1e-6, 0, 0});
  std::vector<Element> array = lattice(kBar, 16, 1, 1e-3, 0);
  for (std::size_t e = 0; e < array.size(); ++e) {
    array[e].center.x += 1e-6 * std::fmod(0.618033988749895 * static_cast<double>(e), 1.0);
  }
  const Method& method = *find_continuous_wave_method("fnm_cw");
  int questions = 0, patience = 1 << 30;
  const InterruptionScope listening([&] { return ++questions > patience; });
  const auto plan = [&] {
    bool too_large = false;
    return ReusePlan::make(array, method, GridPart(*grid), {}, too_large).has_value();
  };
  EXPECT_TRUE(plan());
  // 1.6 million numbers take some 30 million comparisons.
  const int all = questions;
  EXPECT_GE(all, 16);
  for (patience = 0; patience < all; patience += 5) {
    questions = 0;
    EXPECT_THROW(plan(), Cancelled);
    EXPECT_EQ(questions, patience + 1);
  }
}

}  // namespace
}  // namespace kestrel::fields
