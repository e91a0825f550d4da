#include "interface/driver/build_driver.h"

#include <functional>
#include <sstream>

#include "frd/log.h"
#include "frd/progress.h"
#include "small_build.h"

namespace zatlib::test {
namespace {

// A user who presses Cancel as soon as a line of the build log begins with a given text. There is
// no window: the steps ask the cancel flag alone.
class BuildDriver : public SmallBuild {
 protected:
  BuildDriver() { Set("SYSTEM", "BUILDMETHOD=M"); }

  // A junction with one turn restriction, one one-way link and shapes.
  void MakeSources() {
    Nodes({"@1,0,0,3,@11,@12,@13", "@2,0,0,1,@11", "@3,0,0,1,@12", "@4,0,0,1,@13"},
          {"@1,135,35", "@2,134.999,34.999", "@3,135.002,34.998", "@4,135.001,35.001"});
    Links({"@11,3,1,10,0,0,0,@1,@2,36,36", "@12,3,1,20,0,0,0,@1,@3,36,72",
           "@13,3,1,30,0,0,0,@4,@1,36,36"});
    Source("NODETRF", "rules.txt", {"@1,@12,@13,2"});
    Source("LINKTRF", "oneways.txt", {"@13,@4,@1,2,0"});
    Source("LINKSHAPE", "shapes.txt",
           {"@11,2", "135,35", "134.999,34.999", "@12,2", "135,35", "135.002,34.998", "@13,2",
            "135.001,35.001", "135,35"});
    story_.nodes = story_.coordinates = 4;
    story_.links = 3;
    story_.rules = story_.one_ways = 1;
    story_.rule_bits = story_.one_way_bits = 1;
    story_.shapes = true;
  }

