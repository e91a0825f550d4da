#include "shell/colours.h"

#include <cstdlib>

#include "platform/terminal.h"

namespace zatmap {

bool OutputHasColours() {
  static const bool colours = [] {
    const char* none = std::getenv("NO_COLOR");
    return (none == nullptr || *none == 0) && OutputTakesColours();
  }();
  return colours;
}

std::string Painted(const std::string& text, Severity severity, bool colours) {
  if (!colours) return text;
  return (severity == Severity::kError ? "\x1b[1;31m" : "\x1b[33m") + text + "\x1b[0m";
}

}  // namespace zatmap
