// The beginning of a source file: enough to tell what kind of file it is and what its columns hold.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace zatmap::check {

class FileSample {
 public:
  // Reads the beginning of the file. False when it cannot be read.
  bool Read(const std::string& path);

  std::string_view head() const { return head_; }
  bool whole() const { return whole_; }  // the file has no more

  // The last line of the file, when no line end follows; empty when one does.
  std::string_view last_line() const { return tail_; }

  // The lines that are whole, without their ends (CR LF, LF or CR); at most kMaxLines.
  static constexpr size_t kMaxLines = 4000;
  const std::vector<std::string_view>& lines() const { return lines_; }

 private:
  void Cut();

  std::string head_;
  std::string tail_;
  bool whole_ = false;
  std::vector<std::string_view> lines_;
};

// The fields of a line as a person reads them: commas between quotes do not count, and the quotes
// are gone.
std::vector<std::string_view> FieldsOf(std::string_view line);

// The text in small letters (of ASCII).
std::string LowerCase(std::string_view text);

// True for digits alone, at least one.
bool IsDigits(std::string_view text);

}  // namespace zatmap::check
