#include "input_msr/record_readers.h"

#include <cstring>
#include <string>

#include "frd/line_source.h"
#include "msr_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::LinkBytes;
using test::NameBytes;
using test::NodeBytes;
using test::RuleRecord;
using test::SectionName;

// Double-byte characters whose second bytes are an ordinary one and a backslash.
constexpr char kEast[] = "\x93\x8C";
constexpr char kTable[] = "\x95\x5C";

template <typename Record>
std::string BytesOf(const Record& record) {
  return std::string(reinterpret_cast<const char*>(&record), sizeof record);
}

class MsrReadersTest : public test::MsrTest {
 protected:
  void Open(const std::string& content) {
    LineSource file;
    ASSERT_TRUE(file.Open(Source("source.csv", content).c_str()));
    lines_ = zatlib::Lines();
    ASSERT_TRUE(LineSource::MakeRoom(&lines_));
    file.NextPiece(&lines_);
  }

  // The record that the reader makes of the first line, over leftovers of an earlier one.
  template <typename Record, typename Reader, typename... Arguments>
  std::string Read(Reader reader, const std::string& content, Arguments... arguments) {
    Open(content);
    Record record;
    std::memset(static_cast<void*>(&record), 0x5A, sizeof record);
    EXPECT_EQ(reader(lines_, &record, arguments...), 1);
    return BytesOf(record);
  }

  std::string Node(const std::string& content, int code_length = 14) {
    return Read<NodeStoreRecord>(BRN_MSR_ReadDrotenRecord, content, code_length);
  }
  std::string NodeName(const std::string& content, int code_length = 14) {
    return Read<NameStoreRecord>(BRN_MSR_ReadNodeName, content, code_length);
  }
  std::string Section(const std::string& content, DefaultSpeeds defaults = {0, 0}) {
    return Read<LinkStoreRecord>(BRN_MSR_ReadDkukanRecord, content, 14, defaults);
  }
  std::string Section18(const std::string& content) {
    return Read<LinkStoreRecord>(BRN_MSR_ReadDkukanRecord, content, 18, DefaultSpeeds{0, 0});
  }
  std::string Kukanz(const std::string& content, int code_length = 14) {
    return Read<NameStoreRecord>(BRN_MSR_ReadKukanzRecord, content, code_length);
  }
  std::string Rule(const std::string& content, int code_length = 14) {
    return Read<RuleStoreRecord>(BRN_MSR_ReadTukoujRecord, content, code_length);
  }
  int RuleResult(const std::string& content) {
    Open(content);
    RuleStoreRecord record;
    return BRN_MSR_ReadTukoujRecord(lines_, &record, 14);
  }

  zatlib::Lines lines_;
};

// ---- Road points ---------------------------------------------------------------------------

TEST_F(MsrReadersTest, APointsColumns) {
  EXPECT_EQ(Node("10,7,3,11,8,\"Name\",8,21,22,23,24,25,26,27,28,29\r\n"),
            std::string(NodeBytes{
                10000000000007.0,
                11000000000008.0,
                3,
                0,
                0,
                {10000000000021.0, 10000000000022.0, 10000000000023.0, 10000000000024.0,
                 10000000000025.0, 10000000000026.0, 10000000000027.0, 10000000000028.0}}));
}

TEST_F(MsrReadersTest, APointsColumnsWithCodesOf18Digits) {
  EXPECT_EQ(Node("10,7,3,11,8,Name,2,21,0,9999999999\r\n", 18), Bytes()
                                                                    .I64(100000000000000007)
                                                                    .I64(110000000000000008)
                                                                    .I16(3)
                                                                    .Zero(14)
                                                                    .I64(100000000000000021)
                                                                    .I64(0)
                                                                    .I64(100000009999999999)
                                                                    .Zero(40)
                                                                    .str());
}

TEST_F(MsrReadersTest, Point5OfArea3) {
  EXPECT_EQ(Node("3,5\r\n", 14), std::string(NodeBytes{3000000000005.0, 0, 0, 0, 0, {}}));
  EXPECT_EQ(Node("3,5\r\n", 18), Bytes().I64(30000000000000005).Zero(88).str());
}

