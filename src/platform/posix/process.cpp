#include "platform/process.h"

#include <cstdlib>

namespace zatlib::platform {

void EndProcessOnRangeError() { std::abort(); }

}  // namespace zatlib::platform
