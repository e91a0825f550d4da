#include "frd/mif_text.h"

#include <algorithm>
#include <initializer_list>
#include <string>

#include "frd/text.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

// True when the text begins with the word, in any case. `word` is in lower case.
bool BeginsWith(std::string_view text, std::string_view word) {
  if (text.size() < word.size()) return false;
  for (size_t i = 0; i < word.size(); ++i) {
    const char c = text[i] >= 'A' && text[i] <= 'Z' ? static_cast<char>(text[i] + 32) : text[i];
    if (c != word[i]) return false;
  }
  return true;
}

bool ContainsAny(std::string_view text, std::initializer_list<std::string_view> words) {
  for (const std::string_view word : words) {
    if (text.find(word) != std::string_view::npos) return true;
  }
  return false;
}

// The next token: ends at a blank, a comma, CR or the end of the text.
std::string_view NextToken(std::string_view* text) {
  while (!text->empty() && text->front() == ' ') text->remove_prefix(1);
  const size_t end = std::min(text->find_first_of(" ,\r"), text->size());
  const std::string_view token = text->substr(0, end);
  text->remove_prefix(std::min(end + 1, text->size()));
  return token;
}

}  // namespace

int ReadMifHeader(LineSource& mif, uint32_t line_size, const char* info_path) {
  std::string_view line;
  while (FRD_ReadLine(mif, line_size, &line) != 0) {
    const std::string text(line.substr(0, line.find('\0')));
    if (ContainsAny(text, {"Charset", "charset"})) {
      platform::SaveProfileString("INFORMATION", "Charset", text.c_str(), info_path);
    }
    if (ContainsAny(text, {"CoordSys", "Coordsys", "coordsys"})) {
      platform::SaveProfileString("INFORMATION", "CoordSys", text.c_str(), info_path);
    }
    if (ContainsAny(text, {"DATA", "Data", "data"})) return 1;
  }
  return 0;
}

MifPoint ReadMifPoint(Lines& mif, MifPointTest test, int32_t* x, int32_t* y) {
  std::string_view line;
  while (mif.Next(kLineSize, &line) == LineResult::kLine) {
    line = line.substr(0, line.find('\0'));
    std::string_view rest = line;
    const std::string_view word = NextToken(&rest);
    const bool whole = test == MifPointTest::kFirstWord;
    if (whole ? word.size() == 5 && BeginsWith(word, "point") : BeginsWith(line, "point")) {
      *x = FRD_ParseFixed6(NextToken(&rest));
      *y = FRD_ParseFixed6(NextToken(&rest));
      return MifPoint::kPoint;
    }
    if (whole ? word.size() == 4 && BeginsWith(word, "none") : BeginsWith(line, "none")) {
      return MifPoint::kNone;
    }
  }
  return MifPoint::kEnd;
}

MifPoint MifPoints::Next(int32_t* x, int32_t* y) {
  if (!objects_.More()) return MifPoint::kEnd;
  const Object& object = *objects_.here();
  objects_.Pass(1);
  if (object.kind == MifPoint::kPoint) {
    *x = object.x;
    *y = object.y;
  }
  return object.kind;
}

}  // namespace zatlib
