// One source line written in several ways that mean the same, and the records made of them.
#pragma once

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "frd/line_source.h"
#include "frd/lines.h"
#include "records.h"
#include "test_support.h"

namespace zatlib::test {

// The fields of a line without quotes.
inline std::vector<std::string> FieldsOf(const std::string& line) {
  std::vector<std::string> fields(1);
  for (const char c : line) {
    if (c == ',') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

// The line as it is, with tabs, with every field in quotes, and with every number (not: name)
// filled up with zeros to 20 digits, or followed by what is no digit.
inline std::vector<std::string> WaysToWrite(const std::string& line) {
  std::vector<std::string> ways = {line, line};
  std::replace(ways[1].begin(), ways[1].end(), ',', '\t');
  std::string quoted, filled, followed;
  const char* separator = "";
  for (const std::string& field : FieldsOf(line)) {
    const size_t digits = std::min(field.find('.'), field.size());
    const bool number = !field.empty() && field[0] >= '0' && field[0] <= '9';
    quoted += separator + ("\"" + field + "\"");
    filled += separator + (number ? std::string(20 - digits, '0') : "") + field;
    followed += separator + field + (number ? "x" : "");
    separator = ",";
  }
  ways.insert(ways.end(), {quoted, filled, followed});
  return ways;
}

// Expects `read(lines, &record)` to make the same record of the line however it is written, over
// leftovers of an earlier one.
template <typename Record, typename Read>
void ExpectRecord(const std::string& line, const std::string& bytes, Read read) {
  const TempFolder folder;
  for (const std::string& way : WaysToWrite(line)) {
    SCOPED_TRACE(way);
    WriteBytes(folder / "source.txt", way + "\r\n");
    LineSource file;
    ASSERT_TRUE(file.Open((folder / "source.txt").c_str()));
    zatlib::Lines lines;
    ASSERT_TRUE(LineSource::MakeRoom(&lines));
    ASSERT_TRUE(file.NextPiece(&lines));
    Record record;
    std::memset(static_cast<void*>(&record), 0x5A, sizeof record);
    EXPECT_EQ(read(lines, &record), 1);
    EXPECT_EQ(std::string(reinterpret_cast<const char*>(&record), sizeof record), bytes);
  }
}

// Tests of the columns of a layout, one for each code length.
class ColumnsTest : public ::testing::TestWithParam<int> {
 protected:
  // A reader that takes the code length, or default speeds too.
  template <typename Reader, typename... More>
  auto With(Reader reader, More... more) const {
    return [this, reader, more...](zatlib::Lines& lines, auto* record) {
      return reader(lines, record, form_.length, more...);
    };
  }

  CodeForm form_{GetParam()};
};

}  // namespace zatlib::test