TEST_F(MsrReadersTest, Point5OfArea99) {
  EXPECT_EQ(Node("99,5\r\n", 14), std::string(NodeBytes{99000000000005.0, 0, 0, 0, 0, {}}));
  EXPECT_EQ(Node("99,5\r\n", 18), Bytes().I64(990000000000000005).Zero(88).str());
}

TEST_F(MsrReadersTest, APointWithoutAnArea) {
  EXPECT_EQ(Node("0,5,0,0,6,,1,7\r\n"), std::string(NodeBytes{5, 6, 0, 0, 0, {7}}));
  EXPECT_EQ(Node(",5\r\n", 18), Bytes().I64(5).Zero(88).str());
}

TEST_F(MsrReadersTest, CodesOfZeroStayZero) {
  EXPECT_EQ(Node("3,0,1,4,0,,0,0,0,7,0\r\n"),
            std::string(NodeBytes{0, 0, 1, 0, 0, {0, 0, 3000000000007.0}}));
  EXPECT_EQ(Node("3,0,1,4,,,0,,\"\",7,0.0\r\n", 18),
            Bytes().Zero(16).I16(1).Zero(14 + 16).I64(30000000000000007).Zero(40).str());
}

TEST_F(MsrReadersTest, CodesWithDecimals) {
  EXPECT_EQ(Node("3.9,5.5\r\n", 14), std::string(NodeBytes{3000000000005.5, 0, 0, 0, 0, {}}));
  EXPECT_EQ(Node("3,5.9\r\n", 18), Bytes().I64(30000000000000005).Zero(88).str());
  // Half is not zero: it takes the area, and is then cut.
  EXPECT_EQ(Node("3,0.5\r\n", 14), std::string(NodeBytes{3000000000000.5, 0, 0, 0, 0, {}}));
  EXPECT_EQ(Node("3,0.5\r\n", 18), Bytes().I64(30000000000000000).Zero(88).str());
  EXPECT_EQ(Node("3,1e3\r\n", 18), Bytes().I64(30000000000001000).Zero(88).str());
}

TEST_F(MsrReadersTest, AHeaderLineIsAnEmptyPoint) {
  EXPECT_EQ(Node("\"AREA\",\"NODECODE\",\"ATTR\",\"AREA2\",\"NODE2\",\"NAME\",\"NUM\",\"L1\"\r\n"),
            std::string(96, '\0'));
}

TEST_F(MsrReadersTest, HalfAPoint) {
  EXPECT_EQ(Node("3,5,7,4\r\n"), std::string(NodeBytes{3000000000005.0, 0, 7, 0, 0, {}}));
  EXPECT_EQ(Node("3"), std::string(96, '\0'));
  EXPECT_EQ(Node("\r\n"), std::string(96, '\0'));
  EXPECT_EQ(Node(std::string("3,5\0,7,8", 8)),
            std::string(NodeBytes{3000000000005.0, 0, 0, 0, 0, {}}));
}

TEST_F(MsrReadersTest, TheAttributeHas16Bits) {
  EXPECT_EQ(Node("0,1,70000\r\n"), std::string(NodeBytes{1, 0, 4464, 0, 0, {}}));
  EXPECT_EQ(Node("0,1,-1\r\n"), std::string(NodeBytes{1, 0, 65535, 0, 0, {}}));
}

TEST_F(MsrReadersTest, ATabSplitsLikeAComma) {
  EXPECT_EQ(Node("3\t5,7\t4\t6\r\n"),
            std::string(NodeBytes{3000000000005.0, 4000000000006.0, 7, 0, 0, {}}));
}

TEST_F(MsrReadersTest, QuotesAtTheEdgesOfAFieldAreDropped) {
  EXPECT_EQ(Node("\"3\",\"123\",\"7\"\r\n"),
            std::string(NodeBytes{3000000000123.0, 0, 7, 0, 0, {}}));
}

