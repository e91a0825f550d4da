// The commands about commands.
#pragma once

#include "shell/command_line.h"

namespace zatmap {

// zatmap help and zatmap completion. `program` is the one that they become part of.
Command HelpCommand(const Program* program);
Command CompletionCommand(const Program* program);

}  // namespace zatmap
