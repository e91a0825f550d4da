#include "frd/control.h"

#include <cstring>

#include "frd/log.h"
#include "platform/file.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr size_t kReportLimit = 1021;  // bytes of an error report's log line

}  // namespace

void BRN_GetCalcMapDir(const char* control_file, char* folder_out) {
  char folder[kPathSize] = {};
  platform::ReadProfileString("FOLDER", "CALCMAPDIR", "", folder, sizeof folder, control_file);
  if (std::strlen(folder) < 2) {
    folder[0] = 0;
    if (control_file != nullptr) {
      FRD_SplitPath(control_file, folder, nullptr);
      // What stands in front of the root folder's separator is empty, as without any folder.
      if (folder[0] == 0 && platform::IsSeparator(control_file[0])) folder[0] = control_file[0];
    }
  }
  FRD_CopyText(folder_out, kPathSize, folder);
}

PathText PathIn(const char* folder, const char* name) {
  PathText path;
  FRD_JoinPath(path.text, folder[0] == 0 ? "." : folder, name);
  return path;
}

PathText OutputPath(const char* control_file, const char* name) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  return PathIn(folder, name);
}

int ControlInt(const char* control_file, const char* section, const char* key, int default_value) {
  return platform::ReadProfileInt(section, key, default_value, control_file);
}

PathText ControlPath(const char* control_file, const char* section, const char* key) {
  PathText path;
  platform::ReadProfileString(section, key, "", path.text, kPathSize, control_file);
  return path;
}

PathText ControlFile(const char* control_file, const char* section, int number) {
  char key[32];
  FRD_Format(key, sizeof key, "FILE%02d", number);
  return ControlPath(control_file, section, key);
}

bool WantsSummary(const char* control_file) {
  return ControlInt(control_file, "SYSTEM", "LOG", 0) != 0;
}

int BRN_ShowError(WindowHandle owner, const char* message, const char* title, unsigned flags) {
  char line[kReportLimit + 1];
  FRD_Format(line, sizeof line, "[%s][%s]", message, title);
  FRD_LogTagged(kBuildTag, line, 1);
  if (g_silent != 0) return 1;
  if (owner == nullptr || !platform::IsLiveWindow(owner)) {
    // The system refuses to show the box of a window that is gone.
    owner = nullptr;
    flags |= platform::kTaskModal;
  }
  return platform::ShowMessageBox(owner, message, title, flags);
}

int ReportError(WindowHandle owner, const char* title, const char* format, ...) {
  char message[kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(message, sizeof message, format, arguments);
  va_end(arguments);
  return BRN_ShowError(owner, message, title, platform::kErrorIcon);
}

int BRN_SetStatus(const char* text) {
  if (g_silent != 0) return 1;
  if (FRD_IsDialogOpen()) {
    if (!FRD_IsCancelled() && text != nullptr) platform::SetProgressText(text);
    FRD_PumpMessages();
    platform::SetWaitCursor();
  }
  return FRD_IsCancelled() ? 0 : 1;
}

int SetStatusNumber(MessageText<int> text, int64_t number) {
  if (g_silent != 0) return 1;
  if (!FRD_IsDialogOpen()) return BRN_SetStatus(nullptr);
  char shown[256];
  FormatText(shown, sizeof shown, text, ShownAs<int>(number));
  return BRN_SetStatus(shown);
}

int BRN_BeginStep(const char* title) {
  if (BRN_SetStatus(title) == 0) return 0;
  FRD_LogTagged(kBuildTag, title, 1);
  return 1;
}

int Checkpoint(float fraction) { return g_silent != 0 ? 1 : FRD_SetProgress(fraction); }

}  // namespace zatlib
