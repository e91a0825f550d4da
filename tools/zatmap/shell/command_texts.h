// What is made from the declarations of the commands: help, man pages, completions of shells.
#pragma once

#include <string>

#include "shell/command_line.h"

namespace zatmap {

// The help of a command, and that of the program.
std::string HelpText(const Program& program, const Command& command);
std::string HelpText(const Program& program);

// The arguments and options behind the name of a command: "[OPTIONS] DIR".
std::string SynopsisOf(const Command& command);

// Their man pages, in the language of man(7).
std::string ManPage(const Program& program, const Command& command);
std::string ManPage(const Program& program);

// What a shell reads to complete the command line.
std::string BashCompletion(const Program& program);
std::string ZshCompletion(const Program& program);
std::string FishCompletion(const Program& program);

}  // namespace zatmap
