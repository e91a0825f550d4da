#include "platform/profile.h"

#include <fcntl.h>
#include <strings.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "platform/fault.h"
#include "platform/posix/native_path.h"
#include "platform/profile_override.h"
#include "platform/refusals.h"

namespace zatlib::platform {
namespace {

bool ReadAll(const char* file, std::string* text) {
  const int fd = ::open(NativePath(file).c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return false;
  char block[65536];
  ssize_t got = 0;
  while ((got = ::read(fd, block, sizeof block)) != 0) {
    if (got < 0) {
      if (errno == EINTR) continue;
      break;
    }
    text->append(block, static_cast<size_t>(got));
  }
  ::close(fd);
  return got == 0;
}

// Overwrites in place and cuts what is left over: emptying the file first would make some file
// systems write it out to the disk at every key. Room is made before the first byte is changed: on
// a full disk the file stays as it is.
bool WriteAll(const char* file, const std::string& text) {
  const int fd = ::open(NativePath(file).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (fd < 0) {
    NoteRefusedOpen(file);
    return false;
  }
  struct stat status {};
  bool good = ::fstat(fd, &status) == 0;
#ifdef FALLOC_FL_KEEP_SIZE
  if (good && static_cast<size_t>(status.st_size) < text.size() &&
      ::fallocate(fd, FALLOC_FL_KEEP_SIZE, 0, static_cast<off_t>(text.size())) != 0) {
    // Other errors mean that the file system cannot tell beforehand.
    good = errno != ENOSPC && errno != EDQUOT && errno != EFBIG;
    if (!good) NoteRefusedWrite();
  }
#endif
  size_t done = 0;
  while (good && done < text.size()) {
    const ssize_t put = ::write(fd, text.data() + done, text.size() - done);
    if (put < 0 && errno == EINTR) continue;
    if (put < 0) {
      NoteRefusedWrite();
      good = false;
    }
    if (put > 0) done += static_cast<size_t>(put);
  }
  if (good && static_cast<size_t>(status.st_size) > text.size()) {
    good = ::ftruncate(fd, static_cast<off_t>(text.size())) == 0;
  }
  return ::close(fd) == 0 && good;
}

bool IsBlank(char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n' || c == '\0'; }

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && ::strncasecmp(a.data(), b.data(), a.size()) == 0;
}

// One line of an INI file, its end included.
struct Line {
  size_t begin;
  size_t end;  // behind the line end
  std::string_view text;
};

bool NextLine(const std::string& text, size_t* position, Line* line) {
  if (*position >= text.size()) return false;
  line->begin = *position;
  const size_t feed = text.find('\n', *position);
  line->end = feed == std::string::npos ? text.size() : feed + 1;
  line->text = Trim(std::string_view(text).substr(line->begin, line->end - line->begin));
  *position = line->end;
  return true;
}

std::optional<std::string_view> SectionName(std::string_view line) {
  if (line.empty() || line.front() != '[') return std::nullopt;
  const size_t close = line.rfind(']');
  if (close == std::string_view::npos) return std::nullopt;
  return Trim(line.substr(1, close - 1));
}

std::optional<std::string_view> KeyName(std::string_view line) {
  if (line.empty() || line.front() == ';') return std::nullopt;
  const size_t equals = line.find('=');
  if (equals == std::string_view::npos) return std::nullopt;
  return Trim(line.substr(0, equals));
}

std::optional<std::string> FindValue(const char* section, const char* key, const char* file) {
  std::string text;
  if (file == nullptr || !ReadAll(file, &text)) return std::nullopt;
  bool inside = false;
  size_t position = 0;
  Line line{};
  while (NextLine(text, &position, &line)) {
    if (const auto name = SectionName(line.text)) {
      if (inside) return std::nullopt;  // the first section of that name is the one that counts
      inside = SameName(*name, section);
    } else if (inside) {
      const auto found = KeyName(line.text);
      if (found && SameName(*found, key)) {
        return std::string(Trim(line.text.substr(line.text.find('=') + 1)));
      }
    }
  }
  return std::nullopt;
}

}  // namespace

uint32_t ReadProfileString(const char* section, const char* key, const char* default_value,
                           char* out, uint32_t size, const char* file) {
  if (size == 0) return 0;
  std::string value = default_value;
  if (!ShouldFail(Operation::kReadValue)) {
    const std::string* const other = OverriddenValue(section, key);
    value = other != nullptr ? *other : FindValue(section, key, file).value_or(default_value);
  }
  if (value.size() >= 2 && (value.front() == '"' || value.front() == '\'') &&
      value.back() == value.front()) {
    value = value.substr(1, value.size() - 2);
  }
  const size_t length = std::min<size_t>(value.size(), size - 1);
  std::memcpy(out, value.data(), length);
  out[length] = 0;
  return static_cast<uint32_t>(length);
}

int ReadProfileInt(const char* section, const char* key, int default_value, const char* file) {
  char text[64];
  if (ReadProfileString(section, key, "", text, sizeof text, file) == 0) return default_value;
  const char* p = text;
  while (*p == ' ' || *p == '\t') ++p;
  const bool negative = *p == '-';
  if (*p == '-' || *p == '+') ++p;
  uint32_t value = 0;
  for (; *p >= '0' && *p <= '9'; ++p) value = value * 10 + static_cast<uint32_t>(*p - '0');
  return static_cast<int>(negative ? 0u - value : value);
}

bool SaveProfileString(const char* section, const char* key, const char* value, const char* file) {
  if (ShouldFail(Operation::kWriteValue)) return false;
  std::string text;
  struct stat status {};
  if (::stat(NativePath(file).c_str(), &status) == 0 && !ReadAll(file, &text)) return false;
  const std::string entry = std::string(key) + "=" + value + "\r\n";
  bool inside = false;
  size_t position = 0;
  size_t section_end = std::string::npos;  // behind the section's last line that is not blank
  Line line{};
  while (NextLine(text, &position, &line)) {
    if (const auto name = SectionName(line.text)) {
      if (inside) break;
      inside = SameName(*name, section);
      if (inside) section_end = line.end;
      continue;
    }
    if (!inside) continue;
    const auto found = KeyName(line.text);
    if (found && SameName(*found, key)) {
      text.replace(line.begin, line.end - line.begin, entry);
      return WriteAll(file, text);
    }
    if (!line.text.empty()) section_end = line.end;
  }
  std::string added = entry;
  if (section_end == std::string::npos) {
    added = std::string("[") + section + "]\r\n" + entry;
    section_end = text.size();
  }
  if (section_end > 0 && text[section_end - 1] != '\n') added = "\r\n" + added;
  text.insert(section_end, added);
  return WriteAll(file, text);
}

int CountryCode() {
  // The country of the message locale; only Japan changes a text.
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* locale = std::getenv(name);
    if (locale == nullptr || *locale == 0) continue;
    return std::strncmp(locale, "ja", 2) == 0 ? 81 : 1;
  }
  return 1;
}

}  // namespace zatlib::platform
