#include "frd/control.h"

#include <string>
#include <vector>

#include "frd/log.h"
#include "platform/clock.h"
#include "platform/code_page.h"
#include "platform/file.h"
#include "test_support.h"

namespace zatlib {
namespace {

using Lines = std::vector<std::string>;

std::string Sep() { return std::string(1, platform::NativeSeparator()); }

std::string CalcMapDir(const std::string& control_file) {
  char folder[kPathSize];
  std::memset(folder, 'z', sizeof folder);
  BRN_GetCalcMapDir(control_file.c_str(), folder);
  return folder;
}

class ControlTest : public test::LibraryTest {
 protected:
  ~ControlTest() override {
    g_silent = 1;
    FRD_SetCancelled(false);
    platform::FixLocalTime(nullptr);
  }
};

// ---- Output folder -------------------------------------------------------------------------

TEST_F(ControlTest, TheOutputFolderStandsAsItIs) {
  EXPECT_EQ(CalcMapDir(WriteControl("[FOLDER]\r\nCALCMAPDIR=C:\\map\r\n")), "C:\\map");
  EXPECT_EQ(CalcMapDir(WriteControl("[FOLDER]\r\nCALCMAPDIR=C:\\map\\\r\n")), "C:\\map\\");
  EXPECT_EQ(CalcMapDir(WriteControl("[FOLDER]\r\nCALCMAPDIR=ab\r\n")), "ab");
  EXPECT_EQ(CalcMapDir(WriteControl("[folder]\r\ncalcmapdir = ab \r\n")), "ab");
}

TEST_F(ControlTest, AFolderOfOneCharacterIsIgnored) {
  EXPECT_EQ(CalcMapDir(WriteControl("[FOLDER]\r\nCALCMAPDIR=C\r\n")), folder_.path());
}

TEST_F(ControlTest, WithoutAnOutputFolderTheControlFilesIsTaken) {
  EXPECT_EQ(CalcMapDir(WriteControl("[FOLDER]\r\nCALCMAPDIR=\r\n")), folder_.path());
  EXPECT_EQ(CalcMapDir(WriteControl("[SYSTEM]\r\nLOG=1\r\n")), folder_.path());
  EXPECT_EQ(CalcMapDir(folder_ / "missing.ini"), folder_.path());
}

TEST_F(ControlTest, AControlFileWithoutAFolderGivesTheCurrentFolder) {
  EXPECT_EQ(CalcMapDir("no such control file.ini"), "");
  EXPECT_EQ(OutputPath("no such control file.ini", "node.idx").c_str(), "." + Sep() + "node.idx");
}

TEST_F(ControlTest, AControlFileInTheRootFolderGivesTheRootFolder) {
#if defined(_WIN32)
  EXPECT_STREQ(OutputPath("\\no such control file.ini", "node.idx").c_str(), "\\node.idx");
  EXPECT_STREQ(OutputPath("C:\\no such control file.ini", "node.idx").c_str(), "C:\\node.idx");
#else
  EXPECT_STREQ(OutputPath("/no such control file.ini", "node.idx").c_str(), "/node.idx");
  EXPECT_STREQ(OutputPath("\\no such control file.ini", "node.idx").c_str(), "\\node.idx");
#endif
  const std::string folder = CalcMapDir(Sep() + "no such control file.ini");
  EXPECT_EQ(PathIn(folder.c_str(), "node.idx").c_str(), Sep() + "node.idx");
}

TEST_F(ControlTest, TheOutputFolderHasAtMost259Bytes) {
  const std::string control =
      WriteControl("[FOLDER]\r\nCALCMAPDIR=" + std::string(300, 'f') + "\r\n");
  EXPECT_EQ(CalcMapDir(control), std::string(259, 'f'));
}

TEST_F(ControlTest, TheControlFileMayChangeBetweenCalls) {
  const std::string control = WriteControl("[FOLDER]\r\nCALCMAPDIR=first\r\n");
  EXPECT_EQ(CalcMapDir(control), "first");
  WriteControl("[FOLDER]\r\nCALCMAPDIR=second\r\n");
  EXPECT_EQ(CalcMapDir(control), "second");
}

TEST_F(ControlTest, OutputPathsHaveOneSeparator) {
  const std::string control = WriteControl("[FOLDER]\r\nCALCMAPDIR=C:\\map\\\r\n");
  EXPECT_STREQ(OutputPath(control.c_str(), "node.idx").c_str(), "C:\\map\\node.idx");
  EXPECT_EQ(PathIn("map", "node.idx").c_str(), "map" + Sep() + "node.idx");
  EXPECT_EQ(PathIn("", "node.idx").c_str(), "." + Sep() + "node.idx");
}

TEST_F(ControlTest, AnOutputFolderThatEndsInABackslashInsideACharacter) {
  if (platform::CodePage() != 932) GTEST_SKIP() << "needs code page 932";
  const std::string control = WriteControl("[FOLDER]\r\nCALCMAPDIR=C:\\\x95\x5C\r\n");
  EXPECT_EQ(OutputPath(control.c_str(), "node.idx").c_str(), "C:\\\x95\x5C" + Sep() + "node.idx");
}

// ---- Values --------------------------------------------------------------------------------

TEST_F(ControlTest, IntegerValues) {
  const std::string control =
      WriteControl("[SYSTEM]\r\nA=12\r\nB=7x\r\nC=-3\r\nD=x\r\n[TUKOUJ]\r\nNOTADDONEWAY=1\r\n");
  EXPECT_EQ(ControlInt(control.c_str(), "SYSTEM", "A", 5), 12);
  EXPECT_EQ(ControlInt(control.c_str(), "system", "a", 5), 12);
  EXPECT_EQ(ControlInt(control.c_str(), "SYSTEM", "B", 5), 7);
  EXPECT_EQ(ControlInt(control.c_str(), "SYSTEM", "C", 5), -3);
  EXPECT_EQ(ControlInt(control.c_str(), "SYSTEM", "D", 5), 0);
  EXPECT_EQ(ControlInt(control.c_str(), "SYSTEM", "E", 5), 5);
  EXPECT_EQ(ControlInt(control.c_str(), "OTHER", "A", 5), 5);
  EXPECT_EQ(ControlInt(control.c_str(), "TUKOUJ", "NOTADDONEWAY", 0), 1);
  EXPECT_EQ(ControlInt((folder_ / "missing.ini").c_str(), "SYSTEM", "A", 5), 5);
}

TEST_F(ControlTest, FilesOfASection) {
  const std::string control = WriteControl(
      "[NODE]\r\nFILENUM=2\r\nFILE01=a.txt\r\nFILE12=" + std::string(300, 'b') + "\r\n");
  EXPECT_STREQ(ControlFile(control.c_str(), "NODE", 1).c_str(), "a.txt");
  EXPECT_STREQ(ControlFile(control.c_str(), "NODE", 2).c_str(), "");
  EXPECT_EQ(ControlFile(control.c_str(), "NODE", 12).c_str(), std::string(259, 'b'));
  EXPECT_STREQ(ControlPath(control.c_str(), "NODE", "FILE01").c_str(), "a.txt");
}

TEST_F(ControlTest, SummariesAreWantedWithLog) {
  EXPECT_TRUE(WantsSummary(WriteControl("[SYSTEM]\r\nLOG=1\r\n").c_str()));
  EXPECT_TRUE(WantsSummary(WriteControl("[SYSTEM]\r\nLOG=-2\r\n").c_str()));
  EXPECT_FALSE(WantsSummary(WriteControl("[SYSTEM]\r\nLOG=0\r\n").c_str()));
  EXPECT_FALSE(WantsSummary(WriteControl("[SYSTEM]\r\n").c_str()));
  EXPECT_FALSE(WantsSummary((folder_ / "missing.ini").c_str()));
}

// ---- Error report --------------------------------------------------------------------------

TEST_F(ControlTest, ErrorsAreLoggedAsMessageAndTitle) {
  EXPECT_EQ(BRN_ShowError(nullptr, "Can't open it !", "File Error in BRN_Something", 16), 1);
  EXPECT_EQ(log(), (Lines{"[Can't open it !][File Error in BRN_Something]"}));
}

TEST_F(ControlTest, ErrorLinesAreStamped) {
  const platform::DateTime now{1986, 2, 0, 3, 4, 5, 6, 7};
  platform::FixLocalTime(&now);
  char path[kPathSize] = {};
  ASSERT_EQ(FRD_GetUserLogPath(kBuildTag, path), 1);
  platform::RemoveFile(path);
  BRN_ShowError(nullptr, "M", "T", 16);
  EXPECT_EQ(test::ReadBytes(path), "19860203 04:05:06.007 [M][T]\r\n");
  platform::RemoveFile(path);
}

TEST_F(ControlTest, ErrorLinesHaveAtMost1021Bytes) {
  BRN_ShowError(nullptr, std::string(2000, 'm').c_str(), "Title", 16);
  // "[" + 1,013 + "][Title]" = 1,022 bytes: the closing bracket falls off.
  BRN_ShowError(nullptr, std::string(1013, 'm').c_str(), "Title", 16);
  BRN_ShowError(nullptr, std::string(1012, 'm').c_str(), "Title", 16);
  EXPECT_EQ(log(), (Lines{"[" + std::string(1020, 'm'), "[" + std::string(1013, 'm') + "][Title",
                          "[" + std::string(1012, 'm') + "][Title]"}));
  EXPECT_EQ(log()[0].size(), 1021u);
  EXPECT_EQ(log()[1].size(), 1021u);
  EXPECT_EQ(log()[2].size(), 1021u);
}

TEST_F(ControlTest, ReportsAreFormattedAndBounded) {
  EXPECT_EQ(ReportError(nullptr, "T", "Can't open %s (%d) !", "a.txt", 7), 1);
  ReportError(nullptr, "T", "%s", std::string(3000, 'm').c_str());
  EXPECT_EQ(log(), (Lines{"[Can't open a.txt (7) !][T]", "[" + std::string(1020, 'm')}));
}

TEST_F(ControlTest, EveryReportIsLoggedAlsoAfterACancel) {
  FRD_SetCancelled(true);
  BRN_ShowError(nullptr, "First", "Title", 16);
  BRN_ShowError(nullptr, "Second", "Title", 16);
  EXPECT_EQ(log(), (Lines{"[First][Title]", "[Second][Title]"}));
}

#if !defined(_WIN32)
TEST_F(ControlTest, ErrorsAreShownAlsoAfterACancel) {
  g_silent = 0;
  FRD_SetCancelled(true);
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(BRN_ShowError(nullptr, "First", "Title", 16), 1);
  EXPECT_EQ(BRN_ShowError(nullptr, "Second", "Title", 16), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Title: First\nTitle: Second\n");
  EXPECT_EQ(log(), (Lines{"[First][Title]", "[Second][Title]"}));
}

TEST_F(ControlTest, ErrorsAreShownUnlessSilent) {
  ::testing::internal::CaptureStderr();
  BRN_ShowError(nullptr, "Message", "Title", 16);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(BRN_ShowError(nullptr, "Message", "Title", 16), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Title: Message\n");
  EXPECT_EQ(log(), (Lines{"[Message][Title]", "[Message][Title]"}));
}
#endif

// ---- Status --------------------------------------------------------------------------------

#ifndef _WIN32
TEST_F(ControlTest, ErrorsAreShownWithoutTheWindowOfAnOwnerThatIsGone) {
  int gone = 0;
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(BRN_ShowError(&gone, "message", "title", platform::kErrorIcon), platform::kAnswerOk);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "title: message\n");
}
#endif

TEST_F(ControlTest, StatusGoesOnInSilentModeWhateverTheFlag) {
  FRD_SetCancelled(true);
  EXPECT_EQ(BRN_SetStatus("text"), 1);
  EXPECT_EQ(BRN_SetStatus(nullptr), 1);
  EXPECT_EQ(SetStatusNumber("%d", 5), 1);
  EXPECT_EQ(BRN_BeginStep("Step..."), 1);
  EXPECT_EQ(log(), (Lines{"Step..."}));
}

TEST_F(ControlTest, StatusTellsTheCancelFlag) {
  g_silent = 0;
  FRD_SetCancelled(false);
  EXPECT_EQ(BRN_SetStatus("text"), 1);
  EXPECT_EQ(BRN_SetStatus(nullptr), 1);
  EXPECT_EQ(SetStatusNumber("%d", 5), 1);
  FRD_SetCancelled(true);
  EXPECT_EQ(BRN_SetStatus("text"), 0);
  EXPECT_EQ(BRN_SetStatus(nullptr), 0);
  EXPECT_EQ(SetStatusNumber("%d", 5), 0);
  EXPECT_EQ(log(), Lines{});
}

TEST_F(ControlTest, ACancelledStepIsNotLogged) {
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(BRN_BeginStep("Step..."), 0);
  EXPECT_EQ(log(), Lines{});
}

#if !defined(_WIN32)
int ShowNumbers(WindowHandle, int64_t, const char*) {
  BRN_SetStatus(nullptr);
  SetStatusNumber("Loading Nodes(%d)...", 12345);
  BRN_BeginStep("Sorting The Index");
  return 1;
}

TEST_F(ControlTest, TextsAndNumbersReachTheStatusLine) {
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, ShowNumbers, 0, ""), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\nLoading Nodes(12345)...\nSorting The Index\n");
  EXPECT_EQ(log(), (Lines{"Sorting The Index"}));
}
#endif

TEST_F(ControlTest, ResultsInSummaryLines) {
  EXPECT_STREQ(ResultText(1), "OK");
  EXPECT_STREQ(ResultText(-1), "OK");
  EXPECT_STREQ(ResultText(0), "ERROR");
}

}  // namespace
}  // namespace zatlib
