// A field of 64 bytes or more ends the process by design. Whatever came before it is in its file
// then: a store holds the records of all good lines.
#include <cstdlib>
#include <functional>
#include <string>

#include "../input_msr/msr_test.h"
#include "input_msr/condition_store.h"
#include "input_msr/point_store.h"
#include "input_msr/section_store.h"
#include "input_zat/link_store.h"
#include "input_zat/name_store.h"
#include "input_zat/node_store.h"
#include "input_zat/shape_step.h"
#include "input_zat/traffic_store.h"

#if GTEST_HAS_DEATH_TEST && !defined(_WIN32)

namespace zatlib {
namespace {

using test::Bytes;
using test::Reported;
using test::WriteBytes;

constexpr int kGood = 1000;

class LongFieldTest : public test::MsrTest {
 protected:
  LongFieldTest() { CodeLength(14); }

  // A thousand lines made of a number from 1 on, and then one whose field is too long.
  static std::string GoodLines(const std::function<std::string(const std::string&)>& line,
                               const std::string& bad) {
    std::string text;
    for (int i = 1; i <= kGood; ++i) text += line(std::to_string(i)) + "\r\n";
    return text + bad + "\r\n" + line("9999") + "\r\n";
  }

  // A step that the long field ends, and the store that it leaves.
  std::string Left(const std::function<void(const char*)>& step, const std::string& control,
                   const std::string& store) {
    const std::string path = WriteControl(control);
    EXPECT_DEATH(step(path.c_str()), "");
    return Output(store);
  }

  static std::string Records(const std::function<std::string(double)>& record) {
    std::string all;
    for (int i = 1; i <= kGood; ++i) all += record(i);
    return all;
  }

