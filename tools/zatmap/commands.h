// The subcommands of zatmap, and the exit status that they share.
#pragma once

#include <CLI/CLI.hpp>

namespace zatmap {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Adds `zatmap build`; when it is chosen, `*exit_status` receives the program's.
void AddBuildCommand(CLI::App& app, int* exit_status);

// The same for `zatmap check`, which looks at the data before a build.
void AddCheckCommand(CLI::App& app, int* exit_status);

// The same for the subcommands that look at a map.
void AddInfoCommand(CLI::App& app, int* exit_status);
void AddVerifyCommand(CLI::App& app, int* exit_status);
void AddDumpCommand(CLI::App& app, int* exit_status);
void AddRouteCommand(CLI::App& app, int* exit_status);
void AddViewCommand(CLI::App& app, int* exit_status);
void AddExportCommand(CLI::App& app, int* exit_status);

}  // namespace zatmap
