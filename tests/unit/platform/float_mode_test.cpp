#include "platform/float_mode.h"

#include <gtest/gtest.h>

#include "host_float_mode.h"

namespace zatlib::platform {
namespace {

using test::ComputesByTheStandard;
using test::HostFloatMode;

TEST(FloatModeTest, TheStandardHoldsWithinAndTheCallersModeComesBack) {
  const HostFloatMode host;
#if defined(__SSE2__)
  ASSERT_FALSE(ComputesByTheStandard());
#endif
  {
    const StandardFloatMode mode;
    EXPECT_TRUE(ComputesByTheStandard());
  }
  EXPECT_TRUE(HostFloatMode::IsSet());
}

TEST(FloatModeTest, ModesMayNest) {
  const HostFloatMode host;
  {
    const StandardFloatMode outer;
    {
      const StandardFloatMode inner;
      EXPECT_TRUE(ComputesByTheStandard());
    }
    EXPECT_TRUE(ComputesByTheStandard());
  }
  EXPECT_TRUE(HostFloatMode::IsSet());
}

#if defined(__SSE2__)
TEST(FloatModeTest, WhatIsComputedWithinLeavesNoFlagBehind) {
  const unsigned before = _mm_getcsr();
  _mm_setcsr(test::kStandardMode);
  {
    const StandardFloatMode mode;
    EXPECT_EQ(_mm_getcsr(), test::kStandardMode);
    volatile double zero = 0.0;
    volatile double infinite = 1.0 / zero;  // raises the flag of a division by zero
    EXPECT_GT(infinite, 0.0);
    EXPECT_NE(_mm_getcsr(), test::kStandardMode);
  }
  EXPECT_EQ(_mm_getcsr(), test::kStandardMode);
  _mm_setcsr(before);
}

TEST(FloatModeTest, ExceptionsThatTheHostWantsToMeetStayItsOwn) {
  // All exceptions unmasked: computing 0 / 0 ends a program.
  const unsigned before = _mm_getcsr();
  _mm_setcsr(0);
  {
    const StandardFloatMode mode;
    volatile double zero = 0.0;
    volatile double none = zero / zero;
    EXPECT_NE(none, none);
  }
  const unsigned after = _mm_getcsr();
  _mm_setcsr(before);
  EXPECT_EQ(after, 0u);
}
#endif

}  // namespace
}  // namespace zatlib::platform
