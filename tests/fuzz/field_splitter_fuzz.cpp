// The field cursor and the CSV field lookup against plain splitters.
#include <string>
#include <vector>

#include "compat/services.h"
#include "frd/fields.h"
#include "naive.h"

namespace zatlib::fuzz {
namespace {

// Fields between commas and tabs, with their quotes.
std::vector<std::string> Split(std::string_view line) {
  std::vector<std::string> fields(1);
  for (const char c : line) {
    if (c == '\r' || c == 0) break;
    if (c == ',' || c == '\t') {
      fields.emplace_back();
    } else {
      fields.back() += c;
    }
  }
  return fields;
}

void CheckCursor(std::string_view line) {
  std::vector<std::string> fields = Split(line);
  for (std::string& field : fields) {
    if (!field.empty() && field.front() == '"') field.erase(0, 1);
    if (field.size() > kFieldLimit) return;  // would end the process
    if (!field.empty() && field.back() == '"') field.pop_back();
  }
  FieldCursor cursor(line);
  std::string_view field;
  for (const std::string& expected : fields) {
    FUZZ_CHECK(cursor.Next(&field));
    FUZZ_CHECK(field == expected);
  }
  FUZZ_CHECK(!cursor.Next(&field));
  FUZZ_CHECK(!cursor.Next(&field));
}

void CheckCsv(const std::string& text) {
  // A buffer of exactly that size, so that a look behind it is noticed.
  const std::vector<char> line(text.begin(), text.end());
  const int length = static_cast<int>(line.size());
  int index = 0;
  int start = 0;
  char out[kCsvFieldSize];
  for (int i = 0;; ++i) {
    const bool at_end = i == length || text[static_cast<size_t>(i)] == 0 ||
                        text[static_cast<size_t>(i)] == '\r' ||
                        text[static_cast<size_t>(i)] == '\n';
    const char c = at_end ? '\0' : text[static_cast<size_t>(i)];
    if (!at_end && c != ',' && c != '\t' && c != ';') continue;
    const int packed = FRD_GetCsvField(index, length, line.data(), out);
    // Long lines are cut by the readers long before a position needs more than 15 bits.
    if (i < 32768) FUZZ_CHECK(packed == start * 65536 + i);
    std::string expected = text.substr(static_cast<size_t>(start), static_cast<size_t>(i - start));
    if (!expected.empty() && expected.front() == '"') {
      expected.erase(0, 1);
      if (!expected.empty() && expected.back() == '"') expected.pop_back();
    }
    if (expected.size() < kCsvFieldSize) {
      FUZZ_CHECK(out == expected);
    } else {
      // Cut at byte 1,023, or one earlier inside a character.
      const size_t got = std::strlen(out);
      FUZZ_CHECK(got == 1023 || got == 1022);
      FUZZ_CHECK(expected.compare(0, got, out) == 0);
    }
    ++index;
    start = i + 1;
    if (at_end) break;
  }
  FUZZ_CHECK(FRD_GetCsvField(index, length, line.data(), out) == -1);
  FUZZ_CHECK(out[0] == 0);
  FUZZ_CHECK(FRD_GetCsvField(-1, length, line.data(), nullptr) == -1);
}

void CheckCut(std::string_view text) {
  const std::string_view cut = FRD_CutText(text, kNameSize);
  FUZZ_CHECK(cut.size() <= kNameSize);
  FUZZ_CHECK(text.substr(0, cut.size()) == cut);
  FUZZ_CHECK(text.size() <= kNameSize ? cut == text : cut.size() >= kNameSize - 1);
}

}  // namespace
}  // namespace zatlib::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string text(reinterpret_cast<const char*>(data), size);
  zatlib::fuzz::CheckCursor(text);
  zatlib::fuzz::CheckCsv(text);
  zatlib::fuzz::CheckCut(text);
  return 0;
}
