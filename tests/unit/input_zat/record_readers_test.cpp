#include "input_zat/record_readers.h"

#include <cstring>
#include <string>

#include "frd/line_source.h"
#include "platform/code_page.h"
#include "zat_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::NameBytes;
using test::NodeBytes;

// Double-byte characters whose second bytes are an ordinary one and a backslash.
constexpr char kEast[] = "\x93\x8C";
constexpr char kTable[] = "\x95\x5C";

template <typename Record>
std::string BytesOf(const Record& record) {
  return std::string(reinterpret_cast<const char*>(&record), sizeof record);
}

class RecordReadersTest : public test::ZatTest {
 protected:
  void Open(const std::string& content) {
    LineSource file;
    ASSERT_TRUE(file.Open(Source("source.txt", content).c_str()));
    lines_ = zatlib::Lines();
    ASSERT_TRUE(LineSource::MakeRoom(&lines_));
    file.NextPiece(&lines_);
  }

  // The record that the reader makes of the first line, over leftovers of an earlier one.
  template <typename Record, typename Reader, typename... Arguments>
  Record Read(Reader reader, const std::string& content, Arguments... arguments) {
    Open(content);
    Record record;
    std::memset(static_cast<void*>(&record), 0x5A, sizeof record);
    EXPECT_EQ(reader(lines_, &record, arguments...), 1);
    return record;
  }

  std::string Node(const std::string& content, int code_length = 14) {
    return BytesOf(Read<NodeStoreRecord>(BRN_ZAT_ReadNodeRecord, content, code_length));
  }
  LinkStoreRecord Link(const std::string& content, DefaultSpeeds defaults = {0, 0}) {
    return Read<LinkStoreRecord>(BRN_ZAT_ReadLinkRecord, content, 14, defaults);
  }
  std::string NodeName(const std::string& content) {
    return BytesOf(Read<NameStoreRecord>(BRN_ZAT_ReadNodeName, content, 14));
  }

  zatlib::Lines lines_;
};

// ---- Node records --------------------------------------------------------------------------

TEST_F(RecordReadersTest, ANodeRecordsColumns) {
  EXPECT_EQ(Node("10000020000001,7,10000020000002,99,11,12,13,14,15,16,17,18,Name,1,139.6917\r\n"),
            Bytes()
                .F64(10000020000001.0)
                .F64(10000020000002.0)
                .I16(7)
                .Zero(2)
                .Zero(4)
                .I32(139691700)
                .I32(0)
                .F64(11)
                .F64(12)
                .F64(13)
                .F64(14)
                .F64(15)
                .F64(16)
                .F64(17)
                .F64(18)
                .str());
}

TEST_F(RecordReadersTest, BothCoordinateColumnsOfANodeGoToX) {
  EXPECT_EQ(Node("1,,,,,,,,,,,,,139.6917\r\n"), std::string(NodeBytes{1, 0, 0, 139691700, 0, {}}));
  EXPECT_EQ(Node("1,,,,,,,,,,,,,139.6917,35.5\r\n"),
            std::string(NodeBytes{1, 0, 0, 35500000, 0, {}}));
  EXPECT_EQ(Node("1,,,,,,,,,,,,,139.6917,35.5,7\r\n"),
            std::string(NodeBytes{1, 0, 0, 35500000, 0, {}}));
}

TEST_F(RecordReadersTest, ANodeWithCodesOf18Digits) {
  EXPECT_EQ(Node("100000000000000001,65535,100000000000000002,,100000000000000003\r\n", 18),
            Bytes()
                .I64(100000000000000001)
                .I64(100000000000000002)
                .I16(65535)
                .Zero(14)
                .I64(100000000000000003)
                .Zero(56)
                .str());
}

