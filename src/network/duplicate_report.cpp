#include "network/duplicate_report.h"

namespace zatlib {

bool ShowDuplicate(const Step& step, MessageText<const char*> text, const CodeText& code,
                   const char* title) {
  char message[kMessageSize];
  FormatText(message, sizeof message, text, code.c_str());
  return BRN_ShowError(step.owner(), message, title,
                       platform::kOkCancelBox | platform::kErrorIcon) != platform::kAnswerCancel;
}

}  // namespace zatlib
