// The code length, as a step takes it.
#pragma once

#include "frd/step.h"

namespace zatlib {

// BRN_GetCodeLength (network/workstore/feature_code.h) into `*code_length`; an invalid one is
// reported under `title` ("The CodeLength = %d is invalid !"): kFailed.
Outcome TakeCodeLength(const Step& step, const char* title, int* code_length);

// The same as the steps of stage one report it: task-modal, as a Logic Error of the step.
Outcome TakeCodeLengthModal(const Step& step, int* code_length);

}  // namespace zatlib
