// Links that the turn table has closed at one end, recorded as one-way links.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Looks for links that no arrival at one of their ends may enter, by the bits of maprule.dat, and
// closes that direction: the speed of that end in linknode.idx becomes 0, and the cost of the
// node's connection in mapcalc.dat kClosedCost. All files lie in `folder`. Returns 1, or 0 after a
// cancel (nothing is written then) or after reporting which file could not be opened, read or
// written or found no memory ("File Error", "Memory Error"). linknode.idx is written first; when
// that fails mapcalc.dat stays as it was.
int BRN_TRF_AddOneWayLinks(WindowHandle owner, const char* folder);

}  // namespace zatlib
