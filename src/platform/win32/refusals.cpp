#include "platform/refusals.h"

#include <windows.h>

#include "platform/file.h"

namespace zatlib::platform {

Refusal LastRefusal(const char* path) {
  switch (::GetLastError()) {
    case ERROR_FILE_NOT_FOUND:
      return Refusal::kMissing;
    case ERROR_PATH_NOT_FOUND:
    case ERROR_INVALID_NAME:
    case ERROR_DIRECTORY:
      return Refusal::kNoFolder;
    case ERROR_ACCESS_DENIED:
      // The system says the same of a folder and of a file that is marked as read-only.
      if (path != nullptr && IsFolder(path)) return Refusal::kFolder;
      if (bool read_only = false; path != nullptr && GetAttributes(path, &read_only) && read_only) {
        return Refusal::kReadOnly;
      }
      return Refusal::kDenied;
    case ERROR_WRITE_PROTECT:
      return Refusal::kReadOnly;
    case ERROR_SHARING_VIOLATION:
    case ERROR_LOCK_VIOLATION:
      return Refusal::kInUse;
    case ERROR_DISK_FULL:
    case ERROR_HANDLE_DISK_FULL:
      return Refusal::kFull;
    case ERROR_FILE_TOO_LARGE:
      return Refusal::kTooLarge;
    case ERROR_TOO_MANY_OPEN_FILES:
      return Refusal::kTooMany;
    case ERROR_CRC:
    case ERROR_READ_FAULT:
    case ERROR_WRITE_FAULT:
    case ERROR_IO_DEVICE:
      return Refusal::kFaulty;
    default:
      return Refusal::kOther;
  }
}

}  // namespace zatlib::platform
