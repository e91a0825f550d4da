#include "input_msr/path_one.h"

#include <map>
#include <string>

#include "cancel_each.h"
#include "frd/text.h"
#include "input_zat/path_one.h"
#include "msr_test.h"
#include "terminal.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Concat;
using test::Exists;
using test::Lines;
using test::LinkBytes;
using test::NameBytes;
using test::NodeBytes;
using test::Report;
using test::RuleRecord;
using test::SectionName;
using test::WriteBytes;

constexpr char kStart[] = "Path One Start (MSR format) ";

// Section name to the lines below it.
using Control = std::map<std::string, std::string>;

class MsrPathOneTest : public test::MsrTest {
 protected:
  MsrPathOneTest() {
    Pair("droten", kHeader + Point("139.5", "35.5") + Point("139.6", "35.6"),
         "13,1,7,0,0,Central,1,100\r\n13,2,8,14,5,,1,100\r\n");
    Source("dkukan.csv", "100,3,13,101,300,0,0,1,2,0,60,0,0\r\n");
    Pair("dkukan",
         "Charset \"WindowsJapanese\"\r\nData\r\nLine 139.5 35.5 139.6 35.6\r\n    Pen (1,2,0)\r\n",
         "100,3,13,101,300,0,0,1,2,0,60,0,0\r\n");
    Source("kukanz.csv", "13,100,1,Ring,5\r\n");
    Source("tukouj.csv", "13,1,100,100,2\r\n");
  }

  std::string File(const std::string& name) const {
    return "FILENUM=1\r\nFILE01=" + (folder_ / name) + "\r\n";
  }

  Control Everything() const {
    return {{"DROTEN", File("droten.mif")},
            {"DKUKAN", File("dkukan.mif") + "MIFOUTPUT=1\r\n"},
            {"DEFAULTSPEED", "SPEEDA=40\r\nSPEEDB=30\r\n"},
            {"KUKANZ", File("kukanz.csv")},
            {"TUKOUJ", File("tukouj.csv")}};
  }

  static std::string Text(const Control& control) {
    std::string text;
    for (const auto& [section, lines] : control) text += "[" + section + "]\r\n" + lines;
    return text;
  }

  int Run(const Control& control) {
    return BRN_MSR_PathOne(nullptr, WriteControl(Text(control)).c_str());
  }

  const std::string nodes_ = Concat(
      {NodeBytes{13000000000001.0, 0, 7, 139500000, 35500000, {13000000000100.0}},
       NodeBytes{13000000000002.0, 14000000000005.0, 8, 139600000, 35600000, {13000000000100.0}}});
  const std::string links_ =
      LinkBytes{13000000000100.0, 13000000000001.0, 13000000000002.0, 13101, 60, 30, 300, 3};
  const std::string names_ = NameBytes{13000000000001.0, "Central", 0, 7};
  const std::string link_names_ = SectionName(13000000000100.0, "Ring", 1, 5);
  const std::string rules_ = RuleRecord(13000000000001.0, 13000000000100.0, 13000000000100.0, 2);
  const std::string shape_ = Bytes().I32(139500000).I32(35500000).I32(139600000).I32(35600000);
};

// ---- The order of the steps ----------------------------------------------------------------

TEST_F(MsrPathOneTest, EverythingFromMifFiles) {
  WriteBytes(folder_ / "onewayst.~wk", "old");
  EXPECT_EQ(Run(Everything()), 1);
  // The steps' texts are shown and not logged, the road definition's not even shown.
  EXPECT_EQ(log(), (Lines{kStart, "CODELENGTH=14"}));
  EXPECT_EQ(Output("nodestr.~wk"), nodes_);
  EXPECT_EQ(Output("nnamestr.~wk"), names_);
  EXPECT_EQ(Output("linkstr.~wk"), links_);
  EXPECT_EQ(Output("lnamestr.~wk"), link_names_);
  EXPECT_EQ(Output("trafrule.~wk"), rules_);
  EXPECT_FALSE(Exists(folder_ / "onewayst.~wk"));
  EXPECT_EQ(Output("shapedat.dat"), shape_);
  EXPECT_EQ(Output("shapedbl.idx"), Bytes().F64(13000000000100.0).I32(0).I32(2).str());
  EXPECT_EQ(Output("shapedat.inf"),
            "[INFORMATION]\r\nCharset=Charset \"WindowsJapanese\"\r\nNumRec=1\r\nNumShape=2\r\n"
            "MaxShapeLink=13000000000100\r\nMaxNumShape=2\r\n");
}

