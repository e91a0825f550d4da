// Colours on a terminal.
#pragma once

#include <string>

#include "shell/findings.h"

namespace zatmap {

// True when standard output is a terminal that shows colours and the user wants them: no NO_COLOR
// in the environment, or an empty one. Never true for files and pipes.
bool OutputHasColours();

// The text in the colour of a severity when there are colours, else as it is.
std::string Painted(const std::string& text, Severity severity, bool colours);

}  // namespace zatmap
