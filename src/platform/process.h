// Ways out of the process.
#pragma once

namespace zatlib::platform {

// Ends the process at once, as the run-time library's range check does. Shows nothing.
[[noreturn]] void EndProcessOnRangeError();

// The handle of the module that holds the library: HINSTANCE on Windows, null elsewhere.
void* ModuleHandle();
void SetModuleHandle(void* module);

}  // namespace zatlib::platform