  const std::string field_ = std::string(64, 'x');
};

// 96 bytes a node.
TEST_F(LongFieldTest, NodesFromText) {
  const std::string text = GoodLines([](const std::string& i) { return i + ",7"; }, field_);
  const std::string store =
      Left([](const char* control) { BRN_ZAT_SetNodeStore(nullptr, control); },
           Files("NODE", {Source("nodes.txt", text)}), "nodestr.~wk");
  EXPECT_EQ(store.size(), 96000u);
  EXPECT_TRUE(store ==
              Records([](double i) { return Bytes().F64(i).F64(0).I16(7).Zero(78).str(); }));
}

TEST_F(LongFieldTest, NodesFromMif) {
  std::string mif = kHeader;
  for (int i = 0; i < kGood + 2; ++i) mif += Point("135.5", "35.5");
  const std::string text = GoodLines([](const std::string& i) { return i + ",7"; }, field_);
  const std::string store =
      Left([](const char* control) { BRN_ZAT_SetNodeStore(nullptr, control); },
           Files("NODE", {Pair("nodes", mif, text)}, 1), "nodestr.~wk");
  EXPECT_TRUE(
      store == Records([](double i) {
        return Bytes().F64(i).F64(0).I16(7).Zero(6).I32(135500000).I32(35500000).Zero(64).str();
      }));
}

// 48 bytes a link.
TEST_F(LongFieldTest, LinksFromTextAndMid) {
  const std::string text = GoodLines([](const std::string& i) { return i + ",3"; }, field_);
  const std::string expected =
      Records([](double i) { return Bytes().F64(i).Zero(28).I16(3).Zero(10).str(); });
  const auto step = [](const char* control) { BRN_ZAT_SetLinkStore(nullptr, control); };
  EXPECT_TRUE(Left(step, Files("LINK", {Source("links.txt", text)}), "linkstr.~wk") == expected);
  EXPECT_TRUE(Left(step, Files("LINK", {Pair("links", "", text)}, 1), "linkstr.~wk") == expected);
}

// The speeds and the coordinates are put into stores that are saved at the end of their steps.
TEST_F(LongFieldTest, SpeedsAndCoordinatesLeaveTheStoresAsTheyWere) {
  const std::string links =
      Records([](double i) { return Bytes().F64(i).Zero(28).I16(3).Zero(10).str(); });
  WriteBytes(folder_ / "linkstr.~wk", links);
  const std::string speeds = GoodLines([](const std::string& i) { return i + ",,,20,30"; }, field_);
  EXPECT_TRUE(Left([](const char* control) { BRN_ZAT_SetLinkSpeedData(nullptr, control); },
                   Files("LINKSPEED", {Source("speeds.txt", speeds)}), "linkstr.~wk") == links);
  const std::string nodes = Records([](double i) { return Bytes().F64(i).Zero(88).str(); });
  WriteBytes(folder_ / "nodestr.~wk", nodes);
  const std::string places = GoodLines([](const std::string& i) { return i + ",135,35"; }, field_);
  EXPECT_TRUE(Left([](const char* control) { BRN_ZAT_SetNodeXYData(nullptr, control); },
                   Files("NODEXY", {Source("xy.txt", places)}), "nodestr.~wk") == nodes);
}

// 40 bytes a name: the code, and "Name" in the 20 bytes behind it.
TEST_F(LongFieldTest, Names) {
  const std::string names = GoodLines([](const std::string& i) { return i + ",0,Name"; }, field_);
  Source("none.mid", "");
  const std::string expected =
      Records([](double i) { return Bytes().F64(i).Text("Name", 20).Zero(12).str(); });
  EXPECT_TRUE(Left([](const char* control) { BRN_ZAT_SetNodeNameStore(nullptr, control); },
                   Files("NODENAME", {Source("names.txt", names)}), "nnamestr.~wk") == expected);
  const std::string links =
      GoodLines([](const std::string& i) { return i + ",,,,,,,,,,,,,Name"; }, field_);
  EXPECT_TRUE(Left([](const char* control) { BRN_ZAT_SetLinkNameStore(nullptr, control); },
                   Files("LINK", {Source("links.txt", links)}), "lnamestr.~wk") == expected);
}

// 32 bytes a rule.
TEST_F(LongFieldTest, Rules) {
  const std::string rules = GoodLines([](const std::string& i) { return i + ",5,6,2"; }, field_);
  EXPECT_TRUE(
      Left([](const char* control) { BRN_ZAT_SetNodeTrfData(nullptr, control); },
           Files("NODETRF", {Source("rules.txt", rules)}), "trafrule.~wk") ==
      Records([](double i) { return Bytes().F64(i).F64(5).F64(6).I16(0).I16(2).Zero(4).str(); }));
  const std::string ways = GoodLines([](const std::string& i) { return i + ",5,6,2,1"; }, field_);
  EXPECT_TRUE(
      Left([](const char* control) { BRN_ZAT_SetLinkTrfData(nullptr, control); },
           Files("LINKTRF", {Source("ways.txt", ways)}), "onewayst.~wk") ==
      Records([](double i) { return Bytes().F64(i).F64(5).F64(6).I16(2).I16(1).Zero(4).str(); }));
}

// Area 3: codes of 3 x 10^12 and more.
TEST_F(LongFieldTest, TheMsrLayout) {
  std::string mif = kHeader;
  for (int i = 0; i < kGood + 2; ++i) mif += Point("135.5", "35.5");
  const std::string points =
      GoodLines([](const std::string& i) { return "3," + i + ",7,0,0,Name"; }, field_);
  const std::string droten = Files("DROTEN", {Pair("nodes", mif, points)});
  EXPECT_TRUE(Left([](const char* control) { BRN_MSR_SetNodeStore(nullptr, control); }, droten,
                   "nodestr.~wk") == Records([](double i) {
                return Bytes()
                    .F64(3e12 + i)
                    .F64(0)
                    .I16(7)
                    .Zero(6)
                    .I32(135500000)
                    .I32(35500000)
                    .Zero(64)
                    .str();
              }));
  EXPECT_TRUE(Left([](const char* control) { BRN_MSR_SetNodeNameStore(nullptr, control); }, droten,
                   "nnamestr.~wk") == Records([](double i) {
                return Bytes().F64(3e12 + i).Text("Name", 20).Zero(8).I16(7).Zero(2).str();
              }));
  const std::string sections = GoodLines([](const std::string& i) { return i + ",3,3"; }, field_);
  EXPECT_TRUE(
      Left([](const char* control) { BRN_MSR_SetLinkStore(nullptr, control); },
           Files("DKUKAN", {Source("links.csv", sections)}), "linkstr.~wk") ==
      Records([](double i) { return Bytes().F64(3e12 + i).Zero(28).I16(3).Zero(10).str(); }));
  const std::string names =
      GoodLines([](const std::string& i) { return "3," + i + ",0,Name"; }, field_);
  EXPECT_TRUE(
      Left([](const char* control) { BRN_MSR_SetLinkNameStore(nullptr, control); },
           Files("KUKANZ", {Source("names.csv", names)}), "lnamestr.~wk") ==
      Records([](double i) { return Bytes().F64(3e12 + i).Text("Name", 20).Zero(12).str(); }));
  const std::string rules =
      GoodLines([](const std::string& i) { return "3," + i + ",5,6,2"; }, "3," + field_);
  EXPECT_TRUE(
      Left([](const char* control) { BRN_MSR_SetTukoujData(nullptr, control); },
           Files("TUKOUJ", {Source("rules.csv", rules)}), "trafrule.~wk") == Records([](double i) {
        return Bytes().F64(3e12 + i).F64(3e12 + 5).F64(3e12 + 6).I16(0).I16(2).Zero(4).str();
      }));
}

// Two points of 8 bytes and an entry of 16 a link. Of the link with the long field the points in
// front of it are there, and no entry.
TEST_F(LongFieldTest, ShapesFromText) {
  std::string text;
  std::string points;
  std::string entries;
  for (int i = 1; i <= kGood; ++i) {
    text += std::to_string(i) + ",2\r\n135,35\r\n136,36\r\n";
    points += Bytes().I32(135000000).I32(35000000).I32(136000000).I32(36000000).str();
    entries += Bytes().F64(i).I32(16 * (i - 1)).I32(2).str();
  }
  text += "1001,2\r\n137,37\r\n138," + field_ + "\r\n";
  points += Bytes().I32(137000000).I32(37000000).str();
  const std::string control = Files("LINKSHAPE", {Source("shapes.txt", text)});
  EXPECT_TRUE(Left([](const char* path) { BRN_CreateShape(nullptr, 0, 1, path); }, control,
                   "shapedbl.idx") == entries);
  EXPECT_TRUE(Output("shapedat.dat") == points);
}

TEST_F(LongFieldTest, ShapesFromMif) {
  std::string mif = kHeader;
  std::string points;
  std::string entries;
  for (int i = 1; i <= kGood; ++i) {
    mif += "Line 135 35 136 36\r\n";
    points += Bytes().I32(135000000).I32(35000000).I32(136000000).I32(36000000).str();
    entries += Bytes().F64(i).I32(16 * (i - 1)).I32(2).str();
  }
  mif += "Line 1 1 2 2\r\n";
  const std::string mid = GoodLines([](const std::string& i) { return i; }, field_);
  const std::string control = Files("LINK", {Pair("links", mif, mid)}, 1);
  EXPECT_TRUE(Left([](const char* path) { BRN_CreateShape(nullptr, 0, 1, path); }, control,
                   "shapedbl.idx") == entries);
  EXPECT_TRUE(Output("shapedat.dat") == points);
}

// A store that cannot be written comes first: that is reported, and the process goes on.
TEST_F(LongFieldTest, ARefusedWriteComesBeforeTheEnd) {
  const std::string text = GoodLines([](const std::string& i) { return i + ",7"; }, field_);
  const std::string control = WriteControl(Files("NODE", {Source("nodes.txt", text)}));
  const auto run = [&] {
    platform::ArmFault(platform::Operation::kWrite, 1, true);
    const int result = BRN_ZAT_SetNodeStore(nullptr, control.c_str());
    const std::string report =
        "Can't write the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01, 0 !";
    std::_Exit(result == 0 && Reported(log(), report) ? 7 : 8);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(7), "");
}

}  // namespace
}  // namespace zatlib

#endif