TEST_F(RecordReadersTest, Only14SelectsTheFloatingPointParse) {
  EXPECT_EQ(Node("12.5\r\n", 14), std::string(NodeBytes{12.5, 0, 0, 0, 0, {}}));
  EXPECT_EQ(Node("12.5\r\n", 18), Bytes().I64(12).Zero(88).str());
  EXPECT_EQ(Node("12.5\r\n", 16), Bytes().I64(12).Zero(88).str());
  EXPECT_EQ(Node("12.5\r\n", 0), Bytes().I64(12).Zero(88).str());
}

TEST_F(RecordReadersTest, MissingTrailingColumnsStayZero) {
  EXPECT_EQ(Node("1\r\n"), std::string(NodeBytes{1, 0, 0, 0, 0, {}}));
  EXPECT_EQ(Node("1,2,3,4,5,6\r\n"), std::string(NodeBytes{1, 3, 2, 0, 0, {5, 6}}));
  EXPECT_EQ(Node("\r\n"), std::string(96, '\0'));
}

TEST_F(RecordReadersTest, EmptySlotsKeepTheirPlaces) {
  EXPECT_EQ(Node("1,,,,,5,,,,,,6\r\n"),
            std::string(NodeBytes{1, 0, 0, 0, 0, {0, 5, 0, 0, 0, 0, 0, 6}}));
}

TEST_F(RecordReadersTest, ATabSplitsLikeAComma) {
  EXPECT_EQ(Node("1\t2,3\t\t5\r\n"), std::string(NodeBytes{1, 3, 2, 0, 0, {5}}));
}

TEST_F(RecordReadersTest, QuotesAtTheEdgesOfAFieldAreDropped) {
  EXPECT_EQ(Node("\"1\",\"2\",\"3\",\"\",\"5\"\r\n"), std::string(NodeBytes{1, 3, 2, 0, 0, {5}}));
}

TEST_F(RecordReadersTest, TheLastLineNeedsNoEnd) {
  EXPECT_EQ(Node("1,2,3"), std::string(NodeBytes{1, 3, 2, 0, 0, {}}));
  NodeStoreRecord record;
  EXPECT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &record, 14), 0);
}

TEST_F(RecordReadersTest, TheEndOfAFile) {
  Open("");
  NodeStoreRecord node;
  EXPECT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &node, 14), 0);
  NameStoreRecord name;
  EXPECT_EQ(BRN_ZAT_ReadNodeNameFromNode(lines_, &name, 14), 0);
  EXPECT_EQ(BRN_ZAT_ReadNodeName(lines_, &name, 14), 0);
  EXPECT_EQ(BRN_ZAT_ReadLinkNameFromLink(lines_, &name, 14), 0);
  EXPECT_EQ(BRN_ZAT_ReadLinkName(lines_, &name, 14), 0);
  NodeXYRecord xy;
  EXPECT_EQ(BRN_ZAT_ReadNodeXY(lines_, &xy, 14), 0);
  LinkStoreRecord link;
  EXPECT_EQ(BRN_ZAT_ReadLinkRecord(lines_, &link, 14, {40, 40}), 0);
  LinkSpeedRecord speed;
  EXPECT_EQ(BRN_ZAT_ReadLinkSpeed(lines_, &speed, 14, {40, 40}), 0);
  RuleStoreRecord rule;
  EXPECT_EQ(BRN_ZAT_ReadNodeTrf(lines_, &rule, 14), 0);
  OneWayStoreRecord one_way;
  EXPECT_EQ(BRN_ZAT_ReadLinkTrf(lines_, &one_way, 14), 0);
}

TEST_F(RecordReadersTest, LinesOneAfterTheOther) {
  Open("1,10\r\n2,20\r\n");
  NodeStoreRecord record;
  ASSERT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &record, 14), 1);
  EXPECT_EQ(BytesOf(record), std::string(NodeBytes{1, 0, 10, 0, 0, {}}));
  ASSERT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &record, 14), 1);
  EXPECT_EQ(BytesOf(record), std::string(NodeBytes{2, 0, 20, 0, 0, {}}));
  EXPECT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &record, 14), 0);
}

