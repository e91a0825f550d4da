#include "shape/shape_report.h"

#include <cstdarg>

#include "frd/log.h"
#include "platform/user_interface.h"

namespace zatlib {
namespace {

constexpr size_t kReportLimit = 1021;  // bytes of the log line

}  // namespace

Outcome ReportInPlainBox(const Step& step, const char* format, ...) {
  char message[kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(message, sizeof message, format, arguments);
  va_end(arguments);
  char title[kMessageSize];
  FRD_Format(title, sizeof title, "%s in %s", kFileError, step.name());
  // Not through BRN_ShowError: it makes every box without an owner task-modal.
  char line[kReportLimit + 1];
  FRD_Format(line, sizeof line, "[%s][%s]", message, title);
  FRD_LogTagged(kBuildTag, line, 1);
  if (g_silent == 0) {
    platform::ShowMessageBox(step.owner(), message, title, platform::kErrorIcon);
  }
  return Outcome::kFailed;
}

}  // namespace zatlib
