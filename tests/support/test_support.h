// What the tests share: temporary folders, files as byte strings, the lines of the build log.
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace zatlib::test {

// A folder of its own below the system's temporary folder; removed with its content.
class TempFolder {
 public:
  TempFolder();
  ~TempFolder();
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  const std::string& path() const { return path_; }
  // The path of a file in it, with the native separator.
  std::string operator/(const std::string& name) const;

 private:
  std::string path_;
};

// The current folder of the process, as long as it lives.
class CurrentFolder {
 public:
  explicit CurrentFolder(const std::string& path) : before_(std::filesystem::current_path()) {
    std::filesystem::current_path(path);
  }
  ~CurrentFolder() { std::filesystem::current_path(before_); }
  CurrentFolder(const CurrentFolder&) = delete;
  CurrentFolder& operator=(const CurrentFolder&) = delete;

 private:
  std::filesystem::path before_;
};

void WriteBytes(const std::string& path, const std::string& bytes);
std::string ReadBytes(const std::string& path);  // "" when the file does not exist
bool Exists(const std::string& path);
void MakeFolder(const std::string& path);

// True when the program runs under Wine, whose calendar has a February 29 in every year.
bool UnderWine();

// Readable UTF-8 to the code page 932 bytes that logs and stores hold (any character; made with
// the test's own table or iconv, independent of the library).
std::string Cp932(const char* utf8);

// Little-endian bytes, for expectations written by hand.
class Bytes {
 public:
  Bytes& I8(int v) { return Put(&v, 1); }
  Bytes& I16(int v) { return Put(&v, 2); }
  Bytes& I32(int64_t v) { return Put(&v, 4); }
  Bytes& I64(int64_t v) { return Put(&v, 8); }
  Bytes& F64(double v) { return Put(&v, 8); }
  Bytes& Text(const std::string& text, size_t size);  // padded with zero bytes to `size`
  Bytes& Zero(size_t count) {
    bytes_.append(count, '\0');
    return *this;
  }
  const std::string& str() const { return bytes_; }
  operator std::string() const { return bytes_; }  // NOLINT

 private:
  Bytes& Put(const void* value, size_t size) {
    bytes_.append(static_cast<const char*>(value), size);
    return *this;
  }
  std::string bytes_;
};

// The record `number` of `size` bytes of a file's content, "" when it is not there.
std::string Record(const std::string& content, size_t number, size_t size);

using Lines = std::vector<std::string>;

// The line that an error report leaves in the log.
inline std::string Report(const std::string& message, const std::string& title) {
  return "[" + message + "][" + title + "]";
}
bool IsReport(const std::string& line);

// How many reports with this message are among the lines, whatever their title.
template <typename Container>
std::ptrdiff_t CountMessages(const Container& lines, const std::string& message) {
  const std::string head = "[" + message + "][";
  return std::count_if(lines.begin(), lines.end(), [&head](const std::string& line) {
    return line.compare(0, head.size(), head) == 0;
  });
}
template <typename Container>
bool Reported(const Container& lines, const std::string& message) {
  return CountMessages(lines, message) != 0;
}

// A test with silent mode on, a temporary folder, the build log in that folder (POSIX) and heard
// line by line (without time stamps), and no armed faults.
class LibraryTest : public ::testing::Test {
 protected:
  LibraryTest();
  ~LibraryTest() override;

  // Writes a control file into the folder and returns its path. Add "[FOLDER]\r\nCALCMAPDIR=..."
  // lines where needed; by default the output folder is the control file's own folder.
  std::string WriteControl(const std::string& text);

  // Lines of the build log so far.
  const Lines& log() const { return log_; }
  void ClearLog() { log_.clear(); }
  // Those of them that report errors.
  Lines Reports() const;

  // Called with every line of the build log, before it is written to the file.
  virtual void Hear(const std::string& line);

  // From now on the build is not silent, and as soon as a line of the log begins with `line` the
  // user presses Cancel; never at "". The log begins anew.
  void CancelAt(const std::string& line);

  TempFolder folder_;

 private:
  Lines log_;
  std::string cancel_at_;
};

}  // namespace zatlib::test
