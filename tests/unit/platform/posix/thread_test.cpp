// Threads where the system gives no more of them.
#include "platform/thread.h"

#ifndef _WIN32

#include <gtest/gtest.h>

#include "refusals.h"

namespace zatlib::platform {
namespace {

void Count(void* calls) { ++*static_cast<int*>(calls); }

TEST(PosixThreadTest, AThreadThatTheSystemRefusesRunsNothing) {
  int calls = 0;
  Thread thread;
  {
    const test::NoThreads none;
    EXPECT_FALSE(thread.Start(Count, &calls));
  }
  ASSERT_TRUE(thread.Start(Count, &calls));
  thread.Join();
  EXPECT_EQ(calls, 1);
}

}  // namespace
}  // namespace zatlib::platform

#endif
