// zatmap: builds calc map data and looks at it, from the command line.
#include <string>

#include "commands.h"
#include "interface/entry/version.h"

int main(int argc, char** argv) {
  CLI::App app{"zatmap builds calc map data: a road network prepared for route calculation."};
  app.name("zatmap");
  // "/data/out" is a path on Windows too.
  app.allow_windows_style_options(false);
  app.set_version_flag("--version", std::string("zatmap ") + zatlib::kVersionText);
  app.require_subcommand(1);
  app.footer(
      "Exit status: 0 done, 1 failed, cancelled or errors found, 2 wrong usage.\n"
      "Example: zatmap build control.ini\n"
      "Each subcommand has a --help with an example.");
  int exit_status = zatmap::kExitDone;
  zatmap::AddBuildCommand(app, &exit_status);
  zatmap::AddCheckCommand(app, &exit_status);
  zatmap::AddInfoCommand(app, &exit_status);
  zatmap::AddVerifyCommand(app, &exit_status);
  zatmap::AddDumpCommand(app, &exit_status);
  zatmap::AddRouteCommand(app, &exit_status);
  zatmap::AddViewCommand(app, &exit_status);
  zatmap::AddExportCommand(app, &exit_status);
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    // Help and version end here too, with status 0.
    return app.exit(error) == 0 ? zatmap::kExitDone : zatmap::kExitUsage;
  }
  return exit_status;
}