  // Fare data that list link 12 as an interchange.
  void MakeFareData() {
    for (const char* name : {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT"}) {
      WriteBytes(OutPath(name), "");
    }
    WriteBytes(OutPath("TR_LINK.DAT"), Code(12) + Bytes().Zero(16).I16(1).I8(1).Zero(5).str());
    WriteBytes(OutPath("PayData.Inf"), kPayData);
  }

  // The log without its first line.
  Lines Heard() const { return Lines(log().begin() + (log().empty() ? 0 : 1), log().end()); }
  void Forget() { ClearLog(); }

  // The lines up to and with the first that begins with `last`.
  static Lines Until(const Lines& lines, const std::string& last) {
    for (size_t i = 0; i < lines.size(); ++i) {
      if (lines[i].compare(0, last.size(), last) == 0) {
        return Lines(lines.begin(), lines.begin() + static_cast<ptrdiff_t>(i) + 1);
      }
    }
    ADD_FAILURE() << "no line " << last;
    return lines;
  }

  static constexpr char kPayData[] = "[SYSTEM]\r\nResult=OK\r\n";
  Story story_;

 private:
};

TEST_F(BuildDriver, TheFormatIsMsrInAnyCaseOrElseZat) {
  const auto format = [this](const std::string& line) {
    return BRN_GetFormat(WriteControl("[SYSTEM]\r\n" + line + "\r\n").c_str());
  };
  EXPECT_EQ(format("FORMAT=MSR"), kFormatMsr);
  EXPECT_EQ(format("FORMAT=msr"), kFormatMsr);
  EXPECT_EQ(format("format = mSr "), kFormatMsr);
  EXPECT_EQ(format("FORMAT=ZAT"), kFormatZat);
  EXPECT_EQ(format("FORMAT=MSR2"), kFormatZat);
  EXPECT_EQ(format("FORMAT=MS"), kFormatZat);
  EXPECT_EQ(format("FORMAT="), kFormatZat);
  EXPECT_EQ(format("OTHER=MSR"), kFormatZat);
  EXPECT_EQ(format("FORMAT=MSR" + std::string(100, 'x')), kFormatZat);
  EXPECT_EQ(format("FORMAT=MSR~"), kFormatZat);
  EXPECT_EQ(BRN_GetFormat((folder_ / "absent.ini").c_str()), kFormatZat);
}

TEST_F(BuildDriver, TheStagesRunInTheirOrder) {
  MakeSources();
  MakeFareData();
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(Heard(), story_.Whole());
  EXPECT_EQ(log().back(), "End OK.");
  EXPECT_EQ(Out("PayData.Inf"), std::string(kPayData) + "ICFLAG=OK\r\n");
}

TEST_F(BuildDriver, OldLogsAreErasedBeforeAnythingElse) {
  MakeSources();
  char today[260];
  ASSERT_EQ(FRD_GetUserLogPath(kBuildTag, today), 1);
  const std::string path(today);
  const std::string log_folder = path.substr(0, path.size() - std::string("20160331.log").size());
  ASSERT_EQ(path, log_folder + "20160331.log");
  // The day before the cut-off, the cut-off itself, and a name that sorts above every date.
  WriteBytes(log_folder + "20160228.log", "old");
  WriteBytes(log_folder + "20160229.log", "new enough");
  WriteBytes(log_folder + "readme.log", "no date");
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(log()[0], "1 log files before 20160229 erased.");
  EXPECT_EQ(log()[1], "Building Road Networks Start. ");
  EXPECT_FALSE(Exists(log_folder + "20160228.log"));
  EXPECT_TRUE(Exists(log_folder + "20160229.log"));
  EXPECT_TRUE(Exists(log_folder + "readme.log"));
  EXPECT_TRUE(platform::RemoveFile((log_folder + "20160229.log").c_str()));
  EXPECT_TRUE(platform::RemoveFile((log_folder + "readme.log").c_str()));
}

TEST_F(BuildDriver, ASuccessDeletesTheSixStores) {
  MakeSources();
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles() + ShapeFiles() + Lines{"rtweight.dat"});
}

TEST_F(BuildDriver, StoresOfEarlierRunsGoToo) {
  Nodes({"@1,0,0,1,@11", "@2,0,0,1,@11"}, {});
  Links({"@11,3,1,10,0,0,0,@1,@2,36,36"});
  // No rule inputs are named: what lies there is taken for the stores of this run.
  WriteBytes(OutPath("trafrule.~wk"), std::string(31, 'x'));
  WriteBytes(OutPath("onewayst.~wk"),
             All({Code(11), Code(1), Code(2), Bytes().I16(2).I16(0).Zero(4)}));
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles());
  EXPECT_EQ(Out("linknode.idx"), LinkNodeRecord(0, 1, 0, 36, 10));
}

TEST_F(BuildDriver, DebugKeepsTheSixStores) {
  MakeSources();
  Set("SYSTEM", "DEBUG=1");
  ASSERT_EQ(Build(), 1);
  ExpectNames(MapFiles() + ShapeFiles() + Lines{"rtweight.dat"} + WorkStores());
  EXPECT_EQ(Heard(), story_.Whole());
}

TEST_F(BuildDriver, AFailureKeepsTheStores) {
  Nodes({"@1,0,0,1,@11", "@1,0,0,1,@11"}, {});
  Links({"@11,3,1,10,0,0,0,@1,@2,36,36"});
  Source("NODETRF", "rules.txt", {"@1,@11,@11,2"});
  Source("LINKTRF", "oneways.txt", {"@11,@1,@2,2,0"});
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(log().back(), "End Error.");
  ExpectNames(WorkStores() + Lines{"linkdef.dat"});
}

TEST_F(BuildDriver, AFailedStageOneSkipsEverythingElse) {
  // No nodes at all. The fare data stay as they are.
  MakeFareData();
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(Heard(),
            (Lines{"Building Road Networks Start. ", "Path One Start (ZAT format) ",
                   "Setting Road Definition...", "CODELENGTH=14", "Setting Node Storage...",
                   "Setting Node Storage end ERROR : set counter = 0", "End Error."}));
  EXPECT_EQ(Out("PayData.Inf"), kPayData);
}

TEST_F(BuildDriver, OnlyTheNumberOneSelectsTheMsrStage) {
  EXPECT_EQ(Build(kFormatMsr), 0);
  EXPECT_EQ(Heard()[1], "Path One Start (MSR format) ");
  Forget();
  EXPECT_EQ(Build(2), 0);
  EXPECT_EQ(Heard()[1], "Path One Start (ZAT format) ");
}

TEST_F(BuildDriver, WithoutOneWayAdditionTheRightTurnsFollowTheRules) {
  MakeSources();
  Set("TUKOUJ", "NOTADDONEWAY=1");
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(Heard(), story_.Whole());
  EXPECT_EQ(Record(Out("linknode.idx"), 2, 16), LinkNodeRecord(3, 0, 36, 36, 30));
}

TEST_F(BuildDriver, FailedInterchangeFlagsDoNotFailTheBuild) {
  MakeSources();
  MakeFareData();
  WriteBytes(OutPath("TR_LINK.DAT"), "");
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(Heard(), story_.Whole());
  EXPECT_EQ(Out("PayData.Inf"), std::string(kPayData) +
                                    "ICFLAG=ERROR\r\nICFLAG_ERROR=Can't find the FareLink : " +
                                    OutPath("TR_LINK.DAT") + "\r\n");
}

TEST_F(BuildDriver, IncompleteFareDataAreLeftAlone) {
  MakeSources();
  MakeFareData();
  ASSERT_TRUE(platform::RemoveFile(OutPath("TR_NAME.DAT").c_str()));
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(log().back(), "End OK.");
  EXPECT_EQ(Out("PayData.Inf"), kPayData);
}

TEST_F(BuildDriver, FareDataThatAreNotOkAreLeftAlone) {
  MakeSources();
  MakeFareData();
  WriteBytes(OutPath("PayData.Inf"), "[SYSTEM]\r\nResult=ok\r\n");
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(Out("PayData.Inf"), "[SYSTEM]\r\nResult=ok\r\n");
}

TEST_F(BuildDriver, StageTwoAloneNeverDeletesTheStores) {
  MakeSources();
  MakeFareData();
  const std::string control = Control();
  ASSERT_EQ(BRN_PathOneZat(nullptr, kFormatZat, control.c_str()), 1);
  EXPECT_EQ(Lines{"Building Road Networks Start. "} + log(), story_.PathOne());
  Forget();
  // The format is not looked at, and the interchange flags are no part of it.
  ASSERT_EQ(BRN_PathTwo(nullptr, kFormatMsr, control.c_str()), 1);
  EXPECT_EQ(log(), story_.PathTwo());
  EXPECT_EQ(Out("PayData.Inf"), kPayData);
  const Lines fare = {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT",
                      "TR_LINK.DAT",  "TR_NAME.DAT",  "PayData.Inf"};
  ExpectNames(MapFiles() + ShapeFiles() + Lines{"rtweight.dat"} + WorkStores() + fare);
}

TEST_F(BuildDriver, StageTwoAloneWithoutStoresFails) {
  EXPECT_EQ(BRN_PathTwo(nullptr, kFormatZat, Control().c_str()), 0);
  EXPECT_EQ(log()[0], "Path Two Start. ");
  ExpectNames({});
}

// --- Cancel ---------------------------------------------------------------------------------

TEST_F(BuildDriver, SilentRunsKnowNoCancel) {
  MakeSources();
  FRD_SetCancelled(true);
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(Heard(), story_.Whole());
}

TEST_F(BuildDriver, AnUncancelledRunThatIsNotSilentIsTheSame) {
  MakeSources();
  g_silent = 0;
  ASSERT_EQ(Build(), 1);
  EXPECT_EQ(Heard(), story_.Whole());
  ExpectNames(MapFiles() + ShapeFiles() + Lines{"rtweight.dat"});
}

TEST_F(BuildDriver, CancelAtTheStartSkipsStageOne) {
  MakeSources();
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(Heard(), (Lines{"Building Road Networks Start. ", "End Error."}));
  ExpectNames({});
}

// Where the user cancels, the next line is the verdict: no step begins any more.
class CancelledBuild : public BuildDriver, public ::testing::WithParamInterface<const char*> {};

TEST_P(CancelledBuild, EndsBeforeTheNextStep) {
  MakeSources();
  MakeFareData();
  CancelAt(GetParam());
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(Heard(), Until(story_.Whole(), GetParam()) + Lines{"End Error."});
  // The fare data are not looked at, and the stores that exist stay.
  EXPECT_EQ(Out("PayData.Inf"), kPayData);
  const Lines names = OutputNames();
  size_t stores = 0;
  for (const std::string& store : WorkStores()) {
    stores += static_cast<size_t>(std::count(names.begin(), names.end(), store));
  }
  const Lines before = Until(story_.Whole(), GetParam());
  const auto made = [&before](const std::string& line) {
    return std::any_of(before.begin(), before.end(), [&line](const std::string& heard) {
      return heard.compare(0, line.size(), line) == 0;
    });
  };
  size_t expected = 0;
  for (const char* line : {"Setting Node Storage end", "Setting Node Name Storage from Node Data",
                           "Setting Link Storage end", "Setting Link Name Storage from Link Data",
                           "Setting Node Traffic Rules end", "Setting Link Traffic Rules end"}) {
    if (made(line)) ++expected;
  }
  EXPECT_EQ(stores, expected);
}

INSTANTIATE_TEST_SUITE_P(
    AtEveryStage, CancelledBuild,
    ::testing::Values(
        "Building Road Networks Start. ", "Path One Start (ZAT format) ", "CODELENGTH=14",
        "Setting Node Storage end OK", "Setting Node Name Storage from Node Name Data end OK",
        "Setting Node XY end OK", "Setting Link Storage end OK", "Setting Link Speed...",
        "Setting Link Name Storage from Link Name Data end 1", "Setting Node Traffic Rules end OK",
        "Setting Link Traffic Rules end OK", "Path Two Start. ", "Checking Link Duplication...",
        "NodeStore=4, Killed Node=0, ", "LinkStore=3 Killed Links=0, ", "lnCtr=4 ",
        "*** memory operation ***", "Finishing Node Attribute...", "Finishing Node Name...",
        "Finishing Link Name...", "BRN_TRF_AddTrafficRules returns OK",
        " *** Creating Right Turn Weight : End OK *** "));

TEST_F(BuildDriver, CancelAfterTheRulesLeavesTheConnectionsOpen) {
  MakeSources();
  CancelAt("BRN_TRF_AddTrafficRules returns OK");
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(Record(Out("linknode.idx"), 2, 16), LinkNodeRecord(3, 0, 36, 36, 30));
  EXPECT_EQ(Record(Out("mapcalc.dat"), 3, 64), CalcConnections({{0, 300, 30}}));
  EXPECT_FALSE(Exists(OutPath("rtweight.dat")));
}

TEST_F(BuildDriver, CancelInStageTwoAlone) {
  MakeSources();
  const std::string control = Control();
  ASSERT_EQ(BRN_PathOneZat(nullptr, kFormatZat, control.c_str()), 1);
  Forget();
  CancelAt(" *** Creating Right Turn Weight : End OK *** ");
  EXPECT_EQ(BRN_PathTwo(nullptr, kFormatZat, control.c_str()), 0);
  EXPECT_EQ(log(), story_.PathTwo());
}

// --- Behind the progress window -------------------------------------------------------------

#ifndef _WIN32

// Without a terminal the status line's texts stand on standard error, one a line.
TEST_F(BuildDriver, TheStatusLineTellsTheStages) {
  MakeSources();
  MakeFareData();
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  const int result = FRD_RunDialog(nullptr, BRN_BuildRoadNetworks, kFormatZat, Control().c_str());
  std::istringstream shown(::testing::internal::GetCapturedStderr());
  EXPECT_EQ(result, 1);
  EXPECT_EQ(Heard(), story_.Whole());
  const Lines expected = {"Initalizing...",
                          "Setting Road Definition...",
                          "Setting Node Storage...",
                          "Reading Node Record (0)...",
                          "Setting Node Name Storage...",
                          "Setting Node XY...",
                          "Setting Link Storage...",
                          "Reading Link Records (0)...",
                          "Setting Link Speed...",
                          "Setting Link Name Storage...",
                          "Setting Node Traffic Rules...",
                          "Reading NodeTrf Record (0)...",
                          "Setting Link Traffic Rules...",
                          "Reading LinkTrf Record (0)...",
                          "Setting Link Shape...",
                          "Creating Shape Data... 1/1",
                          "Finishing Shape Index...",
                          "Checking Node Duplication...",
                          "Sorting The Index",
                          "Checking Link Duplication...",
                          "Checking Node Data (P1)...",
                          "Checking Node Data (P2)...",
                          "Making Node Index ...",
                          "Checking Link Data ...",
                          "Making Dummy Link...",
                          "Loading Nodes(M)...",
                          "Creating Node Data(M)...",
                          "Saving NodeLoc...",
                          "Saving NodeName ...",
                          "Saving TrafRule...",
                          "Saving NodeAttribute...",
                          "Sorting The Common Index",
                          "Loading Links(M)...",
                          "Creating Link Data(M)...",
                          "Saving LinkName...",
                          "Checking the dummy link nodes(M)...",
                          "Creating CalcNode(M)...",
                          "Making LinkNodeIndex(M)...",
                          "Creating the Road Networks(M)...",
                          "Setting Node's CityCodes(M)...",
                          "Finishing Node Attribute...",
                          "Finishing Node Name...",
                          "Finishing Link Name...",
                          "Initializing...",
                          "Checking RuleStorage 1 / 1",
                          "Checking OneWayStorage 1 / 1",
                          "Writing TrafRule File...",
                          "Checking One Way Link 4",
                          "Writing Tables...",
                          "Creating Right Turn Weight...",
                          "Setting IC Flags..."};
  // They come in this order; others may stand between them.
  size_t next = 0;
  for (std::string line; std::getline(shown, line);) {
    if (next < expected.size() && line == expected[next]) ++next;
  }
  EXPECT_EQ(next, expected.size())
      << "not shown: " << expected[std::min(next, expected.size() - 1)];
}

TEST_F(BuildDriver, ASilentRunShowsNothing) {
  MakeSources();
  ::testing::internal::CaptureStderr();
  ::testing::internal::CaptureStdout();
  EXPECT_EQ(Build(), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
}

#endif

}  // namespace
}  // namespace zatlib::test
