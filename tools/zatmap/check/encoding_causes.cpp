// The encoding of a file's names, told from all of them together.
#include <algorithm>

#include "check/causes.h"
#include "platform/code_page.h"
#include "shell/encodings.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

constexpr size_t kEnough = 3;  // lines with such characters say something about the file

bool IsHigh(char c) { return static_cast<unsigned char>(c) >= 0x80; }
bool IsLetter(char c) { return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z'); }

// The character of UTF-8 at a place, which has `size` bytes.
uint32_t CharacterAt(std::string_view text, size_t at, size_t size) {
  const auto byte = [&](size_t i) { return static_cast<unsigned char>(text[at + i]); };
  if (size == 1) return byte(0);
  uint32_t character = byte(0) & (0xFFU >> (size + 1));
  for (size_t i = 1; i < size; ++i) character = character << 6 | (byte(i) & 0x3FU);
  return character;
}

// Whether code page 932 has no such character: what is not Japanese, Greek or Russian.
bool LacksInJapanese(uint32_t c) {
  if (c < 0x80) return false;
  if (c < 0x100) return std::u32string_view(U"§¨°±´¶×÷").find(c) == std::u32string_view::npos;
  return c < 0x370 || (c > 0x3C9 && c < 0x401) || (c > 0x451 && c < 0x2010) ||
         (c >= 0xAC00 && c < 0xE000) || c >= 0x10000;
}

// Lines with bytes above 0x7F, by what they can be.
struct Counts {
  size_t lines = 0;
  size_t utf8 = 0;
  size_t japanese = 0;  // whole characters of code page 932
  // Runs of such bytes: those that are one byte of a letter of code page 1252 in a word, and those
  // of whole characters of EUC-JP that do not look like code page 932.
  size_t runs = 0;
  size_t western = 0;
  size_t euc = 0;
  bool low = false;          // bytes 80 to A0: lead bytes of most Japanese text in code page 932
  bool high = false;         // bytes E0 and above
  bool only_western = true;  // nothing of UTF-8 beyond Latin letters
  std::string_view example;  // the first such line
  std::string lost;          // characters that code page 932 lacks, as UTF-8, each once
};

void TakeUtf8(std::string_view line, Counts* counts) {
  for (size_t at = 0; at < line.size();) {
    const size_t size = Utf8Size(line, at);
    const uint32_t c = CharacterAt(line, at, size);
    const std::string_view text = line.substr(at, size);
    if (c >= 0x100) counts->only_western = false;
    if (LacksInJapanese(c) && counts->lost.size() < 24 &&
        counts->lost.find(text) == std::string::npos) {
      counts->lost += (counts->lost.empty() ? "" : " ") + std::string(text);
    }
    at += size;
  }
}

void TakeRuns(std::string_view line, Counts* counts) {
  for (size_t at = 0; at < line.size();) {
    if (!IsHigh(line[at])) {
      ++at;
      continue;
    }
    const size_t begin = at;
    while (at < line.size() && IsHigh(line[at])) ++at;
    const std::string_view run = line.substr(begin, at - begin);
    ++counts->runs;
    const bool in_word =
        (begin > 0 && IsLetter(line[begin - 1])) || (at < line.size() && IsLetter(line[at]));
    const auto first = static_cast<unsigned char>(run[0]);
    if (run.size() == 1 && first >= 0xC0 && in_word) ++counts->western;
    if (run.size() % 2 == 0) ++counts->euc;
    for (const char c : run) {
      const auto byte = static_cast<unsigned char>(c);
      counts->low = counts->low || byte <= 0xA0 || byte == 0xFF;
      counts->high = counts->high || byte >= 0xE0;
    }
  }
}

Counts CountsOf(const FileSample& sample) {
  Counts counts;
  for (const std::string_view line : sample.lines()) {
    if (std::none_of(line.begin(), line.end(), IsHigh)) continue;
    if (counts.lines++ == 0) counts.example = line;
    bool utf8 = true;
    for (size_t at = 0; at < line.size() && utf8;) {
      const size_t size = Utf8Size(line, at);
      utf8 = size > 0;
      at += size;
    }
    if (utf8) {
      ++counts.utf8;
      TakeUtf8(line, &counts);
    } else {
      TakeRuns(line, &counts);
    }
  }
  return counts;
}

// The name in a line that has such bytes.
std::string_view NameIn(std::string_view line) {
  for (const std::string_view field : FieldsOf(line)) {
    if (std::any_of(field.begin(), field.end(), IsHigh)) return field.substr(0, 60);
  }
  return line.substr(0, 60);
}

// A text of code page 1252 as UTF-8.
std::string FromWestern(std::string_view text) {
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (byte < 0x80) {
      out += c;
    } else if (byte >= 0xA0) {
      out += static_cast<char>(0xC0 | byte >> 6);
      out += static_cast<char>(0x80 | (byte & 0x3F));
    } else {
      out += '?';
    }
  }
  return out;
}

// The command that converts a file.
std::string Command(const char* from, unsigned to, const std::string& path) {
  return std::string("iconv -f ") + from + " -t CP" + std::to_string(to) + "//TRANSLIT " + path +
         " > converted.txt";
}

}  // namespace

void LookAtEncoding(Findings& findings, const FileSample& sample, const SourceFile& source) {
  const unsigned page = zatlib::platform::CodePage();
  if (source.role == FileRole::kMif || page == kUtf8) return;
  const Counts counts = CountsOf(sample);
  if (counts.lines < kEnough) return;
  const uint32_t file = findings.File(source.path);
  const Place whole{file, 0, 0, 0};
  const std::string_view name = NameIn(counts.example);
  const auto size = static_cast<int>(name.size());
  const auto hide = [&] {
    findings.Hide(file, {Kind::kNameUtf8, Kind::kNameCodePage, Kind::kNameLong});
  };
  if (counts.utf8 * 10 >= counts.lines * 9) {
    std::string lost;
    if (page == kJapanese && !counts.lost.empty()) {
      lost = "; code page 932 lacks " + counts.lost;
      if (counts.only_western) {
        lost += ": code page 1252 has them (iconv -t CP1252, and zatmap with --code-page 1252)";
      }
    }
    findings.Add(Kind::kNamesUtf8, whole, "%s, such as \"%.*s\": %s%s",
                 ShareText(sample, counts.utf8, counts.lines, "lines with such names").c_str(),
                 size, name.data(), Command("UTF-8", page, source.path).c_str(), lost.c_str());
    hide();
    return;
  }
  if (page != kJapanese || counts.runs < kEnough) return;
  if (counts.western * 10 >= counts.runs * 9) {
    findings.Add(Kind::kNamesWestern, whole, "%zu such letters in %zu lines, the first in \"%s\"",
                 counts.western, counts.lines, FromWestern(name).c_str());
    hide();
  } else if (counts.euc == counts.runs && !counts.low && counts.high) {
    findings.Add(Kind::kNamesEucJp, whole, "%s: %s",
                 ShareText(sample, counts.lines, counts.lines, "lines with such names").c_str(),
                 Command("EUC-JP", page, source.path).c_str());
    hide();
  }
}

}  // namespace zatmap::check