TEST_F(RecordReadersTest, ALineHas2047BytesAndItsEnd) {
  const std::string fits = "1,2" + std::string(2044, ',');
  ASSERT_EQ(fits.size(), 2047u);
  EXPECT_EQ(Node(fits + "\r\n"), std::string(NodeBytes{1, 0, 2, 0, 0, {}}));
  Open(fits + ",\r\n3,4\r\n");
  NodeStoreRecord record;
  EXPECT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &record, 14), 0);
}

TEST_F(RecordReadersTest, IntegersStopAtTheFirstNonDigit) {
  EXPECT_EQ(Node("1,  12x4\r\n"), std::string(NodeBytes{1, 0, 12, 0, 0, {}}));
  EXPECT_EQ(Node("1,+7\r\n"), std::string(NodeBytes{1, 0, 7, 0, 0, {}}));
  EXPECT_EQ(Node("1,x\r\n"), std::string(NodeBytes{1, 0, 0, 0, 0, {}}));
  // The width of the field: -3 as 16 bits, 65536 + 5 cut to them.
  EXPECT_EQ(Node("1,-3\r\n"), std::string(NodeBytes{1, 0, 0xFFFD, 0, 0, {}}));
  EXPECT_EQ(Node("1,65541\r\n"), std::string(NodeBytes{1, 0, 5, 0, 0, {}}));
}

TEST_F(RecordReadersTest, UnparseableNumbersAreZero) {
  EXPECT_EQ(Node("abc,x,-,,?\r\n"), std::string(96, '\0'));
}

// A line feed is no line end: what it separates is one record.
TEST_F(RecordReadersTest, AFileWithLfOnlyIsOneLine) {
  EXPECT_EQ(Node("1,2\n3,4\n5,6\n"), std::string(NodeBytes{1, 4, 2, 0, 0, {}}));
  NodeStoreRecord record;
  EXPECT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &record, 14), 0);
}

// ---- Node names ----------------------------------------------------------------------------

TEST_F(RecordReadersTest, NodeNamesFromNodeData) {
  EXPECT_EQ(BytesOf(Read<NameStoreRecord>(
                BRN_ZAT_ReadNodeNameFromNode,
                "10000020000001,513,3,4,5,6,7,8,9,10,11,12,\"Central\",1.5,2.5\r\n", 14)),
            std::string(NameBytes{10000020000001.0, "Central", 0, 513}));
}

TEST_F(RecordReadersTest, NodeNamesFromNameData) {
  EXPECT_EQ(NodeName("10000020000001,65535,\"Central\",ignored\r\n"),
            std::string(NameBytes{10000020000001.0, "Central", 0, 65535}));
}

TEST_F(RecordReadersTest, ANameMayBeMissing) {
  EXPECT_EQ(NodeName("1,2\r\n"), std::string(NameBytes{1, "", 0, 2}));
  EXPECT_EQ(NodeName("1,2,\"\"\r\n"), std::string(NameBytes{1, "", 0, 2}));
  EXPECT_EQ(BytesOf(Read<NameStoreRecord>(BRN_ZAT_ReadNodeNameFromNode,
                                          "1,2,3,4,5,6,7,8,9,10,11,12,,1.5\r\n", 14)),
            std::string(NameBytes{1, "", 0, 2}));
}

TEST_F(RecordReadersTest, NamesOfCodesWith18Digits) {
  EXPECT_EQ(BytesOf(Read<NameStoreRecord>(BRN_ZAT_ReadNodeName, "100000000000000001,5,N\r\n", 18)),
            Bytes().I64(100000000000000001).Text("N", 20).Zero(8).I16(5).Zero(2).str());
  EXPECT_EQ(BytesOf(Read<NameStoreRecord>(BRN_ZAT_ReadLinkName, "100000000000000001,,5,N\r\n", 18)),
            Bytes().I64(100000000000000001).Text("N", 20).Zero(2).I8(5).Zero(9).str());
}

