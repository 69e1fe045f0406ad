// The quick rows of the validation table, and proof that each acceptance figure is tight enough:
// with a deliberate error in the coefficients the same measurement must miss it.

#include <gtest/gtest.h>
#include <ostream>

#include "validation/kzk_table.h"

namespace kestrel {

namespace checks {
void PrintTo(const Check& check, std::ostream* out) { *out << check.name; }
}  // namespace checks

namespace {

using checks::Check;

class KzkCheck : public testing::TestWithParam<Check> {};

TEST_P(KzkCheck, HoldsAndCatchesItsFaults) {
  const Check& check = GetParam();
  const auto measured = check.measure({});
  EXPECT_TRUE(check.holds(measured)) << testing::PrintToString(measured);
  for (const checks::Fault& fault : check.caught)
    EXPECT_FALSE(check.holds(check.measure(fault))) << "misses: " << fault.name;
}

std::vector<Check> quick_checks() {
  std::vector<Check> list = checks::all_checks();
  std::erase_if(list, [](const Check& check) { return check.slow; });
  return list;
}

INSTANTIATE_TEST_SUITE_P(KzkValidation, KzkCheck, testing::ValuesIn(quick_checks()));

TEST(KzkValidation, AShockTakesPower) { EXPECT_GT(checks::nonlinear_power_error(6), 0.1); }

}  // namespace
}  // namespace kestrel