TEST_F(MsrPathOneTest, FromCsvWithoutShapes) {
  Control control = Everything();
  control["DKUKAN"] = File("dkukan.csv");
  EXPECT_EQ(Run(control), 1);
  EXPECT_EQ(log(), (Lines{kStart, "CODELENGTH=14"}));
  EXPECT_EQ(Output("linkstr.~wk"), links_);
  for (const char* name : {"shapedat.dat", "shapedbl.idx", "shapedat.inf"}) {
    EXPECT_FALSE(Exists(folder_ / name)) << name;
  }
}

TEST_F(MsrPathOneTest, PointsAndSectionsAreEnough) {
  WriteBytes(folder_ / "trafrule.~wk", "old");
  EXPECT_EQ(Run({{"DROTEN", File("droten.mif")}, {"DKUKAN", File("dkukan.csv")}}), 1);
  EXPECT_TRUE(Exists(folder_ / "lnamestr.~wk"));
  EXPECT_EQ(Output("lnamestr.~wk"), "");
  EXPECT_FALSE(Exists(folder_ / "trafrule.~wk"));
}

TEST_F(MsrPathOneTest, WithoutInputTheSectionsFail) {
  EXPECT_EQ(Run({}), 0);
  EXPECT_EQ(log(), (Lines{kStart, "CODELENGTH=14"}));
  EXPECT_TRUE(Exists(folder_ / "nnamestr.~wk"));
  EXPECT_FALSE(Exists(folder_ / "lnamestr.~wk"));
}

TEST_F(MsrPathOneTest, ASecondRunGivesTheSameFiles) {
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(Output("nodestr.~wk"), nodes_);
  EXPECT_EQ(Output("nnamestr.~wk"), names_);
  EXPECT_EQ(Output("linkstr.~wk"), links_);
  EXPECT_EQ(Output("lnamestr.~wk"), link_names_);
  EXPECT_EQ(Output("trafrule.~wk"), rules_);
  EXPECT_EQ(Output("shapedat.dat"), shape_);
}

TEST_F(MsrPathOneTest, CodesOf18Digits) {
  Control control = Everything();
  control["SYSTEM"] = "CODELENGTH=18\r\n";
  EXPECT_EQ(Run(control), 1);
  EXPECT_EQ(log(), (Lines{kStart, "CODELENGTH=18"}));
  EXPECT_EQ(Output("trafrule.~wk"), Bytes()
                                        .I64(130000000000000001)
                                        .I64(130000000000000100)
                                        .I64(130000000000000100)
                                        .I16(0)
                                        .I16(2)
                                        .I32(0)
                                        .str());
  EXPECT_EQ(Output("shapedbl.idx"), Bytes().I64(130000000000000100).I32(0).I32(2).str());
}

TEST_F(MsrPathOneTest, AnInvalidCodeLengthFailsAtTheSections) {
  Control control = Everything();
  control["SYSTEM"] = "CODELENGTH=16\r\n";
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), (Lines{kStart, "CODELENGTH=16"}));
  EXPECT_FALSE(Exists(folder_ / "linkstr.~wk"));
}

