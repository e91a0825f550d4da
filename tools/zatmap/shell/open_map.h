// Opening a map, with the messages that tell a person what to do when that fails.
#pragma once

#include <string>

#include "map/built_map.h"
#include "map/components.h"
#include "map/map_folder.h"

namespace zatmap {

using zatlib::map::BuiltMap;
using zatlib::map::Error;
using zatlib::map::Graph;
using zatlib::map::MapFolder;

// Looks at a folder, and takes the code page that the map's manifest tells unless --code-page was
// given. False, with a message on standard error, when it is no folder, holds no map, or one whose
// files were not all exchanged for new ones.
bool OpenMap(const std::string& path, MapFolder* folder);

// Loads what shows or uses a map, or its graph only. False, with a message on standard error, when
// something is missing or damaged.
bool LoadMap(const MapFolder& folder, BuiltMap* map);
bool LoadGraph(const MapFolder& folder, Graph* graph);

}  // namespace zatmap
