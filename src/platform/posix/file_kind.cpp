#include "platform/file_kind.h"

#include <sys/stat.h>

#include "platform/posix/native_path.h"

namespace zatlib::platform {

FileKind KindOfFile(const char* path) {
  struct stat status {};
  if (::stat(NativePath(path).c_str(), &status) != 0) return FileKind::kNone;
  if (S_ISREG(status.st_mode)) return FileKind::kFile;
  if (S_ISDIR(status.st_mode)) return FileKind::kFolder;
  return S_ISFIFO(status.st_mode) ? FileKind::kPipe : FileKind::kDevice;
}

}  // namespace zatlib::platform