TEST_F(MsrPathOneTest, TheRoadDefinitionIsThatOfTheOtherLayout) {
  const Control control = {{"SYSTEM", "CODELENGTH=18\r\n"},
                           {"TOLLROAD", "NUMDEF=1\r\nDEF01=07\r\n"},
                           {"ROADFLAG", "HIGHWAY=1\r\nPARKING=2\r\nAIR=3\r\nSHIP=4\r\n"}};
  const auto road_definition = [this] {
    const std::string text = Output("linkdef.dat");
    const size_t first = text.find("\r\n") + 2;
    EXPECT_EQ(text.substr(first, 10), "; Created ");
    return text.substr(0, first) + text.substr(text.find("\r\n", first));
  };
  EXPECT_EQ(Run(control), 0);
  const std::string msr = road_definition();
  EXPECT_EQ(BRN_ZAT_PathOne(nullptr, WriteControl(Text(control)).c_str()), 0);
  EXPECT_EQ(road_definition(), msr);
  EXPECT_NE(msr.find("AIR=2\r\nTOLLGATE=\r\nSHIP=4\r\n"), std::string::npos);
}

// ---- A failed step skips the later ones ----------------------------------------------------

struct Failure {
  const char* label;
  const char* section;  // the section whose file is missing
  const char* report;   // %s is the path of the file
  const char* title;
  const char* missing;  // the name of a file that is not there
  const char* last;     // the last file that is written
  const char* next;     // the first one that is not
};

void PrintTo(const Failure& failure, std::ostream* out) { *out << failure.label; }

class MsrPathOneFailureTest : public MsrPathOneTest,
                              public ::testing::WithParamInterface<Failure> {};

INSTANTIATE_TEST_SUITE_P(
    Steps, MsrPathOneFailureTest,
    ::testing::Values(Failure{"RoadDefinition", "ATTRIBUTE", "Can't open the Attribute File (%s) !",
                              "File Error in BRN_CreateRoadDef", "missing.txt", "linkdef.dat",
                              "nodestr.~wk"},
                      Failure{"Points", "DROTEN", "Can't open the DROTEM.MIF(FILE01) [%s] !",
                              "File Error", "missing.mif", "linkdef.dat", "nnamestr.~wk"},
                      Failure{"Sections", "DKUKAN", "Can't open the DKUKAN.CSV(FILE01) [%s] !",
                              "File Error", "missing.csv", "nnamestr.~wk", "lnamestr.~wk"},
                      Failure{"SectionNames", "KUKANZ", "Can't open the Kukanz FILE01=%s",
                              "File Error in BRN_MSR_SetLinkNameStore", "missing.csv",
                              "lnamestr.~wk", "trafrule.~wk"},
                      Failure{"Conditions", "TUKOUJ", "Can't open TUKOUJ(%s) !",
                              "File Error in BRN_MSR_SetTukoujData", "missing.csv", "trafrule.~wk",
                              "shapedat.dat"}),
    [](const auto& tested) { return tested.param.label; });

TEST_P(MsrPathOneFailureTest, SkipsTheLaterSteps) {
  const Failure& failure = GetParam();
  Control control = Everything();
  control[failure.section] = File(failure.missing);
  EXPECT_EQ(Run(control), 0);
  std::string report = failure.report;
  report.replace(report.find("%s"), 2, folder_ / failure.missing);
  ASSERT_FALSE(log().empty());
  EXPECT_EQ(log().front(), kStart);
  EXPECT_EQ(log().back(), Report(report, failure.title));
  EXPECT_TRUE(Exists(folder_ / failure.last));
  EXPECT_FALSE(Exists(folder_ / failure.next));
}

TEST_F(MsrPathOneTest, AFailedConditionStepKeepsTheOneWayStore) {
  WriteBytes(folder_ / "onewayst.~wk", "old");
  Control control = Everything();
  control["TUKOUJ"] = File("missing.csv");
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(Output("onewayst.~wk"), "old");
}

TEST_F(MsrPathOneTest, AFailedShapeStepFailsTheRun) {
  Source("dkukan.mif", "Version 300\r\nData\r\n");
  EXPECT_EQ(Run(Everything()), 0);
  EXPECT_EQ(log(),
            (Lines{kStart, "CODELENGTH=14",
                   Report("Can't read the MIF file (" + (folder_ / "dkukan.mif") + ") at rec=1",
                          "File Error in SHAPE_CreateShapeFileFromMif")}));
}

