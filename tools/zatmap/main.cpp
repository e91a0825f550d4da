// zatmap: builds calc map data and looks at it, from the command line.
#include <string>

#include "commands.h"
#include "interface/entry/version.h"

int main(int argc, char** argv) {
  const zatmap::Program program = {
      .name = "zatmap",
      .summary = "zatmap builds calc map data: a road network prepared for route calculation.",
      .version = zatlib::kVersionText,
      .commands = {zatmap::BuildCommand(), zatmap::CheckCommand(), zatmap::InfoCommand(),
                   zatmap::VerifyCommand(), zatmap::DumpCommand(), zatmap::RouteCommand(),
                   zatmap::ViewCommand(), zatmap::ExportCommand()}};
  return zatmap::RunProgram(program, argc, argv);
}
