#include "rtweight/turn_rule.h"

#include <gtest/gtest.h>

namespace zatlib::test {
namespace {

TEST(InDegreesTest, IsTheQuotientToTheLastBit) {
  const auto check = [](int32_t units) {
    ASSERT_EQ(InDegrees(units), units / 1000000.0) << units;
    ASSERT_EQ(InDegrees(-units), -units / 1000000.0) << units;
  };
  for (int32_t units = 0; units < 1000000; ++units) check(units);
  // All over the range: a step without a divisor in common with 10.
  for (int64_t units = 0; units <= 2147483647; units += 4799) check(static_cast<int32_t>(units));
  for (int bit = 0; bit < 31; ++bit) {
    for (const int difference : {-1, 0, 1}) check((1 << bit) + difference);
  }
  check(2147483647);
  EXPECT_EQ(InDegrees(-2147483647 - 1), -2147.483648);
}

TEST(TurnRuleTest, ATurnBetweenStrangersIsNotWeighted) {
  NodeTurns node;
  node.slots = 1;
  node.neighbour[0] = 7;
  node.ends[0] = EndsOfShape({{0, 0}, {1000000, 1000000}, {0, 0}, {1000000, 1000000}});
  const TurnLimits limits = {1.0, 1.0};
  EXPECT_EQ(MM_SUB_IsWeightedTurn(7, node, 7, limits), 1);
  EXPECT_EQ(MM_SUB_IsWeightedTurn(7, node, 8, limits), 0);
  EXPECT_EQ(MM_SUB_IsWeightedTurn(8, node, 7, limits), 0);
}

}  // namespace
}  // namespace zatlib::test
