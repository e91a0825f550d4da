#include "frd/progress.h"

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <string>

#include "environment.h"
#include "fault_each.h"
#include "frd/control.h"
#include "frd/files.h"
#include "frd/log.h"
#include "frd/memory.h"
#include "frd/record_file.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "refusals.h"
#include "test_support.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <csignal>
#endif

namespace zatlib {
namespace {

class ProgressTest : public test::LibraryTest {
 protected:
  ProgressTest() { g_silent = 0; }
  ~ProgressTest() override {
    g_silent = 1;
    FRD_SetCancelled(false);
  }
};

TEST_F(ProgressTest, FractionsAreRoundedToPercents) {
  EXPECT_EQ(FRD_ProgressPosition(0.0f), 0);
  EXPECT_EQ(FRD_ProgressPosition(1.0f), 100);
  EXPECT_EQ(FRD_ProgressPosition(0.5f), 50);
  EXPECT_EQ(FRD_ProgressPosition(0.3f), 30);
  EXPECT_EQ(FRD_ProgressPosition(0.8f), 80);
  // As a single-precision number 0.825 lies just below 0.825.
  EXPECT_EQ(FRD_ProgressPosition(0.825f), 82);
  EXPECT_EQ(FRD_ProgressPosition(0.85f), 85);
  EXPECT_EQ(FRD_ProgressPosition(0.9f), 90);
  EXPECT_EQ(FRD_ProgressPosition(0.95f), 95);
  EXPECT_EQ(FRD_ProgressPosition(0.005f), 0);
  EXPECT_EQ(FRD_ProgressPosition(0.0051f), 1);
  EXPECT_EQ(FRD_ProgressPosition(0.125f), 13);
  EXPECT_EQ(FRD_ProgressPosition(0.996f), 100);
}

TEST_F(ProgressTest, PositionsAreClamped) {
  EXPECT_EQ(FRD_ProgressPosition(-0.5f), 0);
  EXPECT_EQ(FRD_ProgressPosition(1.2f), 100);
}

TEST_F(ProgressTest, PositionsOfNonsenseAreClampedToo) {
  EXPECT_EQ(FRD_ProgressPosition(-1e30f), 0);
  EXPECT_EQ(FRD_ProgressPosition(1e30f), 100);
  EXPECT_EQ(FRD_ProgressPosition(std::numeric_limits<float>::quiet_NaN()), 0);
}

TEST_F(ProgressTest, WithoutAWindowOnlyTheCancelFlagCounts) {
  EXPECT_FALSE(FRD_IsDialogOpen());
  FRD_SetCancelled(false);
  EXPECT_EQ(FRD_SetProgress(0.5f), 1);
  FRD_SetCancelled(true);
  EXPECT_TRUE(FRD_IsCancelled());
  EXPECT_EQ(FRD_SetProgress(0.5f), 0);
  EXPECT_EQ(FRD_SetProgress(1.2f), 0);
  FRD_SetCancelled(false);
  EXPECT_FALSE(FRD_IsCancelled());
  EXPECT_EQ(FRD_SetProgress(1.2f), 1);
}

TEST_F(ProgressTest, PumpingSucceeds) { EXPECT_EQ(FRD_PumpMessages(), 1); }

TEST_F(ProgressTest, CheckpointsAreSilentInSilentMode) {
  FRD_SetCancelled(true);
  EXPECT_EQ(Checkpoint(0.5f), 0);
  g_silent = 1;
  EXPECT_EQ(Checkpoint(0.5f), 1);
}

#if defined(_WIN32)
// The progress window lives while a large file is written and read: the worker's messages are
// handled on the way, and none of them by a silent run.

constexpr uint64_t kLongFile = 130u << 20;

struct Transfer {
  std::string path;
  bool done = false;
  bool pending_after_write = true;
  bool pending_after_read = true;
};
Transfer g_transfer;

bool IsMessagePending() {
  MSG message;
  return ::PeekMessageA(&message, nullptr, WM_APP, WM_APP, PM_NOREMOVE) != 0;
}

int TransferLongFile(WindowHandle, int64_t, const char*) {
  PageArray<char> bytes;
  if (!bytes.Allocate(kLongFile)) return 0;
  ::PostThreadMessageA(::GetCurrentThreadId(), WM_APP, 0, 0);
  g_transfer.done =
      SaveBytes(g_transfer.path.c_str(), bytes.data(), kLongFile) == FileResult::kDone;
  g_transfer.pending_after_write = IsMessagePending();
  ::PostThreadMessageA(::GetCurrentThreadId(), WM_APP, 0, 0);
  platform::File file =
      platform::File::Open(g_transfer.path.c_str(), platform::Access::kRead, platform::Share::kRead,
                           platform::Disposition::kOpenExisting);
  g_transfer.done = ReadExactly(file, bytes.data(), kLongFile) && g_transfer.done;
  g_transfer.pending_after_read = IsMessagePending();
  return 7;
}

TEST_F(ProgressTest, TheWindowIsServedDuringLongTransfers) {
  g_transfer = {folder_ / "long.dat"};
  EXPECT_EQ(FRD_RunDialog(nullptr, TransferLongFile, 0, ""), 7);
  EXPECT_TRUE(g_transfer.done);
  EXPECT_FALSE(g_transfer.pending_after_write);
  EXPECT_FALSE(g_transfer.pending_after_read);
}

TEST_F(ProgressTest, ASilentRunServesNoWindow) {
  g_transfer = {folder_ / "long.dat"};
  g_silent = 1;
  EXPECT_EQ(FRD_RunDialog(nullptr, TransferLongFile, 0, ""), 7);
  EXPECT_TRUE(g_transfer.done);
  EXPECT_TRUE(g_transfer.pending_after_write);
  EXPECT_TRUE(g_transfer.pending_after_read);
}

int Succeed(WindowHandle, int64_t, const char*) { return 7; }

TEST_F(ProgressTest, AWindowTemplateThatTheSystemKeepsIsLogged) {
  const platform::DateTime date{1983, 1, 0, 4, 3, 4, 5, 6};
  platform::FixLocalTime(&date);
  char path[kPathSize] = {};
  ASSERT_EQ(FRD_GetUserLogPath(kServiceTag, path), 1);
  platform::RemoveFile(path);
  EXPECT_EQ(test::RunWithFault({platform::Operation::kFree},
                               [&] { return FRD_RunDialog(nullptr, Succeed, 0, ""); }),
            7);
  EXPECT_EQ(test::ReadBytes(path),
            "19830104 03:04:05.006 VirtualFree function fails in FRD_FreeMem !\r\n");
  platform::RemoveFile(path);
  platform::FixLocalTime(nullptr);
}
#else
// Without a window system the status line and the message boxes go to standard error, so that a
// run can be followed there.

struct Seen {
  int64_t argument = 0;
  std::string control_file;
  bool open = false;
  bool cancelled = true;
  int progress = -1;
  int status = -1;
};
Seen g_seen;

int Callback(WindowHandle, int64_t argument, const char* control_file) {
  g_seen.argument = argument;
  g_seen.control_file = control_file;
  g_seen.open = FRD_IsDialogOpen();
  g_seen.cancelled = FRD_IsCancelled();
  g_seen.status = BRN_SetStatus("Working...");
  g_seen.progress = FRD_SetProgress(0.5f);
  // No fractions: the bar stays.
  EXPECT_EQ(FRD_SetProgress(-0.5f), 1);
  EXPECT_EQ(FRD_SetProgress(1.5f), 1);
  return -7;
}

TEST_F(ProgressTest, ARunReturnsTheCallbacksResult) {
  g_seen = Seen();
  FRD_SetCancelled(true);  // left over from a run before
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, Callback, int64_t{1} << 40, "control.ini"), -7);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Initalizing...\nWorking...\n");
  EXPECT_EQ(g_seen.argument, int64_t{1} << 40);
  EXPECT_EQ(g_seen.control_file, "control.ini");
  EXPECT_TRUE(g_seen.open);
  EXPECT_FALSE(g_seen.cancelled);
  EXPECT_EQ(g_seen.status, 1);
  EXPECT_EQ(g_seen.progress, 1);
  EXPECT_FALSE(FRD_IsDialogOpen());
}

