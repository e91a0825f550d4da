#include "shape/shape_report.h"

#include <cstdarg>

#include "frd/control.h"
#include "frd/log.h"
#include "platform/user_interface.h"

namespace zatlib {
namespace {

constexpr size_t kReportLimit = 1021;  // bytes of the log line

}  // namespace

int ReportShapeError(WindowHandle owner, ShapeBox box, const char* title, const char* format, ...) {
  char message[kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(message, sizeof message, format, arguments);
  va_end(arguments);
  if (box == ShapeBox::kTaskModal) {
    BRN_ShowError(owner, message, title, platform::kErrorIcon | platform::kTaskModal);
    return 0;
  }
  // Not through BRN_ShowError: it makes every box without an owner task-modal.
  char line[kReportLimit + 1];
  FRD_Format(line, sizeof line, "[%s][%s]", message, title);
  FRD_LogTagged(kBuildTag, line, 1);
  if (g_silent == 0) platform::ShowMessageBox(owner, message, title, platform::kErrorIcon);
  return 0;
}

}  // namespace zatlib
