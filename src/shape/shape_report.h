// The error report that only shapes have.
#pragma once

#include "frd/step.h"

namespace zatlib {

// Reports a text that has met its values' types under "File Error in <step>" in a box that leaves
// the host's windows usable, owner or not; Step's own boxes without an owner are task-modal, as
// nearly all of shapes are. kFailed.
Outcome ReportInPlainBox(const Step& step, const char* format, ...);

template <typename... Values>
Outcome FailInPlainBox(const Step& step, MessageText<std::type_identity_t<Values>...> text,
                       Values... values) {
  return ReportInPlainBox(step, text.c_str(), values...);
}

}  // namespace zatlib
