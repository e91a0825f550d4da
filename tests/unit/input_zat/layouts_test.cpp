#include "input_zat/layouts.h"

#include "input_zat/record_readers.h"
#include "records.h"
#include "source_lines.h"
#include "source_tables.h"

namespace zatlib {
namespace {

TEST(ZatLayoutsTest, ColumnsStandInTheirPlaces) {
  for (const SourceTable* table : zat::kTables) test::ExpectWellFormed(*table);
}

TEST(ValueRangeTest, HoldsItsEnds) {
  EXPECT_TRUE(kSigned16.Holds(-32768));
  EXPECT_TRUE(kSigned16.Holds(32767));
  EXPECT_FALSE(kSigned16.Holds(-32769));
  EXPECT_FALSE(kSigned16.Holds(32768));
}

// The columns that a line must reach; the ones behind them may be missing.
TEST(ZatLayoutsTest, LinesMustReachTheseColumns) {
  EXPECT_EQ(zat::kNodes.Needed(), 4);
  EXPECT_EQ(zat::kNodeNames.Needed(), 1);
  EXPECT_EQ(zat::kNodePlaces.Needed(), 3);
  EXPECT_EQ(zat::kLinks.Needed(), 9);
  EXPECT_EQ(zat::kLinkSpeeds.Needed(), 5);
  EXPECT_EQ(zat::kLinkNames.Needed(), 1);
  EXPECT_EQ(zat::kTurns.Needed(), 4);
  EXPECT_EQ(zat::kOneWays.Needed(), 4);
}

// Every column of every table, in quotes, with many digits and with others behind them.
class ZatColumnsTest : public test::ColumnsTest {
 protected:
  std::string Name(int64_t code, int link_number, int node_value) const {
    return test::NameBytes{form_.Code(code), "Name", link_number, node_value};
  }
};

INSTANTIATE_TEST_SUITE_P(CodeLengths, ZatColumnsTest, ::testing::Values(14, 18));

TEST_P(ZatColumnsTest, OfNodes) {
  const char* const line = "12,7,13,99,21,22,23,24,25,26,27,28,Name,1.5,139.6917";
  test::ExpectRecord<NodeStoreRecord>(
      line,
      test::NodeRecord(form_, {.code = 12,
                               .partner = 13,
                               .attr = 7,
                               .x = 139691700,
                               .links = {21, 22, 23, 24, 25, 26, 27, 28}}),
      With(BRN_ZAT_ReadNodeRecord));
  test::ExpectRecord<NameStoreRecord>(line, Name(12, 0, 7), With(BRN_ZAT_ReadNodeNameFromNode));
  test::ExpectRecord<NameStoreRecord>("12,7,Name", Name(12, 0, 7), With(BRN_ZAT_ReadNodeName));
  test::ExpectRecord<NodeXYRecord>(
      "12,139.6917,35.5", test::Bytes().Text(form_.Code(12), 8).I32(139691700).I32(35500000).str(),
      With(BRN_ZAT_ReadNodeXY));
}

TEST_P(ZatColumnsTest, OfLinks) {
  constexpr DefaultSpeeds kDefaults = {60, 70};
  test::StoreLink link = {.code = 11,
                          .a = 12,
                          .b = 13,
                          .city = 13101,
                          .speed_a = 40,
                          .speed_b = 50,
                          .value3 = 250,
                          .kind = 4,
                          .value4 = 2,
                          .value6 = 5,
                          .value5 = 3,
                          .flag = 6};
  const char* const line = "11,4,13101,250,2,3,5,12,13,40,50,6,9,Name";
  test::ExpectRecord<LinkStoreRecord>(line, test::LinkRecord(form_, link),
                                      With(BRN_ZAT_ReadLinkRecord, kDefaults));
  link.speed_a = 60;
  link.speed_b = 70;
  test::ExpectRecord<LinkStoreRecord>("11,4,13101,250,2,3,5,12,13,0,0,6",
                                      test::LinkRecord(form_, link),
                                      With(BRN_ZAT_ReadLinkRecord, kDefaults));
  test::ExpectRecord<NameStoreRecord>(line, Name(11, 9, 0), With(BRN_ZAT_ReadLinkNameFromLink));
  test::ExpectRecord<NameStoreRecord>("11,0,9,Name", Name(11, 9, 0), With(BRN_ZAT_ReadLinkName));
}

TEST_P(ZatColumnsTest, OfSpeeds) {
  const std::string codes = form_.Code(11) + form_.Code(12) + form_.Code(13);
  test::ExpectRecord<LinkSpeedRecord>("11,12,13,40,50,7",
                                      codes + test::Bytes().I16(40).I16(50).I16(7).Zero(2).str(),
                                      With(BRN_ZAT_ReadLinkSpeed, DefaultSpeeds{60, 70}));
  test::ExpectRecord<LinkSpeedRecord>("11,12,13,0,0",
                                      codes + test::Bytes().I16(60).I16(70).Zero(4).str(),
                                      With(BRN_ZAT_ReadLinkSpeed, DefaultSpeeds{60, 70}));
}

TEST_P(ZatColumnsTest, OfRules) {
  test::ExpectRecord<RuleStoreRecord>(
      "12,11,14,2", test::RuleRecord(form_.Code(12), form_.Code(11), form_.Code(14), 2),
      With(BRN_ZAT_ReadNodeTrf));
  test::ExpectRecord<OneWayStoreRecord>(
      "11,12,13,2,1", test::OneWayRecord(form_.Code(11), form_.Code(12), form_.Code(13), 2, 1),
      With(BRN_ZAT_ReadLinkTrf));
}

#ifndef _WIN32  // the documents are not there
TEST(ZatLayoutsTest, TheDocumentShowsTheTables) {
  test::ExpectDocumented(zat::kTables, "control-file.md");
}
#endif

}  // namespace
}  // namespace zatlib
