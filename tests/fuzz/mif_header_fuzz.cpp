// The readers of MIF headers and point objects against plain versions.
#include <strings.h>

#include <string>

#include "frd/mif_text.h"
#include "naive.h"
#include "platform/profile.h"

namespace zatlib::fuzz {
namespace {

bool Has(const std::string& line, const char* word) {
  return std::strstr(line.c_str(), word) != nullptr;
}

// Tokens of an object line: they end at blanks and commas; blanks in front do not count.
std::string Token(const std::string& line, int number) {
  size_t i = 0;
  std::string token;
  for (int k = 0; k < number; ++k) {
    token.clear();
    while (i < line.size() && line[i] == ' ') ++i;
    while (i < line.size() && line[i] != ' ' && line[i] != ',' && line[i] != '\r') {
      token += line[i++];
    }
    ++i;
  }
  return token;
}

// What the profile gives back for a value written to it.
std::string Stored(const std::string& line) {
  size_t begin = 0;
  size_t end = line.find('\n');
  if (end == std::string::npos) end = line.size();
  const auto is_blank = [](char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
  while (begin < end && is_blank(line[begin])) ++begin;
  while (end > begin && is_blank(line[end - 1])) --end;
  std::string value = line.substr(begin, end - begin);
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  return value;
}

void CheckHeader(const ScratchFile& info, NaiveLines* naive, LineSource* mif) {
  std::string charset;
  std::string coordinates;
  bool plain = true;  // no line feed inside a kept line: it would open a line of its own there
  bool found = false;
  std::string line;
  while (!found && naive->Next(512, &line) != 0) {
    const std::string text(line.c_str());
    const bool has_charset = Has(text, "Charset") || Has(text, "charset");
    const bool has_coordinates =
        Has(text, "CoordSys") || Has(text, "Coordsys") || Has(text, "coordsys");
    if (has_charset) charset = text;
    if (has_coordinates) coordinates = text;
    if (has_charset || has_coordinates) plain = plain && text.find_first_of("\r\n") == text.npos;
    found = Has(text, "DATA") || Has(text, "Data") || Has(text, "data");
  }
  info.Remove();
  FUZZ_CHECK(ReadMifHeader(*mif, 512, info.path()) == (found ? 1 : 0));
  if (!plain) return;
  char value[1024];
  platform::ReadProfileString("INFORMATION", "Charset", "", value, sizeof value, info.path());
  FUZZ_CHECK(value == Stored(charset));
  platform::ReadProfileString("INFORMATION", "CoordSys", "", value, sizeof value, info.path());
  FUZZ_CHECK(value == Stored(coordinates));
}

void CheckPoints(NaiveLines* naive, LineSource* mif, MifPointTest test) {
  MifPoints points(*mif, test);
  for (bool more = true; more;) {
    std::string line;
    MifPoint expected = MifPoint::kEnd;
    int32_t expected_x = 0;
    int32_t expected_y = 0;
    while (expected == MifPoint::kEnd && naive->Next(2048, &line) != 0) {
      const std::string text(line.c_str());
      const std::string word = Token(text, 1);
      const bool letters = test == MifPointTest::kFirstLetters;
      if (letters ? ::strncasecmp(text.c_str(), "Point", 5) == 0
                  : ::strcasecmp(word.c_str(), "Point") == 0) {
        expected = MifPoint::kPoint;
        expected_x = NaiveFixed6(Token(text, 2));
        expected_y = NaiveFixed6(Token(text, 3));
      } else if (letters ? ::strncasecmp(text.c_str(), "none", 4) == 0
                         : ::strcasecmp(word.c_str(), "none") == 0) {
        expected = MifPoint::kNone;
      }
    }
    int32_t x = 0;
    int32_t y = 0;
    FUZZ_CHECK(points.Next(&x, &y) == expected);
    FUZZ_CHECK(x == expected_x && y == expected_y);
    more = expected != MifPoint::kEnd;
  }
}

int Run(const uint8_t* data, size_t size) {
  static const ScratchFile mif_file("objects.mif");
  static const ScratchFile info("info.inf");
  if (size > 65536) return 0;
  const std::string text(reinterpret_cast<const char*>(data), size);
  mif_file.Write(text);
  for (const MifPointTest test : {MifPointTest::kFirstLetters, MifPointTest::kFirstWord}) {
    LineSource mif;
    FUZZ_CHECK(mif.Open(mif_file.path()));
    NaiveLines naive(text);
    CheckHeader(info, &naive, &mif);
    CheckPoints(&naive, &mif, test);
  }
  return 0;
}

}  // namespace
}  // namespace zatlib::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return zatlib::fuzz::Run(data, size);
}
