#include "test_support.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>

#ifdef _WIN32
#include <windows.h>
#else
#include <iconv.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#endif

#include "frd/log.h"
#include "frd/progress.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/memory.h"

namespace zatlib::test {
namespace {

#ifdef _WIN32

constexpr char kSeparator = '\\';

std::string MakeTempFolder() {
  static unsigned number = 0;
  char base[MAX_PATH];
  ::GetTempPathA(sizeof base, base);
  while (true) {
    const std::string path = std::string(base) + "zatlib-test-" +
                             std::to_string(::GetCurrentProcessId()) + "-" +
                             std::to_string(++number);
    if (::CreateDirectoryA(path.c_str(), nullptr) != 0) return path;
    if (::GetLastError() != ERROR_ALREADY_EXISTS) std::abort();
  }
}

void RemoveTree(const std::string& folder) {
  WIN32_FIND_DATAA entry;
  const HANDLE search = ::FindFirstFileA((folder + "\\*").c_str(), &entry);
  if (search != INVALID_HANDLE_VALUE) {
    do {
      const std::string name = entry.cFileName;
      if (name == "." || name == "..") continue;
      const std::string path = folder + "\\" + name;
      ::SetFileAttributesA(path.c_str(), FILE_ATTRIBUTE_NORMAL);
      if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) {
        RemoveTree(path);
      } else {
        ::DeleteFileA(path.c_str());
      }
    } while (::FindNextFileA(search, &entry) != 0);
    ::FindClose(search);
  }
  ::RemoveDirectoryA(folder.c_str());
}

#else

constexpr char kSeparator = '/';

// A file system in memory, when there is one with room: on some disks every file that is replaced
// is written out at once.
std::string TempBase() {
  std::error_code ignored;
  const std::filesystem::path memory = "/dev/shm";
  constexpr uintmax_t kRoom = 256u << 20;
  if (std::getenv("TMPDIR") == nullptr && ::access(memory.c_str(), W_OK | X_OK) == 0 &&
      std::filesystem::space(memory, ignored).available >= kRoom && !ignored) {
    return memory.string();
  }
  return std::filesystem::temp_directory_path().string();
}

std::string MakeTempFolder() {
  std::string path = TempBase() + "/zatlib-test-XXXXXX";
  if (::mkdtemp(path.data()) == nullptr) std::abort();
  return path;
}

void RemoveTree(const std::string& folder) {
  std::error_code ignored;
  std::filesystem::remove_all(folder, ignored);
}

// The build log goes below XDG_DATA_HOME: it is pointed into the test's folder and back.
struct DataHome {
  bool was_set = false;
  std::string before;
};
DataHome g_data_home;

#endif

}  // namespace

TempFolder::TempFolder() : path_(MakeTempFolder()) {}

TempFolder::~TempFolder() { RemoveTree(path_); }

std::string TempFolder::operator/(const std::string& name) const {
  return path_ + kSeparator + name;
}

void WriteBytes(const std::string& path, const std::string& bytes) {
  std::FILE* file = std::fopen(path.c_str(), "wb");
  ASSERT_NE(file, nullptr) << path;
  EXPECT_EQ(std::fwrite(bytes.data(), 1, bytes.size(), file), bytes.size()) << path;
  EXPECT_EQ(std::fclose(file), 0) << path;
}

std::string ReadBytes(const std::string& path) {
  std::string bytes;
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return bytes;
  char block[65536];
  while (const size_t got = std::fread(block, 1, sizeof block, file)) bytes.append(block, got);
  std::fclose(file);
  return bytes;
}

bool Exists(const std::string& path) {
#ifdef _WIN32
  return ::GetFileAttributesA(path.c_str()) != INVALID_FILE_ATTRIBUTES;
#else
  struct stat status {};
  return ::stat(path.c_str(), &status) == 0;
#endif
}