TEST_F(MsrReadersTest, ALeadByteAtTheEndOfAFieldTakesNothingOfTheNext) {
  EXPECT_EQ(Node("3,5,1,0,0,\"\x83\",1,7\r\n"),
            std::string(NodeBytes{3000000000005.0, 0, 1, 0, 0, {3000000000007.0}}));
  EXPECT_EQ(Node("3,5,1,0,0,ab\x83,1,7\r\n"),
            std::string(NodeBytes{3000000000005.0, 0, 1, 0, 0, {3000000000007.0}}));
}

TEST_F(MsrReadersTest, AtTheEndOfTheFileThereIsNoPoint) {
  Open("3,5\r\n");
  NodeStoreRecord record;
  EXPECT_EQ(BRN_MSR_ReadDrotenRecord(lines_, &record, 14), 1);
  EXPECT_EQ(BRN_MSR_ReadDrotenRecord(lines_, &record, 14), 0);
}

TEST_F(MsrReadersTest, APointsLineHas2047BytesAndItsEnd) {
  EXPECT_EQ(Node("3,5" + std::string(2044, ',') + "\r\n"),
            std::string(NodeBytes{3000000000005.0, 0, 0, 0, 0, {}}));
  Open("3,5" + std::string(2045, ',') + "\r\n3,6\r\n");
  NodeStoreRecord record;
  EXPECT_EQ(BRN_MSR_ReadDrotenRecord(lines_, &record, 14), 0);
}

// ---- Names of road points ------------------------------------------------------------------

TEST_F(MsrReadersTest, APointNamesColumns) {
  EXPECT_EQ(NodeName("3,5,513,4,6,\"Central\",1,7\r\n"),
            std::string(NameBytes{3000000000005.0, "Central", 0, 513}));
  EXPECT_EQ(NodeName("3,5,65535,4,6,Central", 18),
            Bytes().I64(30000000000000005).Text("Central", 20).Zero(8).I16(65535).Zero(2).str());
}

TEST_F(MsrReadersTest, AnUnknownPointsNameTakesNoArea) {
  EXPECT_EQ(NodeName("3,0,0,0,0,N\r\n"), std::string(NameBytes{0, "N", 0, 0}));
}

TEST_F(MsrReadersTest, APointWithoutAName) {
  EXPECT_EQ(NodeName("3,5,1,0,0,\"\",1\r\n"), std::string(NameBytes{3000000000005.0, "", 0, 1}));
  EXPECT_EQ(NodeName("3,5,1\r\n"), std::string(NameBytes{3000000000005.0, "", 0, 1}));
}

TEST_F(MsrReadersTest, ANameOf22BytesIsCutTo20) {
  EXPECT_EQ(NodeName("0,1,0,0,0,abcdefghijklmnopqrstuv\r\n"),
            std::string(NameBytes{1, "abcdefghijklmnopqrst", 0, 0}));
}

TEST_F(MsrReadersTest, APairAcrossByte20IsDroppedWhole) {
  std::string pairs;
  for (int i = 0; i < 11; ++i) pairs += kEast;
  ASSERT_EQ(pairs.size(), 22u);
  EXPECT_EQ(NodeName("0,1,0,0,0," + pairs + "\r\n"),
            std::string(NameBytes{1, pairs.substr(0, 20), 0, 0}));
  // With a letter before them the tenth pair has bytes 20 and 21.
  EXPECT_EQ(NodeName("0,1,0,0,0,A" + pairs + "\r\n"),
            std::string(NameBytes{1, "A" + pairs.substr(0, 18), 0, 0}));
  // The pair's second byte may look like an ordinary character.
  EXPECT_EQ(NodeName("0,1,0,0,0," + std::string(19, 'x') + kTable + "z\r\n"),
            std::string(NameBytes{1, std::string(19, 'x'), 0, 0}));
  EXPECT_EQ(NodeName("0,1,0,0,0," + std::string(18, 'x') + kTable + "z\r\n"),
            std::string(NameBytes{1, std::string(18, 'x') + kTable, 0, 0}));
}

TEST_F(MsrReadersTest, ANameEndsWithItsField) {
  const std::string name = NodeName("0,1,0,0,0,\"ab\x83\",1,2\r\n");
  EXPECT_EQ(name.substr(0, 10), Bytes().F64(1).Text("ab", 2).str());
  EXPECT_EQ(name.substr(11, 29), std::string(29, '\0'));
}

