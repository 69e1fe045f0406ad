// Every continuous-wave method against a plain evaluation of the same arithmetic. A float rounding
// left out or put in moves a field by 2e-9 to 5e-6 of its peak, a fused multiply-add by 1e-7; here
// the scalar path must give the same bits.

#include <algorithm>
#include <gtest/gtest.h>

#include "kestrel/instruction_set.h"
#include "mex/standalone/standalone_host.h"
#include "tests/support/reference_fields.h"

namespace kestrel::test {
namespace {

class CwMethods : public testing::TestWithParam<CwMethod> {};

TEST_P(CwMethods, AgreeWithAPlainEvaluation) {
  const standalone::Capture quiet;
  const ScopedInstructionSet scalar(InstructionSet::scalar);
  const CwMethod& method = GetParam();
  const auto expect_reference = [&](const Situation& s, const Points& points, const char* what) {
    const std::vector<Complex> expected = reference_field(method, s, points);
    ASSERT_GT(peak(expected), 0);
    EXPECT_LE(difference(field(s, method.method, points), expected), method.tolerance) << what;
  };
  RandomSituations random(20240917);
  for (const bool lossy : {false, true}) {
    for (int i = 0; i < 12; ++i) {
      Situation s = random.next(method.shape, lossy);
      if (method.method == &Transducer::fnm_cw_apodized && s.profile % 5 == 0) s.profile = 2;
      expect_reference(s, random.points(s, 29), "turned");
      // Points on the middle planes, where pairs of integrals are equal; edges; the axis.
      s.center = s.euler = {};
      Points points;
      for (const double x : {0.0, 1e-3, s.a / 2, s.a, 0.02}) {
        for (const double y : {0.0, -2e-3, s.b / 2, -0.03}) points.emplace_back(x, y, 7e-3);
      }
      expect_reference(s, points, "on special lines");
    }
  }
}

INSTANTIATE_TEST_SUITE_P(All, CwMethods, testing::ValuesIn(kCwMethods), [](const auto& method) {
  std::string name = method.param.name;
  std::replace(name.begin(), name.end(), ' ', '_');
  return name;
});

TEST(Farfield, LosslessFormIgnoresTheLoss) {
  RandomSituations random(11);
  const Situation s = random.next(ShapeKind::rectangle, true);
  const Points points = random.points(s, 17);
  Bench bench(s, points);
  EXPECT_EQ(dynamic_cast<RectangularTransducer&>(bench.element()).farfield_cw_lossless(), 0);
  Situation lossless = s;
  lossless.medium._dBcmMHz = 0;
  EXPECT_EQ(bench.field(), field(lossless, &Transducer::farfield_cw, points));
}

}  // namespace
}  // namespace kestrel::test
