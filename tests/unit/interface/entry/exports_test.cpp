// The exported functions, as a host program calls them.
#include <cstring>
#include <string>

#include "frd/log.h"
#include "frd/progress.h"
#include "host_float_mode.h"
#include "small_build.h"
#include "zatlib.h"

namespace zatlib::test {
namespace {

class Exports : public SmallBuild {
 protected:
  void MakeSources() {
    Nodes({"@1,0,0,1,@11", "@2,0,0,1,@11"}, {"@1,135,35", "@2,136,36"});
    Links({"@11,3,1,10,0,0,0,@1,@2,36,36"});
  }

  // A control file with these lines in [SYSTEM], without data.
  std::string System(const std::string& lines) {
    return WriteControl("[FOLDER]\r\nCALCMAPDIR=" + out() + "\r\n[SYSTEM]\r\n" + lines);
  }

  // Whether a body saw a silent run: what it leaves behind in the flag.
  static bool Silent() { return g_silent != 0; }

  bool HeardLine(const std::string& line) const {
    return std::find(log().begin(), log().end(), line) != log().end();
  }
};

TEST_F(Exports, TheVersionAndItsBanner) {
  EXPECT_EQ(ZAT_NWB_GetLibVersion(nullptr), 4085);
  char banner[40];
  std::memset(banner, '#', sizeof banner);
  EXPECT_EQ(ZAT_NWB_GetLibVersion(banner), 4085);
  EXPECT_STREQ(banner, "ZAT Calc Map Library Ver 4.085");
  // 30 characters and the end; the caller's buffer has 34 bytes and nothing behind them changes.
  EXPECT_EQ(std::strlen(banner), 30u);
  EXPECT_EQ(std::string(banner + 34, 6), "######");
}

#ifndef _WIN32
TEST_F(Exports, ThereIsNoModuleHandleWithoutModules) {
  EXPECT_EQ(ZAT_NWB_GetLibInstance(), nullptr);
}
#endif

TEST_F(Exports, ASilentRunOfTheWholeBuild) {
  MakeSources();
  g_silent = 0;
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, Control().c_str()), 1);
  EXPECT_TRUE(Silent());
  EXPECT_EQ(log().back(), "End OK.");
  ExpectNames(MapFiles());
}

TEST_F(Exports, AnOwnerThatIsNoWindowIsNone) {
  MakeSources();
  int gone = 0;
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(&gone, Control().c_str()), 1);
  ExpectNames(MapFiles());
}

TEST_F(Exports, StageTwoTakesItsOwnerAsItIs) {
  int owner = 0;
  std::string control = System("SILENTMODE=1\r\n");
  EXPECT_EQ(ZAT_NWB_BRN400_PathTwo(&owner, control.data()), 0);  // there are no stores
  EXPECT_EQ(log().front(), "Path Two Start. ");
}

TEST_F(Exports, TheFormatOfTheWholeBuildIsTheControlFiles) {
  g_silent = 0;
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, System("SILENTMODE=1\r\nFORMAT=msr\r\n").c_str()),
            0);
  EXPECT_TRUE(HeardLine("Path One Start (MSR format) "));
  ClearLog();
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, System("SILENTMODE=1\r\nFORMAT=MSR2\r\n").c_str()),
            0);
  EXPECT_TRUE(HeardLine("Path One Start (ZAT format) "));
  ClearLog();
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, System("SILENTMODE=1\r\n").c_str()), 0);
  EXPECT_TRUE(HeardLine("Path One Start (ZAT format) "));
}

TEST_F(Exports, The400BuildIsMsrWhateverTheControlFileSays) {
  for (const char* format : {"FORMAT=ZAT\r\n", "FORMAT=MSR\r\n", ""}) {
    ClearLog();
    EXPECT_EQ(ZAT_NWB_BuildRoadNetworks400(
                  nullptr, System(std::string("SILENTMODE=1\r\n") + format).c_str()),
              0);
    EXPECT_TRUE(HeardLine("Path One Start (MSR format) "));
    EXPECT_FALSE(HeardLine("Path One Start (ZAT format) "));
    EXPECT_EQ(log().back(), "End Error.");
  }
}

TEST_F(Exports, ANullPathKeepsTheSilenceOfTheCallBefore) {
  MakeSources();
  ASSERT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, Control().c_str()), 1);
  ASSERT_TRUE(Silent());
  ClearLog();
  // No path: the default format, no nodes, still no window, and the current folder for the files.
  const CurrentFolder here(folder_.path());
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, nullptr), 0);
  EXPECT_TRUE(Silent());
  EXPECT_TRUE(HeardLine("Building Road Networks Start. "));
  EXPECT_EQ(log().back(), "End Error.");
  EXPECT_TRUE(Exists(folder_ / "linkdef.dat"));
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworks400(nullptr, nullptr), 0);
  EXPECT_TRUE(Silent());
  EXPECT_EQ(ZAT_NWB_BRN400_PathTwo(nullptr, nullptr), 0);
  EXPECT_TRUE(Silent());
}