TEST_F(RecordReadersTest, NamesHaveAtMost20Bytes) {
  EXPECT_EQ(NodeName("1,0,abcdefghijklmnopqrst\r\n"),
            std::string(NameBytes{1, "abcdefghijklmnopqrst", 0, 0}));
  EXPECT_EQ(NodeName("1,0,abcdefghijklmnopqrstu\r\n"),
            std::string(NameBytes{1, "abcdefghijklmnopqrst", 0, 0}));
  EXPECT_EQ(NodeName("1,0," + std::string(63, 'x') + "\r\n"),
            std::string(NameBytes{1, std::string(20, 'x'), 0, 0}));
}

TEST_F(RecordReadersTest, NamesAreCutBetweenCharacters) {
  if (platform::CodePage() != 932) GTEST_SKIP() << "needs code page 932";
  const std::string nineteen = "abcdefghijklmnopqrs";
  // 21 bytes: the pair would end beyond byte 20.
  EXPECT_EQ(NodeName("1,0," + nineteen + kEast + "\r\n"),
            std::string(NameBytes{1, nineteen, 0, 0}));
  EXPECT_EQ(NodeName("1,0," + nineteen + kTable + "\r\n"),
            std::string(NameBytes{1, nineteen, 0, 0}));
  // 20 bytes: the pair fits.
  EXPECT_EQ(NodeName("1,0,abcdefghijklmnopqr" + std::string(kTable) + "\r\n"),
            std::string(NameBytes{1, "abcdefghijklmnopqr" + std::string(kTable), 0, 0}));
  // 25 bytes of pairs behind one letter: nine of them end at byte 19.
  std::string pairs = "x";
  for (int i = 0; i < 12; ++i) pairs += kEast;
  EXPECT_EQ(NodeName("1,0," + pairs + "\r\n"),
            std::string(NameBytes{1, pairs.substr(0, 19), 0, 0}));
  // Without the letter ten of them fill the 20 bytes.
  EXPECT_EQ(NodeName("1,0," + pairs.substr(1) + "\r\n"),
            std::string(NameBytes{1, pairs.substr(1, 20), 0, 0}));
}

TEST_F(RecordReadersTest, AQuotedCommaSplitsTheName) {
  EXPECT_EQ(NodeName("1,0,\"Main Street, North\"\r\n"),
            std::string(NameBytes{1, "Main Street", 0, 0}));
  // A quote that is not at the edge of its piece stays.
  EXPECT_EQ(NodeName("1,0,a\"b,c\"d\r\n"), std::string(NameBytes{1, "a\"b", 0, 0}));
  EXPECT_EQ(NodeName("1,x\"0,c\"d\r\n"), std::string(NameBytes{1, "c\"d", 0, 0}));
}

TEST_F(RecordReadersTest, DoubledQuotesStay) {
  EXPECT_EQ(NodeName("1,0,\"The \"\"Old\"\" Inn\"\r\n"),
            std::string(NameBytes{1, "The \"\"Old\"\" Inn", 0, 0}));
}

TEST_F(RecordReadersTest, LineBreaksInsideQuotesAreTakenOut) {
  EXPECT_EQ(NodeName("1,0,\"Cen\r\ntral\"\r\n2,0,Next\r\n"),
            std::string(NameBytes{1, "Central", 0, 0}));
  NameStoreRecord record;
  ASSERT_EQ(BRN_ZAT_ReadNodeName(lines_, &record, 14), 1);
  EXPECT_EQ(BytesOf(record), std::string(NameBytes{2, "Next", 0, 0}));
}

// ---- Node coordinates ----------------------------------------------------------------------

TEST_F(RecordReadersTest, ANodeXYRecordsColumns) {
  const auto xy = Read<NodeXYRecord>(BRN_ZAT_ReadNodeXY, "10000020000001,139.6917,35.5,9\r\n", 14);
  EXPECT_EQ(xy.Code.AsDouble(), 10000020000001.0);
  EXPECT_EQ(xy.X, 139691700);
  EXPECT_EQ(xy.Y, 35500000);
}

