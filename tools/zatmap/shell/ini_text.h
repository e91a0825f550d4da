// The lines of INI texts.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zatmap {

// A line: a section's name, a key with its value, or a line that is neither.
struct IniLine {
  int number;      // from 1
  int64_t offset;  // of its first byte
  enum { kSection, kKey, kComment, kBlank, kOther } kind;
  std::string text;   // without the blanks around it
  std::string key;    // section name or key; the text of other lines
  std::string value;  // of a key
};

// How lines are judged: as a build writes them, or as forgivingly as the profile calls of the
// system read them (blanks inside of [ ], text behind it, a key without a name).
enum class IniStyle { kWritten, kForgiving };

// Takes a text apart.
std::vector<IniLine> IniLines(std::string_view text, IniStyle style);

// The lines of a file of at most 16 MiB, as a build writes them; nothing when it cannot be read.
std::vector<IniLine> ReadIni(const std::string& path);

}  // namespace zatmap