// ---- Cancel --------------------------------------------------------------------------------

TEST_F(MsrPathOneTest, SilentModeDoesNotHearTheCancelFlag) {
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(Output("nodestr.~wk"), nodes_);
}

TEST_F(MsrPathOneTest, OutsideSilentModeTheRunIsTheSame) {
  g_silent = 0;
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(log(), (Lines{kStart, "CODELENGTH=14"}));
  EXPECT_EQ(Output("shapedat.dat"), shape_);
}

TEST_F(MsrPathOneTest, TheRoadDefinitionDoesNotHearTheCancelFlag) {
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(Everything()), 0);
  EXPECT_EQ(log(), (Lines{kStart, "CODELENGTH=14"}));
  EXPECT_TRUE(Exists(folder_ / "linkdef.dat"));
  EXPECT_FALSE(Exists(folder_ / "nodestr.~wk"));
}

// ---- The progress bar ----------------------------------------------------------------------

#ifndef _WIN32
int PathOne(WindowHandle, int64_t, const char* control_file) {
  return BRN_MSR_PathOne(nullptr, control_file);
}

class MsrPathOneProgressTest : public MsrPathOneTest {
 protected:
  // Runs behind a progress line; returns the positions of its bar.
  std::vector<int> Positions(const Control& control, int expected_result) {
    const std::string path = WriteControl(Text(control));
    g_silent = 0;
    test::Terminal terminal;
    const int result = FRD_RunDialog(nullptr, PathOne, 0, path.c_str());
    const std::vector<int> positions = terminal.Positions();
    EXPECT_EQ(result, expected_result);
    return positions;
  }
};