TEST_F(RecordReadersTest, NodeXYWithCodesOf18Digits) {
  const auto xy = Read<NodeXYRecord>(BRN_ZAT_ReadNodeXY, "100000000000000001,1,2\r\n", 18);
  EXPECT_EQ(xy.Code.AsInteger(), 100000000000000001);
}

TEST_F(RecordReadersTest, NodeXYWithoutCoordinates) {
  const auto xy = Read<NodeXYRecord>(BRN_ZAT_ReadNodeXY, "7\r\n", 14);
  EXPECT_EQ(xy.Code.AsDouble(), 7.0);
  EXPECT_EQ(xy.X, 0);
  EXPECT_EQ(xy.Y, 0);
}

TEST_F(RecordReadersTest, TheCoordinateConverter) {
  const auto x = [this](const std::string& text) {
    return Read<NodeXYRecord>(BRN_ZAT_ReadNodeXY, "1," + text + ",\r\n", 14).X;
  };
  EXPECT_EQ(x("139.6917"), 139691700);
  EXPECT_EQ(x("35.5"), 35500000);
  EXPECT_EQ(x("-0.000001"), -1);
  EXPECT_EQ(x("E139.5"), 139500000);
  EXPECT_EQ(x("12"), 12000000);
  EXPECT_EQ(x("\"135.5\""), 135500000);
  EXPECT_EQ(x(" +7.25 "), 7250000);
  // Decimals are never dropped: the seventh makes it ten times as much.
  EXPECT_EQ(x("1.1234567"), 11234567);
  // The exponent's letter is skipped and its sign ends the number.
  EXPECT_EQ(x("5e-05"), 5);
}

// ---- Links ---------------------------------------------------------------------------------

TEST_F(RecordReadersTest, ALinkRecordsColumns) {
  EXPECT_EQ(BytesOf(Link("10000020000001,-4,13101,300,400,500,-600,11,12,60,50,-9,Name\r\n")),
            Bytes()
                .F64(10000020000001.0)
                .F64(11)
                .F64(12)
                .I32(13101)
                .I16(0)
                .I16(60)
                .I16(50)
                .I16(300)
                .I16(-4)
                .I16(400)
                .I16(-600)
                .I16(500)
                .I16(-9)
                .I16(0)
                .str());
}

TEST_F(RecordReadersTest, ALinkWithCodesOf18Digits) {
  EXPECT_EQ(BytesOf(Read<LinkStoreRecord>(
                BRN_ZAT_ReadLinkRecord,
                "100000000000000001,,,,,,,100000000000000002,100000000000000003\r\n", 18,
                DefaultSpeeds{0, 0})),
            Bytes()
                .I64(100000000000000001)
                .I64(100000000000000002)
                .I64(100000000000000003)
                .Zero(24)
                .str());
}

TEST_F(RecordReadersTest, TheCityCodeHas32Bits) {
  EXPECT_EQ(Link("1,,100000\r\n").CityCode, 100000u);
  EXPECT_EQ(Link("1,,-1\r\n").CityCode, 0xFFFFFFFFu);
}

TEST_F(RecordReadersTest, SpeedsOfALink) {
  const auto a = [this](const std::string& text) {
    return Link("1,,,,,,,,," + text + ",7\r\n", {40, 30}).SpeedA;
  };
  const auto b = [this](const std::string& text) {
    return Link("1,,,,,,,,,7," + text + "\r\n", {40, 30}).SpeedB;
  };
  EXPECT_EQ(a("60"), 60);
  EXPECT_EQ(a("1"), 1);
  EXPECT_EQ(a("0"), 40);
  EXPECT_EQ(a(""), 40);
  EXPECT_EQ(a("x"), 40);
  EXPECT_EQ(a("-5"), 0);
  EXPECT_EQ(a("65535"), 65535);
  EXPECT_EQ(a("65537"), 1);  // what 16 bits keep of it
  EXPECT_EQ(a("65536"), 0);  // not 0 in the source: no default
  EXPECT_EQ(b("50"), 50);
  EXPECT_EQ(b("0"), 30);
  EXPECT_EQ(b(""), 30);
  EXPECT_EQ(b("-1"), 0);
}