// ---- Road sections -------------------------------------------------------------------------

TEST_F(MsrReadersTest, ASectionsColumns) {
  EXPECT_EQ(Section("5,07,3,12,300,400,500,6,7,-600,60,50,-9\r\n"),
            std::string(LinkBytes{3000000000005.0, 3000000000006.0, 3000000000007.0, 3012, 60, 50,
                                  300, 7, 400, -600, 500, -9}));
}

TEST_F(MsrReadersTest, ASectionsColumnsWithCodesOf18Digits) {
  EXPECT_EQ(Section18("5,7,3,12,300,400,500,6,0,600,60,50,9\r\n"), Bytes()
                                                                       .I64(30000000000000005)
                                                                       .I64(30000000000000006)
                                                                       .I64(0)
                                                                       .I32(3012)
                                                                       .I16(0)
                                                                       .I16(60)
                                                                       .I16(50)
                                                                       .I16(300)
                                                                       .I16(7)
                                                                       .I16(400)
                                                                       .I16(600)
                                                                       .I16(500)
                                                                       .I16(9)
                                                                       .I16(0)
                                                                       .str());
}

TEST_F(MsrReadersTest, AHeaderLineIsAnEmptySection) {
  // Its speeds are 0 as well, and so take the defaults.
  LinkBytes expected;
  expected.speed_a = 40;
  expected.speed_b = 30;
  EXPECT_EQ(Section("\"LINKCODE\",\"ROADKIND\",\"AREA\",\"CITY\",\"LENGTH\",\"LEVEL\",\"LANES\","
                    "\"NODEA\",\"NODEB\",\"WIDTH\",\"SPEEDA\",\"SPEEDB\",\"ROADFLAG\"\r\n",
                    {40, 30}),
            std::string(expected));
}

TEST_F(MsrReadersTest, MissingColumnsOfASectionStayZero) {
  EXPECT_EQ(Section("\r\n", {40, 30}), std::string(48, '\0'));
  EXPECT_EQ(Section("5,1\r\n", {40, 30}), std::string(LinkBytes{5, 0, 0, 0, 0, 0, 0, 1}));
  EXPECT_EQ(Section("5,1,3,12,300,4,5,6,7,8,0\r\n", {40, 30}),
            std::string(LinkBytes{3000000000005.0, 3000000000006.0, 3000000000007.0, 3012, 40, 0,
                                  300, 1, 4, 8, 5, 0}));
}

TEST_F(MsrReadersTest, ASpeedOfZeroTakesTheDefault) {
  const auto speeds = [this](const std::string& columns) {
    return Section("0,0,0,0,0,0,0,0,0,0," + columns + "\r\n", {40, 65535}).substr(30, 4);
  };
  EXPECT_EQ(speeds("0,0"), Bytes().I16(40).I16(65535).str());
  EXPECT_EQ(speeds(",\"\""), Bytes().I16(40).I16(65535).str());
  EXPECT_EQ(speeds("-5,-1"), Bytes().I16(0).I16(0).str());
  EXPECT_EQ(speeds("1,65535"), Bytes().I16(1).I16(65535).str());
}

TEST_F(MsrReadersTest, TheCityTakesTheArea) {
  const auto city = [this](const std::string& area, const std::string& city_column) {
    return Section("1,1," + area + "," + city_column + "\r\n").substr(24, 4);
  };
  EXPECT_EQ(city("3", "12"), Bytes().I32(3012).str());
  EXPECT_EQ(city("3", "1"), Bytes().I32(3001).str());
  EXPECT_EQ(city("3", "1000"), Bytes().I32(4000).str());
  EXPECT_EQ(city("99", "999"), Bytes().I32(99999).str());
  EXPECT_EQ(city("0", "12"), Bytes().I32(12).str());
  EXPECT_EQ(city("3", "0"), Bytes().I32(0).str());
  EXPECT_EQ(city("3", ""), Bytes().I32(0).str());
  EXPECT_EQ(city("3", "-5"), Bytes().I32(-5).str());
}

