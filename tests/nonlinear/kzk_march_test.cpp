#include <algorithm>
#include <cmath>
#include <cstdio>
#include <gtest/gtest.h>
#include <limits>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "kestrel/instruction_set.h"
#include "methods/kzk/compat.h"
#include "methods/kzk/nonlinear_step.h"
#include "methods/kzk/wave_diffraction.h"
#include "numerics/interruption.h"
#include "validation/kzk_checks.h"

/// What a march does with its input: every kind of bad input, and what must not change a result.

namespace kestrel {
namespace {

using checks::Complex;
using kzk::CwProblem;
using kzk::Point;
using kzk::TransientProblem;

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

const std::vector<Point> some_points = {{0, 0.05}, {0.002, 0.03}, {0.004, 0.06}};

/// A shell of low gain: a march of a few hundred milliseconds.
CwProblem small_shell() {
  CwProblem problem;
  problem.aperture = {0.012, 0.06};
  problem.fluid = {1e6, 1500, 1000, 3.5, 0.5};
  problem.weight = 0.2;
  problem.points = some_points;
  problem.parameters.harmonics = 10;
  return problem;
}

TransientProblem small_pulse() {
  TransientProblem problem;
  static_cast<kzk::Problem&>(problem) = small_shell();
  problem.parameters.samples_per_period = 30;
  problem.parameters.radial_step = 0.04f;
  problem.amplitude = 0.2;
  problem.drive.at = [](double t) {
    return t > 0 && t < 3e-6 ? std::sin(6.283185307179586e6 * t) : 0.0;
  };
  problem.drive.frequency = 1e6;
  problem.drive.duration = 3e-6;
  static const std::vector<double> times = [] {
    std::vector<double> list;
    for (int i = 0; i < 400; ++i) list.push_back(15e-6 + i * 1e-7);
    return list;
  }();
  problem.times = times;
  return problem;
}

bool silent(const std::vector<Complex>& field) {
  return std::all_of(field.begin(), field.end(), [](Complex p) { return p == 0.0; });
}
bool silent(const std::vector<float>& field) {
  return std::all_of(field.begin(), field.end(), [](float p) { return p == 0.0f; });
}

double difference(const std::vector<Complex>& a, const std::vector<Complex>& b) {
  double most = 0, apart = 0;
  for (std::size_t i = 0; i < a.size(); ++i) {
    apart = std::max(apart, std::abs(a[i] - b.at(i)));
    most = std::max(most, std::abs(b[i]));
  }
  return apart / most;
}
double difference(const std::vector<float>& a, const std::vector<float>& b) {
  return difference(std::vector<Complex>(a.begin(), a.end()),
                    std::vector<Complex>(b.begin(), b.end()));
}

auto march(const CwProblem& problem) { return kzk::march_cw(problem); }
auto march(const TransientProblem& problem) { return kzk::march_transient(problem); }
std::optional<ErrorKind> kind_of(const kzk::Report& report) {
  return report.error ? std::optional(report.error->kind()) : std::nullopt;
}
kzk::Cost estimate(const CwProblem& problem) { return kzk::estimate_cw(problem); }
kzk::Cost estimate(const TransientProblem& problem) { return kzk::estimate_transient(problem); }

enum class Field { none, same, some };

/// What to do to both problems, or to one of them, and what their marches answer.
struct BadInput {
  std::string name;
  std::variant<void (*)(kzk::Problem&), void (*)(CwProblem&), void (*)(TransientProblem&)> spoil;
  /// An error, and no field; or no field without an error, the same as without the spoiling, or
  /// some other one.
  std::variant<ErrorKind, Field> answer;
  std::string warning_about = {};  ///< empty: no warning at all
};

const std::vector<BadInput>& bad_inputs() {
  using enum ErrorKind;
  using enum Field;
  using kzk::Problem;
  using Wave = CwProblem;
  using Pulse = TransientProblem;
  static const std::vector<Point> far = {{0, 1e7}};
  static const std::vector<double> early = {0, 1e-6}, late = {40e-6, 1e9, nan, 41e-6};
  static const std::vector<BadInput> list = {
      {"nothing", [](Problem&) {}, same},
      {"no sound speed", [](Problem& p) { p.fluid.sound_speed = 0; }, same,
       "Sound speed not set; using default of 1500 m/s"},
      {"sound speed NaN", [](Problem& p) { p.fluid.sound_speed = nan; }, same,
       "Sound speed not set"},
      {"density zero", [](Problem& p) { p.fluid.density = 0; }, none},
      {"density NaN", [](Problem& p) { p.fluid.density = nan; }, invalid_argument},
      {"beta zero", [](Problem& p) { p.fluid.beta = 0; }, some},
      {"beta negative", [](Problem& p) { p.fluid.beta = -1; }, some,
       "Nonlinearity parameter is negative"},
      {"beta NaN", [](Problem& p) { p.fluid.beta = nan; }, some,
       "Nonlinearity parameter is negative or not a number"},
      {"beta infinite", [](Problem& p) { p.fluid.beta = infinity; }, invalid_argument},
      {"attenuation negative", [](Problem& p) { p.fluid.attenuation = -0.5; }, some,
       "Attenuation is negative"},
      {"attenuation NaN", [](Problem& p) { p.fluid.attenuation = nan; }, some,
       "Attenuation is negative or not a number"},
      {"radius zero", [](Problem& p) { p.aperture.radius = 0; }, invalid_argument},
      {"radius negative", [](Problem& p) { p.aperture.radius = -0.01; }, invalid_argument},
      {"radius NaN", [](Problem& p) { p.aperture.radius = nan; }, invalid_argument},
      {"radius beyond curvature", [](Problem& p) { p.aperture.radius = 0.0601; }, invalid_argument},
      {"curvature NaN", [](Problem& p) { p.aperture.curvature = nan; }, invalid_argument},
      {"curvature negative", [](Problem& p) { p.aperture.curvature = -0.06; }, invalid_argument},
      {"step factor too large", [](Problem& p) { p.parameters.step_factor = 5; }, same,
       "axial step factor must lie between 0.05 and 4; using the default, 1."},
      {"step factor negative", [](Problem& p) { p.parameters.step_factor = -5; }, same},
      {"step factor NaN", [](Problem& p) { p.parameters.step_factor = std::nanf(""); }, same},
      {"domain too small", [](Problem& p) { p.parameters.domain_radius = 1; }, same,
       "domain radius, in source radii, must lie between 1.5 and 100"},
      {"no points", [](Problem& p) { p.points = {}; }, none},
      {"points so far that the grid cannot be held", [](Problem& p) { p.points = far; },
       out_of_memory},
      {"source of little more than a wavelength", [](Wave& p) { p.fluid.f0 = 1.5e5; }, some,
       "ka below 10"},
      {"frequency unset", [](Wave& p) { p.fluid.f0 = 0; }, some,
       "f0 not set; using default of 1 MHz to calculate wavelength."},
      {"no frequency anywhere",
       [](Pulse& p) { p.drive.frequency = p.fluid.f0 = p.fluid.attenuation = 0; }, some,
       "f0 not set; using default of 1 MHz"},
      {"weight below the gate", [](Wave& p) { p.weight = 1e-10; }, none},
      {"amplitude below the gate", [](Pulse& p) { p.amplitude = -1e-10; }, none},
      {"weight NaN", [](Wave& p) { p.weight = nan; }, invalid_argument},
      {"amplitude NaN", [](Pulse& p) { p.amplitude = nan; }, invalid_argument},
      {"absurd weight", [](Wave& p) { p.weight = 1e9; }, numerical},
      {"absurd amplitude", [](Pulse& p) { p.amplitude = 1e9; }, numerical},
      {"too many harmonics", [](Wave& p) { p.parameters.harmonics = 161; }, some,
       "number of harmonics must lie between 1 and 160"},
      {"harmonic beyond those carried", [](Wave& p) { p.parameters.harmonic = 11; }, same,
       "harmonic delivered must lie between 1 and 10"},
      {"asked for a harmonic not carried",
       [](Wave& p) {
         p.wanted = {1, 11};
       },
       invalid_argument},
      {"second harmonic of a linear beam",
       [](Wave& p) { p.fluid.beta = 0, p.parameters.harmonic = 2; }, none,
       "The nonlinearity parameter is 0: there are no harmonics above the first."},
      {"shock beyond the harmonics", [](Wave& p) { p.weight = 3, p.fluid.attenuation = 0; }, some,
       "raise the number of harmonics"},
      {"no excitation", [](Pulse& p) { p.drive.at = nullptr; }, invalid_argument},
      {"no times", [](Pulse& p) { p.times = {}; }, invalid_argument},
      {"delay NaN", [](Pulse& p) { p.drive.delay = nan; }, invalid_argument},
      {"excitation NaN", [](Pulse& p) { p.drive.at = [](double) { return nan; }; },
       invalid_argument},
      {"silent excitation", [](Pulse& p) { p.drive.at = [](double) { return 0.0; }; }, none},
      {"too few samples", [](Pulse& p) { p.parameters.samples_per_period = 10; }, some,
       "time samples per period must lie between 20 and 2000; using the default, 100."},
      {"times before the wave", [](Pulse& p) { p.times = early; }, none},
      {"times for ever, of a drive that ends", [](Pulse& p) { p.times = late; }, some},
      {"times for ever, of a drive that does not",
       [](Pulse& p) { p.times = late, p.drive.duration = infinity; }, out_of_memory},
  };

  return list;
}

/// The answers of one march to all inputs that are meant for it.
template <class P>
void expect_answers(const P& problem) {
  const auto normal = march(problem).pressure;
  for (const auto& [name, spoil, answer, warning_about] : bad_inputs()) {
    SCOPED_TRACE(name);
    P spoiled = problem;
    if (const auto both = std::get_if<void (*)(kzk::Problem&)>(&spoil)) {
      (*both)(spoiled);
    } else if (const auto own = std::get_if<void (*)(P&)>(&spoil)) {
      (*own)(spoiled);
    } else {
      continue;
    }
    const auto result = march(spoiled);
    const auto* error = std::get_if<ErrorKind>(&answer);
    EXPECT_EQ(kind_of(result), error ? std::optional(*error) : std::nullopt)
        << (result.error ? result.error->what() : "");
    EXPECT_EQ(silent(result.pressure), error || std::get<Field>(answer) == Field::none);
    if (!error && std::get<Field>(answer) == Field::same) {
      EXPECT_EQ(result.pressure, normal);
    }
    const std::string warning = result.warnings.empty() ? "" : result.warnings.front();
    EXPECT_EQ(warning.empty(), warning_about.empty()) << warning;
    EXPECT_NE(warning.find(warning_about), std::string::npos) << warning;
    EXPECT_EQ(estimate(spoiled).planes, result.cost.planes);
  }
}

TEST(KzkBadInput, ContinuousWave) { expect_answers(small_shell()); }

TEST(KzkBadInput, Transient) { expect_answers(small_pulse()); }

// A plane of a wide march takes seconds: it asks for each few harmonics, and for each few nodes.
TEST(KzkMarch, EndsWithinAStepWhenInterrupted) {
  for (const int threads : {1, 2}) {
    CwProblem wave = small_shell();
    wave.threads = threads;
    long questions = 0, patience = 1L << 60;
    const InterruptionScope listening([&] { return ++questions > patience; });
    const auto whole = march(wave);
    EXPECT_EQ(kind_of(whole), std::nullopt);
    const long all = questions;
    if (threads == 1) {
      EXPECT_GT(all, 8 * whole.cost.planes);
    }
    for (const long share : {3, 5, 7}) {
      questions = 0;
      patience = all / share;
      EXPECT_EQ(kind_of(march(wave)), ErrorKind::cancelled);
      EXPECT_LE(questions, patience + 8);
    }
  }
}

TEST(KzkMarch, RefusesMoreStorageThanAllowedAndSaysWhatNeedsLess) {
  CwProblem wave = small_shell();
  wave.parameters = {
      .radial_step = 0.0005f, .domain_radius = 100, .harmonics = kzk::kMostHarmonics};
  TransientProblem pulse = small_pulse();
  pulse.parameters = {.radial_step = 0.0005f, .samples_per_period = 2000};
  CwProblem many = small_shell();
  const std::vector<Point> crowd(100000, {0, 0.05});
  const std::vector<int> all = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10};
  many.points = crowd;
  many.wanted = all;
  // The list of points and the result count, too.
  EXPECT_GT(kzk::estimate_cw(many).bytes, 100000 * (10 * 16.0 + 40));
  const auto expect_refusal = [](const auto& result, const std::string& remedy) {
    EXPECT_EQ(kind_of(result), ErrorKind::out_of_memory);
    const std::string reason = result.error ? result.error->what() : "";
    EXPECT_TRUE(result.pressure.empty());
    char needed[120];
    std::snprintf(needed, sizeof needed, "The march needs %.3g GiB of storage, more than the 1 GiB",
                  result.cost.bytes / kzk::kMostBytes);
    EXPECT_EQ(reason.find(needed), 0u) << reason;
    EXPECT_NE(reason.find(remedy), std::string::npos) << reason;
  };
  expect_refusal(kzk::march_cw(wave), "fewer harmonics");
  expect_refusal(kzk::march_transient(pulse), "fewer samples per period");
}

TEST(KzkMarch, PulsesAreAttenuatedAtTheFrequencyThatTheyUse) {
  TransientProblem pulse = small_pulse();
  pulse.fluid.f0 = 0;
  const auto known = kzk::march_transient(pulse).pressure;
  pulse.drive.frequency = 0;  // the reference is then 1 MHz, as before
  EXPECT_EQ(kzk::march_transient(pulse).pressure, known);
  pulse.fluid.attenuation = 0;
  EXPECT_GT(difference(kzk::march_transient(pulse).pressure, known), 0.1);
}

TEST(KzkMarch, PointsOutsideAreSkippedAndTheOthersUnchanged) {
  CwProblem problem = small_shell();
  const auto plain = kzk::march_cw(problem).pressure;
  // Behind the apex, NaN, outside the sphere beside the bowl, beyond the marched domain.
  std::vector<Point> mixed = {{0, -1e-9},     {nan, 0.03},    {0.02, 0.0005},
                              some_points[0], some_points[1], some_points[2]};
  problem.points = mixed;
  const auto result = kzk::march_cw(problem);
  for (int i = 0; i < 3; ++i) EXPECT_EQ(result.pressure[i], 0.0) << i;
  for (int i = 0; i < 3; ++i) EXPECT_EQ(result.pressure[3 + i], plain[i]) << i;

  problem.parameters.domain_radius = 2;
  mixed = {{0.03, 0.05}, {0.001, 0.05}};
  problem.points = mixed;
  const auto outside = kzk::march_cw(problem);
  EXPECT_EQ(outside.pressure[0], 0.0);
  EXPECT_NE(outside.pressure[1], 0.0);
  EXPECT_EQ(outside.warnings.size(), 1u);
}

TEST(KzkMarch, LinearLimits) {
  CwProblem without = small_shell();
  without.fluid.beta = 0;
  CwProblem single = small_shell();
  single.parameters.harmonics = 1;
  EXPECT_EQ(kzk::march_cw(without).pressure, kzk::march_cw(single).pressure);
  CwProblem faint = small_shell();
  faint.weight = 1e-6;
  auto scaled = kzk::march_cw(faint).pressure;
  for (Complex& value : scaled) value *= 0.2 / 1e-6;
  EXPECT_LT(difference(scaled, kzk::march_cw(without).pressure), 1e-10);
}

TEST(KzkMarch, SeveralHarmonicsAreTheSingleOnes) {
  CwProblem problem = small_shell();
  problem.wanted = {3, 1};
  const auto both = kzk::march_cw(problem);
  ASSERT_EQ(both.harmonics, (std::vector<int>{3, 1}));
  problem.wanted = {};
  for (const int m : {3, 1}) {
    problem.parameters.harmonic = m;
    const auto one = kzk::march_cw(problem).pressure;
    for (std::size_t i = 0; i < one.size(); ++i)
      EXPECT_EQ(both.pressure[(m == 3 ? 0 : one.size()) + i], one[i]);
  }
}

TEST(KzkMarch, ThreadsDoNotChangeABit) {
  CwProblem wave = small_shell();
  TransientProblem pulse = small_pulse();
  const auto one = kzk::march_cw(wave).pressure;
  const auto one_pulse = kzk::march_transient(pulse).pressure;
  for (const int threads : {2, 3}) {
    wave.threads = pulse.threads = threads;
    EXPECT_EQ(kzk::march_cw(wave).pressure, one);
    EXPECT_EQ(kzk::march_transient(pulse).pressure, one_pulse);
  }
}

TEST(KzkMarch, InstructionSetsAgree) {
  const CwProblem wave = small_shell();
  const TransientProblem pulse = small_pulse();
  std::vector<Complex> plain;
  std::vector<float> plain_pulse;
  for (const auto set : kInstructionSets) {
    const ScopedInstructionSet scoped(set);
    if (!scoped.chosen()) continue;
    SCOPED_TRACE(name(set));
    const auto field = kzk::march_cw(wave).pressure;
    const auto traces = kzk::march_transient(pulse).pressure;
    EXPECT_EQ(last_used_instruction_set(), set);
    if (plain.empty()) {
      plain = field;
      plain_pulse = traces;
    }
    // Sub-steps are chosen for eight nodes together in the wide paths, for each in the plain one.
    EXPECT_LT(difference(field, plain), 1e-6);
    EXPECT_LT(difference(traces, plain_pulse), 1e-5);
  }
}

TEST(KzkMarch, PointsAgreeWithPlanesLandedOnThem) {
  std::vector<Point> points = checks::at_depths(0.2, checks::range(0.15, 1.5, 40));
  CwProblem piston = checks::linear_piston(40, points);
  EXPECT_LT(difference(kzk::march_cw(piston).pressure, checks::landed_march(piston, 1)), 0.004);
  points = checks::at_depths(0.06, checks::range(0.4, 1.5, 40), 0.001);
  CwProblem shell = checks::linear_shell(14, 10, points);
  EXPECT_LT(difference(kzk::march_cw(shell).pressure, checks::landed_march(shell, 1)), 0.001);
}

TEST(KzkMarch, ProgressRisesAndCancels) {
  CwProblem wave = small_shell();
  std::vector<double> seen;
  wave.progress = [&](double done) {
    seen.push_back(done);
    return true;
  };
  kzk::march_cw(wave);
  EXPECT_TRUE(std::is_sorted(seen.begin(), seen.end()));
  EXPECT_EQ(seen.back(), 1.0);
  wave.progress = [](double done) { return done < 0.3; };
  const auto stopped = kzk::march_cw(wave);
  EXPECT_EQ(kind_of(stopped), ErrorKind::cancelled);
  EXPECT_TRUE(silent(stopped.pressure));
  TransientProblem pulse = small_pulse();
  pulse.progress = wave.progress;
  EXPECT_EQ(kind_of(kzk::march_transient(pulse)), ErrorKind::cancelled);
  // Already while the drive, which may be slow, is looked up for the source plane.
  long looked_up = 0;
  const auto count = [&, at = pulse.drive.at](double t) {
    ++looked_up;
    return at(t);
  };
  pulse.drive.at = count;
  pulse.progress = nullptr;
  kzk::march_transient(pulse);
  const long all = looked_up;
  looked_up = 0;
  pulse.progress = [](double) { return false; };
  EXPECT_EQ(kind_of(kzk::march_transient(pulse)), ErrorKind::cancelled);
  EXPECT_LT(looked_up, all / 2);
}

TEST(KzkMarch, DelayAndOrderOfTimesOnlyShiftTheTrace) {
  TransientProblem pulse = small_pulse();
  const auto plain = kzk::march_transient(pulse).pressure;
  std::vector<double> later(pulse.times.rbegin(), pulse.times.rend());
  for (double& t : later) t += 7.3e-6;
  pulse.drive.delay = 7.3e-6;
  pulse.times = later;
  const auto shifted = kzk::march_transient(pulse).pressure;
  const std::size_t n = later.size();
  std::vector<float> undone;
  for (std::size_t i = 0; i < plain.size(); ++i)
    undone.push_back(shifted[i / n * n + (n - 1 - i % n)]);
  EXPECT_LT(difference(undone, plain), 1e-5);
}

TEST(KzkMarch, TheWindowsEndDoesNotReachBack) {
  TransientProblem pulse = small_pulse();
  pulse.amplitude = 1;
  const auto all = kzk::march_transient(pulse).pressure;
  const std::size_t n = pulse.times.size();
  // Cut in the middle of the pulse, where it is loud.
  const std::size_t cut = 260;
  pulse.times = pulse.times.first(cut);
  const auto head = kzk::march_transient(pulse).pressure;
  std::vector<float> expected;
  for (std::size_t p = 0; p < some_points.size(); ++p)
    expected.insert(expected.end(), all.begin() + p * n, all.begin() + p * n + cut);
  EXPECT_FALSE(silent(head));
  EXPECT_LT(difference(head, expected), 1e-3);
}

TEST(KzkMarch, SignOfTheAmplitudeMatters) {
  // A strong wave steepens: its negative is another wave, not the wave negated.
  TransientProblem pulse = small_pulse();
  const auto plain = kzk::march_transient(pulse).pressure;
  pulse.amplitude = -pulse.amplitude;
  auto negative = kzk::march_transient(pulse).pressure;
  pulse.drive.at = [at = pulse.drive.at](double t) { return -at(t); };
  EXPECT_EQ(kzk::march_transient(pulse).pressure, plain);
  for (float& value : negative) value = -value;
  EXPECT_GT(difference(negative, plain), 0.01);
}

TEST(KzkHelpers, ConvolutionIsTheSquareOfTheWave) {
  constexpr int harmonics = 9, samples = 64, lanes = 8;
  std::vector<double> p(2 * (harmonics + 1) * lanes), square(p.size());
  for (std::size_t i = 2 * lanes; i < p.size(); ++i) p[i] = std::sin(1.0 + i * i);
  kzk::self_convolution<lanes>(p.data(), harmonics, square.data());
  const auto harmonic = [&](const std::vector<double>& packed, int n, int lane) {
    return Complex(packed[2 * n * lanes + lane], packed[(2 * n + 1) * lanes + lane]);
  };
  const auto turn = [](int n, int i) { return std::polar(1.0, 2 * M_PI * n * i / samples); };
  for (int lane = 0; lane < lanes; ++lane) {
    std::vector<Complex> expected(harmonics + 1);
    for (int i = 0; i < samples; ++i) {
      double wave = 0;
      for (int n = 1; n <= harmonics; ++n) wave += std::real(harmonic(p, n, lane) * turn(n, i));
      for (int n = 1; n <= harmonics; ++n)
        expected[n] += 2.0 / samples * wave * wave * std::conj(turn(n, i));
    }
    for (int n = 1; n <= harmonics; ++n)
      EXPECT_LT(std::abs(harmonic(square, n, lane) - expected[n]), 1e-13) << n << ", lane " << lane;
  }
}

TEST(KzkHelpers, ColumnSolverSolvesAndReusesItsFactors) {
  const int nodes = 19;
  const float s = 1, t = 0.3f;
  std::vector<float> lo(nodes), di(nodes), up(nodes), x(nodes), gam(nodes), inv(2 * nodes);
  for (int j = 0; j < nodes; ++j) {
    const kzk::RadialRow row = kzk::radial_row(j);
    lo[j] = static_cast<float>(row.sub);
    di[j] = static_cast<float>(row.diag);
    up[j] = static_cast<float>(row.super);
  }
  for (const int use : {0, 1}) {
    std::vector<float> rhs(nodes);
    for (int j = 0; j < nodes; ++j) rhs[j] = static_cast<float>(std::cos(j + 3.0 * use));
    kzk::solve_column(use == 0 ? s : 0.0f, t, lo.data(), di.data(), up.data(), rhs.data(), x.data(),
                      gam.data(), inv.data(), nodes);
    for (int j = 0; j < nodes; ++j) {
      const double share = s * kzk::radial_row(j).compact - t;
      double sum = x[j] + share * di[j] * x[j];
      if (j > 0) sum += share * lo[j] * x[j - 1];
      if (j + 1 < nodes) sum += share * up[j] * x[j + 1];
      EXPECT_NEAR(sum, rhs[j], 1e-5) << j;
    }
  }
}

TEST(KzkHelpers, RunsSideBySideAreThePlainElimination) {
  // Node counts around multiples of the lanes, and a step so long that the runs feel each other.
  for (const int nodes : {2, 15, 16, 17, 31, 100}) {
    const kzk::RadialGrid grid{10, nodes};
    const long samples = 40;
    for (const double kappa : {0.1, 30.0}) {
      kzk::WaveDiffraction<1> plain(grid);
      kzk::WaveDiffraction<16> wide(grid);
      std::vector<float> a(plain.size() * samples), b(wide.size() * samples);
      const auto at = [&](const auto& diffraction, int lanes, int j, long i) {
        const int place = diffraction.place(j);
        return (place / lanes * samples + i) * lanes + place % lanes;
      };
      for (int j = 0; j < nodes; ++j)
        for (long i = 0; i < samples; ++i)
          a[at(plain, 1, j, i)] = b[at(wide, 16, j, i)] =
              static_cast<float>(std::sin(0.3 * i) * std::exp(-0.01 * j * j));
      const std::vector<float> layer(wide.size(), 1.0f);
      for (const double theta : {1.0, 0.5}) {
        plain.prepare(kappa, theta, 0.3);
        wide.prepare(kappa, theta, 0.3);
        plain.advance(0.3, layer.data(), a.data(), samples, samples);
        wide.advance(0.3, layer.data(), b.data(), samples, samples);
      }
      float most = 0, apart = 0;
      for (int j = 0; j < nodes; ++j)
        for (long i = 0; i < samples; ++i) {
          most = std::max(most, std::fabs(a[at(plain, 1, j, i)]));
          apart = std::max(apart, std::fabs(a[at(plain, 1, j, i)] - b[at(wide, 16, j, i)]));
        }
      EXPECT_LT(apart, 2e-5 * most) << nodes << " nodes, kappa " << kappa;
    }
  }
}

}  // namespace
}  // namespace kestrel
