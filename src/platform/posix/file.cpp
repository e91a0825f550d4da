#include "platform/file.h"

#include <dirent.h>
#include <fcntl.h>
#include <strings.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "platform/code_page.h"
#include "platform/fault.h"
#include "platform/posix/native_path.h"
#include "platform/redirect.h"
#include "platform/refusals.h"

namespace zatlib::platform {

std::string WithSlashes(const char* path) {
  std::string native(path);
  if (native.find('\\') == std::string::npos) return native;
  const bool utf8 = IsUtf8(native);
  for (size_t i = 0; i < native.size(); ++i) {
    if (!utf8 && i + 1 < native.size() && IsLeadByte(static_cast<unsigned char>(native[i]))) {
      ++i;
    } else if (native[i] == '\\') {
      native[i] = '/';
    }
  }
  return native;
}

std::string NativePath(const char* path) { return WithSlashes(Redirected(path).c_str()); }

std::string FolderKey(const char* folder) {
  struct stat status {};
  if (::stat(WithSlashes(folder).c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) return {};
  return std::to_string(status.st_dev) + ":" + std::to_string(status.st_ino);
}

namespace {

// Takes the lock of a share mode. False when another user holds one that excludes it; a file system
// without locks cannot exclude anybody, which is no reason to refuse the file.
bool Lock(int fd, Share share) {
  if (share == Share::kReadWrite) return true;
  const int lock = share == Share::kNone ? LOCK_EX : LOCK_SH;
  return ::flock(fd, lock | LOCK_NB) == 0 || errno != EWOULDBLOCK;
}

// Empties the file that is open as `*fd`: puts a new one in its place where that is possible, since
// some file systems write an emptied file out to the disk when it is closed, but leave a new one in
// their cache. `path` may be a link, and the file may have other names or another owner: it then
// stays the same file. False when the system refuses.
bool MakeAnew(const char* path, int flags, Share share, const struct stat& old, int* fd) {
  struct stat named {};
  if (!S_ISREG(old.st_mode) || old.st_nlink != 1 || old.st_uid != ::geteuid() ||
      ::lstat(path, &named) != 0 || named.st_ino != old.st_ino || named.st_dev != old.st_dev ||
      ::unlink(path) != 0) {
    return ::ftruncate(*fd, 0) == 0;
  }
  const int anew = ::open(path, flags | O_EXCL, 0666);
  if (anew < 0) return false;
  (void)::fchmod(anew, old.st_mode & 07777);
  ::close(*fd);
  *fd = anew;
  return Lock(anew, share);
}

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
  int flags = O_CLOEXEC;
  switch (access) {
    case Access::kRead:
      flags |= O_RDONLY;
      break;
    case Access::kWrite:
      flags |= O_WRONLY;
      break;
    case Access::kReadWrite:
      flags |= O_RDWR;
      break;
  }
  if (disposition != Disposition::kOpenExisting) flags |= O_CREAT;
  const std::string native = NativePath(path);
  int fd = ::open(native.c_str(), flags, 0666);
  if (fd < 0) {
    NoteRefusedOpen(path);
    return file;
  }
  struct stat status {};
  bool usable = ::fstat(fd, &status) == 0;
  if (usable && S_ISDIR(status.st_mode)) {
    errno = EISDIR;
    usable = false;
  }
  if (!usable || !Lock(fd, share)) {
    NoteRefusedOpen(path);
    ::close(fd);
    return file;
  }
  // Emptied only once the lock is held: a refused open leaves the other user's file alone.
  if (disposition == Disposition::kCreateAlways && status.st_size > 0 &&
      !MakeAnew(native.c_str(), flags, share, status, &fd)) {
    NoteRefusedOpen(path);
    ::close(fd);
    return file;
  }
  if (hint == Hint::kSequential) (void)::posix_fadvise(fd, 0, 0, POSIX_FADV_SEQUENTIAL);
  file.handle_ = fd;
  return file;
}

bool File::Read(void* data, uint32_t size, uint32_t* read) {
  *read = 0;
  if (ShouldFail(Operation::kRead)) return false;
  while (*read < size) {
    const ssize_t got =
        ::read(static_cast<int>(handle_), static_cast<char*>(data) + *read, size - *read);
    if (got == 0) return true;
    if (got < 0) {
      if (errno == EINTR) continue;
      return false;
    }
    *read += static_cast<uint32_t>(got);
  }
  return true;
}

bool File::ReadAt(int64_t position, void* data, uint32_t size) const {
  if (ShouldFail(Operation::kRead)) return false;
  auto* bytes = static_cast<char*>(data);
  while (size > 0) {
    const ssize_t got = ::pread(static_cast<int>(handle_), bytes, size, position);
    if (got < 0 && errno == EINTR) continue;
    if (got <= 0) return false;
    bytes += got;
    size -= static_cast<uint32_t>(got);
    position += got;
  }
  return true;
}

bool File::Write(const void* data, uint32_t size, uint32_t* written) {
  *written = 0;
  bool fail = false;
  if (ShouldFail(Operation::kWrite)) {
    if (!FailedWriteLeavesHalf()) return false;
    size /= 2;
    fail = true;
  }
  while (*written < size) {
    const ssize_t put = ::write(static_cast<int>(handle_),
                                static_cast<const char*>(data) + *written, size - *written);
    if (put < 0) {
      if (errno == EINTR) continue;
      NoteRefusedWrite();
      return false;
    }
    *written += static_cast<uint32_t>(put);
  }
  return !fail;
}

int64_t File::Seek(int64_t offset, SeekFrom from) {
  if (ShouldFail(Operation::kSeek)) return -1;
  const int whence = from == SeekFrom::kBegin     ? SEEK_SET
                     : from == SeekFrom::kCurrent ? SEEK_CUR
                                                  : SEEK_END;
  return ::lseek(static_cast<int>(handle_), offset, whence);
}

int64_t File::Size() const {
  struct stat status {};
  if (::fstat(static_cast<int>(handle_), &status) != 0) return -1;
  return status.st_size;
}

bool File::Flush() {
  // write() has handed the bytes to the kernel, where they survive the process; a build that a
  // power cut ends is built anew. Waiting for the disk would only cost time.
  return !ShouldFail(Operation::kFlush);
}

void File::Close() {
  if (handle_ != kClosed) ::close(static_cast<int>(handle_));
  handle_ = kClosed;
}

bool RemoveFile(const char* path) { return ::unlink(NativePath(path).c_str()) == 0; }

bool IsFolder(const char* path) {
  struct stat status {};
  return ::stat(NativePath(path).c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

bool CanEnterFolder(const char* path) {
  return IsFolder(path) && ::access(NativePath(path).c_str(), X_OK) == 0;
}

bool CreateFolder(const char* path) { return ::mkdir(NativePath(path).c_str(), 0777) == 0; }

bool GetAttributes(const char* path, bool* read_only) {
  const std::string native = NativePath(path);
  struct stat status {};
  if (::stat(native.c_str(), &status) != 0) return false;
  *read_only = ::access(native.c_str(), W_OK) != 0;
  return true;
}

int64_t SizeAtPath(const char* path) {
  struct stat status {};
  if (::stat(NativePath(path).c_str(), &status) != 0 || S_ISDIR(status.st_mode)) return -1;
  return status.st_size;
}

namespace {

// Adds the files of the folder whose names end with `suffix` and are wanted.
void AddFiles(const char* folder, const char* suffix,
              const std::function<bool(const char*)>& wanted, std::vector<std::string>* names) {
  const std::string native = WithSlashes(folder);
  DIR* directory = ::opendir(native.c_str());
  if (directory == nullptr) return;
  const size_t suffix_length = std::strlen(suffix);
  while (const dirent* entry = ::readdir(directory)) {
    const size_t length = std::strlen(entry->d_name);
    if (length < suffix_length) continue;
    if (::strcasecmp(entry->d_name + length - suffix_length, suffix) != 0) continue;
    const std::string full = native + "/" + entry->d_name;
    struct stat status {};
    const bool is_folder = ::stat(full.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
    if (!is_folder && wanted(entry->d_name)) names->emplace_back(entry->d_name);
  }
  ::closedir(directory);
}

}  // namespace

void FindFiles(const char* folder, const char* suffix,
               const std::function<void(const char*)>& visit) {
  // Collected first: what `visit` deletes must not disturb the walk.
  std::vector<std::string> names;
  const char* target = RedirectTarget(folder);
  AddFiles(
      folder, suffix,
      [target](const char* name) { return target == nullptr || !IsRedirectedName(name); }, &names);
  if (target != nullptr) AddFiles(target, suffix, IsRedirectedName, &names);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) visit(name.c_str());
}

char NativeSeparator() { return '/'; }

bool IsSeparator(char c) { return c == '/' || c == '\\'; }

std::string AbsolutePath(const char* path) {
  std::string native = WithSlashes(path);
  if (!native.empty() && native[0] == '/') return native;
  char folder[PATH_MAX];
  if (::getcwd(folder, sizeof folder) == nullptr) return native;
  std::string full(folder);
  if (full.empty() || full.back() != '/') full += '/';
  return full + native;
}

std::string TempFolder() {
  const char* folder = std::getenv("TMPDIR");
  std::string text = folder != nullptr && *folder != 0 ? folder : "/tmp";
  while (text.size() > 1 && text.back() == '/') text.pop_back();
  return text;
}

std::string ProgramPath() {
  char path[PATH_MAX];
  const ssize_t length = ::readlink("/proc/self/exe", path, sizeof path - 1);
  return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string();
}

bool AppDataFolder(bool per_user, std::string* folder) {
  if (!per_user) {
    *folder = "/var/lib";
    return true;
  }
  if (const char* data = std::getenv("XDG_DATA_HOME"); data != nullptr && *data != 0) {
    *folder = data;
    return true;
  }
  if (const char* home = std::getenv("HOME"); home != nullptr && *home != 0) {
    *folder = std::string(home) + "/.local/share";
    return true;
  }
  return false;
}

}  // namespace zatlib::platform
