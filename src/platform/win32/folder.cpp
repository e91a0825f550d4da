#include "platform/folder.h"

#include <windows.h>

#include <algorithm>
#include <utility>
#include <vector>

#include "platform/fault.h"

namespace zatlib::platform {
namespace {

FileKind KindOf(DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::kFolder;
  return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::kDevice : FileKind::kFile;
}

// True, with a reason that LastErrorText tells, when an armed fault refuses the call.
bool Refused() {
  if (!ShouldFail(Operation::kMove)) return false;
  ::SetLastError(ERROR_GEN_FAILURE);
  return true;
}

// A file that may not be written cannot be replaced or removed.
void MakeWritable(const char* path) {
  const DWORD attributes = ::GetFileAttributesA(path);
  if (attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_READONLY) != 0) {
    ::SetFileAttributesA(path, attributes & ~static_cast<DWORD>(FILE_ATTRIBUTE_READONLY));
  }
}

// What is told of the commonest errors is told as on other systems.
struct ErrorText {
  DWORD code;
  const char* text;
};
constexpr ErrorText kErrorTexts[] = {
    {ERROR_FILE_NOT_FOUND, "no such file or directory"},
    {ERROR_PATH_NOT_FOUND, "no such file or directory"},
    {ERROR_ACCESS_DENIED, "permission denied"},
    {ERROR_WRITE_PROTECT, "read-only file system"},
    {ERROR_SHARING_VIOLATION, "another program uses it"},
    {ERROR_LOCK_VIOLATION, "another program uses it"},
    {ERROR_DISK_FULL, "no space left on device"},
    {ERROR_HANDLE_DISK_FULL, "no space left on device"},
    {ERROR_FILE_EXISTS, "file exists"},
    {ERROR_ALREADY_EXISTS, "file exists"},
    {ERROR_DIR_NOT_EMPTY, "directory not empty"},
    {ERROR_NOT_SAME_DEVICE, "invalid cross-device link"},
    {ERROR_INVALID_NAME, "no name for a file"},
    {ERROR_BAD_NETPATH, "no such network path"},
};

}  // namespace

bool IsLink(const char* path) {
  const DWORD attributes = ::GetFileAttributesA(path);
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

std::string RealPath(const char* path) {
  const HANDLE handle =
      ::CreateFileA(path, 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return {};
  char full[MAX_PATH + 8];
  const DWORD length = ::GetFinalPathNameByHandleA(handle, full, sizeof full, FILE_NAME_NORMALIZED);
  ::CloseHandle(handle);
  std::string text(full, length < sizeof full ? length : 0);
  constexpr char kLocal[] = "\\\\?\\";
  constexpr char kNetwork[] = "\\\\?\\UNC\\";
  if (text.starts_with(kNetwork)) return "\\\\" + text.substr(sizeof kNetwork - 1);
  if (text.starts_with(kLocal)) return text.substr(sizeof kLocal - 1);
  if (!text.empty()) return text;
  char named[MAX_PATH];
  const DWORD size = ::GetFullPathNameA(path, sizeof named, named, nullptr);
  return std::string(named, size < sizeof named ? size : 0);
}

bool ListFolder(const char* folder, const std::function<void(const char*, FileKind)>& visit) {
  WIN32_FIND_DATAA entry;
  const HANDLE search = ::FindFirstFileA((std::string(folder) + "\\*").c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return false;
  std::vector<std::pair<std::string, FileKind>> entries;
  do {
    const std::string name = entry.cFileName;
    if (name == "." || name == "..") continue;
    const bool link = (entry.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    entries.emplace_back(name, link ? FileKind::kDevice : KindOf(entry.dwFileAttributes));
  } while (::FindNextFileA(search, &entry) != 0);
  ::FindClose(search);
  std::sort(entries.begin(), entries.end());
  for (const auto& [name, kind] : entries) visit(name.c_str(), kind);
  return true;
}

bool MakeFolder(const char* path) { return !Refused() && ::CreateDirectoryA(path, nullptr) != 0; }

bool RemoveEntry(const char* path) {
  if (Refused()) return false;
  MakeWritable(path);
  return ::DeleteFileA(path) != 0;
}

bool RemoveFolder(const char* path) { return !Refused() && ::RemoveDirectoryA(path) != 0; }

bool MoveOver(const char* from, const char* to) {
  if (Refused()) return false;
  MakeWritable(to);
  return ::MoveFileExA(from, to, MOVEFILE_REPLACE_EXISTING) != 0;
}

bool ExchangeFolders(const char*, const char*) {
  ::SetLastError(ERROR_NOT_SUPPORTED);
  return false;
}

bool MayChangeFolder(const char* folder) {
  // Only trying tells: rights are lists, and those of the folder's attribute mean something else.
  const std::string trial = std::string(folder) + "\\.zatmap-trial";
  const HANDLE handle =
      ::CreateFileA(trial.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, CREATE_ALWAYS,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (handle == INVALID_HANDLE_VALUE) return false;
  ::CloseHandle(handle);
  return true;
}

bool SameFileSystem(const char* a, const char* b) {
  char volume_a[MAX_PATH];
  char volume_b[MAX_PATH];
  return ::GetVolumePathNameA(a, volume_a, sizeof volume_a) != 0 &&
         ::GetVolumePathNameA(b, volume_b, sizeof volume_b) != 0 &&
         ::lstrcmpiA(volume_a, volume_b) == 0;
}

bool TakeRightsOf(const char*, const char*) { return true; }

std::string LastErrorText() {
  const DWORD code = ::GetLastError();
  for (const ErrorText& known : kErrorTexts) {
    if (known.code == code) return known.text;
  }
  return "error " + std::to_string(code) + " of the system";
}

NameHold::NameHold(NameHold&& other) noexcept
    : handle_(std::exchange(other.handle_, -1)), path_(std::move(other.path_)) {}

NameHold& NameHold::operator=(NameHold&& other) noexcept {
  if (this != &other) {
    Release();
    handle_ = std::exchange(other.handle_, -1);
    path_ = std::move(other.path_);
  }
  return *this;
}

NameHold::Answer NameHold::Take(const std::string& path) {
  Release();
  // The system removes the file with its last handle, also when the process is ended.
  const HANDLE handle =
      ::CreateFileA(path.c_str(), GENERIC_WRITE | DELETE, 0, nullptr, OPEN_ALWAYS,
                    FILE_ATTRIBUTE_TEMPORARY | FILE_FLAG_DELETE_ON_CLOSE, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    return ::GetLastError() == ERROR_SHARING_VIOLATION ? Answer::kHeldByAnother : Answer::kRefused;
  }
  handle_ = reinterpret_cast<intptr_t>(handle);
  path_ = path;
  return Answer::kHeld;
}

void NameHold::Release() {
  if (handle_ == -1) return;
  ::CloseHandle(reinterpret_cast<HANDLE>(handle_));
  handle_ = -1;
}

}  // namespace zatlib::platform
