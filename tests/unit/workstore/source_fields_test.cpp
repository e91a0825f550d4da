#include "network/workstore/source_fields.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>

namespace zatlib {
namespace {

bool Narrow(std::string line, int columns) {
  const size_t size = line.size();
  line += "\r,,,,,,,,";
  return IsNarrow(std::string_view(line.data(), size), columns);
}

TEST(IsNarrowTest, CountsColumnsBetweenCommasAndTabs) {
  EXPECT_TRUE(Narrow("", 2));
  EXPECT_FALSE(Narrow("", 1));
  EXPECT_TRUE(Narrow("1,2", 3));
  EXPECT_FALSE(Narrow("1,2", 2));
  EXPECT_FALSE(Narrow("1\t2,3", 3));
  // What separates elsewhere does not here.
  EXPECT_TRUE(Narrow("1;2;3", 2));
  EXPECT_TRUE(
      Narrow("10000020000001,04,10001,121,3,2,2,10000010000001,10000010000002,60,60,0", 13));
  EXPECT_FALSE(
      Narrow("10000020000001,04,10001,121,3,2,2,10000010000001,10000010000002,60,60,0,1", 13));
}

TEST(IsNarrowTest, IsNeverSureOfALineWithAFieldThatIsTooLong) {
  for (size_t before = 0; before < 20; ++before) {
    EXPECT_FALSE(Narrow(std::string(before, 'a') + "," + std::string(64, 'f') + ",b", 9)) << before;
    EXPECT_FALSE(Narrow(std::string(before, 'a') + "," + std::string(64, 'f'), 9)) << before;
  }
}

TEST(IsNarrowTest, AgreesWithCountingByteByByte) {
  std::mt19937 random(7);
  for (int round = 0; round < 20000; ++round) {
    std::string line(random() % 50, ' ');
    for (char& c : line) c = static_cast<char>(random() % 4 == 0 ? ",\t"[random() % 2] : random());
    const auto separators =
        std::count_if(line.begin(), line.end(), [](char c) { return c == ',' || c == '\t'; });
    const int columns = static_cast<int>(random() % 20);
    // No field of 50 bytes is too long.
    EXPECT_EQ(Narrow(line, columns), separators + 1 < columns);
  }
}

}  // namespace
}  // namespace zatlib
