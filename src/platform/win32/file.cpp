#include "platform/file.h"

#include <windows.h>
// The shell's headers need the ones above.
#include <shlobj.h>

#include "platform/fault.h"
#include "platform/redirect.h"
#include "platform/refusals.h"

namespace zatlib::platform {
namespace {

constexpr int kLocalAppData = 28;   // CSIDL_LOCAL_APPDATA
constexpr int kCommonAppData = 35;  // CSIDL_COMMON_APPDATA

HANDLE ToHandle(intptr_t handle) { return reinterpret_cast<HANDLE>(handle); }

}  // namespace

File& File::operator=(File&& other) noexcept {
  if (this != &other) {
    Close();
    handle_ = other.handle_;
    other.handle_ = kClosed;
  }
  return *this;
}

File File::Open(const char* path, Access access, Share share, Disposition disposition, Hint hint) {
  File file;
  if (ShouldFail(Operation::kOpen)) return file;
  const DWORD wanted = access == Access::kRead    ? GENERIC_READ
                       : access == Access::kWrite ? GENERIC_WRITE
                                                  : GENERIC_READ | GENERIC_WRITE;
  const DWORD shared = share == Share::kNone   ? 0
                       : share == Share::kRead ? FILE_SHARE_READ
                                               : FILE_SHARE_READ | FILE_SHARE_WRITE;
  const DWORD creation = disposition == Disposition::kOpenExisting ? OPEN_EXISTING
                         : disposition == Disposition::kOpenAlways ? OPEN_ALWAYS
                                                                   : CREATE_ALWAYS;
  const DWORD flags = hint == Hint::kSequential ? FILE_FLAG_SEQUENTIAL_SCAN : 0;
  const HANDLE handle = ::CreateFileA(Redirected(path).c_str(), wanted, shared, nullptr, creation,
                                      FILE_ATTRIBUTE_NORMAL | flags, nullptr);
  if (handle == INVALID_HANDLE_VALUE) {
    NoteRefusedOpen(path);
    return file;
  }
  file.handle_ = reinterpret_cast<intptr_t>(handle);
  return file;
}

bool File::Read(void* data, uint32_t size, uint32_t* read) {
  *read = 0;
  if (ShouldFail(Operation::kRead)) return false;
  DWORD got = 0;
  const bool good = ::ReadFile(ToHandle(handle_), data, size, &got, nullptr) != 0;
  *read = got;
  return good;
}

bool File::ReadAt(int64_t position, void* data, uint32_t size) const {
  if (ShouldFail(Operation::kRead)) return false;
  OVERLAPPED place{};
  place.Offset = static_cast<DWORD>(position);
  place.OffsetHigh = static_cast<DWORD>(position >> 32);
  DWORD got = 0;
  return ::ReadFile(ToHandle(handle_), data, size, &got, &place) != 0 && got == size;
}

bool File::Write(const void* data, uint32_t size, uint32_t* written) {
  *written = 0;
  bool fail = false;
  if (ShouldFail(Operation::kWrite)) {
    if (!FailedWriteLeavesHalf()) return false;
    size /= 2;
    fail = true;
  }
  DWORD put = 0;
  const bool good = ::WriteFile(ToHandle(handle_), data, size, &put, nullptr) != 0;
  if (!good) NoteRefusedWrite();
  *written = put;
  return good && put == size && !fail;
}

int64_t File::Seek(int64_t offset, SeekFrom from) {
  if (ShouldFail(Operation::kSeek)) return -1;
  const DWORD method = from == SeekFrom::kBegin     ? FILE_BEGIN
                       : from == SeekFrom::kCurrent ? FILE_CURRENT
                                                    : FILE_END;
  LONG high = static_cast<LONG>(offset >> 32);
  const DWORD low =
      ::SetFilePointer(ToHandle(handle_), static_cast<LONG>(offset & 0xFFFFFFFF), &high, method);
  if (low == INVALID_SET_FILE_POINTER && ::GetLastError() != NO_ERROR) return -1;
  return static_cast<int64_t>(high) * 0x100000000 + low;
}

int64_t File::Size() const {
  DWORD high = 0;
  const DWORD low = ::GetFileSize(ToHandle(handle_), &high);
  if (low == INVALID_FILE_SIZE && ::GetLastError() != NO_ERROR) return -1;
  return static_cast<int64_t>(high) * 0x100000000 + low;
}

bool File::Flush() {
  if (ShouldFail(Operation::kFlush)) return false;
  return ::FlushFileBuffers(ToHandle(handle_)) != 0;
}

void File::Close() {
  if (handle_ != kClosed) ::CloseHandle(ToHandle(handle_));
  handle_ = kClosed;
}

bool RemoveFile(const char* path) { return ::DeleteFileA(Redirected(path).c_str()) != 0; }

bool CanEnterFolder(const char* path) {
  char before[MAX_PATH];
  const DWORD length = ::GetCurrentDirectoryA(sizeof before, before);
  if (::SetCurrentDirectoryA(path) == 0) return false;
  if (length > 0 && length < sizeof before) ::SetCurrentDirectoryA(before);
  return true;
}

bool IsFolder(const char* path) {
  const DWORD attributes = ::GetFileAttributesA(Redirected(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool CreateFolder(const char* path) { return ::CreateDirectoryA(path, nullptr) != 0; }

bool GetAttributes(const char* path, bool* read_only) {
  const DWORD attributes = ::GetFileAttributesA(Redirected(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return false;
  *read_only = (attributes & FILE_ATTRIBUTE_READONLY) != 0;
  return true;
}

int64_t SizeAtPath(const char* path) {
  WIN32_FILE_ATTRIBUTE_DATA data;
  if (::GetFileAttributesExA(Redirected(path).c_str(), GetFileExInfoStandard, &data) == 0)
    return -1;
  if ((data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return -1;
  return static_cast<int64_t>(data.nFileSizeHigh) * 0x100000000 + data.nFileSizeLow;
}

namespace {

// Visits the files of the folder whose names end with `suffix` and are wanted.
void VisitFiles(const char* folder, const char* suffix,
                const std::function<bool(const char*)>& wanted,
                const std::function<void(const char*)>& visit) {
  const std::string pattern = std::string(folder) + "\\*" + suffix;
  WIN32_FIND_DATAA entry;
  const HANDLE search = ::FindFirstFileA(pattern.c_str(), &entry);
  if (search == INVALID_HANDLE_VALUE) return;
  do {
    const bool is_folder = (entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!is_folder && wanted(entry.cFileName)) visit(entry.cFileName);
  } while (::FindNextFileA(search, &entry) != 0);
  ::FindClose(search);
}

}  // namespace

void FindFiles(const char* folder, const char* suffix,
               const std::function<void(const char*)>& visit) {
  const char* target = RedirectTarget(folder);
  VisitFiles(
      folder, suffix,
      [target](const char* name) { return target == nullptr || !IsRedirectedName(name); }, visit);
  if (target != nullptr) VisitFiles(target, suffix, IsRedirectedName, visit);
}

std::string FolderKey(const char* folder) {
  const DWORD attributes = ::GetFileAttributesA(folder);
  if (attributes == INVALID_FILE_ATTRIBUTES || (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
    return {};
  }
  std::string key = AbsolutePath(folder);
  while (!key.empty() && key.back() == '\\') key.pop_back();
  ::CharUpperBuffA(key.data(), static_cast<DWORD>(key.size()));
  return key;
}

char NativeSeparator() { return '\\'; }

bool IsSeparator(char c) { return c == '\\'; }

std::string AbsolutePath(const char* path) {
  char full[MAX_PATH];
  const DWORD length = ::GetFullPathNameA(path, sizeof full, full, nullptr);
  return length > 0 && length < sizeof full ? std::string(full, length) : std::string(path);
}

std::string TempFolder() {
  char folder[MAX_PATH + 1];
  const DWORD length = ::GetTempPathA(sizeof folder, folder);
  std::string text(folder, length < sizeof folder ? length : 0);
  if (!text.empty() && text.back() == '\\') text.pop_back();
  return text;
}

std::string ProgramPath() {
  char path[MAX_PATH];
  const DWORD length = ::GetModuleFileNameA(nullptr, path, sizeof path);
  return std::string(path, length < sizeof path ? length : 0);
}

bool AppDataFolder(bool per_user, std::string* folder) {
  char path[MAX_PATH];
  const int kind = per_user ? kLocalAppData : kCommonAppData;
  if (FAILED(::SHGetFolderPathA(nullptr, kind, nullptr, 0, path))) return false;
  *folder = path;
  return true;
}

}  // namespace zatlib::platform
