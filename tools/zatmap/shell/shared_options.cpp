// The arguments and options that several commands have.
#include "shell/command_line.h"

namespace zatmap {

Argument MapArgument(std::string* folder) {
  return {
      .name = "DIR", .help = "Folder of the map", .value = folder, .completes = Completes::kFolder};
}

Argument ControlFileArgument(std::string* file) {
  return {.name = "CONTROL.INI",
          .help = "Control file (INI)",
          .value = file,
          .completes = Completes::kFile};
}

Option JsonOption(bool* json, const std::string& help) {
  return {.names = "--json", .help = help, .value = json};
}

Option StrictOption(bool* strict) {
  return {.names = "--strict", .help = "Exit with 1 for warnings too", .value = strict};
}

Option MsrOption(bool* msr) {
  return {.names = "--msr",
          .help = "The data are in the MSR layout, whatever [SYSTEM] FORMAT says",
          .value = msr};
}

Option OutputOption(std::string* file, const std::string& help) {
  return {.names = "-o,--output",
          .help = help,
          .value = file,
          .type = "FILE",
          .completes = Completes::kFile};
}

Option BoundsOption(std::string* bounds) {
  return {.names = "--bbox",
          .help = "Only what lies in this rectangle, in degrees",
          .value = bounds,
          .type = "WEST,SOUTH,EAST,NORTH"};
}

}  // namespace zatmap
