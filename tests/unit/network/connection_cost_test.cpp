#include "network/connection_cost.h"

#include <gtest/gtest.h>

namespace zatlib::test {
namespace {

TEST(ConnectionCostTest, TheCostIsTheTimeInHundredthsOfASecondRounded) {
  EXPECT_EQ(ConnectionCost(100, 36, kSpeedLimitA), 1000);
  EXPECT_EQ(ConnectionCost(1, 1000, kSpeedLimitA), 0);  // 0.36
  EXPECT_EQ(ConnectionCost(1, 720, kSpeedLimitA), 1);   // 0.5
  EXPECT_EQ(ConnectionCost(1, 721, kSpeedLimitA), 0);   // 0.499...
  EXPECT_EQ(ConnectionCost(3, 720, kSpeedLimitA), 2);   // 1.5
  EXPECT_EQ(ConnectionCost(1, 1, kSpeedLimitB), 360);
  EXPECT_EQ(ConnectionCost(7, 40, kSpeedLimitB), 63);
}

TEST(ConnectionCostTest, LengthZeroCostsNothingWhateverTheSpeed) {
  EXPECT_EQ(ConnectionCost(0, 0, kSpeedLimitA), 0);
  EXPECT_EQ(ConnectionCost(0, 50, kSpeedLimitA), 0);
  EXPECT_EQ(ConnectionCost(0, 65535, kSpeedLimitB), 0);
}

TEST(ConnectionCostTest, SpeedZeroClosesTheConnection) {
  EXPECT_EQ(ConnectionCost(1, 0, kSpeedLimitA), 65535);
  EXPECT_EQ(ConnectionCost(65535, 0, kSpeedLimitB), 65535);
}

TEST(ConnectionCostTest, SpeedsAboveTheLimitCostNothing) {
  EXPECT_EQ(ConnectionCost(1000, 10000, 10000), 36);
  EXPECT_EQ(ConnectionCost(1000, 10001, 10000), 0);
  EXPECT_EQ(ConnectionCost(1000, 65535, 10000), 0);
  EXPECT_EQ(ConnectionCost(1000, 9998, 9998), 36);
  EXPECT_EQ(ConnectionCost(1000, 9999, 9998), 0);
  EXPECT_EQ(ConnectionCost(1000, 9999, 10000), 36);
  EXPECT_EQ(kSpeedLimitA, 10000);
  EXPECT_EQ(kSpeedLimitB, 9998);
}

TEST(ConnectionCostTest, TheHighestCostIs65535) {
  EXPECT_EQ(ConnectionCost(65533, 360, kSpeedLimitA), 65533);
  EXPECT_EQ(ConnectionCost(65534, 360, kSpeedLimitA), 65534);
  EXPECT_EQ(ConnectionCost(65535, 360, kSpeedLimitA), 65535);
  EXPECT_EQ(ConnectionCost(65535, 1, kSpeedLimitA), 65535);
  EXPECT_EQ(ConnectionCost(65535, 359, kSpeedLimitB), 65535);
}

}  // namespace
}  // namespace zatlib::test
