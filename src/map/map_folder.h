// The folder of a map, with what every reader asks first.
#pragma once

#include <cstdint>
#include <string>

#include "map/map_error.h"

namespace zatlib::map {

struct MapFolder {
  std::string path;      // full
  int code_length = 14;  // of linkdef.dat; 14 when that is missing
  int64_t nodes = 0;     // records of mapcalc.dat
  int64_t links = 0;     // records of linknode.idx
};

// Looks at a folder and fills in what it holds. An error when it is no folder, holds no map, or has
// too long a path.
Error OpenMapFolder(const std::string& path, MapFolder* folder);

// The path of a file of the map.
std::string PathOf(const MapFolder& folder, const char* name);

// True when a file of the map can be opened.
bool HasFile(const MapFolder& folder, const char* name);

// A control file path that makes the library's own readers take the road definition of the map:
// without [FOLDER] CALCMAPDIR a control file's own folder is the output folder.
std::string RoadDefinitionPath(const std::string& folder);

// Whole records of `size` bytes in a file; 0 when it is missing.
int64_t CountRecords(const MapFolder& folder, const char* name, size_t size);

}  // namespace zatlib::map
