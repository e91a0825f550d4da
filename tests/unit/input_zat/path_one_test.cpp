#include "input_zat/path_one.h"

#include <map>
#include <string>

#include "cancel_each.h"
#include "frd/message_text.h"
#include "frd/text.h"
#include "terminal.h"
#include "zat_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Concat;
using test::Exists;
using test::Lines;
using test::NameBytes;
using test::NodeBytes;
using test::Report;
using test::WriteBytes;

constexpr char kStart[] = "Path One Start (ZAT format) ";

// Section name to the lines below it.
using Control = std::map<std::string, std::string>;

class PathOneTest : public test::ZatTest {
 protected:
  PathOneTest() {
    Source("nodes.txt", "1,7,,,100\r\n2,8,,,100\r\n");
    Source("nodes.mid", "1,7,,,,,,,,,,,Central\r\n2,8\r\n");
    Source("names.txt", "2,9,East\r\n");
    Source("xy.txt", "1,139.5,35.5\r\n2,139.6,35.6\r\n");
    Source("links.txt", "100,1,13101,300,,,,1,2,60,0,,5,Ring\r\n");
    Source("speeds.txt", "100,1,2,70,80,3\r\n");
    Source("linknames.txt", "100,,6,Road\r\n");
    Source("turns.txt", "1,100,100,2\r\n");
    Source("oneways.txt", "100,1,2,2,0\r\n");
    Source("shapes.txt", "100,2\r\n139.5,35.5\r\n139.6,35.6\r\n");
  }

  std::string File(const std::string& name) const {
    return "FILENUM=1\r\nFILE01=" + (folder_ / name) + "\r\n";
  }

  // Everything that the layouts know, as text files.
  Control Everything() const {
    return {{"NODE", File("nodes.txt")},       {"NODENAME", File("names.txt")},
            {"NODEXY", File("xy.txt")},        {"LINK", File("links.txt")},
            {"LINKSPEED", File("speeds.txt")}, {"LINKNAME", File("linknames.txt")},
            {"NODETRF", File("turns.txt")},    {"LINKTRF", File("oneways.txt")},
            {"LINKSHAPE", File("shapes.txt")}};
  }

  static std::string Text(const Control& control) {
    std::string text;
    for (const auto& [section, lines] : control) text += "[" + section + "]\r\n" + lines;
    return text;
  }

  int Run(const Control& control) {
    return BRN_ZAT_PathOne(nullptr, WriteControl(Text(control)).c_str());
  }

  // The log of a good run up to and without the line `next`.
  static Lines Before(const std::string& next) {
    Lines lines{kStart};
    for (const char* line : {"Setting Road Definition...",
                             "CODELENGTH=14",
                             "Setting Node Storage...",
                             "Setting Node Storage end OK : set counter = 2",
                             "Setting Node Name Storage...",
                             "Setting Node Name Storage from Node Data end OK : set count = 1",
                             "Setting Node Name Storage from Node Name Data end OK : set count = 1",
                             "Setting Node XY...",
                             "Setting Node XY end OK : set count = 2",
                             "Setting Link Storage...",
                             "Setting Link Storage end OK : set count = 1",
                             "Setting Link Speed...",
                             "Setting Link Speed end OK : set counter = 1",
                             "Setting Link Name Storage...",
                             "Setting Link Name Storage from Link Data end 1 : set count = 1",
                             "Setting Link Name Storage from Link Name Data end 1 : set count = 1",
                             "Setting Node Traffic Rules...",
                             "Setting Node Traffic Rules end OK : set count = 1",
                             "Setting Link Traffic Rules...",
                             "Setting Link Traffic Rules end OK : set count = 1",
                             "Setting Link Shape..."}) {
      if (line == next) return lines;
      lines.emplace_back(line);
    }
    return lines;
  }

  // The log of a good run up to and with the line.
  static Lines Through(const std::string& line) {
    Lines lines = Before(line);
    lines.push_back(line);
    return lines;
  }
};

// ---- The order of the steps ----------------------------------------------------------------

