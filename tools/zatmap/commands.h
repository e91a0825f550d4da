// The subcommands of zatmap.
#pragma once

#include "shell/command_line.h"

namespace zatmap {

// Each declares its options and what runs it.
Command InitCommand();
Command BuildCommand();
Command CheckCommand();
Command InfoCommand();
Command VerifyCommand();
Command DumpCommand();
Command RouteCommand();
Command ViewCommand();
Command ExportCommand();

}  // namespace zatmap