TEST_F(MsrReadersTest, TheAreaOfASectionMayFollowItsCode) {
  // The codes are composed when the whole line has been read.
  EXPECT_EQ(Section("5,1\r\n").substr(0, 8), Bytes().F64(5).str());
  EXPECT_EQ(Section("5,1,99\r\n").substr(0, 8), Bytes().F64(99000000000005.0).str());
}

TEST_F(MsrReadersTest, OnlyThe13FirstColumnsOfASectionAreRead) {
  const std::string thirteen = "5,1,3,0,1,2,3,6,7,4,60,50,9";
  const std::string record = Section(thirteen + "\r\n");
  EXPECT_EQ(Section(thirteen + ",1,2,3\r\n"), record);
  EXPECT_EQ(Section(thirteen + "," + std::string(500, 'x') + "\r\n"), record);
}

TEST_F(MsrReadersTest, FieldsOf63BytesFit) {
  EXPECT_EQ(Section("5," + std::string(62, '0') + "7\r\n").substr(36, 2), Bytes().I16(7).str());
}

TEST_F(MsrReadersTest, AtTheEndOfTheFileThereIsNoSection) {
  Open("");
  LinkStoreRecord record;
  EXPECT_EQ(BRN_MSR_ReadDkukanRecord(lines_, &record, 14, {0, 0}), 0);
}

// ---- Names of road sections ----------------------------------------------------------------

TEST_F(MsrReadersTest, ASectionNamesColumns) {
  EXPECT_EQ(Kukanz("3,5,200,\"Ring Road\",513,9\r\n"),
            SectionName(3000000000005.0, "Ring Road", 200, 513));
  EXPECT_EQ(Kukanz("3,5,200,Ring Road,65535", 18), Bytes()
                                                       .I64(30000000000000005)
                                                       .Text("Ring Road", 20)
                                                       .Zero(2)
                                                       .I8(200)
                                                       .Zero(1)
                                                       .I16(65535)
                                                       .Zero(6)
                                                       .str());
}

TEST_F(MsrReadersTest, ASectionNamesCodeTakesTheAreaEvenWhenItIsZero) {
  EXPECT_EQ(Kukanz("3,0,1,N\r\n"), SectionName(3000000000000.0, "N", 1, 0));
  EXPECT_EQ(Kukanz("3,,1,N\r\n", 18),
            Bytes().I64(30000000000000000).Text("N", 20).Zero(2).I8(1).Zero(9).str());
  EXPECT_EQ(Kukanz("3,0.5,1,N\r\n", 18),
            Bytes().I64(30000000000000000).Text("N", 20).Zero(2).I8(1).Zero(9).str());
}

TEST_F(MsrReadersTest, TheNumberOfASectionNameHas8Bits) {
  EXPECT_EQ(Kukanz("0,1,300,N\r\n"), SectionName(1, "N", 44, 0));
  EXPECT_EQ(Kukanz("0,1,-1,N\r\n"), SectionName(1, "N", 255, 0));
}

TEST_F(MsrReadersTest, SectionNamesAreCutLikePointNames) {
  EXPECT_EQ(Kukanz("0,1,0," + std::string(19, 'x') + kEast + "z,7\r\n"),
            SectionName(1, std::string(19, 'x'), 0, 7));
}

TEST_F(MsrReadersTest, AHeaderLineOfTheNamesNamesNothingKnown) {
  EXPECT_EQ(Kukanz("AREA,LINKCODE,KIND,NAME,LEVEL\r\n"), SectionName(0, "NAME", 0, 0));
}

// ---- Traffic conditions --------------------------------------------------------------------

TEST_F(MsrReadersTest, AConditionsColumns) {
  EXPECT_EQ(Rule("3,5,6,7,2,9\r\n"),
            RuleRecord(3000000000005.0, 3000000000006.0, 3000000000007.0, 2));
  EXPECT_EQ(Rule("3,5,6,7,2", 18), Bytes()
                                       .I64(30000000000000005)
                                       .I64(30000000000000006)
                                       .I64(30000000000000007)
                                       .I16(0)
                                       .I16(2)
                                       .I32(0)
                                       .str());
}

