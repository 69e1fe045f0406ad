// Every instruction set of this machine gives the transient fields of the scalar path, and the
// terms of every excitation sum to its signal on each of them.

#include <gtest/gtest.h>

#include "numerics/instruction_set.h"
#include "tests/support/transient_situation.h"

namespace kestrel::test {
namespace {

class TransientSets : public testing::TestWithParam<InstructionSet> {
  void SetUp() override {
    if (!is_supported(GetParam())) GTEST_SKIP() << "this processor has no " << name(GetParam());
  }
};

TEST_P(TransientSets, AgreeWithTheScalarPath) {
  TimeSamples axis(0.1e-6, 0, 60e-6);
  RandomSituations random(20250612);
  for (const ShapeKind shape : kShapes) {
    for (const auto& [signal_name, signal] : excitations()) {
      Situation s = random.next(shape, false);
      Points points = random.points(s, 31);
      for (int i = 0; i < 6; ++i) points[5 * i].x = s.center.x;
      const auto on = [&](InstructionSet set) {
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
TEST_P(TransientSets, TermsSumToTheSignalItself) {
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

INSTANTIATE_TEST_SUITE_P(All, TransientSets,
                         testing::Values(InstructionSet::scalar, InstructionSet::baseline,
                                         InstructionSet::avx2, InstructionSet::avx512),
                         [](const auto& set) { return name(set.param); });

}  // namespace
}  // namespace kestrel::test