int Second(WindowHandle, int64_t, const char*) { return 1; }

TEST_F(ProgressTest, WithoutARunNothingIsShown) {
  ::testing::internal::CaptureStderr();
  platform::SetProgressText("Working...");
  platform::SetProgressPosition(50);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

int Repeat(WindowHandle, int64_t, const char*) {
  for (const char* text : {"Working...", "Working...", "Done"}) platform::SetProgressText(text);
  return 1;
}

TEST_F(ProgressTest, ATextThatStandsAlreadyIsNotShownAgain) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, Repeat, 0, ""), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Initalizing...\nWorking...\nDone\n");
}

// A shell that ran the program in the background has its reasons.
TEST_F(ProgressTest, AnIgnoredInterruptStaysIgnored) {
  void (*const before)(int) = std::signal(SIGINT, SIG_IGN);
  ::testing::internal::CaptureStderr();
  struct Raise {
    static int Run(WindowHandle, int64_t, const char*) {
      std::raise(SIGINT);
      return FRD_IsCancelled() ? 0 : 1;
    }
  };
  EXPECT_EQ(FRD_RunDialog(nullptr, Raise::Run, 0, ""), 1);
  ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(std::signal(SIGINT, before), SIG_IGN);
}

TEST_F(ProgressTest, AnOwnerIsTakenAsItIs) {
  int owner = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(&owner, Second, 0, ""), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Initalizing...\n");
}

