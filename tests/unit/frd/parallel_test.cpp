#include "frd/parallel.h"

#include <gtest/gtest.h>

#include <atomic>
#include <numeric>
#include <thread>
#include <vector>

#include "fault_each.h"
#include "host_float_mode.h"
#include "platform/fault.h"

namespace zatlib {
namespace {

class ParallelTest : public ::testing::TestWithParam<int> {
 protected:
  ParallelTest() { SetThreadCount(GetParam()); }
  ~ParallelTest() override { SetThreadCount(0); }
};

INSTANTIATE_TEST_SUITE_P(Threads, ParallelTest, ::testing::Values(1, 2, 4, 16));

TEST_P(ParallelTest, RunsEachPartOnce) {
  Workers workers;
  std::vector<int> runs(1000, 0);
  workers.Run(1000, [&](int64_t part) { ++runs[static_cast<size_t>(part)]; });
  EXPECT_EQ(runs, std::vector<int>(1000, 1));
}

TEST_P(ParallelTest, OneRunFollowsTheOther) {
  Workers workers;
  std::vector<int64_t> values(64, 0);
  for (int64_t round = 1; round <= 500; ++round) {
    workers.Run(64, [&](int64_t part) { values[static_cast<size_t>(part)] += round; });
  }
  // 1 + 2 + ... + 500.
  EXPECT_EQ(values, std::vector<int64_t>(64, 125250));
}

TEST_P(ParallelTest, ABegunRunIsDoneWhenItIsFinished) {
  Workers workers;
  std::atomic<int> done = 0;
  workers.Start(100, [&](int64_t) { ++done; });
  workers.Finish();
  EXPECT_EQ(done, 100);
  // A run that nobody finishes is finished by the next one, or by the end.
  workers.Start(10, [&](int64_t) { ++done; });
  workers.Start(10, [&](int64_t) { done += 100; });
  workers.Finish();
  EXPECT_EQ(done, 1110);
  {
    Workers others;
    others.Start(7, [&](int64_t) { ++done; });
  }
  EXPECT_EQ(done, 1117);
}

TEST_P(ParallelTest, TheThreadsComputeByTheStandardWhateverTheCallersModeIs) {
  const test::HostFloatMode host;
  Workers workers;
  const auto caller = std::this_thread::get_id();
  const int others = ThreadCount() - 1;
  std::atomic<int> seen = 0;
  std::atomic<int> good = 0;
  // One part a thread: none is given back before all are there.
  workers.Start(others, [&](int64_t) {
    if (std::this_thread::get_id() != caller && test::ComputesByTheStandard()) ++good;
    ++seen;
    for (int there = seen; there < others; there = seen) std::this_thread::yield();
  });
  while (seen < others) std::this_thread::yield();
  workers.Finish();
  EXPECT_EQ(good, others);
  EXPECT_TRUE(test::HostFloatMode::IsSet());
}

TEST_P(ParallelTest, WithoutThreadsTheCallerDoesEverything) {
  // The third thread is refused, then every one.
  for (const int64_t refused : {3, 1}) {
    test::RunWithFault({platform::Operation::kThread, refused, true}, [&] {
      Workers workers;
      int64_t sum = 0;
      std::atomic<int64_t> parts = 0;
      const auto caller = std::this_thread::get_id();
      workers.Run(1000, [&](int64_t part) {
        ++parts;
        if (std::this_thread::get_id() == caller) sum += part;
      });
      EXPECT_EQ(parts, 1000);
      if (refused == 1) {
        EXPECT_EQ(sum, 499500);  // 0 + 1 + ... + 999
      }
      return 0;
    });
  }
}

TEST_P(ParallelTest, ARunWithoutPartsIsNoRun) {
  Workers workers;
  workers.Run(0, [](int64_t) { FAIL(); });
  workers.RunRanges(0, 10, [](int64_t, int64_t) { FAIL(); });
}

TEST_P(ParallelTest, RangesCoverAllAndEndAtTheCount) {
  Workers workers;
  std::vector<int> seen(105, 0);
  workers.RunRanges(105, 10, [&](int64_t begin, int64_t end) {
    EXPECT_EQ(begin % 10, 0);
    EXPECT_EQ(end, begin == 100 ? 105 : begin + 10);
    for (int64_t i = begin; i < end; ++i) ++seen[static_cast<size_t>(i)];
  });
  EXPECT_EQ(seen, std::vector<int>(105, 1));
}

TEST(ThreadCountTest, IsWithin1And16) {
  SetThreadCount(5);
  EXPECT_EQ(ThreadCount(), 5);
  SetThreadCount(17);
  EXPECT_EQ(ThreadCount(), 16);
  SetThreadCount(-3);
  EXPECT_GE(ThreadCount(), 1);
  EXPECT_LE(ThreadCount(), 16);
  SetThreadCount(0);
}

}  // namespace
}  // namespace zatlib
