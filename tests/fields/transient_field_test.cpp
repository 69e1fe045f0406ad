// The transient field of a whole array: what each element's own call gives, whatever the threads.

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "arrays.h"
#include "boundary/outcome.h"
#include "fields/array_tile.h"
#include "kestrel/field.h"
#include "support/method_slots.h"
#include "support/transient_situation.h"

namespace kestrel::fields {
namespace {

using Pressures = std::vector<double>;
using Drives = std::vector<const ExcitationFunction*>;

Settings by(const char* method, int nodes, int threads = 2) {
  Settings settings;
  settings.method = find_transient_method(method);
  settings.nodes = nodes;
  settings.threads = threads;
  return settings;
}

Pressures computed(const std::vector<Element>& array, const CoordinateGrid& grid,
                   const TimeSamples& time, const Drives& drives, const Settings& settings) {
  Pressures result(static_cast<std::size_t>(grid.npoints()) * time.nt(), std::nan(""));
  compute_transient_field(array, grid, water(), time, drives, settings, result.data());
  return result;
}

/// Each element by its own call on the whole grid, with a fresh rule.
Pressures sum_of_single_calls(const std::vector<Element>& array, CoordinateGrid& grid,
                              TimeSamples& time, const Drives& drives, const Method& method,
                              int nodes) {
  Pressures sum(static_cast<std::size_t>(grid.npoints()) * time.nt());
  Medium medium = water();
  for (std::size_t e = 0; e < array.size(); ++e) {
    NumericalIntegration rule = test::gauss_rule(nodes);
    const auto transducer = make_transducer(array[e]);
    test::wire(*transducer, grid, rule, medium);
    test::wire_pulse(*transducer, time, *drives[drives.size() == 1 ? 0 : e], sum.data());
    EXPECT_EQ((*transducer.*slot_of(method.name))(), kSuccess) << method.name;
  }
  return sum;
}

double peak(const Pressures& p) { return test::peak(p); }

double difference(const Pressures& actual, const Pressures& expected) {
  return test::difference(test::Traces{actual}, test::Traces{expected});
}

/// All shapes twice, so that those that refill the rule come before those that need it fresh, with
/// delays and weights of their own.
std::vector<Element> delayed_array() {
  std::vector<Element> array = mixed_array(2);
  for (std::size_t e = 0; e < array.size(); ++e) array[e].time_delay = 0.31e-6 * double(e);
  return array;
}

TEST(TransientArray, IsTheSumOfSingleCallsByEveryMethod) {
  const auto grid = regular_grid({9, 3, 7}, {-6e-3, -3e-3, 6e-3}, {1.5e-3, 3e-3, 3e-3});
  TimeSamples time(197e-9, 0, 26e-6);
  const auto tone = test::tone(), hanning = test::hanning(), sampled = test::sampled();
  for (const Method& method : transient_methods()) {
    if (method.marched) continue;  // march_test.cpp
    std::vector<Element> array;
    Drives own;
    for (const Element& e : delayed_array()) {
      if (!method.is_of(e.geometry)) continue;
      own.push_back(std::vector{tone.get(), hanning.get(), sampled.get()}[array.size() % 3]);
      array.push_back(e);
    }
    ASSERT_FALSE(array.empty()) << method.name;
    // Points of a tile have their reference times from that tile: single precision shows it.
    const std::string name = method.name;
    const bool single = name == "fnm_tsd_low_precision" || name == "fnm_tsd_sse";
    for (const Drives& drives : {Drives{hanning.get()}, own}) {
      const Pressures expected = sum_of_single_calls(array, *grid, time, drives, method, 6);
      ASSERT_GT(peak(expected), 0) << name;
      EXPECT_LE(difference(computed(array, *grid, time, drives, by(method.name, 6)), expected),
                single ? 1e-5 : 1e-12)
          << name << ", " << drives.size() << " excitations";
    }
  }
}

TEST(TransientArray, DoesNotDependOnTheNumberOfThreads) {
  const std::vector<Element> array = delayed_array();
  const auto grid = regular_grid({21, 13, 9}, {-6e-3, -4e-3, 4e-3}, {0.6e-3, 0.6e-3, 2e-3});
  const TimeSamples time(200e-9, 0, 24e-6);
  const auto pulse = test::hanning();
  for (const char* method : {"fnm_tsd", "fnm_tsd_low_precision", "fnm_transient"}) {
    const Pressures one = computed(array, *grid, time, {pulse.get()}, by(method, 6, 1));
    for (const int threads : {2, 5}) {
      EXPECT_EQ(computed(array, *grid, time, {pulse.get()}, by(method, 6, threads)), one)
          << method << " on " << threads << " threads";
    }
  }
}

TEST(TransientArray, ListsOfPointsAndEmptyInputs) {
  const auto pulse = test::tone();
  const TimeSamples time(0.5e-6, 0, 20e-6), no_time;
  CoordinateGrid list, none;
  list.CoordinateGridVector(std::vector<double>{0, 1e-3, 0, 0, 9e-3, 12e-3}.data(), 2);
  const Pressures both =
      computed({element(Circle{2e-3})}, list, time, {pulse.get()}, by("fnm_tsd", 8));
  EXPECT_GT(peak(both), 0);
  EXPECT_EQ(computed({}, list, time, {}, by("fnm_tsd", 8)), Pressures(both.size()));
  EXPECT_TRUE(
      computed({element(Circle{2e-3})}, none, time, {pulse.get()}, by("fnm_tsd", 8)).empty());
  EXPECT_TRUE(
      computed({element(Circle{2e-3})}, list, no_time, {pulse.get()}, by("fnm_tsd", 8)).empty());
}

TEST(TransientArray, RefusesWhatCannotBe) {
  const auto grid = regular_grid({3, 1, 2}, {0, 0, 1e-3}, {1e-3, 0, 1e-3});
  const TimeSamples time(1e-6, 0, 3e-6);
  const auto pulse = test::tone();
  const Drives one = {pulse.get()}, two = {pulse.get(), pulse.get()};
  const Element disc = element(Circle{2e-3}), rectangle = element(Rectangle{1e-3, 1e-3});
  const auto failure = [&](const std::vector<Element>& array, const Drives& drives,
                           const Settings& settings) {
    return outcome_of([&] { computed(array, *grid, time, drives, settings); }).error.value_or("");
  };
  EXPECT_EQ(failure({disc, rectangle}, one, by("fnm_tsd_behind_source", 4)).substr(0, 71),
            "element 1: the shape 'circ' has no method 'fnm_tsd_behind_source'; it h");
  EXPECT_NE(failure({disc, rectangle}, one, by("rayleigh_transient", 4))
                .find("element 2: the shape 'rect' has no method 'rayleigh_transient'; it has "
                      "'fnm_transient'"),
            std::string::npos);
  EXPECT_EQ(failure({disc, disc, disc}, two, by("fnm_tsd", 4)),
            "there must be one excitation, or one for each of 3 elements, but there are 2.");
  EXPECT_EQ(failure({disc}, one, by("fnm_tsd", 0)), "the number of nodes must be at least 1.");
  Element late = disc;
  late.time_delay = HUGE_VAL;
  EXPECT_EQ(failure({disc, late}, one, by("fnm_tsd", 4)),
            "element 2: time_delay must be real and finite, but it is inf.");
  Settings cancelled = by("fnm_transient", 64);
  cancelled.progress = [](double) { return false; };
  const auto large = regular_grid({20, 20, 5}, {0, 0, 1e-3}, {1e-3, 1e-3, 1e-3});
  const TimeSamples long_time(40e-9, 0, 40e-6);
  Pressures result(static_cast<std::size_t>(large->npoints()) * long_time.nt());
  EXPECT_THROW(compute_transient_field(mixed_array(40), *large, water(), long_time, one, cancelled,
                                       result.data()),
               Cancelled);
}

}  // namespace
}  // namespace kestrel::fields