void MakeFolder(const std::string& path) {
#ifdef _WIN32
  ASSERT_NE(::CreateDirectoryA(path.c_str(), nullptr), 0) << path;
#else
  ASSERT_EQ(::mkdir(path.c_str(), 0777), 0) << path;
#endif
}

bool UnderWine() {
#ifdef _WIN32
  return ::GetProcAddress(::GetModuleHandleA("ntdll.dll"), "wine_get_version") != nullptr;
#else
  return false;
#endif
}

std::string Cp932(const char* utf8) {
  const std::string text(utf8);
  if (text.empty()) return text;
  std::string out(text.size() * 2, '\0');
#ifdef _WIN32
  std::wstring wide(text.size(), L'\0');
  const int units = ::MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                          static_cast<int>(text.size()), wide.data(),
                                          static_cast<int>(wide.size()));
  const int length = ::WideCharToMultiByte(932, 0, wide.data(), units, out.data(),
                                           static_cast<int>(out.size()), nullptr, nullptr);
  EXPECT_GT(length, 0) << "no code page 932 text: " << text;
  out.resize(static_cast<size_t>(std::max(length, 0)));
#else
  const iconv_t converter = ::iconv_open("CP932", "UTF-8");
  EXPECT_NE(reinterpret_cast<intptr_t>(converter), -1) << "this machine lacks code page 932";
  std::string in_text(text);
  char* in = in_text.data();
  size_t in_left = in_text.size();
  char* to = out.data();
  size_t to_left = out.size();
  EXPECT_NE(::iconv(converter, &in, &in_left, &to, &to_left), static_cast<size_t>(-1))
      << "no code page 932 text: " << text;
  ::iconv_close(converter);
  out.resize(out.size() - to_left);
#endif
  return out;
}

Bytes& Bytes::Text(const std::string& text, size_t size) {
  bytes_ += text.substr(0, size);
  return Zero(size - std::min(size, text.size()));
}

std::string Record(const std::string& content, size_t number, size_t size) {
  if (size == 0 || content.size() / size <= number) return "";
  return content.substr(number * size, size);
}

bool IsReport(const std::string& line) {
  return line.size() > 3 && line.front() == '[' && line.back() == ']' &&
         line.find("][") != std::string::npos;
}

LibraryTest::LibraryTest() {
#ifndef _WIN32
  const char* before = std::getenv("XDG_DATA_HOME");
  g_data_home.was_set = before != nullptr;
  g_data_home.before = before != nullptr ? before : "";
  ::setenv("XDG_DATA_HOME", (folder_ / "appdata").c_str(), 1);
#endif
  platform::ClearFaults();
  g_silent = 1;
  SetLogListener([this](const char* text) {
    log_.emplace_back(text);
    if (!cancel_at_.empty() && log_.back().compare(0, cancel_at_.size(), cancel_at_) == 0) {
      FRD_SetCancelled(true);
    }
    Hear(log_.back());
  });
}

LibraryTest::~LibraryTest() {
  SetLogListener(nullptr);
  platform::ClearFaults();
  platform::FixLocalTime(nullptr);
  platform::StepTickCount(0);
  platform::PlayMachine(0, 0);
  FRD_SetCancelled(false);
  g_silent = 0;
#ifndef _WIN32
  if (g_data_home.was_set) {
    ::setenv("XDG_DATA_HOME", g_data_home.before.c_str(), 1);
  } else {
    ::unsetenv("XDG_DATA_HOME");
  }
#endif
}

void LibraryTest::Hear(const std::string& /*line*/) {}

void LibraryTest::CancelAt(const std::string& line) {
  ClearLog();
  g_silent = 0;
  cancel_at_ = line;
}

Lines LibraryTest::Reports() const {
  Lines reports;
  std::copy_if(log_.begin(), log_.end(), std::back_inserter(reports), IsReport);
  return reports;
}

std::string LibraryTest::WriteControl(const std::string& text) {
  const std::string path = folder_ / "control.ini";
  WriteBytes(path, text);
  return path;
}

}  // namespace zatlib::test
