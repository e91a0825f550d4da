// Profiles: reading against a plain reader, and what writing a key must leave as it was.
#include <strings.h>

#include <string>
#include <vector>

#include "naive.h"
#include "platform/profile.h"

namespace zatlib::fuzz {
namespace {

struct Name {
  const char* section;
  const char* key;
};
const Name kNames[] = {{"SYSTEM", "CODELENGTH"}, {"FOLDER", "CALCMAPDIR"},   {"SYSTEM", "LOG"},
                       {"NODE", "FILE01"},       {"INFORMATION", "Charset"}, {"a", "b"}};

// No value holds a line end.
constexpr char kMissing[] = "\n";

std::string Trim(const std::string& text) {
  const auto is_blank = [](char c) {
    return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == 0;
  };
  size_t begin = 0;
  size_t end = text.size();
  while (begin < end && is_blank(text[begin])) ++begin;
  while (begin < end && is_blank(text[end - 1])) --end;
  return text.substr(begin, end - begin);
}

bool Same(const std::string& text, const char* name) {
  return text.size() == std::strlen(name) && ::strcasecmp(text.c_str(), name) == 0;
}

// One pair of quotes around a value does not belong to it.
std::string Unquoted(const std::string& value) {
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.front() == value.back()) {
    return value.substr(1, value.size() - 2);
  }
  return value;
}

// The value of the first such key of the first such section.
std::string Lookup(const std::string& text, const Name& name) {
  bool inside = false;
  for (size_t begin = 0; begin < text.size();) {
    size_t end = text.find('\n', begin);
    if (end == std::string::npos) end = text.size();
    const std::string line = Trim(text.substr(begin, end - begin));
    begin = end + 1;
    if (line.empty()) continue;
    const size_t close = line.rfind(']');
    if (line[0] == '[' && close != std::string::npos) {
      if (inside) break;
      inside = Same(Trim(line.substr(1, close - 1)), name.section);
      continue;
    }
    const size_t equals = line.find('=');
    if (!inside || line[0] == ';' || equals == std::string::npos) continue;
    if (Same(Trim(line.substr(0, equals)), name.key)) {
      return Unquoted(Trim(line.substr(equals + 1)));
    }
  }
  return kMissing;
}

std::string Read(const ScratchFile& file, const Name& name) {
  std::vector<char> value(8192);
  const uint32_t length =
      platform::ReadProfileString(name.section, name.key, kMissing, value.data(),
                                  static_cast<uint32_t>(value.size()), file.path());
  FUZZ_CHECK(length < value.size() && value[length] == 0);
  return std::string(value.data(), length);
}

int Number(const std::string& value, int default_value) {
  if (value == kMissing || value.empty()) return default_value;
  const std::string text(value.substr(0, 63).c_str());
  size_t i = text.find_first_not_of(" \t");
  if (i == std::string::npos) return 0;
  const bool negative = text[i] == '-';
  if (text[i] == '-' || text[i] == '+') ++i;
  uint32_t number = 0;
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    number = number * 10u + static_cast<uint32_t>(text[i] - '0');
  }
  return static_cast<int>(negative ? 0u - number : number);
}

int Run(const uint8_t* data, size_t size) {
  static const ScratchFile file("profile.ini");
  if (size < 2 || size > 8000) return 0;
  const Name& written = kNames[data[0] % std::size(kNames)];
  const size_t value_size = std::min<size_t>(data[1], size - 2);
  const std::string value(std::string(reinterpret_cast<const char*>(data) + 2, value_size).c_str());
  const std::string text(reinterpret_cast<const char*>(data) + 2 + value_size,
                         size - 2 - value_size);
  file.Write(text);
  std::vector<std::string> before;
  for (const Name& name : kNames) {
    before.push_back(Read(file, name));
    FUZZ_CHECK(before.back() == Lookup(text, name));
    FUZZ_CHECK(platform::ReadProfileInt(name.section, name.key, 77, file.path()) ==
               Number(before.back(), 77));
  }
  // A small buffer cuts the value.
  char small[4];
  platform::ReadProfileString(written.section, written.key, "", small, sizeof small, file.path());
  const std::string& whole = before[data[0] % std::size(kNames)];
  const std::string cut = whole == kMissing ? "" : std::string(whole.substr(0, 3).c_str());
  FUZZ_CHECK(small == cut);

  FUZZ_CHECK(platform::SaveProfileString(written.section, written.key, value.c_str(), file.path()));
  const std::string after = file.Read();
  for (size_t i = 0; i < std::size(kNames); ++i) {
    FUZZ_CHECK(Read(file, kNames[i]) == Lookup(after, kNames[i]));
  }
  // A line feed inside the value would open a line of its own.
  if (value.find('\n') != std::string::npos) return 0;
  for (size_t i = 0; i < std::size(kNames); ++i) {
    FUZZ_CHECK(Read(file, kNames[i]) ==
               (&kNames[i] == &written ? Unquoted(Trim(value)) : before[i]));
  }
  FUZZ_CHECK(platform::SaveProfileString(written.section, written.key, value.c_str(), file.path()));
  FUZZ_CHECK(file.Read() == after);
  return 0;
}

}  // namespace
}  // namespace zatlib::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return zatlib::fuzz::Run(data, size);
}
