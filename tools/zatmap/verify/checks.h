// The checks of `zatmap verify`: whether the files of a map fit together.
#pragma once

#include <cstdint>

#include "map/map_files.h"
#include "verify/findings.h"

namespace zatmap::verify {

// What the checks count besides findings.
struct VerifyTotals {
  int64_t shapes = 0;
  int64_t points = 0;
  int64_t links_without_shape = 0;  // links between partner nodes do not count
  int64_t shapes_without_link = 0;
  int64_t unconnected_ends = 0;  // ends of links that their node does not list
  int64_t closed_unmarked = 0;   // connections that no turn leads into and that are not closed
  int64_t closed_marked = 0;     // those that are
  bool weights_checked = false;  // rtweight.dat was computed anew and compared
};

// Runs every check. Reads files of the map only; memory: the link tables and, one after the other,
// the node tables and the shapes (docs/zatmap.md has the numbers).
void VerifyMap(const MapFolder& map, MapFindings* findings, VerifyTotals* totals);

}  // namespace zatmap::verify
