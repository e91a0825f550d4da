#include "frd/keyed_table.h"

#include <gtest/gtest.h>

#include <cstring>
#include <iterator>
#include <limits>
#include <vector>

namespace zatlib {
namespace {

using Table = std::vector<KeyedRecord>;

// Keys 0, 2, 4, ...; the value is the key + 1000.
Table EvenKeys(int count) {
  Table table;
  for (int i = 0; i < count; ++i) table.push_back({i * 2.0, i * 2 + 1000, 0});
  return table;
}

int64_t Count(const Table& table) { return static_cast<int64_t>(table.size()); }

// The lookup as a person would do it: halving above 512 records, then record by record.
int64_t ScanForKey(const Table& table, double key) {
  int64_t low = 0;
  int64_t high = Count(table);
  while (high - low > 512) {
    const int64_t middle = (low + high) / 2;
    if (key >= table[static_cast<size_t>(middle)].key) {
      low = middle;
    } else {
      high = middle;
    }
  }
  for (int64_t i = low; i < high; ++i) {
    if (table[static_cast<size_t>(i)].key == key) return i;
  }
  return -1;
}

TEST(KeyedTable, AnEmptyTableHoldsNothing) {
  EXPECT_EQ(FRD_FindByKey(nullptr, 0, 1.0), -1);
  EXPECT_EQ(FRD_FindFirstByKey(1.0, 0, nullptr), -1);
}

TEST(KeyedTable, FindsEveryKeyInTablesAroundTheLinearRange) {
  for (const int count : {1, 2, 511, 512, 513, 1024, 1025, 5000}) {
    const Table table = EvenKeys(count);
    for (int i = 0; i < count; ++i) {
      ASSERT_EQ(FRD_FindByKey(table.data(), count, i * 2.0), i * 2 + 1000) << count;
      ASSERT_EQ(FRD_FindFirstByKey(i * 2.0, count, table.data()), i) << count;
      ASSERT_EQ(FRD_FindByKey(table.data(), count, i * 2.0 + 1), -1) << count;
      ASSERT_EQ(FRD_FindFirstByKey(i * 2.0 + 1, count, table.data()), -1) << count;
    }
    EXPECT_EQ(FRD_FindByKey(table.data(), count, -1.0), -1);
    EXPECT_EQ(FRD_FindFirstByKey(-1.0, count, table.data()), -1);
  }
}

TEST(KeyedTable, FindsTheFirstOfARunOfEqualKeys) {
  // Four records a key.
  for (const int count : {400, 512, 516, 4000}) {
    Table table;
    for (int i = 0; i < count; ++i) table.push_back({static_cast<double>(i / 4), i, 0});
    for (int key = 0; key < count / 4; ++key) {
      ASSERT_EQ(FRD_FindFirstByKey(key, count, table.data()), key * 4) << count;
      const int32_t value = FRD_FindByKey(table.data(), count, key);
      ASSERT_GE(value, key * 4);
      ASSERT_LE(value, key * 4 + 3);
    }
  }
}

TEST(KeyedTable, FindsTheFirstOfARunLongerThanTheLinearRange) {
  Table table;
  for (int i = 0; i < 2000; ++i) {
    table.push_back({i < 300 ? 1.0 : i < 1800 ? 2.0 : 3.0, i, 0});
  }
  EXPECT_EQ(FRD_FindFirstByKey(1.0, 2000, table.data()), 0);
  EXPECT_EQ(FRD_FindFirstByKey(2.0, 2000, table.data()), 300);
  EXPECT_EQ(FRD_FindFirstByKey(3.0, 2000, table.data()), 1800);
  EXPECT_EQ(FRD_FindFirstByKey(2.5, 2000, table.data()), -1);
}

TEST(KeyedTable, AllKeysEqual) {
  const Table table(1500, KeyedRecord{7.0, 5, 0});
  EXPECT_EQ(FRD_FindFirstByKey(7.0, 1500, table.data()), 0);
  EXPECT_EQ(FRD_FindByKey(table.data(), 1500, 7.0), 5);
}

TEST(KeyedTable, ARepeatedKeyAnswersWithTheFirstRecordOfTheNarrowedRange) {
  for (const int run : {2, 3, 7, 100, 700}) {
    Table table;
    for (int i = 0; i < 3000; ++i) table.push_back({static_cast<double>(i / run), i, 0});
    for (int key = 0; key <= 2999 / run; ++key) {
      ASSERT_EQ(FRD_FindByKey(table.data(), 3000, key), ScanForKey(table, key)) << run;
    }
  }
}

TEST(KeyedTable, KeysThatAreIntegersBits) {
  // Codes of 18 digits are kept as integers and looked up as the doubles of the same bits; small
  // ones are denormal.
  Table table;
  for (int64_t i = 1; i <= 600; ++i) {
    KeyedRecord record{0, static_cast<int32_t>(i), 0};
    std::memcpy(&record.key, &i, sizeof i);
    table.push_back(record);
  }
  const int64_t wanted = 599;
  double key;
  std::memcpy(&key, &wanted, sizeof key);
  EXPECT_EQ(FRD_FindByKey(table.data(), 600, key), 599);
  EXPECT_EQ(FRD_FindFirstByKey(key, 600, table.data()), 598);
}

TEST(KeyedTable, SortsAscendingAndMovesWholeRecords) {
  Table table;
  uint32_t state = 12345;
  for (int i = 0; i < 3000; ++i) {
    state = state * 1103515245u + 12345u;
    const uint32_t key = state >> 16;
    table.push_back({static_cast<double>(key), static_cast<int32_t>(key * 3), key + 7});
  }
  EXPECT_EQ(FRD_SortByKey(3000, table.data()), 1);
  for (size_t i = 0; i < table.size(); ++i) {
    ASSERT_TRUE(i == 0 || table[i - 1].key <= table[i].key) << i;
    ASSERT_EQ(table[i].value, static_cast<int32_t>(table[i].key) * 3);
    ASSERT_EQ(table[i].extra, static_cast<uint32_t>(table[i].key) + 7);
  }
}

TEST(KeyedTable, SortsAKnownTable) {
  Table table = {{3, 30, 1}, {-1, 10, 2}, {2.5, 20, 3}, {-1, 11, 4}};
  EXPECT_EQ(FRD_SortByKey(4, table.data()), 1);
  EXPECT_EQ(table[0].key, -1);
  EXPECT_EQ(table[1].key, -1);
  EXPECT_EQ(table[0].value + table[1].value, 21);
  EXPECT_EQ(table[2].value, 20);
  EXPECT_EQ(table[2].extra, 3u);
  EXPECT_EQ(table[3].value, 30);
}

TEST(KeyedTable, SortsTablesInAnyOrder) {
  Table table;
  for (int i = 999; i >= 0; --i) table.push_back({static_cast<double>(i), i, 0});
  EXPECT_EQ(FRD_SortByKey(1000, table.data()), 1);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(table[static_cast<size_t>(i)].value, i);
  // In order already.
  EXPECT_EQ(FRD_SortByKey(1000, table.data()), 1);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(table[static_cast<size_t>(i)].value, i);
}

TEST(KeyedTable, FewerThanTwoRecordsAreSorted) {
  EXPECT_EQ(FRD_SortByKey(0, nullptr), 1);
  KeyedRecord one{5, 6, 7};
  EXPECT_EQ(FRD_SortByKey(1, &one), 1);
  EXPECT_EQ(one.key, 5);
}

TEST(KeyedTable, SortsOnlyTheRecordsCounted) {
  Table table = {{3, 0, 0}, {2, 0, 0}, {1, 0, 0}};
  EXPECT_EQ(FRD_SortByKey(2, table.data()), 1);
  EXPECT_EQ(table[0].key, 2);
  EXPECT_EQ(table[1].key, 3);
  EXPECT_EQ(table[2].key, 1);
}

TEST(KeyedTable, SortsDenormalKeys) {
  Table table;
  for (const int64_t bits : {int64_t{3}, int64_t{1}, int64_t{2}}) {
    KeyedRecord record{0, static_cast<int32_t>(bits), 0};
    std::memcpy(&record.key, &bits, sizeof bits);
    table.push_back(record);
  }
  FRD_SortByKey(3, table.data());
  EXPECT_EQ(table[0].value, 1);
  EXPECT_EQ(table[1].value, 2);
  EXPECT_EQ(table[2].value, 3);
}

TEST(KeyedTable, SortableBitsKeepTheOrder) {
  const double keys[] = {-std::numeric_limits<double>::infinity(),
                         -1e300,
                         -1.0,
                         -std::numeric_limits<double>::denorm_min(),
                         0.0,
                         std::numeric_limits<double>::denorm_min(),
                         1.0,
                         99000000000001.0,
                         1e300,
                         std::numeric_limits<double>::infinity()};
  for (size_t i = 1; i < std::size(keys); ++i) {
    EXPECT_LT(SortableBits(keys[i - 1]), SortableBits(keys[i])) << keys[i];
  }
}

}  // namespace
}  // namespace zatlib
