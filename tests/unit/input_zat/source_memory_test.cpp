// Lack of memory for the lines of a source file is told as such, and memory is taken only when the
// file has more lines.
#include <functional>
#include <string>

#include "../input_msr/msr_test.h"
#include "input_msr/condition_store.h"
#include "input_msr/point_store.h"
#include "input_msr/section_store.h"
#include "input_zat/link_store.h"
#include "input_zat/name_store.h"
#include "input_zat/node_store.h"
#include "input_zat/road_definition.h"
#include "input_zat/shape_step.h"
#include "input_zat/traffic_store.h"

namespace zatlib {
namespace {

using platform::Operation;
using test::Bytes;
using test::RunWithFault;
using test::WriteBytes;
using Step = std::function<int(const char* control)>;

class SourceMemoryTest : public test::MsrTest {
 protected:
  SourceMemoryTest() { CodeLength(14); }

  // The reports of a step for which every allocation from the nth on is refused.
  std::set<std::string> Reports(const Step& step, const std::string& control, int nth = 1) {
    const std::string path = WriteControl(control);
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kAllocate, nth, true}, [&] { return step(path.c_str()); }),
              0);
    const test::Lines reports = LibraryTest::Reports();
    return {reports.begin(), reports.end()};
  }

  static std::set<std::string> NoMemory(const std::string& path, const std::string& step) {
    return {test::Report("Can't allocate memory for " + path + " !", "Memory Error in " + step)};
  }
};

int SetNodes(const char* control) { return BRN_ZAT_SetNodeStore(nullptr, control); }

TEST_F(SourceMemoryTest, NodesAndLinks) {
  const std::string nodes = Source("nodes.txt", "1,7\r\n2,8\r\n");
  EXPECT_EQ(Reports(SetNodes, Files("NODE", {nodes})), NoMemory(nodes, "BRN_ZAT_SetNodeStore"));
  const std::string links = Source("links.txt", "1,3\r\n");
  EXPECT_EQ(Reports([](const char* c) { return BRN_ZAT_SetLinkStore(nullptr, c); },
                    Files("LINK", {links})),
            NoMemory(links, "BRN_ZAT_SetLinkStore"));
}

TEST_F(SourceMemoryTest, NamesAndRules) {
  const std::string names = Source("names.txt", "1,0,Name\r\n");
  EXPECT_EQ(Reports([](const char* c) { return BRN_ZAT_SetNodeNameStore(nullptr, c); },
                    Files("NODENAME", {names})),
            NoMemory(names, "BRN_ZAT_SetNodeNameStore"));
  EXPECT_EQ(Reports([](const char* c) { return BRN_ZAT_SetLinkNameStore(nullptr, c); },
                    Files("LINKNAME", {names})),
            NoMemory(names, "BRN_ZAT_SetLinkNameStore"));
  EXPECT_EQ(Reports([](const char* c) { return BRN_ZAT_SetNodeTrfData(nullptr, c); },
                    Files("NODETRF", {names})),
            NoMemory(names, "BRN_ZAT_SetNodeTrfData"));
  EXPECT_EQ(Reports([](const char* c) { return BRN_ZAT_SetLinkTrfData(nullptr, c); },
                    Files("LINKTRF", {names})),
            NoMemory(names, "BRN_ZAT_SetLinkTrfData"));
}

// These steps have memory messages of their own, for the whole store and for the rows.
TEST_F(SourceMemoryTest, CoordinatesAndSpeeds) {
  WriteBytes(folder_ / "nodestr.~wk", Bytes().F64(1).Zero(88));
  WriteBytes(folder_ / "linkstr.~wk", Bytes().F64(1).Zero(40));
  const std::set<std::string> nodes = {
      "[Can't allocate the memory for the node store and the index !]"
      "[Memory Error in BRN_ZAT_SetNodeXYData]"};
  const std::set<std::string> links = {
      "[Can't allocate the memory for the LinkStore !][Memory Error in BRN_ZAT_SetLinkSpeedData]"};
  const std::string rows = Source("rows.txt", "1,135,35\r\n");
  // The store, its index, the lines, their records.
  for (const int nth : {1, 2, 3, 4}) {
    EXPECT_EQ(Reports([](const char* c) { return BRN_ZAT_SetNodeXYData(nullptr, c); },
                      Files("NODEXY", {rows}), nth),
              nodes)
        << nth;
    EXPECT_EQ(Reports([](const char* c) { return BRN_ZAT_SetLinkSpeedData(nullptr, c); },
                      Files("LINKSPEED", {rows}), nth),
              links)
        << nth;
  }
}

TEST_F(SourceMemoryTest, HeadersAndPointsOfMifFiles) {
  const std::string mif = Pair("nodes", kHeader + Point("135", "35"), "1,7\r\n");
  const auto control = Files("NODE", {mif}, 1);
  EXPECT_EQ(Reports(SetNodes, control), NoMemory(mif, "BRN_SetMifInformation"));
  // The header; the store; the lines and the records of the MID file; those of the MIF file.
  for (const int nth : {5, 6}) {
    EXPECT_EQ(Reports(SetNodes, control, nth), NoMemory(mif, "BRN_ZAT_SetNodeStore")) << nth;
  }
}

