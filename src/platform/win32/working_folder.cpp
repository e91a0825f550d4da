#include "platform/working_folder.h"

#include <windows.h>

namespace zatlib::platform {

bool EnterFolder(const char* path) { return ::SetCurrentDirectoryA(path) != 0; }

}  // namespace zatlib::platform
