// The names that a build makes in the folder of a map: those of the library, in one list, and those
// of zatmap itself.
#pragma once

#include <span>

namespace zatmap {

// What zatmap knows of a build, beside the map.
inline constexpr char kManifestFile[] = "zatmap.json";

// Lies in the folder of a map while its files are exchanged one by one: the map is mixed then.
inline constexpr char kExchangeFile[] = ".zatmap-exchange";

// Every file that the library makes or changes in the output folder, and the manifest: the files of
// the map, the work stores, the status file of the fare data. mapcalc.dat, without which nobody
// takes a folder for a map, comes first.
std::span<const char* const> MadeFiles();

// True when the name is one of them, as the system compares names.
bool IsMadeFile(const char* name);

}  // namespace zatmap
