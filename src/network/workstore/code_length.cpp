#include "network/workstore/code_length.h"

#include "network/workstore/feature_code.h"

namespace zatlib {

Outcome TakeCodeLength(const Step& step, const char* title, int* code_length) {
  *code_length = BRN_GetCodeLength(step.control_file());
  if (IsValidCodeLength(*code_length)) return Outcome::kDone;
  return step.FailAs(title, "The CodeLength = %d is invalid !", *code_length);
}

}  // namespace zatlib
