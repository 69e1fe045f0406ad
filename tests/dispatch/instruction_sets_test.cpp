// Every instruction set of this machine gives the fields of the scalar path, wherever the points
// lie and however many there are; and the terms of every excitation sum to its signal on each of
// them.

#include <algorithm>
#include <gtest/gtest.h>
#include <limits>

#include "kestrel/instruction_set.h"
#include "mex/standalone/standalone_host.h"
#include "tests/support/cw_methods.h"
#include "tests/support/transient_situation.h"

namespace kestrel::test {
namespace {

constexpr double kInfinity = std::numeric_limits<double>::infinity();

std::vector<Complex> field_on(InstructionSet set, const Situation& s, Method method,
                              const Points& points) {
  const ScopedInstructionSet scope(set);
  EXPECT_TRUE(scope.chosen());
  return field(s, method, points);
}

/// The same bits, where NaN equals NaN.
bool same(Complex p, Complex q) {
  const auto equal = [](double x, double y) { return x == y || (std::isnan(x) && std::isnan(y)); };
  return equal(p.real(), q.real()) && equal(p.imag(), q.imag());
}

class InstructionSets : public testing::TestWithParam<InstructionSet> {
  void SetUp() override {
    if (!is_supported(GetParam())) GTEST_SKIP() << "this processor has no " << name(GetParam());
  }
  const standalone::Capture _quiet;
};

TEST_P(InstructionSets, AgreeWithTheScalarPath) {
  constexpr std::uint32_t seed = 20250301;
  for (const CwMethod& method : kCwMethods) {
    if (!method.vectorised) continue;
    const double tolerance = method.shape == ShapeKind::rectangle ? 1e-13 : 1e-12;
    RandomSituations random(seed);
    for (const bool lossy : {false, true}) {
      for (int i = 0; i < 3; ++i) {
        Situation s = random.next(method.shape, lossy);
        s.profile = 2;
        Points points = random.points(s, 513);
        for (int j = 0; j < 40; ++j) points[7 * j].x = s.center.x;  // and on middle planes
        if (i == 2) s.euler = {};
        const auto expected = field_on(InstructionSet::scalar, s, method.method, points);
        EXPECT_EQ(last_used_instruction_set(), InstructionSet::scalar);
        const auto actual = field_on(GetParam(), s, method.method, points);
        EXPECT_EQ(last_used_instruction_set(), GetParam()) << method.name;
        EXPECT_LE(difference(actual, expected), tolerance) << method.name << ", seed " << seed;
      }
    }
  }
}

// Phases and exponents beyond the range of the wide functions, and coordinates that are not
// numbers: such points take the scalar path, and leave their neighbours where they were.
TEST_P(InstructionSets, LeavePointsOutOfReachToTheScalarPath) {
  RandomSituations random(5);
  const Points far = {{0, 0, 800},       {1e4, 0, 1e5},     {0, 0, 1e200},
                      {kNan, 0, 0.01},   {0, kNan, 0.01},   {0, 0, kNan},
                      {0, 0, kInfinity}, {kInfinity, 0, 1}, {0, -kInfinity, 0.01}};
  for (const CwMethod& method : kCwMethods) {
    if (!method.vectorised) continue;
    for (const bool lossy : {false, true}) {
      Situation s = random.next(method.shape, lossy);
      s.profile = 2;
      s.center = s.euler = {};
      const Points near = random.points(s, 7);
      Points mixed;
      for (std::size_t i = 0; i < far.size(); ++i) {
        mixed.push_back(far[i]);
        mixed.push_back(near[i % near.size()]);
      }
      const auto scalar = field_on(InstructionSet::scalar, s, method.method, far);
      const auto alone = field_on(GetParam(), s, method.method, near);
      const auto actual = field_on(GetParam(), s, method.method, mixed);
      for (std::size_t i = 0; i < far.size(); ++i) {
        EXPECT_TRUE(same(actual[2 * i], scalar[i])) << method.name << ", far point " << i;
        EXPECT_TRUE(same(actual[2 * i + 1], alone[i % near.size()]))
            << method.name << ", beside far point " << i;
      }
      // Constants that are not numbers. The disc's plain sum falls back on a default speed.
      const auto expect_nan = [&] {
        EXPECT_TRUE(same(field_on(GetParam(), s, method.method, {{0, 0, 0.02}})[0], {kNan, kNan}))
            << method.name;
      };
      s.medium._dBcmMHz = kNan;
      expect_nan();
      s.medium._dBcmMHz = 0;
      s.medium._soundspeed = kNan;
      if (method.method != &Transducer::rayleigh_cw || method.shape != ShapeKind::disc) {
        expect_nan();
      }
    }
  }
}

// Nodes may lie beyond the face: a hole wider than its disc, a rule that is not on (-1, 1). With a
// loss of thousands of nepers their exponentials leave the range of the wide one.
TEST_P(InstructionSets, KnowHowFarTheNodesReach) {
  Situation ring = typical(ShapeKind::ring);
  ring.a = 30e-3, ring.b = 10e-3;
  Situation face = typical(ShapeKind::rectangle);
  face.a = face.b = 20e-3;
  for (Situation* s : {&ring, &face}) s->medium._f0 = 10e6, s->medium._dBcmMHz = 60;
  const auto on = [](InstructionSet set, const Situation& s, Method method, double x) {
    const ScopedInstructionSet scope(set);
    Bench bench(s, Points{{x, 0, 1e-3}});
    if (s.shape == ShapeKind::rectangle) bench.rule().gauss_quadrature(0, M_PI);
    bench.call(method);
    return bench.field();
  };
  for (double x = 0.05; x < 0.15; x += 0.0005) {
    const auto expect = [&](const Situation& s, Method method) {
      const auto scalar = on(InstructionSet::scalar, s, method, x);
      EXPECT_LE(difference(on(GetParam(), s, method, x), scalar), 1e-11) << x;
    };
    expect(ring, &Transducer::rayleigh_cw);
    expect(face, &Transducer::rayleigh_cw);
    expect(face, &Transducer::fnm_cw);
    expect(face, &Transducer::fnm_cw_single);
  }
}

// Several terms share a division by the product of their denominators, which leaves the range of
// numbers long before a denominator does.
TEST_P(InstructionSets, AgreeAboutElementsOfAnySize) {
  RandomSituations random(11);
  for (const CwMethod& method : kCwMethods) {
    if (!method.vectorised || method.method == &Transducer::fnm_cw_single) continue;
    const Situation ordinary = typical(method.shape);
    const Points around = random.points(ordinary, 33);
    for (const double scale : {0x1p-150, 0x1p-60, 0x1p-40, 0x1p40, 0x1p60, 0x1p150}) {
      Situation s = ordinary;
      for (double* length : {&s.a, &s.b, &s.c}) *length *= scale;
      s.medium._f0 /= scale;
      Points points = around;
      for (Point& p : points) p = {p.x * scale, p.y * scale, p.z * scale};
      const auto expected = field_on(InstructionSet::scalar, s, method.method, points);
      EXPECT_LE(difference(field_on(GetParam(), s, method.method, points), expected), 1e-12)
          << method.name << ", " << scale;
    }
  }
}

TEST_P(InstructionSets, GiveAPointTheSameValueInAnyCompany) {
  RandomSituations random(23);
  for (const CwMethod& method : kCwMethods) {
    Situation s = random.next(method.shape, true);
    s.profile = 3;
    s.nodes = 5;
    const Points points = random.points(s, 513);
    const auto together = field_on(GetParam(), s, method.method, points);
    for (const std::size_t count : {1, 3, 7, 257}) {
      const std::size_t first = points.size() - count;
      const auto some =
          field_on(GetParam(), s, method.method,
                   Points(points.begin() + static_cast<std::ptrdiff_t>(first), points.end()));
      for (std::size_t i = 0; i < count; ++i) {
        ASSERT_TRUE(same(some[i], together[first + i])) << method.name << ", " << count;
      }
    }
  }
}

TEST_P(InstructionSets, GiveTheTransientFieldsOfTheScalarPath) {
  TimeSamples axis(0.1e-6, 0, 60e-6);
  RandomSituations random(20250612);
  for (const ShapeKind shape : kShapes) {
    for (const auto& [signal_name, signal] : excitations()) {
      Situation s = random.next(shape, false);
      Points points = random.points(s, 31);
      for (int i = 0; i < 6; ++i) points[5 * i].x = s.center.x;
      const auto on = [&, &signal = signal](InstructionSet set) {
        const ScopedInstructionSet scope(set);
        const Traces traces = transient(s, &Transducer::fnm_tsd, points, axis, *signal);
        EXPECT_EQ(last_used_instruction_set(), set);
        return traces;
      };
      const double tolerance = signal_name == "t-cubed" ? 1e-10 : 1e-12;
      EXPECT_LE(difference(on(GetParam()), on(InstructionSet::scalar)), tolerance)
          << signal_name << " of shape " << static_cast<int>(shape);
    }
  }
}

// `at` within the support; phases far beyond the reach of the wide functions included.
TEST_P(InstructionSets, GiveTermsThatSumToTheSignalItself) {
  const ScopedInstructionSet scope(GetParam());
  for (const auto& [signal_name, signal] : excitations()) {
    for (const double reference : {0.0, 3e-6, -1.0}) {
      if (signal_name == "t-cubed" && reference < 0) continue;  // its powers leave nothing there
      const double tolerance = reference < 0 ? 1e-8 : 1e-10;    // omega at 1 s has nine digits less
      constexpr int n = 67;
      double tau[n], t[n];
      for (int i = 0; i < n; ++i) tau[i] = i * 0.03e-6, t[i] = 2.1e-6 + i * 0.01e-6;
      const int terms = signal->number_of_exact_terms();
      std::vector<double> spatial(terms * n), temporal(terms * n);
      signal->exact_spatial_terms(spatial.data(), tau, n, reference);
      signal->exact_temporal_terms(temporal.data(), t, n, reference);
      double largest = 0, worst = 0;
      for (int i = 0; i < n; ++i) {
        for (int j = 0; j < n; ++j) {
          if (!(t[i] - tau[j] > 0 && t[i] - tau[j] < signal->get_pulse_width())) continue;
          double sum = 0;
          for (int k = 0; k < terms; ++k) sum += spatial[k * n + j] * temporal[k * n + i];
          largest = std::max(largest, std::abs(signal->at(t[i] - tau[j])));
          worst = std::max(worst, std::abs(sum - signal->at(t[i] - tau[j])));
        }
      }
      EXPECT_LE(worst / largest, tolerance) << signal_name << " from " << reference;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, InstructionSets, testing::ValuesIn(kInstructionSets),
                         [](const auto& set) { return std::string(name(set.param)); });

TEST(InstructionSetChoice, RefusesWhatTheProcessorLacks) {
  const InstructionSet before = instruction_set();
  EXPECT_TRUE(is_supported(before));
  for (const InstructionSet set : kInstructionSets) {
    const ScopedInstructionSet scope(set);
    EXPECT_EQ(scope.chosen(), is_supported(set)) << name(set);
    EXPECT_EQ(instruction_set(), is_supported(set) ? set : before);
  }
  EXPECT_EQ(instruction_set(), before);
  EXPECT_TRUE(is_supported(InstructionSet::scalar) && is_supported(InstructionSet::baseline));
}

}  // namespace
}  // namespace kestrel::test
