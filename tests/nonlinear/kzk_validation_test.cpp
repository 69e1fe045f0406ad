#include <algorithm>
#include <cmath>
#include <functional>
#include <gtest/gtest.h>
#include <ostream>
#include <string>
#include <vector>

#include "tests/nonlinear/kzk_checks.h"

/// The marches against what is known without them, and proof that each acceptance figure is tight
/// enough: with a deliberate error in the coefficients the same measurement must miss it.

namespace kestrel {
namespace {

using checks::Fault;
using checks::PulseShape;
using kzk::CwProblem;
using kzk::Point;

const Fault beta_up = {.nonlinearity = 1.1};
const Fault diffraction_reversed = {.diffraction = -1};
const Fault focus_reversed = {.focusing = -1};
const Fault focus_lost = {.focusing = 0};
const Fault absorption_up = {.absorption = 1.01};
const Fault absorption_over_depth = {.loss_over_depth = true};
const Fault factor_inverted = {.inverted_factor = true};
const Fault axial_depth = {.axial_depth = true};
const Fault backward_euler = {.backward_euler = true};
const Fault plain_rows = {.order = kzk::RadialOrder::second};

struct Check {
  std::string name;
  double acceptance;
  std::function<double(const Fault&)> measure;
  std::vector<Fault> caught;
};

std::string with(const std::string& name, double value) {
  return name + " " + std::to_string(value).substr(0, 4);
}

/// A measurement of `problem` at `points`; the problem only looks at them.
template <class Measure>
auto at(CwProblem problem, std::vector<Point> points, const Measure& measure) {
  return [=](const Fault& fault) mutable {
    problem.points = points;
    return measure(problem, fault);
  };
}

/// At fractions of the beam's length, on the axis.
template <class Measure>
auto on_axis(const CwProblem& problem, const std::vector<double>& depths, const Measure& measure) {
  return at(problem, checks::at_depths(checks::beam_of(problem).length(), depths), measure);
}

/// Of harmonics 1-5 against the amplitudes of the finest runs, over the value itself.
auto amplitudes_against(const std::vector<double>& finest) {
  return [=](CwProblem problem, const Fault& fault) {
    problem.fluid.beta *= fault.nonlinearity;
    const auto amplitudes = checks::harmonic_amplitudes(problem);
    double error = 0;
    for (std::size_t i = 0; i < finest.size(); ++i)
      error = std::max(error, std::fabs(amplitudes.at(i) - finest[i]) / finest[i]);
    return error;
  };
}

/// Over the acceptances 0.01, 0.02 and 0.03 of harmonics 1 to 3: a fault need only miss one.
double burst(const CwProblem& problem, const Fault& fault) {
  const auto errors = checks::burst_errors(problem, 100, 30, fault);
  return std::max({errors[0] / 0.01, errors[1] / 0.02, errors[2] / 0.03});
}

double smooth_pulse(const CwProblem& problem, const Fault& fault) {
  return checks::pulse_error(problem, PulseShape::raised_cosine, fault).largest;
}

double abrupt_pulse(const CwProblem& problem, const Fault& fault) {
  return checks::pulse_error(problem, PulseShape::abrupt, fault).rms;
}

std::vector<Check> all_checks() {
  using checks::field_error, checks::linear_piston, checks::linear_shell, checks::range;
  std::vector<Check> list;

  for (const double ka : {20.0, 80.0}) {
    const CwProblem piston = linear_piston(ka, {});
    list.push_back({with("piston axis from 0.4, ka", ka),
                    0.002,
                    on_axis(piston, range(0.4, 2, 61), field_error),
                    {diffraction_reversed}});
    list.push_back({with("piston axis 0.1-0.4, ka", ka),
                    0.015,
                    on_axis(piston, range(0.1, 0.4, 61), field_error),
                    {diffraction_reversed, plain_rows}});
  }
  for (const double ka : {20.0, 40.0, 80.0}) {
    std::vector<Point> points;
    for (const double depth : range(0.4, 1.5, 5))
      for (const double angle : range(0.03, 0.3, 5))
        points.push_back({depth * 0.005 * ka * std::tan(angle), depth * 0.005 * ka});
    list.push_back({with("piston off axis, ka", ka),
                    0.018,
                    at(linear_piston(ka, {}), points, field_error),
                    {diffraction_reversed, axial_depth}});
  }
  for (const double degrees : {12.0, 25.0}) {
    // The depth's factor differs from 1 by the square of the angle.
    std::vector<Fault> faults = {diffraction_reversed, focus_reversed, plain_rows};
    if (degrees == 25.0) faults.push_back(factor_inverted);
    list.push_back({with("shell axis, degrees", degrees), 0.01,
                    on_axis(linear_shell(degrees, degrees == 25.0 ? 5 : 20, {}),
                            range(0.4, 1.5, 61), field_error),
                    faults});
  }
  struct Shell {
    double degrees, gain, acceptance;
  };
  for (const auto& [degrees, gain, acceptance] :
       {Shell{8, 5, 0.03}, {8, 20, 0.03}, {16, 10, 0.03}, {20, 10, 0.05}, {25, 5, 0.05}}) {
    const CwProblem shell = linear_shell(degrees, gain, {});
    const double null = 3.83 * 0.06 / (checks::wavenumber(shell) * shell.aperture.radius);
    std::vector<Point> points;
    for (const double depth : range(0.8, 1.5, 5))
      for (const double radius : range(0.2, 1.5, 5))
        points.push_back({radius * null * depth, depth * 0.06});
    list.push_back({with(with("shell off axis, degrees", degrees) + ", gain", gain),
                    acceptance,
                    at(shell, points, field_error),
                    {diffraction_reversed, focus_reversed}});
  }

  for (const double sigma : {0.5, 0.9, 1.0, 3.0, 10.0}) {
    for (const int carried : {20, 40})
      list.push_back({with(with("plane wave at", sigma) + ", harmonics", carried),
                      carried == 20 ? 8e-3 : 2e-3,
                      [=](const Fault& f) { return checks::plane_wave_error(sigma, carried, f); },
                      {beta_up}});
    list.push_back({with("wave step at", sigma),
                    0.01,
                    [=](const Fault& f) { return checks::wave_step_error(sigma, 60, f); },
                    {beta_up}});
  }
  for (const double goldberg : {10.0, 30.0, 100.0})
    for (const double sigma : {3.0, 10.0})
      list.push_back(
          {with(with("thermoviscous, Gol'dberg", goldberg) + " at", sigma),
           5e-4,
           [=](const Fault& f) { return checks::thermoviscous_error(sigma, goldberg, 40, f); },
           {beta_up}});
  list.push_back({"second harmonic of the Gaussian beam",
                  5e-4,
                  checks::gaussian_error,
                  {beta_up, diffraction_reversed}});

  list.push_back({"unfocused amplitudes at 1",
                  0.01,
                  on_axis(checks::unfocused({}), {1},
                          amplitudes_against({0.92622, 0.24574, 0.09330, 0.04135, 0.01999})),
                  {beta_up}});
  list.push_back({"unfocused amplitudes at 2",
                  0.01,
                  on_axis(checks::unfocused({}), {2},
                          amplitudes_against({0.45956, 0.15992, 0.08044, 0.04742, 0.03055})),
                  {beta_up}});
  list.push_back({"focused amplitudes at 0.95",
                  0.01,
                  on_axis(checks::focused({}), {0.95},
                          amplitudes_against({10.90653, 1.88379, 0.43397, 0.11329, 0.03175})),
                  {beta_up}});
  list.push_back({"long burst against the continuous wave",
                  1,
                  on_axis(checks::unfocused({}), {1}, burst),
                  {beta_up}});

  const CwProblem piston = linear_piston(60, {}), shell = linear_shell(14, 6, {});
  list.push_back({"pulse, piston axis",
                  0.01,
                  on_axis(piston, {0.4, 0.8}, smooth_pulse),
                  {diffraction_reversed}});
  list.push_back({"abrupt pulse, piston axis",
                  0.01,
                  on_axis(piston, {0.4, 0.8}, abrupt_pulse),
                  {diffraction_reversed}});
  list.push_back({"pulse, piston off axis", 0.015, at(piston, {{0.008, 0.15}}, smooth_pulse), {}});
  list.push_back({"pulse, shell axis",
                  0.02,
                  on_axis(shell, {0.85}, smooth_pulse),
                  {diffraction_reversed, focus_reversed, focus_lost}});

  list.push_back({"power, plain rows",
                  1e-11,
                  [](Fault f) {
                    f.order = kzk::RadialOrder::second;
                    return checks::diffracted_power_error(f);
                  },
                  {backward_euler}});
  list.push_back({"power, compact rows", 1e-3, checks::diffracted_power_error, {backward_euler}});
  list.push_back({"power, nonlinear Gaussian beam",
                  1e-3,
                  [](const Fault& f) { return checks::nonlinear_power_error(0.6, f); },
                  {backward_euler}});
  list.push_back({"absorption", 1e-11, checks::absorbed_field_error, {absorption_up}});
  CwProblem lossy = linear_shell(20, 8, {});
  lossy.fluid.attenuation = 2;
  list.push_back({"absorption off a shell's focus",
                  5e-3,
                  on_axis(lossy, {0.5, 0.7, 1.2, 2, 3}, checks::lossy_axis_error),
                  {absorption_over_depth}});
  list.push_back({"absorption of a pulse", 2e-3, checks::absorbed_pulse_error, {absorption_up}});
  return list;
}

class KzkCheck : public testing::TestWithParam<Check> {};

TEST_P(KzkCheck, HoldsAndCatchesItsFaults) {
  const Check& check = GetParam();
  EXPECT_LE(check.measure({}), check.acceptance);
  for (const Fault& fault : check.caught)
    EXPECT_GT(check.measure(fault), check.acceptance)
        << "misses nonlinearity " << fault.nonlinearity << ", diffraction " << fault.diffraction
        << ", focusing " << fault.focusing << ", inverted factor " << fault.inverted_factor
        << ", absorption over depth " << fault.loss_over_depth << ", axial depth "
        << fault.axial_depth << ", absorption " << fault.absorption << ", plain rows "
        << (fault.order == kzk::RadialOrder::second);
}

void PrintTo(const Check& check, std::ostream* out) { *out << check.name; }

INSTANTIATE_TEST_SUITE_P(KzkValidation, KzkCheck, testing::ValuesIn(all_checks()));

TEST(KzkValidation, AShockTakesPower) { EXPECT_GT(checks::nonlinear_power_error(6), 0.1); }

}  // namespace
}  // namespace kestrel