int First(WindowHandle, int64_t, const char*) {
  return FRD_RunDialog(nullptr, Second, 0, "") == 0 ? 5 : 6;
}

TEST_F(ProgressTest, ASecondRunIsRefusedWhileOneIsOpen) {
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, First, 0, ""), 5);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\nFRD Message: FRD Window has already opened!\n");
  EXPECT_FALSE(FRD_IsDialogOpen());
}

TEST_F(ProgressTest, ARunThatGetsNoThreadTellsSo) {
  ::testing::internal::CaptureStderr();
  int result = -1;
  {
    const test::NoThreads none;
    result = FRD_RunDialog(nullptr, Second, 0, "");
  }
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\nFatal Error in FRD_Proc: Can't create FrdModalThreadProc thread !\n");
  EXPECT_EQ(result, 0);
  EXPECT_FALSE(FRD_IsDialogOpen());
}

// Asks for the interruption that stands for the Cancel button, and works on until it has come.
int Interrupted(WindowHandle, int64_t, const char*) {
  std::raise(SIGINT);
  while (FRD_SetProgress(0.5f) != 0) {
  }
  // A text set from here on would cover the cancel notice.
  g_seen.status = BRN_SetStatus("Working on...");
  g_seen.cancelled = FRD_IsCancelled();
  return 0;
}

std::string CancelNotice(const char* locale) {
  const test::Environment all("LC_ALL", locale);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, Interrupted, 0, ""), 0);
  return ::testing::internal::GetCapturedStderr();
}

TEST_F(ProgressTest, CancelStopsTheWorkAtItsNextTest) {
  g_seen = Seen();
  EXPECT_EQ(CancelNotice("en_US.UTF-8"), "Initalizing...\nCanceling ...\n");
  EXPECT_EQ(g_seen.status, 0);
  EXPECT_TRUE(g_seen.cancelled);
  // The flag stays until the next run clears it.
  EXPECT_TRUE(FRD_IsCancelled());
  EXPECT_EQ(FRD_SetProgress(0.5f), 0);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, Second, 0, ""), 1);
  ::testing::internal::GetCapturedStderr();
  EXPECT_FALSE(FRD_IsCancelled());
}

TEST_F(ProgressTest, TheCancelNoticeIsJapaneseInJapan) {
  EXPECT_EQ(CancelNotice("ja_JP.UTF-8"), "Initalizing...\nキャンセル処理中・・・\n");
}
#endif

}  // namespace
}  // namespace zatlib
