#include "frd/step.h"

#include "frd/log.h"

namespace zatlib {

Step::Step(WindowHandle owner, const char* control_file, const char* name)
    : owner_(owner), control_file_(control_file), name_(name) {
  BRN_GetCalcMapDir(control_file, folder_.text);
}

Step Step::InFolder(WindowHandle owner, const char* folder, const char* name) {
  Step step(owner, name);
  FRD_CopyText(step.folder_.text, kPathSize, folder);
  return step;
}

Step::Title Step::Titled(const char* kind) const {
  Title title;
  FRD_Format(title.text, sizeof title.text, "%s in %s", kind, name_);
  return title;
}

Outcome Step::Report(const char* title, unsigned flags, const char* format, ...) const {
  char message[kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(message, sizeof message, format, arguments);
  va_end(arguments);
  BRN_ShowError(owner_, message, title, flags);
  return Outcome::kFailed;
}

void LogFormatted(const char* format, ...) {
  char message[kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(message, sizeof message, format, arguments);
  va_end(arguments);
  FRD_LogTagged(kBuildTag, message, 1);
}

}  // namespace zatlib
