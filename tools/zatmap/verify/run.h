// All checks of `zatmap verify` over a map, without printing.
#pragma once

#include <string>

#include "map/map_folder.h"
#include "verify/verifier.h"

namespace zatmap::verify {

// Runs the checks; `findings` and `totals` receive what they find and count.
void RunChecks(const MapFolder& map, Findings* findings, Totals* totals);

// Verifies the map in a folder, as a build does before the map takes its place. "" when it is
// whole; else what is wrong first: "mapcalc.dat:17: byte 1088: ... (3 errors)". Warnings do not
// count.
std::string FirstError(const std::string& folder);

// "file:record: byte offset", as far as there is one.
std::string PlaceText(const Findings& findings, const Place& place);

}  // namespace zatmap::verify
