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

TEST(KeyedTable, AnEmptyTableHoldsNothing) { EXPECT_EQ(FRD_FindByKey(nullptr, 0, 1.0), -1); }

TEST(KeyedTable, FindsEveryKeyInTablesAroundTheLinearRange) {
  for (const int count : {1, 2, 511, 512, 513, 1024, 1025, 5000}) {
    const Table table = EvenKeys(count);
    for (int i = 0; i < count; ++i) {
      ASSERT_EQ(FRD_FindByKey(table.data(), count, i * 2.0), i * 2 + 1000) << count;
      ASSERT_EQ(FRD_FindByKey(table.data(), count, i * 2.0 + 1), -1) << count;
    }
    EXPECT_EQ(FRD_FindByKey(table.data(), count, -1.0), -1);
  }
}

TEST(KeyedTable, FindsARecordOfARunOfEqualKeys) {
  // Four records a key.
  for (const int count : {400, 512, 516, 4000}) {
    Table table;
    for (int i = 0; i < count; ++i) table.push_back({static_cast<double>(i / 4), i, 0});
    for (int key = 0; key < count / 4; ++key) {
      const int32_t value = FRD_FindByKey(table.data(), count, key);
      ASSERT_GE(value, key * 4);
      ASSERT_LE(value, key * 4 + 3);
    }
  }
}

TEST(KeyedTable, AllKeysEqual) {
  const Table table(1500, KeyedRecord{7.0, 5, 0});
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
