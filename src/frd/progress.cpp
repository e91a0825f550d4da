#include "frd/progress.h"

#include <atomic>

#include "frd/cp932.h"
#include "frd/memory.h"
#include "platform/float_mode.h"
#include "platform/profile.h"

namespace zatlib {

int g_silent = 0;

namespace {

// Written by the window's thread, read by the worker.
std::atomic<bool> g_dialog_open{false};
std::atomic<bool> g_cancelled{false};
float g_fraction = 0.0f;

constexpr int kJapan = 81;  // country code

bool InJapan() { return platform::CountryCode() == kJapan; }

}  // namespace

int FRD_RunDialog(WindowHandle owner, FrdCallback callback, int64_t argument,
                  const char* control_file) {
  if (owner == nullptr) owner = platform::ActiveWindow();
  if (g_dialog_open) {
    platform::ShowMessageBox(owner, "FRD Window has already opened!", "FRD Message",
                             platform::kErrorIcon);
    return 0;
  }
  g_cancelled = false;
  platform::ProgressRun run;
  run.owner = owner;
  run.title = kCp932<u8"計算用道路ネットワークデータ作成">;
  run.first_status = "Initalizing...";
  run.cancel_button = InJapan() ? kCp932<u8"キャンセル">.c_str() : "&Cancel";
  run.worker = [=](WindowHandle window) {
    const platform::StandardFloatMode mode;
    return callback(window, argument, control_file);
  };
  run.on_open = [] {
    g_cancelled = false;
    g_dialog_open = true;
  };
  run.on_cancel = [] {
    g_cancelled = true;
    platform::SetProgressText(InJapan() ? kCp932<u8"キャンセル処理中・・・">.c_str()
                                        : "Canceling ...");
  };
  run.on_close = [] { g_dialog_open = false; };
  run.free_pages = FRD_FreeMem;
  return platform::RunProgressWindow(run);
}

int FRD_ProgressPosition(float fraction) {
  const double position = fraction * 100.0 + 0.5;
  // Clamped before it is cut: a number that no int holds has no defined conversion.
  return position >= 100.0 ? 100 : position > 0.0 ? static_cast<int>(position) : 0;
}

int FRD_SetProgress(float fraction) {
  if (g_dialog_open) {
    if (fraction >= 0.0f && fraction <= 1.0f) {
      g_fraction = fraction;
      platform::SetProgressPosition(FRD_ProgressPosition(fraction));
    }
    FRD_PumpMessages();
    platform::SetWaitCursor();
  }
  return g_cancelled ? 0 : 1;
}

int FRD_PumpMessages() {
  platform::PumpMessages();
  return 1;
}

bool FRD_IsDialogOpen() { return g_dialog_open; }

bool FRD_IsCancelled() { return g_cancelled; }

void FRD_SetCancelled(bool cancelled) { g_cancelled = cancelled; }

}  // namespace zatlib