TEST_F(MsrReadersTest, AQuotedConditionReadsAsOneWithoutQuotes) {
  EXPECT_EQ(Rule("\"3\",\"123\",\"6\",\"7\",\"2\"\r\n"),
            RuleRecord(3000000000123.0, 3000000000006.0, 3000000000007.0, 2));
}

TEST_F(MsrReadersTest, TheRuleKindHas16Bits) {
  EXPECT_EQ(Rule("3,5,6,7,65538\r\n"),
            RuleRecord(3000000000005.0, 3000000000006.0, 3000000000007.0, 2));
  EXPECT_EQ(Rule("3,5,6,7\r\n"), RuleRecord(3000000000005.0, 3000000000006.0, 3000000000007.0, 0));
}

TEST_F(MsrReadersTest, LinesThatAreNoConditions) {
  EXPECT_EQ(RuleResult("AREA,NODE,IN,OUT,KIND\r\n"), 0);
  EXPECT_EQ(RuleResult("0,5,6,7,2\r\n"), 0);
  EXPECT_EQ(RuleResult("-1,5,6,7,2\r\n"), 0);
  EXPECT_EQ(RuleResult("3,0,6,7,2\r\n"), 0);
  EXPECT_EQ(RuleResult("3,5,x,7,2\r\n"), 0);
  EXPECT_EQ(RuleResult("3,5,6,0.0,2\r\n"), 0);
  EXPECT_EQ(RuleResult("3,5,6\r\n"), 0);
  EXPECT_EQ(RuleResult("\r\n"), 0);
  EXPECT_EQ(RuleResult(""), 0);
  EXPECT_EQ(RuleResult("1,5,6,7,2\r\n"), 1);
  // Half is not zero.
  EXPECT_EQ(RuleResult("1,5,6,0.5,2\r\n"), 1);
}

TEST_F(MsrReadersTest, AConditionsLineHas511BytesAndItsEnd) {
  const std::string fits = "3,5,6,7,2" + std::string(502, ',');
  ASSERT_EQ(fits.size(), 511u);
  EXPECT_EQ(RuleResult(fits + "\r\n"), 1);
  EXPECT_EQ(RuleResult(fits + ",\r\n3,5,6,7,2\r\n"), 0);
}

// ---- Fields that do not fit ----------------------------------------------------------------

// The lines end there; who reads the file ends the process.
TEST_F(MsrReadersTest, AFieldOf64BytesEndsTheLines) {
  const std::string field(64, '7');
  const auto column = [&](auto reader, auto record, const std::string& content) {
    Open(content);
    EXPECT_EQ(reader(lines_, &record, 14), 0);
    EXPECT_EQ(lines_.result(), LineResult::kLongField);
    return lines_.long_field_column();
  };
  const auto section = [](zatlib::Lines& lines, LinkStoreRecord* record, int code_length) {
    return BRN_MSR_ReadDkukanRecord(lines, record, code_length, {0, 0});
  };
  const NodeStoreRecord node{};
  const NameStoreRecord name{};
  EXPECT_EQ(column(BRN_MSR_ReadDrotenRecord, node, "3,5,1,0,0," + field + "\r\n"), 6);
  EXPECT_EQ(
      column(BRN_MSR_ReadDrotenRecord, node, "3,5,1,0,0,,1,2,3,4,5,6,7,8,9," + field + "\r\n"), 16);
  EXPECT_EQ(column(BRN_MSR_ReadNodeName, name, "3,5,1,0,0," + field + "\r\n"), 6);
  EXPECT_EQ(column(section, LinkStoreRecord{}, "5,1,3,0,1,2,3,6,7,4,60,50," + field + "\r\n"), 13);
  EXPECT_EQ(column(BRN_MSR_ReadKukanzRecord, name, "3,5,1," + field + "\r\n"), 4);
  EXPECT_EQ(column(BRN_MSR_ReadTukoujRecord, RuleStoreRecord{}, "3,5,6,7,2," + field + "\r\n"), 6);
}

}  // namespace
}  // namespace zatlib
