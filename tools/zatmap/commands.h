// The subcommands of zatmap, one file each.
#pragma once

#include <CLI/CLI.hpp>

namespace zatmap {

inline constexpr int kExitDone = 0;
inline constexpr int kExitFailed = 1;
inline constexpr int kExitUsage = 2;

// Adds `zatmap build`; when it is chosen, `*exit_status` receives the program's.
void AddBuildCommand(CLI::App& app, int* exit_status);

}  // namespace zatmap
