#include <gtest/gtest.h>
#include <string>

#include "inputs/numerical_integration.h"
#include "tests/boundary/outcome.h"

namespace kestrel {
namespace {

TEST(RuleInput, NeedsAtLeastOneNode) {
  NumericalIntegration rule;
  rule.allocate_memory(2);
  rule.midpoint_rule();
  for (const int n : {0, -7}) {
    const Outcome outcome = outcome_of([&] { rule.allocate_memory(n); });
    EXPECT_EQ(outcome.printed, "Illegal number of abscissas " + std::to_string(n) + "\n");
    EXPECT_EQ(outcome.error, "Specified number of abscissas is less than 1.\n");
  }
  EXPECT_EQ(rule.get_npoints(), 2);
  EXPECT_EQ(rule.get_abscissa(1), 0.5);
}

TEST(RuleInput, HoldsFiveBlocksHoweverOftenItIsAllocated) {
  const standalone::Live before = standalone::live();
  {
    NumericalIntegration rule;
    for (int n = 1; n <= 5; ++n) rule.allocate_memory(n);
    EXPECT_EQ(standalone::live().blocks, before.blocks + 5);
    const standalone::AllocationLimit three_arrays(3);
    EXPECT_NE(outcome_of([&] { rule.allocate_memory(6); }).error, std::nullopt);
    EXPECT_EQ(rule.get_npoints(), 5);
  }
  EXPECT_EQ(standalone::live(), before);
}

}  // namespace
}  // namespace kestrel