TEST_F(PathOneTest, AllStepsInTheirOrder) {
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(log(), Before(""));
  EXPECT_EQ(Output("nodestr.~wk"), Concat({NodeBytes{1, 0, 7, 139500000, 35500000, {100}},
                                           NodeBytes{2, 0, 8, 139600000, 35600000, {100}}}));
  EXPECT_EQ(Output("nnamestr.~wk"),
            Concat({NameBytes{1, "Central", 0, 7}, NameBytes{2, "East", 0, 9}}));
  EXPECT_EQ(Output("linkstr.~wk"), Bytes()
                                       .F64(100)
                                       .F64(1)
                                       .F64(2)
                                       .I32(13101)
                                       .I16(3)
                                       .I16(70)
                                       .I16(80)
                                       .I16(300)
                                       .I16(1)
                                       .Zero(10)
                                       .str());
  EXPECT_EQ(Output("lnamestr.~wk"),
            Concat({NameBytes{100, "Ring", 5, 0}, NameBytes{100, "Road", 6, 0}}));
  EXPECT_EQ(Output("trafrule.~wk"), Bytes().F64(1).F64(100).F64(100).I16(0).I16(2).Zero(4).str());
  EXPECT_EQ(Output("onewayst.~wk"), Bytes().F64(100).F64(1).F64(2).I16(2).I16(0).Zero(4).str());
  EXPECT_EQ(Output("shapedat.dat"),
            Bytes().I32(139500000).I32(35500000).I32(139600000).I32(35600000).str());
  EXPECT_TRUE(Exists(folder_ / "linkdef.dat"));
}

TEST_F(PathOneTest, ASecondRunOverwritesTheFirst) {
  EXPECT_EQ(Run(Everything()), 1);
  const std::string nodes = Output("nodestr.~wk");
  const std::string rules = Output("trafrule.~wk");
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(Output("nodestr.~wk"), nodes);
  EXPECT_EQ(Output("trafrule.~wk"), rules);
}

TEST_F(PathOneTest, NodesAndLinksAreEnough) {
  EXPECT_EQ(Run({{"NODE", File("nodes.txt")}, {"LINK", File("links.txt")}}), 1);
  EXPECT_EQ(log(),
            (Lines{kStart, "Setting Road Definition...", "CODELENGTH=14", "Setting Node Storage...",
                   "Setting Node Storage end OK : set counter = 2", "Setting Node Name Storage...",
                   "Setting Node Name Storage from Node Data end OK : set count = 1",
                   "Setting Node Name Storage from Node Name Data end OK : set count = 0",
                   "Setting Node XY...", "Setting Link Storage...",
                   "Setting Link Storage end OK : set count = 1", "Setting Link Speed...",
                   "Setting Link Name Storage...",
                   "Setting Link Name Storage from Link Data end 1 : set count = 1",
                   "Setting Link Name Storage from Link Name Data end 1 : set count = 0",
                   "Setting Node Traffic Rules...", "Setting Link Traffic Rules...",
                   "Setting Link Shape..."}));
  EXPECT_FALSE(Exists(folder_ / "trafrule.~wk"));
  EXPECT_FALSE(Exists(folder_ / "onewayst.~wk"));
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
}

TEST_F(PathOneTest, WithoutInputOnlyTheRoadDefinitionIsMade) {
  EXPECT_EQ(Run({}), 0);
  EXPECT_EQ(log(),
            (Lines{kStart, "Setting Road Definition...", "CODELENGTH=14", "Setting Node Storage...",
                   "Setting Node Storage end ERROR : set counter = 0"}));
  const std::string road = Output("linkdef.dat");
  EXPECT_NE(road.find("[ATTRIBUTE]\r\nNUMDEF=9\r\n"), std::string::npos);
  EXPECT_NE(road.find("[SYSTEM]\r\nCODELENGTH=14\r\n"), std::string::npos);
  EXPECT_FALSE(Exists(folder_ / "nnamestr.~wk"));
}

TEST_F(PathOneTest, CodesOf18Digits) {
  Control control = Everything();
  control["SYSTEM"] = "CODELENGTH=18\r\n";
  EXPECT_EQ(Run(control), 1);
  EXPECT_EQ(log()[2], "CODELENGTH=18");
  EXPECT_EQ(Output("trafrule.~wk"), Bytes().I64(1).I64(100).I64(100).I16(0).I16(2).Zero(4).str());
}

TEST_F(PathOneTest, AnInvalidCodeLengthFailsAtTheNodes) {
  Control control = Everything();
  control["SYSTEM"] = "CODELENGTH=15\r\n";
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), (Lines{kStart, "Setting Road Definition...", "CODELENGTH=15",
                          "Setting Node Storage..."}));
}

// ---- A failed step skips the later ones ----------------------------------------------------

