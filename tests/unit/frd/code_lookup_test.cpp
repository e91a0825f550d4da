#include "frd/code_lookup.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

#include "platform/fault.h"

namespace zatlib {
namespace {

double FromInteger(int64_t value) {
  double code;
  std::memcpy(&code, &value, sizeof code);
  return code;
}

// The lookup as a person would do it: halving above 512 records, then record by record.
int64_t Scan(const std::vector<double>& keys, double key) {
  size_t low = 0;
  size_t high = keys.size();
  while (high - low > 512) {
    const size_t middle = (low + high) / 2;
    if (key >= keys[middle]) {
      low = middle;
    } else {
      high = middle;
    }
  }
  for (size_t i = low; i < high; ++i) {
    if (keys[i] == key) return static_cast<int64_t>(i);
  }
  return -1;
}

int64_t Narrow(const std::vector<double>& keys, double key) {
  return FindNarrowed(static_cast<int64_t>(keys.size()), key,
                      [&](int64_t i) { return keys[static_cast<size_t>(i)]; });
}

// Looks up every key, its neighbours and what lies outside, with and without hints.
void ExpectWhatAScanFinds(const std::vector<double>& keys,
                          int64_t (*scan)(const std::vector<double>&, double) = Scan) {
  const auto count = static_cast<int64_t>(keys.size());
  CodeLookup lookup;
  lookup.Build(keys.data(), count);
  EXPECT_EQ(lookup.count(), count);
  std::vector<double> asked = {0.0,
                               -0.0,
                               1.0,
                               -1.0,
                               1e300,
                               -1e300,
                               std::numeric_limits<double>::infinity(),
                               -std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN(),
                               FromInteger(-5)};
  for (const double key : keys) {
    asked.push_back(key);
    asked.push_back(std::nextafter(key, 1e308));
    asked.push_back(std::nextafter(key, -1e308));
  }
  int64_t hint = 0;
  for (const double key : asked) {
    const int64_t expected = scan(keys, key);
    ASSERT_EQ(lookup.Find(key), expected) << key << " of " << count;
    for (const int64_t from : {hint, expected, expected - 3, int64_t{-1}, count - 1, count + 5}) {
      ASSERT_EQ(lookup.FindFrom(key, from), expected) << key << " from " << from;
    }
    hint = expected + 1;
  }
}

TEST(CodeLookup, HoldsNothingAtFirst) {
  CodeLookup lookup;
  EXPECT_EQ(lookup.count(), 0);
  EXPECT_EQ(lookup.Find(0.0), -1);
  EXPECT_EQ(lookup.FindFrom(0.0, 0), -1);
  lookup.Build(static_cast<const double*>(nullptr), 0);
  EXPECT_EQ(lookup.Find(0.0), -1);
}

TEST(CodeLookup, FindsCodesInARow) {
  for (const int count : {1, 2, 7, 8, 9, 10, 31, 33, 511, 512, 513, 5000}) {
    std::vector<double> decimal;
    std::vector<double> integer;
    std::vector<double> small;
    for (int i = 0; i < count; ++i) {
      decimal.push_back(10000010000001.0 + i * 2);
      integer.push_back(FromInteger(100000000000000001 + i));
      small.push_back(i);
    }
    ExpectWhatAScanFinds(decimal);
    ExpectWhatAScanFinds(integer);
    ExpectWhatAScanFinds(small);
  }
}

TEST(CodeLookup, FindsCodesMadeOfAreaAndNumber) {
  std::vector<double> decimal;
  std::vector<double> integer;
  for (int area = 1; area < 48; area += 3) {
    for (int number = 0; number < area * 20; ++number) {
      decimal.push_back(area * 1e12 + number);
      integer.push_back(FromInteger(area * 10000000000000000 + number * 7));
    }
  }
  ExpectWhatAScanFinds(decimal);
  ExpectWhatAScanFinds(integer);
}

TEST(CodeLookup, FindsACrowdWithinACrowd) {
  // One far code, so that all others share a slot, and most of these share one of that slot's.
  std::vector<double> keys;
  for (int i = 0; i < 300; ++i) keys.push_back(1.0 + i * 1e-9);
  for (int i = 0; i < 100; ++i) keys.push_back(10.0 + i);
  keys.push_back(1e14);
  ExpectWhatAScanFinds(keys);
}

TEST(CodeLookup, FindsKeysOfEverySizeAndSign) {
  std::vector<double> keys = {-std::numeric_limits<double>::infinity(), -1e308, -3.5, -1e-310,
                              std::numeric_limits<double>::infinity(),  1e308,  3.5,  5e-324};
  for (int i = -30; i < 30; ++i) keys.push_back(std::ldexp(1.0, i * 30));
  for (int i = -30; i < 30; ++i) keys.push_back(-std::ldexp(1.0, i * 30));
  std::sort(keys.begin(), keys.end());
  ExpectWhatAScanFinds(keys);
}

TEST(CodeLookup, TakesEitherZeroForTheOther) {
  for (const double zero : {0.0, -0.0}) {
    std::vector<double> decimal = {zero};
    std::vector<double> integer = {zero};
    std::vector<double> middle = {zero};
    for (int i = 1; i < 40; ++i) {
      decimal.push_back(i * 1e9);
      integer.push_back(FromInteger(i * 1000));
      middle.push_back(i * 1e9);
      middle.push_back(i * -1e9);
    }
    std::sort(middle.begin(), middle.end());
    ExpectWhatAScanFinds(decimal);
    ExpectWhatAScanFinds(integer);
    ExpectWhatAScanFinds(middle);
  }
}

TEST(CodeLookup, OfEqualKeysTheNarrowingDecides) {
  for (const int copies : {2, 3, 40, 600, 1500}) {
    std::vector<double> keys;
    for (int i = 0; i < 3000; ++i) keys.push_back(1e13 + i / copies);
    ExpectWhatAScanFinds(keys);
  }
  ExpectWhatAScanFinds(std::vector<double>(20, 7.0));
  ExpectWhatAScanFinds(std::vector<double>(20, 0.0));
}

TEST(CodeLookup, ATableOutOfOrderIsNarrowedLikeAnyOther) {
  std::vector<double> keys;
  for (int i = 0; i < 2000; ++i) keys.push_back((i * 7919) % 2003);
  ExpectWhatAScanFinds(keys, Narrow);
  std::sort(keys.begin(), keys.end());
  std::swap(keys[1000], keys[1999]);
  ExpectWhatAScanFinds(keys, Narrow);
}

TEST(CodeLookup, KeysThatAreNoNumbersLeaveItToNarrowing) {
  const double none = std::numeric_limits<double>::quiet_NaN();
  for (const size_t at : {size_t{0}, size_t{700}, size_t{1999}}) {
    std::vector<double> keys;
    for (int i = 0; i < 2000; ++i) keys.push_back(i);
    keys[at] = none;
    ExpectWhatAScanFinds(keys, Narrow);
  }
}

TEST(CodeLookup, ReadsTheKeyAtTheStartOfARecord) {
  struct Record {
    double key;
    char rest[88];
  };
  std::vector<Record> records;
  for (int i = 0; i < 1000; ++i) records.push_back({1e13 + i * i, {}});
  CodeLookup lookup;
  lookup.Build(records.data(), 1000);
  for (int i = 0; i < 1000; ++i) {
    ASSERT_EQ(lookup.Find(1e13 + i * i), i);
    ASSERT_EQ(lookup.FindFrom(1e13 + i * i, i - 1), i);
  }
  EXPECT_EQ(lookup.Find(1e13 + 2), -1);
}

TEST(CodeLookup, FindsWithoutMemoryToo) {
  std::vector<double> keys;
  for (int i = 0; i < 5000; ++i) keys.push_back(1e13 + i);
  platform::ArmFault(platform::Operation::kAllocate, 1, true);
  CodeLookup lookup;
  lookup.Build(keys.data(), 5000);
  platform::ClearFaults();
  EXPECT_EQ(lookup.Find(1e13 + 4321), 4321);
  EXPECT_EQ(lookup.FindFrom(1e13 + 4321, 4320), 4321);
  EXPECT_EQ(lookup.Find(1e13 + 5000), -1);
}

TEST(CodeLookup, CanBeBuiltAnew) {
  std::vector<double> keys;
  for (int i = 0; i < 5000; ++i) keys.push_back(1e13 + i);
  CodeLookup lookup;
  lookup.Build(keys.data(), 5000);
  lookup.Build(keys.data() + 1000, 2);
  EXPECT_EQ(lookup.count(), 2);
  EXPECT_EQ(lookup.Find(1e13 + 1001), 1);
  EXPECT_EQ(lookup.Find(1e13), -1);
  lookup = CodeLookup();
  EXPECT_EQ(lookup.Find(1e13 + 1001), -1);
}

TEST(CodeLookup, FindsKeysBeyondTheWholeNumbersOfADouble) {
  std::vector<double> keys;
  for (int i = 0; i < 40; ++i) keys.push_back(1e16 + 2.0 * i);
  ExpectWhatAScanFinds(keys);
  keys.front() = -1.0;
  ExpectWhatAScanFinds(keys);
  keys.back() = std::numeric_limits<double>::infinity();
  ExpectWhatAScanFinds(keys);
}

}  // namespace
}  // namespace zatlib
