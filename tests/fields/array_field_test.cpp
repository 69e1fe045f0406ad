#include <gtest/gtest.h>
#include <stdexcept>

#include "arrays.h"
#include "boundary/outcome.h"
#include "fields/direct_field.h"
#include "kestrel/field.h"
#include "support/method_slots.h"

namespace kestrel::fields {
namespace {

const CartesianCoordinate kTurned{0.4, -0.2, 0.9};

TEST(ArrayField, MixedArrayIsTheSumOfSingleCalls) {
  const std::vector<Element> array = mixed_array(3);
  const auto grid = regular_grid({23, 7, 61}, {-11e-3, -9e-3, -2e-3}, {1e-3, 3e-3, 1e-3});
  for (const double loss : {0.0, 0.7}) {
    const Field expected = sum_of_single_calls(array, *grid, water(loss), 20);
    const Computed computed = compute(array, *grid, water(loss), with_nodes(20));
    EXPECT_LE(difference(computed.field, expected), 1e-13);
    EXPECT_EQ(computed.report.direct_elements, array.size());
  }
}

TEST(ArrayField, EveryMethodRunsItsOwnSlot) {
  const auto grid = regular_grid({9, 5, 7}, {-3e-3, -2e-3, 1e-3}, {0.7e-3, 1e-3, 2e-3});
  const std::vector<Element> all = {
      element(Rectangle{2e-3, 4e-3}, {1e-3, 0, 0}, kTurned, 2, 1),
      element(Circle{2e-3}, {0, 1e-3, 0}, {}, 1, -1), element(Ring{1e-3, 2e-3}),
      element(Shell{3e-3, 1e-2}, {}, kTurned), element(ShellRing{1e-3, 3e-3, 1e-2}, {}, {}, 0.5)};
  for (const Method& method : continuous_wave_methods()) {
    std::vector<Element> array;
    for (Element e : all) {
      e.apodization_index = method.marched ? 0 : 2;
      if (method.is_of(e.geometry)) array.push_back(e);
    }
    if (array.empty()) continue;
    const standalone::Capture quiet;
    Settings settings = with_nodes(12);
    settings.method = &method;
    const Field expected = sum_of_single_calls(array, *grid, water(0.5), 12, slot_of(method.name));
    const Field field = compute(array, *grid, water(0.5), settings).field;
    EXPECT_LE(difference(field, expected), 1e-13) << method.name;
  }
}

TEST(ArrayField, DoesNotDependOnTheNumberOfThreads) {
  std::vector<Element> array = mixed_array(2);
  for (const Element& e : lattice(Rectangle{0.5e-3, 2e-3}, 9, 3, 0.6e-3, 2.4e-3)) {
    array.push_back(e);
  }
  const auto grid = regular_grid({41, 31, 13}, {-6e-3, -4.5e-3, 1e-3}, {0.3e-3, 0.3e-3, 2e-3});
  for (const bool reuse : {true, false}) {
    Settings settings = with_nodes(8);
    settings.reuse = reuse;
    settings.threads = 1;
    const Computed one = compute(array, *grid, water(0.3), settings);
    EXPECT_EQ(one.report.reused_elements, reuse ? 27U : 0U);
    for (const int threads : {2, 3, 7}) {
      settings.threads = threads;
      EXPECT_EQ(compute(array, *grid, water(0.3), settings).field, one.field)
          << threads << " threads, reuse " << reuse;
    }
  }
}

TEST(ArrayField, DegenerateArraysAndGrids) {
  const auto grid = regular_grid({5, 4, 3}, {-1e-3, 0, 1e-3}, {0.5e-3, 1e-3, 3e-3});
  const Field nothing(60);
  EXPECT_EQ(compute({}, *grid, water(), with_nodes(8)).field, nothing);

  const Element one = element(Rectangle{1e-3, 2e-3}, {}, kTurned, 1.5, 0.3);
  Element silent = one;
  silent.amplitude = 0;
  EXPECT_EQ(compute({silent, silent}, *grid, water(), with_nodes(8)).field, nothing);
  silent.euler = {};
  EXPECT_EQ(compute({silent, silent}, *grid, water(), with_nodes(8)).field, nothing);

  // Elements in the same place count each.
  for (const CartesianCoordinate& euler : {kTurned, CartesianCoordinate{}}) {
    Element placed = one;
    placed.euler = euler;
    Element doubled = placed;
    doubled.amplitude *= 2;
    EXPECT_LE(difference(compute({placed, placed}, *grid, water(), with_nodes(8)).field,
                         compute({doubled}, *grid, water(), with_nodes(8)).field),
              1e-15);
  }

  CoordinateGrid point;
  point.SinglePoint(1e-3, 2e-3, 3e-3);
  EXPECT_LE(difference(compute({one, silent}, point, water(), with_nodes(8)).field,
                       sum_of_single_calls({one}, point, water(), 8)),
            1e-15);
  CoordinateGrid no_points;
  EXPECT_TRUE(compute({one}, no_points, water(), with_nodes(8)).field.empty());
}

TEST(ArrayField, RefusesWhatCannotBeAndNamesIt) {
  const auto grid = regular_grid({3, 3, 3}, {0, 0, 1e-3}, {1e-3, 1e-3, 1e-3});
  const Element good = element(Rectangle{1e-3, 1e-3});
  Element apodized = good;
  apodized.apodization_index = 5;
  const double nan = std::nan("");
  const struct {
    Element bad;
    const char* text;
  } cases[] = {
      {element(Rectangle{1e-3, 0}), "element 2: height must be positive"},
      {element(Circle{nan}), "element 2: radius must be real and finite"},
      {element(Ring{2e-3, 1e-3}), "element 2: inner_radius must be"},
      {element(Ring{-1e-3, 1e-3}), "element 2: inner_radius must be"},
      {element(Shell{2e-3, 1e-3}), "element 2: rad_curvature"},
      {element(ShellRing{1e-3, 2e-3, 1.9e-3}), "element 2: geometric_focus"},
      {element(Rectangle{1e-3, 1e-3}, {0, nan, 0}), "element 2: center"},
      {element(Rectangle{1e-3, 1e-3}, {}, {INFINITY, 0, 0}), "element 2: euler"},
      {element(Rectangle{1e-3, 1e-3}, {}, {}, nan), "element 2: amplitude"},
      {apodized, "element 2: apodization_index"},
  };
  for (const auto& c : cases) {
    const Outcome outcome = outcome_of([&] {
      compute({good, c.bad, good}, *grid, water(), with_nodes(4));
    });
    EXPECT_NE(outcome.error.value_or("").find(c.text), std::string::npos)
        << c.text << " / " << outcome.error.value_or("no error");
  }
  Settings settings = with_nodes(4);
  settings.method = find_continuous_wave_method("farfield_cw");
  const Outcome lacking = outcome_of([&] {
    compute({good, element(Circle{1e-3})}, *grid, water(), settings);
  });
  EXPECT_NE(lacking.error.value_or("").find("element 2: the shape 'circ' has no method "
                                            "'farfield_cw'; it has 'fnm_cw'"),
            std::string::npos)
      << lacking.error.value_or("no error");
  EXPECT_TRUE(outcome_of([&] { compute({good}, *grid, water(), with_nodes(-1)); }).error);
}

TEST(ArrayField, TextsOfTheMethodsComeOnce) {
  const std::vector<Element> array = lattice(Rectangle{1e-3, 1e-3}, 3, 1, 1e-3, 0, kTurned);
  const auto grid = regular_grid({50, 50, 2}, {0, 0, 1e-3}, {1e-3, 1e-3, 1e-3});
  Medium unset = water();
  unset._f0 = 0;
  Settings settings = with_nodes(2);
  settings.method = find_continuous_wave_method("rayleigh_cw_sse");
  const standalone::Capture capture;
  const Report report = compute(array, *grid, unset, settings).report;
  ASSERT_EQ(report.warnings.size(), 1U);
  EXPECT_NE(report.warnings[0].find("f0 not set"), std::string::npos);
  EXPECT_TRUE(capture.warnings().empty());
  EXPECT_EQ(capture.printed(), "rayleigh_cw_sse: 2 abscissas\n");
}

TEST(ArrayField, FailureOnAThreadEndsTheJob) {
  // A method that answers with an error for every shape.
  Method failing = *find_continuous_wave_method("fnm_cw");
  failing.compute = [](const Geometry&, detail::ElementInputs&) -> int {
    fail("the method failed.");
  };
  const auto elements = lattice(Circle{1e-3}, 3, 1, 1e-3, 0);
  const auto grid = regular_grid({50, 50, 2}, {0, 0, 1e-3}, {1e-3, 1e-3, 1e-3});
  const GridPoints points(*grid);
  const FixedNodes rule(2);
  const Medium medium = water();
  NodeRange used;
  Field field(5000);
  for (const int threads : {1, 4}) {
    TileRunner runner(threads, {});
    const Outcome outcome = outcome_of([&] {
      add_direct_field(runner, {elements, points, medium, failing, rule}, field.data(), used);
    });
    EXPECT_EQ(outcome.error, "the method failed.");
  }
}

TEST(ArrayField, SlipsOfAProgramAreRefused) {
  const CoordinateGrid grid = kestrel::regular_grid({.z = {1e-3, 9e-3, 4e-3}});
  const std::vector<Element> one = {{.geometry = Circle{3e-3}}};
  const Medium water_by_name({.sound_speed = 1500});
  const auto refusal = [&](const Medium& medium, const Settings& settings) {
    return outcome_of([&] { continuous_field(one, grid, medium, settings); }).error;
  };
  EXPECT_EQ(refusal(Medium(), {.frequency = 1e6}),
            "the medium's sound speed must be greater than 0 and finite, but it is 0.");
  EXPECT_EQ(refusal(Medium({.density = -1}), {.frequency = 1e6}),
            "the medium's density must be greater than 0 and finite, but it is -1.");
  EXPECT_EQ(refusal(water_by_name, {.method = find_transient_method("fnm_tsd")})
                .value_or("")
                .substr(0, 24),
            "unknown method 'fnm_tsd'");
  EXPECT_EQ(refusal(water_by_name, {.frequency = -1}),
            "the frequency must be greater than 0 and finite, but it is -1.");
  const std::string unknown =
      outcome_of([] { find_continuous_wave_method("fmn_cw"); }).error.value_or("");
  EXPECT_EQ(unknown.rfind("unknown method 'fmn_cw'; the methods are 'farfield_cw', 'fnm_cw'", 0),
            0U)
      << unknown;

  // What the settings leave open has a default that works.
  const ContinuousField field = continuous_field(one, grid, water_by_name, {.frequency = 1e6});
  ASSERT_EQ(field.pressure.size(), 3U);
  for (int i = 0; i < 3; ++i) {
    const double z = grid.z_values()[i], k = 2 * M_PI * 1e6 / 1500;
    const double closed = 2 * 1000 * 1500 * std::abs(std::sin(k / 2 * (std::hypot(z, 3e-3) - z)));
    EXPECT_NEAR(std::abs(field.pressure[static_cast<std::size_t>(i)]), closed, 1e-4 * 3e6);
  }
}

TEST(ArrayField, ProgressRisesAndCanCancel) {
  // A second's work on any machine, were it not cancelled.
  const auto grid = regular_grid({200, 200, 20}, {-1e-2, -1e-2, 1e-3}, {1e-4, 1e-4, 1e-3});
  const std::vector<Element> array = mixed_array(10);
  Settings settings = with_nodes(30);
  std::vector<double> fractions;
  settings.progress = [&](double fraction) {
    fractions.push_back(fraction);
    return fractions.size() < 3;
  };
  EXPECT_THROW(compute(array, *grid, water(), settings), Cancelled);
  ASSERT_EQ(fractions.size(), 3U);
  EXPECT_TRUE(std::is_sorted(fractions.begin(), fractions.end()));
  EXPECT_GE(fractions.front(), 0.0);
  EXPECT_LE(fractions.back(), 1.0);

  // What a host throws from the callback passes through when the threads have ended.
  settings.progress = [](double) -> bool { throw std::out_of_range("interrupt"); };
  EXPECT_THROW(compute(array, *grid, water(), settings), std::out_of_range);
}

}  // namespace
}  // namespace kestrel::fields