TEST_F(SourceMemoryTest, ClassFiles) {
  const std::string classes = Source("classes.txt", "01,Road\r\n");
  EXPECT_EQ(Reports([](const char* c) { return BRN_CreateRoadDef(nullptr, c, Prologue::kWithout); },
                    Files("ATTRIBUTE", {classes})),
            NoMemory(classes, "BRN_CreateRoadDef"));
}

TEST_F(SourceMemoryTest, TheMsrLayout) {
  const std::string sections = Source("sections.csv", "1,3,3\r\n");
  EXPECT_EQ(Reports([](const char* c) { return BRN_MSR_SetLinkStore(nullptr, c); },
                    Files("DKUKAN", {sections})),
            NoMemory(sections, "BRN_MSR_SetLinkStore"));
  EXPECT_EQ(Reports([](const char* c) { return BRN_MSR_SetLinkNameStore(nullptr, c); },
                    Files("KUKANZ", {sections})),
            NoMemory(sections, "BRN_MSR_SetLinkNameStore"));
  EXPECT_EQ(Reports([](const char* c) { return BRN_MSR_SetTukoujData(nullptr, c); },
                    Files("TUKOUJ", {sections})),
            NoMemory(sections, "BRN_MSR_SetTukoujData"));
  const std::string mif = Pair("points", kHeader + Point("135", "35"), "3,1,7,0,0,Name\r\n");
  const auto points = [](const char* c) { return BRN_MSR_SetNodeStore(nullptr, c); };
  // The store; the header; the lines of the MID file; those of the MIF file.
  EXPECT_EQ(Reports(points, Files("DROTEN", {mif}), 3),
            NoMemory(folder_ / "points.mid", "BRN_MSR_SetNodeStore"));
  EXPECT_EQ(Reports(points, Files("DROTEN", {mif}), 5), NoMemory(mif, "BRN_MSR_SetNodeStore"));
  EXPECT_EQ(Reports([](const char* c) { return BRN_MSR_SetNodeNameStore(nullptr, c); },
                    Files("DROTEN", {mif})),
            NoMemory(folder_ / "points.mid", "BRN_MSR_SetNodeNameStore"));
}

TEST_F(SourceMemoryTest, Shapes) {
  const auto step = [](const char* c) { return BRN_CreateShape(nullptr, 0, 1, c); };
  const std::string text = Source("shapes.txt", "1,1\r\n135,35\r\n");
  const auto control = Files("LINKSHAPE", {text});
  // Behind the list of the files: what waits to be written, which can do with less; the lines and
  // their records.
  for (const int nth : {3, 6, 7}) {
    EXPECT_EQ(Reports(step, control, nth), NoMemory(text, "SHAPE_CreateShapeFileFromZatText"))
        << nth;
  }
  const std::string mif = Pair("links", kHeader + std::string("Line 135 35 136 36\r\n"), "1\r\n");
  const auto pair = Files("LINK", {mif}, 1);
  EXPECT_EQ(Reports(step, pair, 3), NoMemory(mif, "SHAPE_CreateShapeFileFromZatMif"));
  // The header, then as above for the MID file, then the lines and the records of the MIF file.
  for (const int nth : {7, 8}) {
    EXPECT_EQ(Reports(step, pair, nth),
              NoMemory(folder_ / "links.mid", "SHAPE_CreateShapeFileFromZatMif"))
        << nth;
  }
  for (const int nth : {9, 10}) {
    EXPECT_EQ(Reports(step, pair, nth), NoMemory(mif, "SHAPE_CreateShapeFileFromZatMif")) << nth;
  }
}

// A file that has been read to its end takes no memory, nor does an empty one: the store's block is
// all that an empty file asks for, and that can be a small one.
TEST_F(SourceMemoryTest, NoMemoryIsTakenBehindTheEndOfAFile) {
  const std::string nodes = Source("nodes.txt", "1,7\r\n2,8\r\n");
  std::string control = WriteControl(Files("NODE", {nodes}));
  int64_t count = 0;
  EXPECT_EQ(RunWithFault(
                {Operation::kAllocate, 4, true}, [&] { return SetNodes(control.c_str()); }, &count),
            1);
  EXPECT_EQ(count, 3);
  EXPECT_EQ(Output("nodestr.~wk").size(), 192u);
  control = WriteControl(Files("NODE", {Source("empty.txt", "")}));
  EXPECT_EQ(
      RunWithFault({Operation::kAllocate, 1, true}, [&] { return SetNodes(control.c_str()); }), 1);
  EXPECT_EQ(Output("nodestr.~wk"), "");
}

}  // namespace
}  // namespace zatlib
