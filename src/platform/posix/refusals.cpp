#include "platform/refusals.h"

#include <cerrno>

#include "platform/file.h"
#include "platform/posix/native_path.h"

namespace zatlib::platform {
namespace {

// The folder of a path, "." for a name alone.
std::string FolderOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  if (slash == std::string::npos) return ".";
  return slash == 0 ? "/" : path.substr(0, slash);
}

}  // namespace

Refusal LastRefusal(const char* path) {
  switch (errno) {
    case ENOENT:
    case ENOTDIR:
      if (path == nullptr || IsFolder(FolderOf(NativePath(path)).c_str())) return Refusal::kMissing;
      return Refusal::kNoFolder;
    case EACCES:
    case EPERM:
      return Refusal::kDenied;
    case EROFS:
      return Refusal::kReadOnly;
    case EWOULDBLOCK:
    case ETXTBSY:
      return Refusal::kInUse;
    case EISDIR:
      return Refusal::kFolder;
    case ENOSPC:
    case EDQUOT:
      return Refusal::kFull;
    case EFBIG:
      return Refusal::kTooLarge;
    case EMFILE:
    case ENFILE:
      return Refusal::kTooMany;
    case EIO:
      return Refusal::kFaulty;
    default:
      return Refusal::kOther;
  }
}

}  // namespace zatlib::platform
