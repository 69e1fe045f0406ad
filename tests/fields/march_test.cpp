// Nonlinear beams of whole arrays: what each element's own method gives, whatever the threads; all
// harmonics from one march; progress, cancelling, and what is refused.

#include <cmath>
#include <gtest/gtest.h>
#include <vector>

#include "arrays.h"
#include "boundary/outcome.h"
#include "fields/kzk_array.h"
#include "kestrel/field.h"
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
      test::wire(*transducer, grid, rule, medium);
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
  settings.kzk.radial_step = 0.005F;
  double expected = 0, last = 0;
  int calls = 0;
  settings.announce = [&](double seconds) { expected = seconds; };
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
      "element 2: the method 'kzk_cw' failed. The nonlinear march blew up; the drive is too "
      "strong.",
      array);
  try {
    compute_harmonics(array, *grid, lossy_water(), std::vector{1}, marched(), field.data());
    ADD_FAILURE() << "a march that blows up gave a field";
  } catch (const Error& error) {
    EXPECT_EQ(error.kind(), ErrorKind::numerical);
  }
  array[1].geometry = Rectangle{1e-3, 1e-3};
  refused("element 2: the shape 'rect' has no method 'kzk_cw'", array);
  array[1].geometry = Shell{10e-3, 5e-3};
  refused("element 2: rad_curvature = 0.005 must not be below radius = 0.01", array);
  refused("harmonic 13 was asked for, but the march carries the harmonics 1 to 12.", pair(),
          marched(), {1, 13});
  refused("harmonic 0 was asked for", pair(), marched(), {0});
  array = pair();
  array[1].apodization_index = 2;
  refused("element 2: the method 'kzk_cw' marches uniform faces only, but apodization_index is 2.",
          array);
  Settings settings = marched();
  settings.kzk.harmonic = 13;
  refused("harmonic 13 was asked for, but the march carries the harmonics 1 to 12.", pair(),
          settings, {});
  settings.kzk.harmonics = 161;
  refused("161 harmonics were ordered, but a march carries at most 160.", pair(), settings);
  settings.method = find_continuous_wave_method("fnm_cw");
  settings.nodes = 4;
  const std::string linear = outcome_of([&] {
                               compute_field(pair(), *grid, lossy_water(), settings, field.data());
                             }).error.value_or("no error");
  EXPECT_EQ(linear,
            "parameters of a nonlinear march were given, but the method 'fnm_cw' does not march.");
  Settings with_tolerance = marched();
  with_tolerance.tolerance = 1e-3;
  refused("'kzk_cw' takes no tolerance", pair(), with_tolerance);
}

// Before the result is touched or an element placed, which takes longer than many a march.
TEST(March, RefusesTooManyPointsAtOnce) {
  const auto grid = regular_grid({400, 400, 400}, {0, 0, 10e-3}, {1e-4, 1e-4, 1e-4});
  const std::string found =
      outcome_of([&] {
        compute_harmonics(pair(), *grid, lossy_water(), std::vector<int>{1}, marched(), nullptr);
      }).error.value_or("no error");
  EXPECT_NE(found.find("element 1: the method 'kzk_cw' failed. The list of points needs 2."),
            std::string::npos)
      << found;
}

TEST(March, AnElementWithoutInputsIsRefused) {
  for (const Element& e : pair()) {
    const auto transducer = make_transducer(e);
    EXPECT_EQ(transducer->kzk_cw(), kMisuse);
    EXPECT_EQ(transducer->kzk_transient(), kMisuse);
  }
}

TEST(March, WarnsOnceOfWhatSeveralElementsWarn) {
  const auto grid = beam_grid();
  Medium medium = lossy_water();
  medium._beta = std::nan("");
  medium._dBcmMHz = -1;
  Field field(static_cast<std::size_t>(grid->npoints()));
  const Report report = compute_field(pair(), *grid, medium, marched(), field.data());
  ASSERT_EQ(report.warnings.size(), 2U);
  for (const std::string& warning : report.warnings) EXPECT_EQ(warning.rfind("element 1: ", 0), 0);
  EXPECT_GT(peak(field), 0);
}

/// A signal given by its samples is marched as the pulse that it samples: at the frequency where
/// its power lies, with the loss there, and its mean counts once.
TEST(March, SampledSignalsAreThePulsesThatTheySample) {
  const auto grid = regular_grid({1, 1, 1}, {0, 0, 30e-3}, {0, 0, 0});
  TimeSamples time(20e-9, 19e-6, 24e-6);
  const auto pressure = [&](const char* method, const ExcitationFunction& drive, Geometry geometry,
                            const Medium& medium) {
    Settings settings;
    settings.method = find_transient_method(method);
    settings.nodes = 32;
    if (settings.method->marched) {
      settings.kzk.step_factor = 2;
      settings.kzk.radial_step = 0.02F;
      settings.kzk.samples_per_period = 40;
    }
    const ExcitationFunction* drives[] = {&drive};
    std::vector<double> result(static_cast<std::size_t>(time.nt()));
    compute_transient_field({element(geometry, {}, {}, 0.1)}, *grid, medium, time, drives, settings,
                            result.data());
    return result;
  };
  const auto expect_close = [](const std::vector<double>& actual,
                               const std::vector<double>& expected, double allowed) {
    EXPECT_LE(test::difference(test::Traces{actual}, test::Traces{expected}), allowed);
  };
  const auto sampled = [](auto signal) {
    std::vector<double> samples(120);
    for (std::size_t i = 0; i < samples.size(); ++i) samples[i] = signal(20e-9 * double(i));
    return samples;
  };

  Medium lossy = water(1);
  lossy._beta = 3.5;
  lossy._f0 = 0;  // nobody says at which frequency
  const HanningPulse pulse(1, 3e6, 1.6e-6, 0, 2);
  const auto row = sampled([&](double t) { return pulse.at(t); });
  const ExcitationFunction samples(row, 20e-9, 2.38e-6);
  EXPECT_NEAR(samples.mean_frequency(), 3e6, 0.1e6);
  const Shell shell{10e-3, 30e-3};
  expect_close(pressure("kzk_transient", samples, shell, lossy),
               pressure("kzk_transient", pulse, shell, lossy), 0.02);

  // A push has a mean; weak, it is the linear method's.
  const auto push_row =
      sampled([](double t) { return 1e-3 * std::pow(std::sin(M_PI * t / 2.4e-6), 2); });
  const ExcitationFunction push(push_row, 20e-9, 2.38e-6);
  expect_close(pressure("kzk_transient", push, Circle{10e-3}, water()),
               pressure("fnm_tsd", push, Circle{10e-3}, water()), 0.02);
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
    test::wire(*transducer, *grid, rule, medium);
    test::wire_pulse(*transducer, time, *drives[e], expected.data());
    EXPECT_EQ(transducer->kzk_transient(), kSuccess);
  }
  Settings settings;
  settings.method = find_transient_method("kzk_transient");
  settings.kzk.radial_step = 0.05F;
  settings.kzk.samples_per_period = 40;
  settings.threads = 2;
  std::vector<double> result(expected.size(), std::nan(""));
  const Report report =
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
