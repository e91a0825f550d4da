#include "platform/folder.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

#include "platform/fault.h"
#include "platform/posix/native_path.h"

namespace zatlib::platform {
namespace {

FileKind KindOf(mode_t mode) {
  if (S_ISREG(mode)) return FileKind::kFile;
  if (S_ISDIR(mode)) return FileKind::kFolder;
  return S_ISFIFO(mode) ? FileKind::kPipe : FileKind::kDevice;
}

// True, with a reason that LastErrorText tells, when an armed fault refuses the call.
bool Refused() {
  if (!ShouldFail(Operation::kMove)) return false;
  errno = EIO;
  return true;
}

// Attributes beside the mode that tell who may do what, or that somebody has put there.
bool HasOwnAttributes(const std::string& path) {
  const ssize_t size = ::listxattr(path.c_str(), nullptr, 0);
  if (size <= 0) return false;
  std::vector<char> names(static_cast<size_t>(size));
  const ssize_t got = ::listxattr(path.c_str(), names.data(), names.size());
  for (ssize_t i = 0; i < got; i += static_cast<ssize_t>(std::strlen(&names[i])) + 1) {
    // Labels of the system's security come with the folder that a thing is made in.
    if (std::strncmp(&names[i], "security.", 9) != 0) return true;
  }
  return false;
}

}  // namespace

bool IsLink(const char* path) {
  struct stat status {};
  return ::lstat(WithSlashes(path).c_str(), &status) == 0 && S_ISLNK(status.st_mode);
}

std::string RealPath(const char* path) {
  char full[PATH_MAX];
  return ::realpath(WithSlashes(path).c_str(), full) != nullptr ? full : "";
}

bool ListFolder(const char* folder, const std::function<void(const char*, FileKind)>& visit) {
  const std::string native = WithSlashes(folder);
  DIR* directory = ::opendir(native.c_str());
  if (directory == nullptr) return false;
  std::vector<std::string> names;
  while (const dirent* entry = ::readdir(directory)) {
    if (std::strcmp(entry->d_name, ".") != 0 && std::strcmp(entry->d_name, "..") != 0) {
      names.emplace_back(entry->d_name);
    }
  }
  ::closedir(directory);
  std::sort(names.begin(), names.end());
  for (const std::string& name : names) {
    struct stat status {};
    if (::lstat((native + "/" + name).c_str(), &status) != 0) continue;
    visit(name.c_str(), KindOf(status.st_mode));
  }
  return true;
}

bool MakeFolder(const char* path) {
  return !Refused() && ::mkdir(WithSlashes(path).c_str(), 0700) == 0;
}

bool RemoveEntry(const char* path) {
  return !Refused() && ::unlink(WithSlashes(path).c_str()) == 0;
}

bool RemoveFolder(const char* path) {
  return !Refused() && ::rmdir(WithSlashes(path).c_str()) == 0;
}

bool MoveOver(const char* from, const char* to) {
  return !Refused() && ::rename(WithSlashes(from).c_str(), WithSlashes(to).c_str()) == 0;
}

bool ExchangeFolders(const char* a, const char* b) {
  if (Refused()) return false;
#ifdef RENAME_EXCHANGE
  return ::renameat2(AT_FDCWD, WithSlashes(a).c_str(), AT_FDCWD, WithSlashes(b).c_str(),
                     RENAME_EXCHANGE) == 0;
#else
  (void)a, (void)b;
  errno = ENOSYS;
  return false;
#endif
}

bool MayChangeFolder(const char* folder) {
  return ::access(WithSlashes(folder).c_str(), R_OK | W_OK | X_OK) == 0;
}

bool SameFileSystem(const char* a, const char* b) {
#ifdef STATX_MNT_ID
  // One device may be mounted at several places, and nothing is moved from one to another.
  struct statx of_a {};
  struct statx of_b {};
  const unsigned wanted = STATX_MNT_ID;
  if (::statx(AT_FDCWD, WithSlashes(a).c_str(), 0, wanted, &of_a) == 0 &&
      ::statx(AT_FDCWD, WithSlashes(b).c_str(), 0, wanted, &of_b) == 0 &&
      (of_a.stx_mask & of_b.stx_mask & wanted) != 0 && of_a.stx_mnt_id != of_b.stx_mnt_id) {
    return false;
  }
#endif
  struct stat status_a {};
  struct stat status_b {};
  return ::stat(WithSlashes(a).c_str(), &status_a) == 0 &&
         ::stat(WithSlashes(b).c_str(), &status_b) == 0 && status_a.st_dev == status_b.st_dev;
}

bool TakeRightsOf(const char* from, const char* to) {
  const std::string of = WithSlashes(from);
  const std::string at = WithSlashes(to);
  struct stat wanted {};
  struct stat given {};
  if (::stat(of.c_str(), &wanted) != 0 || ::stat(at.c_str(), &given) != 0) return false;
  bool same = wanted.st_uid == given.st_uid || ::chown(at.c_str(), wanted.st_uid, UINT_MAX) == 0;
  if (wanted.st_gid != given.st_gid && ::chown(at.c_str(), UINT_MAX, wanted.st_gid) != 0) {
    same = false;
  }
  if (::chmod(at.c_str(), wanted.st_mode & 07777) != 0) same = false;
  return same && !HasOwnAttributes(of);
}

std::string LastErrorText() {
  std::string text = std::strerror(errno);
  if (!text.empty()) text[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(text[0])));
  return text;
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
  const std::string native = WithSlashes(path.c_str());
  while (true) {
    const int fd = ::open(native.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0666);
    if (fd < 0) return Answer::kRefused;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
      ::close(fd);
      return Answer::kHeldByAnother;
    }
    // Who held it may have removed the file meanwhile: then this lock is on no name.
    struct stat held {};
    struct stat named {};
    if (::fstat(fd, &held) == 0 && ::lstat(native.c_str(), &named) == 0 &&
        held.st_ino == named.st_ino && held.st_dev == named.st_dev) {
      handle_ = fd;
      path_ = native;
      return Answer::kHeld;
    }
    ::close(fd);
  }
}

void NameHold::Release() {
  if (handle_ < 0) return;
  (void)::unlink(path_.c_str());  // while it is held: nobody else's
  ::close(static_cast<int>(handle_));
  handle_ = -1;
}

}  // namespace zatlib::platform
