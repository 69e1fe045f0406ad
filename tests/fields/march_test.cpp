// Nonlinear beams of whole arrays: what each element's own method gives, whatever the threads; all
// harmonics from one march; progress, cancelling, and what is refused.

#include "fields/march.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "arrays.h"
#include "boundary/outcome.h"
#include "fields/transient_field.h"
#include "support/transient_situation.h"

namespace kestrel::fields {
namespace {

/// Two round sources that see the grid from places of their own, driven hard enough for shocks to
/// begin, with a phase that the harmonics turn with.
std::vector<Element> pair() {
  return {element(Circle{8e-3}, {1e-3, 0, 0}, {0.05, 0.1, 0}, 0.3, 0.7),
          element(Shell{10e-3, 50e-3}, {0, -2e-3, 1e-3}, {0, -0.08, 0.2}, 0.2, -1.9)};
}

std::unique_ptr<CoordinateGrid> beam_grid() {
  return regular_grid({4, 2, 5}, {-3e-3, -1e-3, 20e-3}, {2e-3, 2e-3, 8e-3});
}

Medium lossy_water() {
  Medium medium = water(0.3);
  medium._beta = 3.5;
  return medium;
}

Settings marched(int threads = 1) {
  Settings settings;
  settings.method = find_continuous_wave_method("kzk_cw");
  settings.threads = threads;
  settings.kzk.harmonics = 12;
  settings.kzk.radial_step = 0.05F;
  return settings;
}

/// Harmonic by harmonic and element by element, with the parameters in the rule.
Field by_hand(CoordinateGrid& grid, const std::vector<int>& harmonics) {
  Field field;
  Medium medium = lossy_water();
  for (const int harmonic : harmonics) {
    std::vector<double> re(static_cast<std::size_t>(grid.npoints())), im(re.size());
    for (const Element& e : pair()) {
      NumericalIntegration rule;
      rule.cw_set_kzk_parameters(0, 0.05F, 0, 12, harmonic);
      const auto transducer = make_transducer(e);
      transducer->set_medium(&medium);
      transducer->set_global_coordinate_grid(&grid);
      transducer->set_integral_pointer(&rule);
      transducer->set_complex_pressure_pointers(re.data(), im.data());
      EXPECT_EQ(transducer->kzk_cw(), kSuccess);
    }
    for (std::size_t i = 0; i < re.size(); ++i) field.emplace_back(re[i], im[i]);
  }
  return field;
}

TEST(March, GivesTheHarmonicsOfTheElementsOwnMethod) {
  const auto grid = beam_grid();
  const std::vector<int> wanted = {1, 3, 2};
  const Field expected = by_hand(*grid, wanted);
  EXPECT_GT(std::abs(expected[50]), 0);
  for (const int threads : {1, 3}) {
    Field field(expected.size(), {std::nan(""), 0});
    const Report report =
        compute_harmonics(pair(), *grid, lossy_water(), wanted, marched(threads), field.data());
    EXPECT_EQ(field, expected) << threads;
    EXPECT_EQ(report.march.unknowns, 12);
    EXPECT_EQ(report.threads, threads);
  }
  Settings third = marched();
  third.kzk.harmonic = 3;
  const Field alone = compute(pair(), *grid, lossy_water(), third).field;
  EXPECT_EQ(alone, Field(expected.begin() + 40, expected.begin() + 80));
}

TEST(March, ToldHowLongItTakesAndHowFarItIsAndEndsWhenTold) {
  const auto grid = beam_grid();
  Settings settings = marched(2);
  settings.kzk.step_factor = 0.05F;
  settings.kzk.harmonics = 80;
  double expected = 0, last = 0;
  int calls = 0;
  settings.expected = [&](double seconds) { expected = seconds; };
  settings.progress = [&](double fraction) {
    EXPECT_GE(fraction, last);
    EXPECT_LE(fraction, 1);
    last = fraction;
    return ++calls < 3;
  };
  Field field(static_cast<std::size_t>(grid->npoints()));
  EXPECT_THROW(compute_field(pair(), *grid, lossy_water(), settings, field.data()), Cancelled);
  EXPECT_EQ(calls, 3);
  EXPECT_GT(last, 0);
  EXPECT_GT(expected, 0);
}

TEST(March, SaysWhatIsWrong) {
  const auto grid = beam_grid();
  Field field(3 * static_cast<std::size_t>(grid->npoints()));
  const auto refused = [&](const char* expected, std::vector<Element> array,
                           const Settings& settings = marched(), std::vector<int> wanted = {1, 2}) {
    const std::string found =
        outcome_of([&] {
          compute_harmonics(array, *grid, lossy_water(), wanted, settings, field.data());
        }).error.value_or("no error");
    EXPECT_NE(found.find(expected), std::string::npos) << found;
  };
  std::vector<Element> array = pair();
  array[1].amplitude = 1e9;
  refused(
      "element 2: the method 'kzk_cw' failed: The nonlinear march blew up; the drive is too "
      "strong.",
      array);
  array[1].geometry = Rectangle{1e-3, 1e-3};
  refused("element 2: the shape 'rect' has no method 'kzk_cw'", array);
  array[1].geometry = Shell{10e-3, 5e-3};
  refused("element 2: rad_curvature = 0.005 must not be below radius = 0.01", array);
  refused("harmonic 13 was asked for, but the march carries the harmonics 1 to 12.", pair(),
          marched(), {1, 13});
  refused("harmonic 0 was asked for", pair(), marched(), {0});
  Settings with_tolerance = marched();
  with_tolerance.tolerance = 1e-3;
  refused("'kzk_cw' takes no tolerance", pair(), with_tolerance);
}

TEST(March, WarnsOnceOfWhatSeveralElementsWarn) {
  const auto grid = beam_grid();
  Medium medium = lossy_water();
  medium._beta = std::nan("");
  medium._dBcmMHz = -1;
  Field field(static_cast<std::size_t>(grid->npoints()));
  const standalone::Capture capture;
  compute_field(pair(), *grid, medium, marched(), field.data());
  EXPECT_EQ(capture.warnings().size(), 2U);
  EXPECT_GT(peak(field), 0);
}

TEST(March, AddsPulses) {
  const auto grid = beam_grid();
  TimeSamples time(0.2e-6, 18e-6, 30e-6);
  std::vector<Element> array = pair();
  array[1].time_delay = 1.1e-6;
  Medium medium = lossy_water();
  const auto tone = test::tone(), hanning = test::hanning();
  const ExcitationFunction* drives[] = {tone.get(), hanning.get()};
  std::vector<double> expected(static_cast<std::size_t>(grid->npoints()) * time.nt());
  for (std::size_t e = 0; e < array.size(); ++e) {
    NumericalIntegration rule;
    rule.set_kzk_parameters(0, 0.05F, 0, 40, 0);
    const auto transducer = make_transducer(array[e]);
    transducer->set_medium(&medium);
    transducer->set_global_coordinate_grid(grid.get());
    transducer->set_integral_pointer(&rule);
    transducer->set_time_vector(&time);
    transducer->set_transient_pressure_pointer(expected.data());
    transducer->_excitation_function = const_cast<ExcitationFunction*>(drives[e]);
    EXPECT_EQ(transducer->kzk_transient(), kSuccess);
  }
  TransientSettings settings;
  settings.method = find_transient_method("kzk_transient");
  settings.kzk.radial_step = 0.05F;
  settings.kzk.samples_per_period = 40;
  settings.threads = 2;
  std::vector<double> result(expected.size(), std::nan(""));
  const TransientReport report =
      compute_transient_field(array, *grid, medium, time, drives, settings, result.data());
  EXPECT_EQ(result, expected);
  EXPECT_GT(report.march.planes, 0);

  settings.progress = [](double) { return false; };
  settings.kzk.samples_per_period = 400;
  EXPECT_THROW(compute_transient_field(array, *grid, medium, time, drives, settings, result.data()),
               Cancelled);
}

}  // namespace
}  // namespace kestrel::fields
