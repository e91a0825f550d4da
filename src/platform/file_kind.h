// What a path names, without opening it.
#pragma once

#include <cstdint>

namespace zatlib::platform {

enum class FileKind : uint8_t {
  kNone,  // nothing is there, or the system does not tell
  kFile,  // an ordinary file
  kFolder,
  kPipe,   // a named pipe: opening it waits for somebody at its other end
  kDevice  // a device, a socket or what else is no file with an end
};

// The kind of what stands at a path, links followed.
FileKind KindOfFile(const char* path);

}  // namespace zatlib::platform