struct Failure {
  const char* label;
  const char* section;        // the section whose file is missing
  const char* title;          // of the step that fails
  size_t lines_behind_title;  // that the step still logs
};

void PrintTo(const Failure& failure, std::ostream* out) { *out << failure.label; }

class PathOneFailureTest : public PathOneTest, public ::testing::WithParamInterface<Failure> {};

INSTANTIATE_TEST_SUITE_P(
    Steps, PathOneFailureTest,
    ::testing::Values(Failure{"RoadDefinition", "ATTRIBUTE", "Setting Road Definition...", 1},
                      Failure{"Nodes", "NODE", "Setting Node Storage...", 2},
                      Failure{"NodeNames", "NODENAME", "Setting Node Name Storage...", 3},
                      Failure{"NodeXY", "NODEXY", "Setting Node XY...", 2},
                      Failure{"Links", "LINK", "Setting Link Storage...", 2},
                      Failure{"LinkSpeeds", "LINKSPEED", "Setting Link Speed...", 2},
                      Failure{"LinkNames", "LINKNAME", "Setting Link Name Storage...", 3},
                      Failure{"NodeRules", "NODETRF", "Setting Node Traffic Rules...", 2},
                      Failure{"LinkRules", "LINKTRF", "Setting Link Traffic Rules...", 2}),
    [](const auto& tested) { return tested.param.label; });

TEST_P(PathOneFailureTest, SkipsTheLaterSteps) {
  Control control = Everything();
  control[GetParam().section] = File("missing.txt");
  EXPECT_EQ(Run(control), 0);
  Lines expected = Through(GetParam().title);
  ASSERT_EQ(log().size(), expected.size() + GetParam().lines_behind_title);
  EXPECT_EQ(Lines(log().begin(), log().begin() + static_cast<std::ptrdiff_t>(expected.size())),
            expected);
  for (size_t i = expected.size(); i < log().size(); ++i) {
    EXPECT_EQ(log()[i].find("..."), std::string::npos) << log()[i];
  }
}

TEST_F(PathOneTest, AFailedShapeStepFailsTheRun) {
  Control control = Everything();
  control["LINKSHAPE"] = File("missing.txt");
  EXPECT_EQ(Run(control), 0);
  ASSERT_EQ(log().size(), Before("").size() + 1);
  EXPECT_EQ(log().back()[0], '[');
}

// ---- Cancel --------------------------------------------------------------------------------

TEST_F(PathOneTest, SilentModeDoesNotHearTheCancelFlag) {
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(log(), Before(""));
}

TEST_F(PathOneTest, OutsideSilentModeTheRunIsTheSame) {
  g_silent = 0;
  EXPECT_EQ(Run(Everything()), 1);
  EXPECT_EQ(log(), Before(""));
}

TEST_F(PathOneTest, CancelledBeforeItBegins) {
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(Everything()), 0);
  EXPECT_EQ(log(), Lines{kStart});
  EXPECT_FALSE(Exists(folder_ / "linkdef.dat"));
}

// What a run logs when Cancel comes with one of its lines.
struct Cancel {
  const char* label;
  const char* at;
  Lines behind;  // lines after that one
};

void PrintTo(const Cancel& cancel, std::ostream* out) { *out << cancel.label; }

class PathOneCancelTest : public PathOneTest, public ::testing::WithParamInterface<Cancel> {};

INSTANTIATE_TEST_SUITE_P(
    Lines, PathOneCancelTest,
    ::testing::Values(
        // The road definition looks at the flag only before it begins.
        Cancel{"RoadDefinition", "Setting Road Definition...", {"CODELENGTH=14"}},
        Cancel{"CodeLength", "CODELENGTH=14", {}},
        Cancel{"Nodes",
               "Setting Node Storage...",
               {"Setting Node Storage end ERROR : set counter = 0"}},
        Cancel{"NodesEnd", "Setting Node Storage end OK : set counter = 2", {}},
        // Names are read without looking at the flag; the next step's start does.
        Cancel{"NodeNames",
               "Setting Node Name Storage...",
               {"Setting Node Name Storage from Node Data end OK : set count = 1",
                "Setting Node Name Storage from Node Name Data end OK : set count = 1"}},
        Cancel{"NodeNamesEnd",
               "Setting Node Name Storage from Node Name Data end OK : set count = 1",
               {}},
        Cancel{"NodeXYEnd", "Setting Node XY end OK : set count = 2", {}},
        Cancel{
            "Links", "Setting Link Storage...", {"Setting Link Storage end ERROR : set count = 0"}},
        Cancel{"LinksEnd", "Setting Link Storage end OK : set count = 1", {}},
        Cancel{"LinkSpeedsEnd", "Setting Link Speed end OK : set counter = 1", {}},
        Cancel{"LinkNamesEnd",
               "Setting Link Name Storage from Link Name Data end 1 : set count = 1",
               {}},
        Cancel{"NodeRules",
               "Setting Node Traffic Rules...",
               {"Setting Node Traffic Rules end ERROR : set count = 0"}},
        Cancel{"NodeRulesEnd", "Setting Node Traffic Rules end OK : set count = 1", {}},
        Cancel{"LinkRulesEnd", "Setting Link Traffic Rules end OK : set count = 1", {}},
        Cancel{"Shapes", "Setting Link Shape...", {}}),
    [](const auto& tested) { return tested.param.label; });

