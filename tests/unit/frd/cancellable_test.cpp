#include "frd/cancellable.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <vector>

#include "test_support.h"

namespace zatlib {
namespace {

class CancellableTest : public test::LibraryTest {
 protected:
  CancellableTest() {
    g_silent = 0;
    FRD_SetCancelled(false);
  }
  ~CancellableTest() override {
    g_silent = 1;
    FRD_SetCancelled(false);
  }
};

double ValueOf(const double& value) { return value; }

std::vector<double> Descending(int64_t count) {
  std::vector<double> values;
  for (int64_t i = count; i > 0; --i) values.push_back(static_cast<double>(i));
  return values;
}

TEST_F(CancellableTest, LooksAtTheEndOfEveryInterval) {
  FRD_SetCancelled(true);
  EXPECT_FALSE(CancelledAt(0));
  EXPECT_FALSE(CancelledAt(65534));
  EXPECT_TRUE(CancelledAt(65535));
  EXPECT_FALSE(CancelledAt(65536));
  EXPECT_TRUE(CancelledAt(131071));
  EXPECT_TRUE(CancelledAt(1023, 1024));
  EXPECT_FALSE(CancelledAt(1024, 1024));
  FRD_SetCancelled(false);
  EXPECT_FALSE(CancelledAt(65535));
}

TEST_F(CancellableTest, SilentRunsAreNotCancelled) {
  FRD_SetCancelled(true);
  g_silent = 1;
  EXPECT_FALSE(CancelledAt(65535));
  std::vector<double> values = Descending(3000000);
  EXPECT_EQ(SortUnlessCancelled(values.data(), 3000000, ValueOf), 1);
  EXPECT_EQ(values.front(), 1.0);
  EXPECT_EQ(values.back(), 3000000.0);
}

TEST_F(CancellableTest, SortsWhatSortRecordsSorts) {
  for (const int64_t count : {int64_t{0}, int64_t{1}, int64_t{1000}, int64_t{200000}}) {
    std::vector<double> values = Descending(count);
    EXPECT_EQ(SortUnlessCancelled(values.data(), count, ValueOf), 1);
    for (int64_t i = 0; i < count; ++i) {
      ASSERT_EQ(values[static_cast<size_t>(i)], static_cast<double>(i + 1));
    }
  }
}

TEST_F(CancellableTest, LooksOnceForABlockThatAnIntervalEndsIn) {
  FRD_SetCancelled(true);
  EXPECT_FALSE(CancelledWithin(0, 65535));
  EXPECT_TRUE(CancelledWithin(0, 65536));
  EXPECT_TRUE(CancelledWithin(65535, 65536));
  EXPECT_FALSE(CancelledWithin(65536, 131071));
  EXPECT_TRUE(CancelledWithin(100, 1000000));
  EXPECT_FALSE(CancelledWithin(65535, 65535));
  EXPECT_TRUE(CancelledWithin(0, 1024, 1024));
  FRD_SetCancelled(false);
  EXPECT_FALSE(CancelledWithin(0, 65536));
}

TEST_F(CancellableTest, KeysInAnyOrderAreSortedOnAnyNumberOfThreads) {
  constexpr int64_t kCount = 500000;
  constexpr int64_t kPrime = 500009;  // i x 7919 modulo a prime takes every value once
  // Codes in a row, codes of areas, the bits of integers, values of both signs, most keys in one
  // bucket.
  const std::function<double(int64_t)> forms[] = {
      [](int64_t i) { return 1e13 + static_cast<double>(i); },
      [](int64_t i) { return static_cast<double>(i % 47) * 1e12 + static_cast<double>(i / 47); },
      [](int64_t i) { return std::bit_cast<double>(int64_t{100000000000000000} + i); },
      [](int64_t i) { return static_cast<double>(i - 250000) / 3.0; },
      [](int64_t i) { return i == 5 ? 1e300 : static_cast<double>(i); }};
  for (const int threads : {1, 2, 4}) {
    SetThreadCount(threads);
    for (const auto& form : forms) {
      std::vector<double> values;
      for (int64_t i = 1; i <= kCount; ++i) values.push_back(form(i * 7919 % kPrime));
      std::vector<double> expected = values;
      std::sort(expected.begin(), expected.end());
      EXPECT_EQ(SortUnlessCancelled(values.data(), kCount, ValueOf), 1);
      EXPECT_TRUE(values == expected) << threads;
    }
  }
  SetThreadCount(0);
}

TEST_F(CancellableTest, ManyEqualKeysAreSorted) {
  std::vector<double> values;
  for (int64_t i = 0; i < 1500000; ++i)
    values.push_back(i % 3 == 0 ? 1e14 : static_cast<double>(i % 2));
  EXPECT_EQ(SortUnlessCancelled(values.data(), 1500000, ValueOf), 1);
  EXPECT_TRUE(std::is_sorted(values.begin(), values.end()));
  EXPECT_EQ(std::count(values.begin(), values.end(), 1e14), 500000);
  EXPECT_EQ(std::count(values.begin(), values.end(), 0.0), 500000);
}

TEST_F(CancellableTest, ALongSortStopsWhenTheUserCancels) {
  std::vector<double> values = Descending(3000000);
  FRD_SetCancelled(true);
  EXPECT_EQ(SortUnlessCancelled(values.data(), 3000000, ValueOf), 0);
  EXPECT_NE(values.back(), 3000000.0);
  // A short one is done before anybody could cancel it.
  values = Descending(60000);
  EXPECT_EQ(SortUnlessCancelled(values.data(), 60000, ValueOf), 1);
  EXPECT_EQ(values.back(), 60000.0);
}

TEST_F(CancellableTest, WhatIsSortedAlreadyOrAllEqualStays) {
  std::vector<double> ascending;
  for (int64_t i = 0; i < 70000; ++i) ascending.push_back(static_cast<double>(i));
  std::vector<double> values = ascending;
  EXPECT_EQ(SortUnlessCancelled(values.data(), 70000, ValueOf), 1);
  EXPECT_TRUE(values == ascending);
  values.assign(70000, 1e13);
  EXPECT_EQ(SortUnlessCancelled(values.data(), 70000, ValueOf), 1);
  EXPECT_EQ(std::count(values.begin(), values.end(), 1e13), 70000);
}

// Keys that differ in their last byte only: one pass over them is all.
TEST_F(CancellableTest, FewDifferentKeysAreSortedInOnePass) {
  std::vector<double> values;
  for (int64_t i = 0; i < 70000; ++i) {
    values.push_back(std::bit_cast<double>(int64_t{0x4300000000000000} + i * 7919 % 200));
  }
  std::vector<double> expected = values;
  std::sort(expected.begin(), expected.end());
  EXPECT_EQ(SortUnlessCancelled(values.data(), 70000, ValueOf), 1);
  EXPECT_TRUE(values == expected);
}

}  // namespace
}  // namespace zatlib
