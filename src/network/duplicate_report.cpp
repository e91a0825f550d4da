#include "network/duplicate_report.h"

namespace zatlib {

bool ShowDuplicate(const Step& step, const char* format, const CodeText& code, const char* title) {
  char message[kMessageSize];
  FRD_Format(message, sizeof message, format, code.c_str());
  return BRN_ShowError(step.owner(), message, title,
                       platform::kOkCancelBox | platform::kErrorIcon) != platform::kAnswerCancel;
}

}  // namespace zatlib
