// What the system tells of the terminal.
#pragma once

namespace zatmap {

// True when standard output is a terminal that understands the control sequences of colours.
bool OutputTakesColours();

}  // namespace zatmap