TEST_F(MsrPathOneProgressTest, AGoodRunMovesTheBarFrom0To30) {
  Control control = Everything();
  control["DKUKAN"] = File("dkukan.csv");
  EXPECT_EQ(Positions(control, 1), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}

TEST_F(MsrPathOneProgressTest, TheShapesHaveTheBandFrom25To30) {
  // 0.05 of the bar, of which the finishing has the last 0.01.
  EXPECT_EQ(Positions(Everything(), 1), (std::vector<int>{0, 5, 10, 15, 20, 25, 29, 30}));
}

TEST_F(MsrPathOneProgressTest, AFailedStepMovesItAllTheSame) {
  EXPECT_EQ(Positions({}, 0), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}

TEST_F(MsrPathOneProgressTest, ACancelMovesItAllTheSame) {
  CancelAt("CODELENGTH=14");
  EXPECT_EQ(Positions(Everything(), 0), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}

// 70,000 lines, objects and records of each kind, without a window and behind one.
TEST_F(MsrPathOneProgressTest, ACancelWithinLongSourcesIsHeard) {
  std::string points = kHeader;
  std::string sections = "Data\r\n";
  std::string droten, dkukan, kukanz, tukouj;
  char line[128];
  for (int i = 1; i <= 70000; ++i) {
    points += "Point 139.5 35.5\r\n";
    sections +=
        i % 2 == 0 ? "Line 139.5 35.5 139.6 35.6\r\n" : "Pline 2\r\n139.5 35.5\r\n139.6 35.6\r\n";
    droten.append(line, FRD_Format(line, sizeof line, "13,%d,7,0,0,Name,1,%d\r\n", i, i));
    dkukan.append(line, FRD_Format(line, sizeof line, "%d,3,13,101,300,0,0,%d,%d,0,60,0,0\r\n", i,
                                   i, i % 70000 + 1));
    kukanz.append(line, FRD_Format(line, sizeof line, "13,%d,1,Ring,5\r\n", i));
    tukouj.append(line, FRD_Format(line, sizeof line, "13,%d,%d,%d,2\r\n", i, i, i));
  }
  Pair("droten", points, droten);
  Pair("dkukan", sections, dkukan);
  Source("kukanz.csv", kukanz);
  Source("tukouj.csv", tukouj);
  const std::string control = WriteControl(Text(Everything()));
  const auto prepare = [&] { ClearLog(); };
  const auto run = [&] { return BRN_MSR_PathOne(nullptr, control.c_str()); };
  EXPECT_GT(test::CancelAtEach(platform::Operation::kRead, 19, prepare, run, log()), 1);
  ::testing::internal::CaptureStderr();
  const auto shown = [&] { return FRD_RunDialog(nullptr, PathOne, 0, control.c_str()); };
  const int failed = test::CancelAtEach(platform::Operation::kRead, 19, prepare, shown, log());
  ::testing::internal::GetCapturedStderr();
  EXPECT_GT(failed, 1);
}

TEST_F(MsrPathOneProgressTest, TheTextsThatAreShown) {
  const std::string control = WriteControl(Text(Everything()));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, PathOne, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Reading Droten Record (0)...\n"
            "Setting Node Name Storage...\n"
            "Reading Dkukan Records (0)...\n"
            "Setting Link Name Storage...\n"
            "Reading Tukouj Record (0)...\n"
            "Initializing... 1/1\n"
            "Finishing Shape Index...\n");
}
#endif

// ---- A platform that fails -----------------------------------------------------------------

class MsrPathOneFaultTest : public MsrPathOneTest {
 protected:
  std::set<std::string> Fail(platform::Operation operation, bool sticky,
                             platform::WriteFault fault = platform::WriteFault::kNothingWritten) {
    Control control = Everything();
    control["ATTRIBUTE"] = File("attributes.txt");
    Source("attributes.txt", "1,a\r\n");
    return FailEach(
        operation,
        {.run =
             [this, control] {
               for (const char* name :
                    {"linkdef.dat", "nodestr.~wk", "linkstr.~wk", "nnamestr.~wk", "lnamestr.~wk",
                     "trafrule.~wk", "shapedat.dat", "shapedbl.idx", "shapedat.inf"}) {
                 platform::RemoveFile((folder_ / name).c_str());
               }
               return Run(control);
             },
         .check_good =
             [this] {
               EXPECT_EQ(Output("nodestr.~wk"), nodes_);
               EXPECT_EQ(Output("nnamestr.~wk"), names_);
               EXPECT_EQ(Output("linkstr.~wk"), links_);
               EXPECT_EQ(Output("lnamestr.~wk"), link_names_);
               EXPECT_EQ(Output("trafrule.~wk"), rules_);
               EXPECT_NE(Output("linkdef.dat").find("CODELENGTH=14"), std::string::npos);
             },
         .sticky = sticky,
         .write_fault = fault,
         .goes_on = true});
  }
};

TEST_F(MsrPathOneFaultTest, EveryOpen) {
  EXPECT_GE(Fail(platform::Operation::kOpen, false).size(), 12u);
}
TEST_F(MsrPathOneFaultTest, EveryRead) {
  EXPECT_GE(Fail(platform::Operation::kRead, false).size(), 6u);
}
TEST_F(MsrPathOneFaultTest, EveryReadFromOneOn) {
  EXPECT_GE(Fail(platform::Operation::kRead, true).size(), 5u);
}
TEST_F(MsrPathOneFaultTest, EveryWrite) {
  EXPECT_GE(Fail(platform::Operation::kWrite, false).size(), 5u);
}
TEST_F(MsrPathOneFaultTest, EveryWriteHalf) {
  EXPECT_GE(Fail(platform::Operation::kWrite, false, platform::WriteFault::kHalfWritten).size(),
            5u);
}
TEST_F(MsrPathOneFaultTest, EverySeek) {
  EXPECT_GE(Fail(platform::Operation::kSeek, false).size(), 2u);
}
TEST_F(MsrPathOneFaultTest, EveryAllocation) {
  EXPECT_GE(Fail(platform::Operation::kAllocate, false).size(), 1u);
}

}  // namespace
}  // namespace zatlib
