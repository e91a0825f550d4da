#include "platform/working_folder.h"

#include <unistd.h>

#include "platform/posix/native_path.h"

namespace zatlib::platform {

bool EnterFolder(const char* path) { return ::chdir(NativePath(path).c_str()) == 0; }

}  // namespace zatlib::platform
