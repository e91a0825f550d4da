// The link shape step of the ZAT format.
#pragma once

#include "frd/progress.h"

namespace zatlib {

// Builds the shape files from the link MIF files ([LINK], when its MIF key is set) or else from the
// shape text files of [LINKSHAPE]. `band_start` and `band_width` are the step's part of the
// progress bar (fractions of the whole). Returns 1, also when there is no source file; 0 on a
// failure, which has been reported (a code length other than 14 and 18 has not), or on cancel. The
// owner is not used: the errors' boxes are task-modal.
int BRN_CreateShape(WindowHandle owner, float band_start, float band_width,
                    const char* control_file);

}  // namespace zatlib
