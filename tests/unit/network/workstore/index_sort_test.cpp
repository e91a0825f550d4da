#include "network/workstore/index_sort.h"

#include "../network_stores.h"

namespace zatlib::test::network {
namespace {

using IndexSortTest = NetworkTest;

std::vector<FeatureCode> Doubles(const std::vector<double>& values) {
  std::vector<FeatureCode> codes;
  for (const double value : values) codes.push_back(FeatureCode::FromDouble(value));
  return codes;
}

std::vector<double> Values(const std::vector<FeatureCode>& codes) {
  std::vector<double> values;
  for (const FeatureCode code : codes) values.push_back(code.AsDouble());
  return values;
}

CodeIndexRecord Entry(double code, int32_t number, uint32_t city) {
  return {FeatureCode::FromDouble(code), number, city};
}

int Sort(std::vector<FeatureCode>& codes) {
  return BRN_SortIndex(nullptr, static_cast<int64_t>(codes.size()), codes.data());
}

int Sort(std::vector<CodeIndexRecord>& records) {
  return BRN_SortCommonIndex(static_cast<int64_t>(records.size()), records.data());
}

TEST_F(IndexSortTest, TwoCodesInDescendingOrderComeOutAscending) {
  std::vector<FeatureCode> codes = Doubles({2, 1});
  EXPECT_EQ(Sort(codes), 1);
  EXPECT_EQ(Values(codes), (std::vector<double>{1, 2}));
}

TEST_F(IndexSortTest, ACancelIsHeardByALongSort) {
  std::vector<FeatureCode> codes;
  std::vector<CodeIndexRecord> records;
  for (int i = 70000; i > 0; --i) {
    codes.push_back(FeatureCode::FromDouble(i));
    records.push_back({codes.back(), i, 0});
  }
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Sort(codes), 0);
  EXPECT_EQ(Sort(records), 0);
  EXPECT_EQ(log(), Lines());
}

TEST_F(IndexSortTest, TwoCodesInOrderStay) {
  std::vector<FeatureCode> codes = Doubles({1, 2});
  EXPECT_EQ(Sort(codes), 1);
  EXPECT_EQ(Values(codes), (std::vector<double>{1, 2}));
}

TEST_F(IndexSortTest, EqualCodesStayAndNothingIsReported) {
  std::vector<FeatureCode> codes = Doubles({7, 7, 7, 7, 7});
  EXPECT_EQ(Sort(codes), 1);
  EXPECT_EQ(Values(codes), (std::vector<double>{7, 7, 7, 7, 7}));
  EXPECT_EQ(log(), Lines());
}

TEST_F(IndexSortTest, EveryArrangementOfFiveCodesComesOutAscending) {
  std::vector<double> values{1, 2, 3, 4, 5};
  do {
    std::vector<FeatureCode> codes = Doubles(values);
    EXPECT_EQ(Sort(codes), 1);
    EXPECT_EQ(Values(codes), (std::vector<double>{1, 2, 3, 4, 5}));
  } while (std::next_permutation(values.begin(), values.end()));
}

TEST_F(IndexSortTest, IntegerCodesSortInIntegerOrder) {
  std::vector<FeatureCode> codes;
  for (const int64_t code : {100000000000000002, int64_t{3}, 100000000000000001, int64_t{0},
                             990000000000000000, int64_t{2}, 999999999999999999}) {
    codes.push_back(FeatureCode::FromInteger(code));
  }
  EXPECT_EQ(Sort(codes), 1);
  std::vector<int64_t> sorted;
  for (const FeatureCode code : codes) sorted.push_back(code.AsInteger());
  EXPECT_EQ(sorted, (std::vector<int64_t>{0, 2, 3, 100000000000000001, 100000000000000002,
                                          990000000000000000, 999999999999999999}));
}

TEST_F(IndexSortTest, ListsBelowTwoCodesSucceed) {
  EXPECT_EQ(BRN_SortIndex(nullptr, 0, nullptr), 1);
  EXPECT_EQ(BRN_SortCommonIndex(0, nullptr), 1);
  std::vector<FeatureCode> codes = Doubles({4});
  EXPECT_EQ(Sort(codes), 1);
  EXPECT_EQ(Values(codes), (std::vector<double>{4}));
}

TEST_F(IndexSortTest, ManyCodesOfAnyOrderComeOutAscending) {
  constexpr int64_t kCount = 65537;  // a prime: a stride visits every number once
  for (const int64_t stride : {int64_t{1}, int64_t{2}, int64_t{30011}, kCount - 1}) {
    std::vector<FeatureCode> codes;
    std::vector<CodeIndexRecord> records;
    for (int64_t i = 0; i < kCount; ++i) {
      const auto value = static_cast<double>(i * stride % kCount);
      codes.push_back(FeatureCode::FromDouble(value));
      records.push_back(
          {codes.back(), static_cast<int32_t>(value) + 1, static_cast<uint32_t>(value) + 2});
    }
    EXPECT_EQ(Sort(codes), 1);
    EXPECT_EQ(Sort(records), 1);
    int64_t wrong = 0;
    for (int64_t i = 0; i < kCount; ++i) {
      const auto at = static_cast<size_t>(i);
      if (codes[at].AsDouble() != static_cast<double>(i)) ++wrong;
      if (records[at].Code.AsDouble() != static_cast<double>(i) || records[at].Number != i + 1 ||
          records[at].CityCode != static_cast<uint32_t>(i + 2)) {
        ++wrong;
      }
    }
    EXPECT_EQ(wrong, 0) << "stride " << stride;
  }
  EXPECT_EQ(log(), Lines());
}

TEST_F(IndexSortTest, IndexRecordsMoveWhole) {
  std::vector<CodeIndexRecord> records{Entry(30, 1, 13), Entry(10, 2, 11), Entry(20, 3, 12)};
  EXPECT_EQ(Sort(records), 1);
  ASSERT_EQ(records.size(), 3u);
  EXPECT_EQ(records[0].Code.AsDouble(), 10);
  EXPECT_EQ(records[0].Number, 2);
  EXPECT_EQ(records[0].CityCode, 11u);
  EXPECT_EQ(records[1].Code.AsDouble(), 20);
  EXPECT_EQ(records[1].Number, 3);
  EXPECT_EQ(records[1].CityCode, 12u);
  EXPECT_EQ(records[2].Code.AsDouble(), 30);
  EXPECT_EQ(records[2].Number, 1);
  EXPECT_EQ(records[2].CityCode, 13u);
}

TEST_F(IndexSortTest, IndexRecordsOfEqualCodesKeepTheirContent) {
  std::vector<CodeIndexRecord> records{Entry(5, 1, 0), Entry(5, 2, 0), Entry(5, 3, 0)};
  EXPECT_EQ(Sort(records), 1);
  std::vector<int32_t> values;
  for (const CodeIndexRecord& record : records) values.push_back(record.Number);
  std::sort(values.begin(), values.end());
  EXPECT_EQ(values, (std::vector<int32_t>{1, 2, 3}));
  EXPECT_EQ(log(), Lines());
}

TEST_F(IndexSortTest, BitsThatAreNoNumbersDoNoHarm) {
  std::vector<FeatureCode> codes;
  std::vector<uint64_t> bits;
  for (uint64_t i = 0; i < 1000; ++i) {
    bits.push_back(i * 0x9E3779B97F4A7C15u | (i % 3 == 0 ? 0x7FF8000000000000u : 0));
    codes.push_back({bits.back()});
  }
  EXPECT_EQ(Sort(codes), 1);
  std::vector<uint64_t> sorted;
  for (const FeatureCode code : codes) sorted.push_back(code.bits);
  std::sort(bits.begin(), bits.end());
  std::sort(sorted.begin(), sorted.end());
  EXPECT_EQ(sorted, bits);
}

TEST_F(IndexSortTest, ACancelledBuildDoesNotSort) {
  g_silent = 0;
  FRD_SetCancelled(true);
  std::vector<FeatureCode> codes = Doubles({2, 1});
  EXPECT_EQ(Sort(codes), 0);
  EXPECT_EQ(Values(codes), (std::vector<double>{2, 1}));
  std::vector<CodeIndexRecord> records{Entry(2, 0, 0), Entry(1, 1, 0)};
  EXPECT_EQ(Sort(records), 0);
  EXPECT_EQ(records[0].Code.AsDouble(), 2);
}

TEST_F(IndexSortTest, ASilentBuildDoesNotAskForCancel) {
  FRD_SetCancelled(true);
  std::vector<FeatureCode> codes = Doubles({2, 1});
  EXPECT_EQ(Sort(codes), 1);
  EXPECT_EQ(Values(codes), (std::vector<double>{1, 2}));
}

#ifndef _WIN32
TEST_F(IndexSortTest, TheStatusTextsAreShownAndNotLogged) {
  std::vector<FeatureCode> codes = Doubles({2, 1});
  std::vector<CodeIndexRecord> records{Entry(2, 0, 0), Entry(1, 1, 0)};
  const Lines shown = Shown([&] {
    Sort(codes);
    Sort(records);
  });
  EXPECT_EQ(shown, (Lines{"Initalizing...", "Sorting The Index", "Sorting The Common Index"}));
  EXPECT_EQ(log(), Lines());
}
#endif

}  // namespace
}  // namespace zatlib::test::network
