#include "network/workstore/code_length.h"

#include "network/workstore/feature_code.h"

namespace zatlib {
namespace {

constexpr MessageText<int> kInvalid = "The CodeLength = %d is invalid !";

}  // namespace

Outcome TakeCodeLength(const Step& step, const char* title, int* code_length) {
  *code_length = BRN_GetCodeLength(step.control_file());
  if (IsValidCodeLength(*code_length)) return Outcome::kDone;
  return step.FailAs(title, kInvalid, *code_length);
}

Outcome TakeCodeLengthModal(const Step& step, int* code_length) {
  *code_length = BRN_GetCodeLength(step.control_file());
  if (IsValidCodeLength(*code_length)) return Outcome::kDone;
  return step.FailModal(kLogicError, kInvalid, *code_length);
}

}  // namespace zatlib
