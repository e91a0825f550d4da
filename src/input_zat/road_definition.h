// The road definition file linkdef.dat: how the codes in the link attributes are to be read.
#pragma once

#include "frd/line_source.h"
#include "frd/progress.h"

namespace zatlib {

// Whether a step shows and logs its title and tests for cancel before it begins.
enum class Prologue { kWith, kWithout };

// Writes linkdef.dat into the output folder: two comment lines, [ATTRIBUTE], [WIDTH], [TOLLROAD],
// [ROADFLAG] and [SYSTEM] CODELENGTH, from the control file or the built-in lists. Returns 1, or 0
// on cancel before it begins or when a class file cannot be opened or read (reported). Once begun
// the file is written whole. A linkdef.dat that cannot be created is reported only. The window is
// not used: the boxes of both functions have no owner.
int BRN_CreateRoadDef(WindowHandle, const char* control_file, Prologue prologue);

// Copies the Charset and CoordSys lines of a MIF header to [INFORMATION] of linkdef.dat and leaves
// the file behind its data line. Returns 1, or 0 when there is no such line (reported).
int BRN_SetMifInformation(LineSource& mif, const char* control_file);

}  // namespace zatlib
