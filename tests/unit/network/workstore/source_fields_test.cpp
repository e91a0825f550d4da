#include "network/workstore/source_fields.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "frd/fields.h"
#include "frd/line_source.h"
#include "frd/text.h"
#include "test_support.h"

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

// One column of each kind, and one more.
struct AllKinds {
  uint64_t code;
  int32_t coordinate;
  int32_t number;
  uint16_t word;
  uint16_t speed_a;
  uint16_t speed_b;
  uint8_t byte;
  uint8_t padding;
  char name[20];
  uint32_t more_padding;
};
constexpr SourceColumn kAllColumns[] = {
    {1, "code", FieldKind::kCode, Presence::kOptional, kAnyText, offsetof(AllKinds, code)},
    {2, "coordinate", FieldKind::kCoordinate, Presence::kOptional, kLongitudes,
     offsetof(AllKinds, coordinate)},
    {3, "number", FieldKind::kLong, Presence::kOptional, kSigned32, offsetof(AllKinds, number)},
    {4, "word", FieldKind::kWord, Presence::kOptional, kUnsigned16, offsetof(AllKinds, word)},
    {6, "speed A", FieldKind::kSpeedA, Presence::kOptional, kSpeeds, offsetof(AllKinds, speed_a)},
    {7, "speed B", FieldKind::kSpeedB, Presence::kOptional, kSpeeds, offsetof(AllKinds, speed_b)},
    {8, "byte", FieldKind::kByte, Presence::kOptional, kUnsigned8, offsetof(AllKinds, byte)},
    {9, "name", FieldKind::kName, Presence::kOptional, kAnyText, offsetof(AllKinds, name)},
};
constexpr SourceLayout kAllKinds = {{"", kAllColumns}, &SourceColumn::record};

// What the full rules make of a line.
AllKinds ByTheFullRules(std::string_view line, const SourceRules& rules) {
  AllKinds record{};
  FieldCursor fields(line);
  std::string_view field;
  for (int column = 1; fields.Next(&field); ++column) {
    const int32_t number = FRD_ParseInt(field);
    const auto speed = [number](uint16_t standard) {
      return number < 0 ? uint16_t{0} : number == 0 ? standard : static_cast<uint16_t>(number);
    };
    if (column == 1) record.code = ParseCode(field, rules.code_length).bits;
    if (column == 2) record.coordinate = FRD_ParseFixed6(field);
    if (column == 3) record.number = number;
    if (column == 4) record.word = static_cast<uint16_t>(number);
    if (column == 6) record.speed_a = speed(rules.defaults.a);
    if (column == 7) record.speed_b = speed(rules.defaults.b);
    if (column == 8) record.byte = static_cast<uint8_t>(number);
    if (column == 9) {
      const std::string_view name = FRD_CutText(field, sizeof record.name);
      name.copy(record.name, name.size());
    }
  }
  return record;
}

class SourceRecordTest : public test::LibraryTest {};

// Numbers of all lengths around the limits of the quick ways, and odd ones, in all columns.
TEST_F(SourceRecordTest, TheQuickWaysGiveWhatTheFullRulesGive) {
  std::mt19937_64 random(11);
  const char* const odd[] = {"",
                             " 7",
                             "+5",
                             "-3",
                             "1e3",
                             "0x1F",
                             ".",
                             "-",
                             "12.5",
                             "--1",
                             "1-2",
                             "7 ",
                             "\"",
                             "\"\"",
                             "\"8",
                             "8\"",
                             "\"8\"",
                             "8\"\"",
                             "\"a,b",
                             "1;2",
                             "inf",
                             "nan",
                             "1.7e308",
                             "00000000000000000007",
                             "-0",
                             "0.0000001",
                             "179.9999999",
                             "-2147.483648",
                             "2147.483647",
                             "99999999999999999999999"};
  std::string content;
  std::vector<std::string> lines;
  for (int i = 0; i < 40000; ++i) {
    std::string line;
    const auto columns = random() % 12;
    for (uint64_t c = 0; c <= columns; ++c) {
      if (c > 0) line += random() % 8 == 0 ? '\t' : ',';
      if (random() % 4 == 0) {
        line += odd[random() % std::size(odd)];
        continue;
      }
      std::string number;
      const auto digits = 1 + random() % 21;
      for (uint64_t d = 0; d < digits; ++d) number += static_cast<char>('0' + random() % 10);
      if (random() % 3 == 0) number.insert(random() % (number.size() + 1), ".");
      if (random() % 6 == 0) number.insert(0, "-");
      if (random() % 5 == 0) number = '"' + number + '"';
      line += number;
    }
    // A quote left open would join lines.
    if (std::count(line.begin(), line.end(), '"') % 2 != 0) line += '"';
    lines.push_back(line);
    content += line + "\r\n";
  }
  const std::string path = folder_ / "lines.txt";
  test::WriteBytes(path, content);
  for (const int code_length : {14, 18}) {
    const SourceRules rules = {code_length, {40, 50}};
    LineSource file;
    ASSERT_TRUE(file.Open(path.c_str()));
    Lines text;
    ASSERT_TRUE(LineSource::MakeRoom(&text));
    for (const std::string& line : lines) {
      AllKinds record;
      if (ReadSourceRecord<kAllKinds>(text, rules, &record) == 0) {
        ASSERT_TRUE(file.NextPiece(&text));
        ASSERT_EQ(ReadSourceRecord<kAllKinds>(text, rules, &record), 1);
      }
      const AllKinds expected = ByTheFullRules(line, rules);
      ASSERT_EQ(std::memcmp(&record, &expected, sizeof record), 0) << line;
    }
  }
}

}  // namespace
}  // namespace zatlib
