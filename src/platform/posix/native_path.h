// Paths as the kernel wants them.
#pragma once

#include <string>

namespace zatlib::platform {

// The path with '/' for every '\' that is a separator, so that control files written on Windows
// work as they are. A '\' byte that ends a double-byte character is left alone.
std::string WithSlashes(const char* path);

// The same of the place where the file lies (platform/redirect.h).
std::string NativePath(const char* path);

// True when the text is well-formed UTF-8 with at least one byte above 0x7F.
bool IsUtf8(const std::string& text);

}  // namespace zatlib::platform
