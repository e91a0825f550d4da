// Turn restrictions: the turns that rules and one-way links prohibit, as bits of the turn table.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Applies the rule storage ("trafrule.~wk") and the one-way storage ("onewayst.~wk") of the output
// folder to maprule.dat there: 8 bytes a node, byte = slot of the arrival, bit 0x80 >> slot of the
// departure, set = the turn is prohibited. Bits are only set, never cleared. At parallel links a
// later slot of a rule takes the place of an earlier one until both ends of the turn are known.
// Records that name codes, links or nodes which do not fit together are skipped. maprule.dat is
// rewritten only after both stores went through. Returns 1, or 0 after a cancel or after reporting
// which file could not be opened, read or written or found no memory ("File Error", "Memory
// Error").
int BRN_TRF_AddTrafficRules(WindowHandle owner, const char* control_file);

}  // namespace zatlib