TEST_P(PathOneCancelTest, FailsTheRun) {
  CancelAt(GetParam().at);
  EXPECT_EQ(Run(Everything()), 0);
  Lines expected = Through(GetParam().at);
  expected.insert(expected.end(), GetParam().behind.begin(), GetParam().behind.end());
  EXPECT_EQ(log(), expected);
}

TEST_F(PathOneTest, ACancelWithoutShapesIsHeardByTheLastProgressCall) {
  Control control = Everything();
  control.erase("LINKSHAPE");
  CancelAt("Setting Link Shape...");
  EXPECT_EQ(Run(control), 0);
  EXPECT_EQ(log(), Before(""));
}

// 70,000 lines and records of each kind: the user is looked at within the passes, too.
TEST_F(PathOneTest, ACancelWithinLongSourcesIsHeard) {
  const auto lines = [&](const char* name, MessageText<int, int, int> form) {
    std::string text;
    char line[128];
    for (int i = 1; i <= 70000; ++i) {
      FormatText(line, sizeof line, form, i, i, i);
      text += line;
    }
    WriteBytes(folder_ / name, text);
  };
  lines("nodes.txt", "%d,0,0,1,%d,%d\r\n");
  lines("names.txt", "%d,3,Name%d\r\n");
  lines("xy.txt", "%d,135.%05d,35\r\n");
  lines("links.txt", "%d,3,1,10,0,0,0,%d,%d,36,36\r\n");
  lines("speeds.txt", "%d,%d,%d,20,30,1\r\n");
  lines("linknames.txt", "%d,0,1,Name%d\r\n");
  lines("turns.txt", "%d,%d,%d,2\r\n");
  lines("oneways.txt", "%d,%d,%d,2,0\r\n");
  lines("shapes.txt", "%d,2\r\n135,35\r\n136.%05d,36\r\n");
  const std::string control = WriteControl(Text(Everything()));
  const int failed = test::CancelAtEach(
      platform::Operation::kRead, 7, [&] { ClearLog(); },
      [&] { return BRN_ZAT_PathOne(nullptr, control.c_str()); }, log());
  EXPECT_GT(failed, 5);
}

// ---- The progress bar ----------------------------------------------------------------------

#ifndef _WIN32
int PathOne(WindowHandle, int64_t, const char* control_file) {
  return BRN_ZAT_PathOne(nullptr, control_file);
}

using test::Terminal;

class PathOneProgressTest : public PathOneTest {
 protected:
  // Runs behind a progress line; returns the positions of its bar.
  std::vector<int> Positions(const Control& control, int expected_result) {
    const std::string path = WriteControl(Text(control));
    g_silent = 0;
    Terminal terminal;
    const int result = FRD_RunDialog(nullptr, PathOne, 0, path.c_str());
    const std::vector<int> positions = terminal.Positions();
    EXPECT_EQ(result, expected_result);
    return positions;
  }
};

