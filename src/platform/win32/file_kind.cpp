#include "platform/file_kind.h"

#include <windows.h>

#include <string>

#include "platform/file.h"
#include "platform/redirect.h"

namespace zatlib::platform {

FileKind KindOfFile(const char* path) {
  // "NUL", "CON" and the like are devices in every folder; their full path begins with \\.\.
  const std::string full = AbsolutePath(path);
  if (full.starts_with("\\\\.\\pipe\\")) return FileKind::kPipe;
  if (full.starts_with("\\\\.\\")) return FileKind::kDevice;
  const DWORD attributes = ::GetFileAttributesA(Redirected(path).c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return FileKind::kNone;
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileKind::kFolder;
  return (attributes & FILE_ATTRIBUTE_DEVICE) != 0 ? FileKind::kDevice : FileKind::kFile;
}

}  // namespace zatlib::platform
