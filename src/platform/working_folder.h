// The folder from which relative paths count.
#pragma once

namespace zatlib::platform {

// Makes a folder the current one of the whole process. False when that cannot be.
bool EnterFolder(const char* path);

}  // namespace zatlib::platform