TEST_F(Exports, StageTwoAloneIsSilentOnRequest) {
  MakeSources();
  std::string control = Control();
  ASSERT_EQ(BRN_PathOneZat(nullptr, kFormatZat, control.c_str()), 1);
  ClearLog();
  g_silent = 0;
  EXPECT_EQ(ZAT_NWB_BRN400_PathTwo(nullptr, control.data()), 1);
  EXPECT_TRUE(Silent());
  EXPECT_EQ(log().front(), "Path Two Start. ");
  ExpectNames(MapFiles() + Lines{"nodestr.~wk", "linkstr.~wk", "nnamestr.~wk", "lnamestr.~wk"});
}

// A host that flushes small numbers to zero. As doubles all codes of 18 digits below 2^52 are so
// small that it cannot tell them apart.
class FlushingHost : public Exports {
 protected:
  FlushingHost() {
    UseLength(18);
    Set("SYSTEM", "LOG=1");
  }

  // Three nodes in a row with the codes 2, 1 and 4503599627370495 = 2^52 - 1.
  void MakeSmallCodes() {
    Nodes({"2,0,0,1,12", "1,0,0,2,12,11", "4503599627370495,0,0,1,11"},
          {"1,136,36", "2,135,35", "4503599627370495,137,37"});
    Links({"12,3,20,10,0,0,0,2,1,36,36", "11,3,30,10,0,0,0,1,4503599627370495,36,36"});
  }

  void ExpectMap() const {
    ExpectNames(MapFiles());
    ExpectFile("mapcalc.dat", CalcConnections({{1, 100, 10}}) +
                                  CalcConnections({{0, 100, 10}, {2, 100, 10}}) +
                                  CalcConnections({{1, 100, 10}}));
    ExpectFile("node.idx", IndexRecord(RawCode(1), 1, 20) + IndexRecord(RawCode(2), 0, 20) +
                               IndexRecord(RawCode(4503599627370495), 2, 30));
    ExpectFile("link.idx", IndexRecord(RawCode(11), 1, 30) + IndexRecord(RawCode(12), 0, 20));
    ExpectFile("linknode.idx", LinkNodeRecord(0, 1, 36, 36, 10) + LinkNodeRecord(1, 2, 36, 36, 10));
  }
};

TEST_F(FlushingHost, ASilentBuildTellsSmallCodesApart) {
  MakeSmallCodes();
  const std::string control = Control();
  const HostFloatMode host;
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, control.c_str()), 1);
  EXPECT_TRUE(HostFloatMode::IsSet());
  ExpectMap();
}

TEST_F(FlushingHost, SoDoesTheSecondHalfAlone) {
  MakeSmallCodes();
  Set("SYSTEM", "BUILDMETHOD=F");
  std::string control = Control();
  ASSERT_EQ(BRN_PathOneZat(nullptr, kFormatZat, control.c_str()), 1);
  const HostFloatMode host;
  EXPECT_EQ(ZAT_NWB_BRN400_PathTwo(nullptr, control.data()), 1);
  EXPECT_TRUE(HostFloatMode::IsSet());
  ExpectFile("node.idx", IndexRecord(RawCode(1), 1, 20) + IndexRecord(RawCode(2), 0, 20) +
                             IndexRecord(RawCode(4503599627370495), 2, 30));
}

TEST_F(FlushingHost, TheCallersModeComesBackFromEveryFunction) {
  std::string control = System("SILENTMODE=1\r\n");
  const HostFloatMode host;
  EXPECT_EQ(ZAT_NWB_GetLibVersion(nullptr), 4085);
  EXPECT_TRUE(HostFloatMode::IsSet());
  ZAT_NWB_GetLibInstance();
  EXPECT_TRUE(HostFloatMode::IsSet());
  // Without data each of them fails.
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, control.c_str()), 0);
  EXPECT_TRUE(HostFloatMode::IsSet());
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworks400(nullptr, control.c_str()), 0);
  EXPECT_TRUE(HostFloatMode::IsSet());
  EXPECT_EQ(ZAT_NWB_BRN400_PathTwo(nullptr, control.data()), 0);
  EXPECT_TRUE(HostFloatMode::IsSet());
}

#ifndef _WIN32

// Without a window system the progress stands on standard error, and so do the message boxes.
class ShownRuns : public Exports {
 protected:
  ShownRuns() { ::testing::internal::CaptureStderr(); }
  ~ShownRuns() override { ::testing::internal::GetCapturedStderr(); }

  // What was shown since the last look.
  static std::string Shown() {
    const std::string text = ::testing::internal::GetCapturedStderr();
    ::testing::internal::CaptureStderr();
    return text;
  }
};

