#include "platform/thread.h"

#include <gtest/gtest.h>

#include <thread>

#include "platform/fault.h"

namespace zatlib::platform {
namespace {

struct Seen {
  std::thread::id id;
  int calls = 0;
};

void See(void* seen) {
  static_cast<Seen*>(seen)->id = std::this_thread::get_id();
  ++static_cast<Seen*>(seen)->calls;
}

TEST(ThreadTest, RunsOnceBesideItsCreator) {
  Seen seen;
  Thread thread;
  ASSERT_TRUE(thread.Start(See, &seen));
  thread.Join();
  EXPECT_EQ(seen.calls, 1);
  EXPECT_NE(seen.id, std::this_thread::get_id());
}

TEST(ThreadTest, ARefusedThreadRunsNothing) {
  Seen seen;
  Thread thread;
  ArmFault(Operation::kThread, 1, false);
  EXPECT_FALSE(thread.Start(See, &seen));
  EXPECT_EQ(seen.calls, 0);
  EXPECT_TRUE(thread.Start(See, &seen));
  EXPECT_EQ(OperationCount(Operation::kThread), 2);
  ClearFaults();
  thread.Join();
  EXPECT_EQ(seen.calls, 1);
}

}  // namespace
}  // namespace zatlib::platform
