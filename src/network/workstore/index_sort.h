// The sorts behind every lookup by code: in place, ascending by the code read as a double, with a
// look at the result.
#pragma once

#include <cstdint>

#include "frd/progress.h"
#include "network/network_files.h"
#include "network/workstore/feature_code.h"

namespace zatlib {

// Sorts a list of codes (8 bytes each). Shows "Sorting The Index". Returns 1, or 0 when the user
// cancelled (the codes are then in no order). A pair found out of order is reported and otherwise
// ignored.
int BRN_SortIndex(WindowHandle owner, int64_t count, FeatureCode* codes);

// The same over index records (16 bytes each). Shows "Sorting The Common Index".
int BRN_SortCommonIndex(int64_t count, CodeIndexRecord* records);

}  // namespace zatlib
