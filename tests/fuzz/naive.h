// Plain versions of the readers, one byte at a time: what the fast ones must agree with.
#pragma once

#include <unistd.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace zatlib::fuzz {

// Ends the run with a message; the input that led here is kept by the fuzzer.
#define FUZZ_CHECK(condition)                                                            \
  do {                                                                                   \
    if (!(condition)) {                                                                  \
      std::fprintf(stderr, "%s:%d: %s does not hold\n", __FILE__, __LINE__, #condition); \
      std::abort();                                                                      \
    }                                                                                    \
  } while (false)

// A file of this process for an input; removed at the end.
class ScratchFile {
 public:
  explicit ScratchFile(const char* name) {
    const char* folder = std::getenv("TMPDIR");
    // Memory first: a disk would be the slowest part of a run.
    if (folder == nullptr) folder = ::access("/dev/shm", W_OK) == 0 ? "/dev/shm" : "/tmp";
    path_ = std::string(folder) + "/zatlib-fuzz-" + std::to_string(::getpid()) + "-" + name;
  }
  ~ScratchFile() { Remove(); }
  ScratchFile(const ScratchFile&) = delete;
  ScratchFile& operator=(const ScratchFile&) = delete;
  const char* path() const { return path_.c_str(); }
  void Remove() const { std::remove(path()); }
  void Write(std::string_view bytes) const {
    std::FILE* file = std::fopen(path(), "wb");
    FUZZ_CHECK(file != nullptr);
    FUZZ_CHECK(std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size());
    std::fclose(file);
  }
  std::string Read() const {
    std::string bytes;
    std::FILE* file = std::fopen(path(), "rb");
    if (file == nullptr) return bytes;
    char block[4096];
    while (const size_t got = std::fread(block, 1, sizeof block, file)) bytes.append(block, got);
    std::fclose(file);
    return bytes;
  }

 private:
  std::string path_;
};

// Line by line over a text held whole.
class NaiveLines {
 public:
  explicit NaiveLines(std::string_view text, size_t position = 0)
      : text_(text), position_(position) {}

  // 1 and the line, or 0 at the end and for a line without an end within `size` bytes.
  int Next(size_t size, std::string* line) {
    const std::string_view window = text_.substr(position_, size);
    if (window.empty()) return 0;
    bool quoted = false;
    bool embedded = false;
    size_t end = window.size();
    bool found = false;
    for (size_t i = 0; i < window.size(); ++i) {
      const char c = window[i];
      if (c == '"') quoted = !quoted;
      if (quoted && (c == '\r' || c == '\n')) embedded = true;
      if (!quoted && c == '\r') {
        end = i;
        found = true;
        break;
      }
    }
    if (found) {
      position_ += end + 2;
      if (position_ > text_.size()) position_ = text_.size();
    } else {
      position_ += window.size();
      if (window.size() == size) return 0;
    }
    line->clear();
    for (const char c : window.substr(0, end)) {
      if (!embedded || (c != '\r' && c != '\n')) *line += c;
    }
    return 1;
  }

 private:
  std::string_view text_;
  size_t position_;
};

// Number of lines as the line counter defines it, from blocks of 4,096 bytes.
inline int64_t NaiveCount(std::string_view text) {
  int64_t count = 0;
  bool quoted = false;
  bool open = false;
  for (size_t block = 0; block < text.size(); block += 4096) {
    const std::string_view part = text.substr(block, 4096);
    for (size_t i = 0; i < part.size(); ++i) {
      if (part[i] == '"') quoted = !quoted;
      if (part[i] == '\r' && !quoted) {
        ++count;
        open = part.size() - 1 - i >= 2;
      }
    }
  }
  if (open) ++count;
  return text.empty() ? 0 : count < 1 ? 1 : count;
}

// A decimal number x 1,000,000.
inline int32_t NaiveFixed6(std::string_view text) {
  std::string kept;
  int decimals = 0;
  bool after_point = false;
  for (const char c : text.substr(0, 32)) {
    if (c == 0) break;
    if (c >= '0' && c <= '9') {
      kept += c;
      if (after_point) ++decimals;
    } else if (c == '+' || c == '-') {
      kept += c;
    } else if (c == '.') {
      after_point = true;
    }
  }
  for (; decimals < 6; ++decimals) kept += '0';
  // The host's long has 64 bits and clamps there.
  const long long value = std::strtoll(kept.c_str(), nullptr, 10);
  return value > INT32_MAX   ? INT32_MAX
         : value < INT32_MIN ? INT32_MIN
                             : static_cast<int32_t>(value);
}

}  // namespace zatlib::fuzz