TEST_F(RecordReadersTest, WithoutADefaultAMissingSpeedIsZero) {
  EXPECT_EQ(Link("1,,,,,,,,,,\r\n").SpeedA, 0);
  EXPECT_EQ(Link("1,,,,,,,,,,\r\n").SpeedB, 0);
}

TEST_F(RecordReadersTest, DefaultSpeedsOfTheControlFile) {
  DefaultSpeeds speeds =
      ReadDefaultSpeeds(WriteControl("[DEFAULTSPEED]\r\nSPEEDA=40\r\nSPEEDB=30\r\n").c_str());
  EXPECT_EQ(speeds.a, 40);
  EXPECT_EQ(speeds.b, 30);
  speeds = ReadDefaultSpeeds(WriteControl("[LINK]\r\nSPEEDA=40\r\n").c_str());
  EXPECT_EQ(speeds.a, 0);
  EXPECT_EQ(speeds.b, 0);
  // They are handed on as 16-bit values.
  speeds = ReadDefaultSpeeds(WriteControl("[DEFAULTSPEED]\r\nSPEEDA=65576\r\n").c_str());
  EXPECT_EQ(speeds.a, 40);
}

// ---- Link names ----------------------------------------------------------------------------

TEST_F(RecordReadersTest, LinkNamesFromLinkData) {
  EXPECT_EQ(BytesOf(Read<NameStoreRecord>(
                BRN_ZAT_ReadLinkNameFromLink,
                "10000020000001,2,3,4,5,6,7,8,9,10,11,12,200,\"Ring Road\",15\r\n", 14)),
            std::string(NameBytes{10000020000001.0, "Ring Road", 200, 0}));
}

TEST_F(RecordReadersTest, LinkNamesFromNameData) {
  EXPECT_EQ(BytesOf(Read<NameStoreRecord>(BRN_ZAT_ReadLinkName,
                                          "10000020000001,ignored,3,\"Ring Road\",5\r\n", 14)),
            std::string(NameBytes{10000020000001.0, "Ring Road", 3, 0}));
}

TEST_F(RecordReadersTest, TheLinkNameNumberHas8Bits) {
  EXPECT_EQ(BytesOf(Read<NameStoreRecord>(BRN_ZAT_ReadLinkName, "1,,260,N\r\n", 14)),
            std::string(NameBytes{1, "N", 4, 0}));
}

// ---- Link speeds ---------------------------------------------------------------------------

TEST_F(RecordReadersTest, ALinkSpeedRecordsColumns) {
  const auto speed = Read<LinkSpeedRecord>(
      BRN_ZAT_ReadLinkSpeed, "10000020000001,11,12,60,50,70,8\r\n", 14, DefaultSpeeds{40, 30});
  EXPECT_EQ(speed.LinkCode.AsDouble(), 10000020000001.0);
  EXPECT_EQ(speed.NodeA.AsDouble(), 11.0);
  EXPECT_EQ(speed.NodeB.AsDouble(), 12.0);
  EXPECT_EQ(speed.SpeedA, 60);
  EXPECT_EQ(speed.SpeedB, 50);
  EXPECT_EQ(speed.Value, 70);
}

TEST_F(RecordReadersTest, SpeedsOfALinkSpeedRecord) {
  const auto read = [this](const std::string& a, const std::string& b) {
    return Read<LinkSpeedRecord>(BRN_ZAT_ReadLinkSpeed, "1,,," + a + "," + b + "\r\n", 14,
                                 DefaultSpeeds{40, 30});
  };
  EXPECT_EQ(read("0", "0").SpeedA, 40);
  EXPECT_EQ(read("0", "0").SpeedB, 30);
  EXPECT_EQ(read("", "").SpeedA, 40);
  EXPECT_EQ(read("", "").SpeedB, 30);
  EXPECT_EQ(read("-1", "-2").SpeedA, 0);
  EXPECT_EQ(read("-1", "-2").SpeedB, 0);
  EXPECT_EQ(read("1", "2").Value, 0);
}