TEST_F(ShownRuns, OnlyOneIsSilent) {
  for (const char* mode : {"SILENTMODE=2\r\n", "SILENTMODE=0\r\n", "SILENTMODE=-1\r\n",
                           "SILENTMODE=yes\r\n", "SILENTMODE=\r\n", ""}) {
    g_silent = 1;
    EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, System(mode).c_str()), 0) << mode;
    EXPECT_FALSE(Silent()) << mode;
    EXPECT_EQ(Shown().substr(0, 15), "Initalizing...\n") << mode;
  }
  g_silent = 0;
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, System("SILENTMODE=1\r\n").c_str()), 0);
  EXPECT_TRUE(Silent());
  EXPECT_EQ(Shown(), "");
}

TEST_F(ShownRuns, AFileWithoutTheKeyEndsTheSilence) {
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, System("SILENTMODE=1\r\n").c_str()), 0);
  EXPECT_TRUE(Silent());
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, System("").c_str()), 0);
  EXPECT_FALSE(Silent());
  Shown();
  // And without a path the run stays shown.
  const CurrentFolder here(folder_.path());
  EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, nullptr), 0);
  EXPECT_FALSE(Silent());
  EXPECT_EQ(Shown().substr(0, 15), "Initalizing...\n");
}

TEST_F(ShownRuns, StageOneAloneIsNeverSilentAndLeavesTheFlag) {
  MakeSources();
  const std::string control = Control();  // says SILENTMODE=1
  g_silent = 0;
  EXPECT_EQ(ZAT_NWB_BRN400_PathOneZAT(nullptr, control.c_str()), 1);
  EXPECT_FALSE(Silent());
  EXPECT_NE(Shown().find("Setting Node Storage...\n"), std::string::npos);
  EXPECT_EQ(log().front(), "Path One Start (ZAT format) ");
  ExpectNames({"linkdef.dat", "nodestr.~wk", "linkstr.~wk", "nnamestr.~wk", "lnamestr.~wk"});

  // The window opens also when an earlier call left the flag on; the steps show nothing then.
  g_silent = 1;
  EXPECT_EQ(ZAT_NWB_BRN400_PathOneZAT(nullptr, System("SILENTMODE=0\r\n").c_str()), 0);
  EXPECT_TRUE(Silent());
  EXPECT_EQ(Shown(), "Initalizing...\n");

  g_silent = 0;
  ClearLog();
  EXPECT_EQ(ZAT_NWB_BRN400_PathOneMSR(nullptr, System("SILENTMODE=1\r\n").c_str()), 0);
  EXPECT_FALSE(Silent());
  EXPECT_EQ(log().front(), "Path One Start (MSR format) ");
}

TEST_F(ShownRuns, ASecondRunIsRefusedWhileOneIsOpen) {
  struct Inner {
    static int Run(WindowHandle, int64_t, const char* control) {
      return ZAT_NWB_BRN400_PathOneZAT(nullptr, control);
    }
  };
  MakeSources();
  const std::string control = Control();
  g_silent = 0;
  EXPECT_EQ(FRD_RunDialog(nullptr, Inner::Run, 0, control.c_str()), 0);
  EXPECT_NE(Shown().find("FRD Message: FRD Window has already opened!\n"), std::string::npos);
  EXPECT_TRUE(log().empty());
  ExpectNames({});
}

TEST_F(FlushingHost, TheWorkerBehindTheProgressWindowTellsSmallCodesApart) {
  MakeSmallCodes();
  const std::string silent = Control();
  const std::string text = ReadBytes(silent);
  const std::string key = "SILENTMODE=1";
  const std::string shown = folder_ / "shown.ini";
  WriteBytes(shown, text.substr(0, text.find(key)) + text.substr(text.find(key) + key.size()));
  const std::string empty = System("");
  ::testing::internal::CaptureStderr();
  {
    const HostFloatMode host;
    EXPECT_EQ(ZAT_NWB_BuildRoadNetworksEx(nullptr, shown.c_str()), 1);
    EXPECT_TRUE(HostFloatMode::IsSet());
    EXPECT_EQ(ZAT_NWB_BRN400_PathOneZAT(nullptr, empty.c_str()), 0);
    EXPECT_TRUE(HostFloatMode::IsSet());
    EXPECT_EQ(ZAT_NWB_BRN400_PathOneMSR(nullptr, empty.c_str()), 0);
    EXPECT_TRUE(HostFloatMode::IsSet());
  }
  EXPECT_NE(::testing::internal::GetCapturedStderr().find("Initalizing...\n"), std::string::npos);
  EXPECT_FALSE(Silent());
}

TEST_F(ShownRuns, TheWindowClosesBehindEveryRun) {
  MakeSources();
  Set("SYSTEM", "DEBUG=1");
  const std::string control = Control();
  g_silent = 0;
  EXPECT_EQ(ZAT_NWB_BRN400_PathOneZAT(nullptr, control.c_str()), 1);
  EXPECT_FALSE(FRD_IsDialogOpen());
  EXPECT_EQ(ZAT_NWB_BRN400_PathOneZAT(nullptr, control.c_str()), 1);
  EXPECT_FALSE(FRD_IsDialogOpen());
}

#endif

}  // namespace
}  // namespace zatlib::test
