// zatmap: builds calc map data and looks at it, from the command line.
#include "commands.h"
#include "interface/entry/version.h"
#include "shell/help_command.h"

int main(int argc, char** argv) {
  zatmap::Program program = {
      .name = "zatmap",
      .summary = "zatmap builds calc map data: a road network prepared for route calculation.",
      .version = zatlib::kVersionText,
      .variables = {{"ZATLIB_CODEPAGE",
                     "Code page of names where neither --code-page nor the map tells it; 932 "
                     "without it"},
                    {"NO_COLOR", "Anything but an empty text: no colours on a terminal"},
                    {"XDG_DATA_HOME", "Where the log of builds lies; ~/.local/share without it"}},
      .commands = {zatmap::InitCommand(), zatmap::BuildCommand(), zatmap::CheckCommand(),
                   zatmap::InfoCommand(), zatmap::VerifyCommand(), zatmap::DumpCommand(),
                   zatmap::RouteCommand(), zatmap::ViewCommand(), zatmap::ExportCommand()}};
  program.commands.push_back(zatmap::CompletionCommand(&program));
  program.commands.push_back(zatmap::HelpCommand(&program));
  return zatmap::RunProgram(program, argc, argv);
}
