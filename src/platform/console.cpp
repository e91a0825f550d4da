#include "platform/console.h"

namespace zatlib::platform {
namespace {

Console g_console;

}  // namespace

void SetConsole(const Console& console) { g_console = console; }
const Console& GetConsole() { return g_console; }

}  // namespace zatlib::platform
