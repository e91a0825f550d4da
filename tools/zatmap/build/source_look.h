// A look at the files that a build would read, before it reads them.
#pragma once

#include <string>
#include <vector>

#include "build/sources.h"

namespace zatmap {

// What is wrong with the control file itself: it is no ordinary file, or cannot be read. Empty when
// nothing is. `path` is a full path.
std::string LookAtControl(const std::string& path);

// What makes the build pointless or endless: sources and fare data that are no ordinary files (a
// folder, a named pipe, a device), since the library would wait for their end or take them for
// missing, and sources that lie beside the control file and not in the current folder, from which
// their paths count. `control` is the file as the user wrote it. A line each; none when all is
// well. No source is opened.
std::vector<std::string> LookAtSources(const BuildRequest& request, const std::string& control);

}  // namespace zatmap