TEST_F(RecordReadersTest, ALinkSpeedRecordWithCodesOf18Digits) {
  const auto speed = Read<LinkSpeedRecord>(
      BRN_ZAT_ReadLinkSpeed, "100000000000000001,100000000000000002,100000000000000003\r\n", 18,
      DefaultSpeeds{0, 0});
  EXPECT_EQ(speed.LinkCode.AsInteger(), 100000000000000001);
  EXPECT_EQ(speed.NodeA.AsInteger(), 100000000000000002);
  EXPECT_EQ(speed.NodeB.AsInteger(), 100000000000000003);
}

// ---- Traffic rules -------------------------------------------------------------------------

TEST_F(RecordReadersTest, ANodeTrafficRecordsColumns) {
  EXPECT_EQ(
      BytesOf(Read<RuleStoreRecord>(BRN_ZAT_ReadNodeTrf, "10000020000001,11,12,2,ignored\r\n", 14)),
      Bytes().F64(10000020000001.0).F64(11).F64(12).I16(0).I16(2).Zero(4).str());
  EXPECT_EQ(BytesOf(Read<RuleStoreRecord>(BRN_ZAT_ReadNodeTrf, "1,2,3\r\n", 14)),
            Bytes().F64(1).F64(2).F64(3).Zero(8).str());
  EXPECT_EQ(BytesOf(Read<RuleStoreRecord>(BRN_ZAT_ReadNodeTrf, "1,2,3,-1\r\n", 18)),
            Bytes().I64(1).I64(2).I64(3).I16(0).I16(0xFFFF).Zero(4).str());
}

TEST_F(RecordReadersTest, ALinkTrafficRecordsColumns) {
  EXPECT_EQ(BytesOf(Read<OneWayStoreRecord>(BRN_ZAT_ReadLinkTrf, "1001,11,12,2,0\r\n", 14)),
            Bytes().F64(1001).F64(11).F64(12).I16(2).I16(0).Zero(4).str());
  EXPECT_EQ(BytesOf(Read<OneWayStoreRecord>(BRN_ZAT_ReadLinkTrf, "1001,11,12,1,2,9\r\n", 18)),
            Bytes().I64(1001).I64(11).I64(12).I16(1).I16(2).Zero(4).str());
  EXPECT_EQ(BytesOf(Read<OneWayStoreRecord>(BRN_ZAT_ReadLinkTrf, "1001\r\n", 14)),
            Bytes().F64(1001).Zero(24).str());
}

// The lines end there; who reads the file ends the process (tests/unit/frd/record_stream_test.cpp).
TEST_F(RecordReadersTest, AFieldOf64BytesEndsTheLines) {
  Open("1,0," + std::string(64, 'x') + "\r\n2,0,x\r\n");
  NameStoreRecord record;
  EXPECT_EQ(BRN_ZAT_ReadNodeName(lines_, &record, 14), 0);
  EXPECT_EQ(lines_.result(), LineResult::kLongField);
  EXPECT_EQ(lines_.long_field_column(), 3);
  EXPECT_EQ(BRN_ZAT_ReadNodeName(lines_, &record, 14), 0);
  EXPECT_EQ(lines_.result(), LineResult::kLongField);
}

TEST_F(RecordReadersTest, AnIgnoredColumnCountsToo) {
  Open("1,2,3," + std::string(64, 'x') + ",5\r\n");
  NodeStoreRecord record;
  EXPECT_EQ(BRN_ZAT_ReadNodeRecord(lines_, &record, 14), 0);
  EXPECT_EQ(lines_.result(), LineResult::kLongField);
  EXPECT_EQ(lines_.long_field_column(), 4);
}

}  // namespace
}  // namespace zatlib