TEST_F(PathOneProgressTest, AGoodRunMovesTheBarFrom0To30) {
  Control control = Everything();
  control.erase("LINKSHAPE");
  EXPECT_EQ(Positions(control, 1), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}

TEST_F(PathOneProgressTest, AFailedRoadDefinitionMovesItAllTheSame) {
  Control control = Everything();
  control["ATTRIBUTE"] = File("missing.txt");
  EXPECT_EQ(Positions(control, 0), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}

TEST_F(PathOneProgressTest, AFailedNodeStepMovesItAllTheSame) {
  EXPECT_EQ(Positions({}, 0), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}

TEST_F(PathOneProgressTest, ACancelDuringTheNodesMovesItAllTheSame) {
  CancelAt("Setting Node Storage...");
  EXPECT_EQ(Positions(Everything(), 0), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}

TEST_F(PathOneProgressTest, ACancelAtTheRulesMovesItAllTheSame) {
  CancelAt("Setting Link Traffic Rules end");
  EXPECT_EQ(Positions(Everything(), 0), (std::vector<int>{0, 5, 10, 15, 20, 25, 30}));
}
#endif

// ---- A platform that fails -----------------------------------------------------------------

class PathOneFaultTest : public PathOneTest {
 protected:
  std::set<std::string> Fail(platform::Operation operation, bool sticky,
                             platform::WriteFault fault = platform::WriteFault::kNothingWritten) {
    Control control = Everything();
    control.erase("LINKSHAPE");
    control["ATTRIBUTE"] = File("attributes.txt");
    Source("attributes.txt", "1,a\r\n");
    return FailEach(
        operation,
        {.run =
             [this, control] {
               for (const char* name : {"linkdef.dat", "nodestr.~wk", "linkstr.~wk", "nnamestr.~wk",
                                        "lnamestr.~wk", "trafrule.~wk", "onewayst.~wk"}) {
                 platform::RemoveFile((folder_ / name).c_str());
               }
               return Run(control);
             },
         .check_good =
             [this] {
               // A doubled store is what a write leaves that succeeded at the second try.
               const std::string nodes = Concat({NodeBytes{1, 0, 7, 139500000, 35500000, {100}},
                                                 NodeBytes{2, 0, 8, 139600000, 35600000, {100}}});
               const std::string links = Bytes()
                                             .F64(100)
                                             .F64(1)
                                             .F64(2)
                                             .I32(13101)
                                             .I16(3)
                                             .I16(70)
                                             .I16(80)
                                             .I16(300)
                                             .I16(1)
                                             .Zero(10);
               EXPECT_TRUE(Output("nodestr.~wk") == nodes ||
                           Output("nodestr.~wk") == nodes + nodes);
               EXPECT_TRUE(Output("linkstr.~wk") == links ||
                           Output("linkstr.~wk") == links + links);
               EXPECT_EQ(Output("nnamestr.~wk"),
                         Concat({NameBytes{1, "Central", 0, 7}, NameBytes{2, "East", 0, 9}}));
               EXPECT_EQ(Output("lnamestr.~wk"),
                         Concat({NameBytes{100, "Ring", 5, 0}, NameBytes{100, "Road", 6, 0}}));
               EXPECT_EQ(Output("trafrule.~wk"),
                         Bytes().F64(1).F64(100).F64(100).I16(0).I16(2).Zero(4).str());
               EXPECT_EQ(Output("onewayst.~wk"),
                         Bytes().F64(100).F64(1).F64(2).I16(2).I16(0).Zero(4).str());
               EXPECT_NE(Output("linkdef.dat").find("CODELENGTH=14"), std::string::npos);
             },
         .sticky = sticky,
         .write_fault = fault,
         .goes_on = true});
  }
};

TEST_F(PathOneFaultTest, EveryOpen) {
  EXPECT_GE(Fail(platform::Operation::kOpen, false).size(), 15u);
}

TEST_F(PathOneFaultTest, EveryRead) {
  EXPECT_GE(Fail(platform::Operation::kRead, false).size(), 10u);
}

TEST_F(PathOneFaultTest, EveryWrite) {
  EXPECT_GE(Fail(platform::Operation::kWrite, false).size(), 5u);
}

TEST_F(PathOneFaultTest, EveryWriteFromSomePointOn) {
  EXPECT_GE(Fail(platform::Operation::kWrite, true).size(), 5u);
}

TEST_F(PathOneFaultTest, EveryWriteHalfDone) {
  EXPECT_GE(Fail(platform::Operation::kWrite, false, platform::WriteFault::kHalfWritten).size(),
            5u);
}

TEST_F(PathOneFaultTest, EveryAllocation) {
  EXPECT_GE(Fail(platform::Operation::kAllocate, false).size(), 2u);
}

TEST_F(PathOneFaultTest, EverySeek) {
  EXPECT_GE(Fail(platform::Operation::kSeek, false).size(), 2u);
}

}  // namespace
}  // namespace zatlib
