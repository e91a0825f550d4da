#include "network/workstore/feature_code.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <string>
#include <vector>

#include "network/workstore/work_stores.h"
#include "test_support.h"

namespace zatlib {
namespace {

std::string BytesOf(FeatureCode code) {
  return std::string(reinterpret_cast<const char*>(&code), sizeof code);
}

std::string Printed(FeatureCode code, int length) { return CodeText(code, length).c_str(); }

class FeatureCodeTest : public test::LibraryTest {
 protected:
  int CodeLength(const std::string& linkdef) {
    const std::string control = WriteControl("[SYSTEM]\r\nLOG=0\r\n");
    test::WriteBytes(folder_ / "linkdef.dat", linkdef);
    return BRN_GetCodeLength(control.c_str());
  }
};

// ---- Code length ---------------------------------------------------------------------------

TEST_F(FeatureCodeTest, TheCodeLengthOfTheRoadDefinition) {
  EXPECT_EQ(CodeLength("[SYSTEM]\r\nCODELENGTH=14\r\n"), 14);
  EXPECT_EQ(CodeLength("[SYSTEM]\r\nCODELENGTH=18\r\n"), 18);
  EXPECT_EQ(CodeLength("; Created\r\n[OTHER]\r\nCODELENGTH=16\r\n[SYSTEM]\r\nCODELENGTH=18\r\n"),
            18);
}

TEST_F(FeatureCodeTest, TheDefaultIs14) {
  EXPECT_EQ(CodeLength("[SYSTEM]\r\n"), 14);
  EXPECT_EQ(CodeLength(""), 14);
  EXPECT_EQ(BRN_GetCodeLength((folder_ / "none" + "/control.ini").c_str()), 14);
}

TEST_F(FeatureCodeTest, OtherLengthsAreInvalid) {
  EXPECT_EQ(CodeLength("[SYSTEM]\r\nCODELENGTH=16\r\n"), 16);
  EXPECT_EQ(CodeLength("[SYSTEM]\r\nCODELENGTH=0\r\n"), 0);
  EXPECT_EQ(CodeLength("[SYSTEM]\r\nCODELENGTH=garbage\r\n"), 0);
  EXPECT_TRUE(IsValidCodeLength(14));
  EXPECT_TRUE(IsValidCodeLength(18));
  for (const int length : {16, 0, -14, 13, 15, 17, 19, 1418}) {
    EXPECT_FALSE(IsValidCodeLength(length)) << length;
  }
}

TEST_F(FeatureCodeTest, TheRoadDefinitionLiesInTheOutputFolder) {
  test::MakeFolder(folder_ / "out");
  test::WriteBytes(folder_ / "out/linkdef.dat", "[SYSTEM]\r\nCODELENGTH=18\r\n");
  test::WriteBytes(folder_ / "linkdef.dat", "[SYSTEM]\r\nCODELENGTH=16\r\n");
  const std::string control = WriteControl("[FOLDER]\r\nCALCMAPDIR=" + (folder_ / "out") + "\r\n");
  EXPECT_EQ(BRN_GetCodeLength(control.c_str()), 18);
}

// ---- Representation ------------------------------------------------------------------------

TEST_F(FeatureCodeTest, CodesOf14DigitsAreDoubles) {
  // 1.0 and 99999999999999 as IEEE-754 doubles, little-endian.
  EXPECT_EQ(BytesOf(ParseCode("1", 14)), std::string("\0\0\0\0\0\0\xF0\x3F", 8));
  EXPECT_EQ(BytesOf(ParseCode("99999999999999", 14)),
            std::string("\xC0\xFF\x8F\x1E\xC4\xBC\xD6\x42", 8));
  EXPECT_EQ(ParseCode("00000000000012", 14).AsDouble(), 12.0);
  EXPECT_EQ(ParseCode("12.5", 14).AsDouble(), 12.5);
  EXPECT_EQ(ParseCode(" 12x", 14).AsDouble(), 12.0);
}

TEST_F(FeatureCodeTest, CodesOf18DigitsAreIntegers) {
  EXPECT_EQ(BytesOf(ParseCode("1", 18)), std::string("\1\0\0\0\0\0\0\0", 8));
  EXPECT_EQ(ParseCode("100000000000000001", 18).AsInteger(), 100000000000000001);
  EXPECT_EQ(ParseCode("999999999999999999", 18).AsInteger(), 999999999999999999);
  EXPECT_EQ(ParseCode("12.5", 18).AsInteger(), 12);
  EXPECT_EQ(ParseCode(" 12x", 18).AsInteger(), 12);
}

TEST_F(FeatureCodeTest, OnlyExactly14SelectsTheDouble) {
  EXPECT_EQ(ParseCode("12", 16).AsInteger(), 12);
  EXPECT_EQ(ParseCode("12", 0).AsInteger(), 12);
}

TEST_F(FeatureCodeTest, NoNumberIsTheEmptyCode) {
  for (const int length : {14, 18}) {
    EXPECT_TRUE(ParseCode("", length).IsEmpty());
    EXPECT_TRUE(ParseCode("abc", length).IsEmpty());
    EXPECT_TRUE(ParseCode("0", length).IsEmpty());
    EXPECT_FALSE(ParseCode("1", length).IsEmpty());
  }
  EXPECT_TRUE(FeatureCode().IsEmpty());
  // The bytes of -0.0 compare equal to 0.0.
  EXPECT_TRUE(FeatureCode::FromDouble(-0.0).IsEmpty());
}

TEST_F(FeatureCodeTest, PrintedCodes) {
  EXPECT_EQ(Printed(FeatureCode::FromDouble(12), 14), "00000000000012");
  EXPECT_EQ(Printed(FeatureCode::FromDouble(99000000000001.0), 14), "99000000000001");
  EXPECT_EQ(Printed(FeatureCode::FromDouble(0), 14), "00000000000000");
  EXPECT_EQ(Printed(FeatureCode::FromDouble(123456789012345.0), 14), "123456789012345");
  EXPECT_EQ(Printed(FeatureCode::FromInteger(12), 18), "000000000000000012");
  EXPECT_EQ(Printed(FeatureCode::FromInteger(990000000000000001), 18), "990000000000000001");
  EXPECT_EQ(Printed(FeatureCode::FromInteger(0), 18), "000000000000000000");
}

TEST_F(FeatureCodeTest, ThePrintedTextOfTheLargestDoubleFits) {
  const std::string text =
      Printed(FeatureCode::FromDouble(-std::numeric_limits<double>::max()), 14);
  EXPECT_EQ(text.size(), 310u);
  EXPECT_EQ(text.substr(0, 8), "-1797693");
}

// ---- Order ---------------------------------------------------------------------------------

TEST_F(FeatureCodeTest, IntegerCodesOrderLikeIntegers) {
  const FeatureCode a = ParseCode("100000000000000001", 18);
  const FeatureCode b = ParseCode("100000000000000002", 18);
  EXPECT_FALSE(a == b);
  EXPECT_TRUE(a < b);
  EXPECT_FALSE(b < a);
  EXPECT_TRUE(a == ParseCode("100000000000000001", 18));
  // As numbers they would be the same double.
  EXPECT_EQ(static_cast<double>(a.AsInteger()), static_cast<double>(b.AsInteger()));
}

TEST_F(FeatureCodeTest, SmallIntegerCodesAreNotFlushedToZero) {
  const FeatureCode one = ParseCode("1", 18);
  const FeatureCode two = ParseCode("2", 18);
  EXPECT_TRUE(one < two);
  EXPECT_FALSE(one == two);
  EXPECT_TRUE(FeatureCode() < one);
  EXPECT_FALSE(one.IsEmpty());
}

TEST_F(FeatureCodeTest, CodesAreSortedByNumber) {
  std::vector<FeatureCode> codes;
  for (const char* text : {"999999999999999999", "1", "100000000000000002", "42",
                           "100000000000000001", "4503599627370496"}) {
    codes.push_back(ParseCode(text, 18));
  }
  std::sort(codes.begin(), codes.end());
  const int64_t expected[] = {
      1, 42, 4503599627370496, 100000000000000001, 100000000000000002, 999999999999999999};
  for (size_t i = 0; i < codes.size(); ++i) EXPECT_EQ(codes[i].AsInteger(), expected[i]);
}

TEST_F(FeatureCodeTest, DecimalCodesOrderLikeNumbers) {
  EXPECT_TRUE(ParseCode("9", 14) < ParseCode("10", 14));
  EXPECT_TRUE(ParseCode("00010", 14) == ParseCode("10", 14));
}

// ---- Composed codes ------------------------------------------------------------------------

TEST_F(FeatureCodeTest, CodesOfAreas) {
  EXPECT_EQ(ComposeCode(12, 345, 14).AsDouble(), 12000000000345.0);
  EXPECT_EQ(ComposeCode(0, 345, 14).AsDouble(), 345.0);
  EXPECT_EQ(ComposeCode(12, 345, 18).AsInteger(), 120000000000000345);
  EXPECT_EQ(ComposeCode(0, 345, 18).AsInteger(), 345);
  // Cut to an integer first.
  EXPECT_EQ(ComposeCode(1, 2.9, 18).AsInteger(), 10000000000000002);
  // Numbers that no integer holds clamp, and nonsense is none.
  EXPECT_EQ(ComposeCode(0, 1e30, 18).AsInteger(), INT64_MAX);
  EXPECT_EQ(ComposeCode(0, -1e30, 18).AsInteger(), INT64_MIN);
  EXPECT_EQ(ComposeCode(0, std::numeric_limits<double>::quiet_NaN(), 18).AsInteger(), 0);
  EXPECT_EQ(ComposeCode(99, 9999999999999999.0, 18).AsInteger(), 1000000000000000000);
}

TEST_F(FeatureCodeTest, DummyLinksBeginBehindTheirBase) {
  EXPECT_EQ(DummyLinkCode(1, 14).AsDouble(), 99000000000001.0);
  EXPECT_EQ(DummyLinkCode(25, 14).AsDouble(), 99000000000025.0);
  EXPECT_EQ(DummyLinkCode(1, 18).AsInteger(), 990000000000000001);
  EXPECT_EQ(DummyLinkCode(25, 18).AsInteger(), 990000000000000025);
}

// ---- Stores --------------------------------------------------------------------------------

TEST_F(FeatureCodeTest, NamesOfTheStores) {
  EXPECT_STREQ(kNodeStoreFile, "nodestr.~wk");
  EXPECT_STREQ(kLinkStoreFile, "linkstr.~wk");
  EXPECT_STREQ(kNodeNameStoreFile, "nnamestr.~wk");
  EXPECT_STREQ(kLinkNameStoreFile, "lnamestr.~wk");
  EXPECT_STREQ(kRuleStoreFile, "trafrule.~wk");
  EXPECT_STREQ(kOneWayStoreFile, "onewayst.~wk");
  EXPECT_STREQ(kRoadDefinitionFile, "linkdef.dat");
}

template <typename Record>
std::string RecordBytes(const Record& record) {
  std::string bytes(sizeof record, '\0');
  std::memcpy(bytes.data(), &record, sizeof record);
  return bytes;
}

TEST_F(FeatureCodeTest, LayoutOfANodeStoreRecord) {
  NodeStoreRecord record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  record.NodeCode = FeatureCode::FromInteger(0x0102030405060708);
  record.PartnerCode = FeatureCode::FromInteger(9);
  record.NodeAttrWord = 0x1234;
  record.CityCode = 0x89ABCDEF;
  record.X = -1;
  record.Y = 35000000;
  record.ConnLinkCode[0] = FeatureCode::FromInteger(11);
  record.ConnLinkCode[7] = FeatureCode::FromInteger(18);
  EXPECT_EQ(RecordBytes(record), test::Bytes()
                                     .I64(0x0102030405060708)
                                     .I64(9)
                                     .I16(0x1234)
                                     .I16(0)
                                     .I32(0x89ABCDEF)
                                     .I32(-1)
                                     .I32(35000000)
                                     .I64(11)
                                     .Zero(48)
                                     .I64(18)
                                     .str());
}

TEST_F(FeatureCodeTest, LayoutOfALinkStoreRecord) {
  LinkStoreRecord record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  record.LinkCode = FeatureCode::FromInteger(1);
  record.NodeA = FeatureCode::FromInteger(2);
  record.NodeB = FeatureCode::FromInteger(3);
  record.CityCode = 4;
  record.SpeedFileValue = 5;
  record.SpeedA = 6;
  record.SpeedB = 7;
  record.Value3 = 8;
  record.RoadKind = -9;
  record.Value4 = 10;
  record.Value6 = -11;
  record.Value5 = 12;
  record.RoadFlag = -13;
  EXPECT_EQ(RecordBytes(record), test::Bytes()
                                     .I64(1)
                                     .I64(2)
                                     .I64(3)
                                     .I32(4)
                                     .I16(5)
                                     .I16(6)
                                     .I16(7)
                                     .I16(8)
                                     .I16(-9)
                                     .I16(10)
                                     .I16(-11)
                                     .I16(12)
                                     .I16(-13)
                                     .I16(0)
                                     .str());
}

TEST_F(FeatureCodeTest, LayoutOfANameStoreRecord) {
  NameStoreRecord record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  record.Code = FeatureCode::FromInteger(1);
  std::memcpy(record.Name, "Main Street", 11);
  record.LinkNumber = 2;
  record.LinkValue = 3;
  record.NodeValue = 4;
  EXPECT_EQ(RecordBytes(record), test::Bytes()
                                     .I64(1)
                                     .Text("Main Street", 20)
                                     .I16(0)
                                     .I8(2)
                                     .I8(0)
                                     .I16(3)
                                     .I16(0)
                                     .I16(4)
                                     .I16(0)
                                     .str());
}

}  // namespace
}  // namespace zatlib
