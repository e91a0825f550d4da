#include "input_msr/layouts.h"

#include "input_msr/record_readers.h"
#include "records.h"
#include "source_lines.h"
#include "source_tables.h"

namespace zatlib {
namespace {

TEST(MsrLayoutsTest, ColumnsStandInTheirPlaces) {
  for (const SourceTable* table : msr::kTables) test::ExpectWellFormed(*table);
}

// The columns that a line must reach: that of the first section a point lists, for one.
TEST(MsrLayoutsTest, LinesMustReachTheseColumns) {
  EXPECT_EQ(msr::kPoints.Needed(), 8);
  EXPECT_EQ(msr::kSections.Needed(), 9);
  EXPECT_EQ(msr::kSectionNames.Needed(), 2);
  EXPECT_EQ(msr::kConditions.Needed(), 5);
}

// Every column of every table, in quotes, with many digits and with others behind them.
class MsrColumnsTest : public test::ColumnsTest {
 protected:
  // A number within an area.
  int64_t Code(int area, int number) const {
    return area * (form_.length == 14 ? 1000000000000 : 10000000000000000) + number;
  }
  std::string Bytes(int area, int number) const { return form_.Code(Code(area, number)); }
};

INSTANTIATE_TEST_SUITE_P(CodeLengths, MsrColumnsTest, ::testing::Values(14, 18));

TEST_P(MsrColumnsTest, OfPoints) {
  const char* const line = "3,12,7,4,13,Name,8,21,22,23,24,25,26,27,28";
  test::ExpectRecord<NodeStoreRecord>(
      line,
      test::NodeRecord(form_, {.code = Code(3, 12),
                               .partner = Code(4, 13),
                               .attr = 7,
                               .links = {Code(3, 21), Code(3, 22), Code(3, 23), Code(3, 24),
                                         Code(3, 25), Code(3, 26), Code(3, 27), Code(3, 28)}}),
      With(BRN_MSR_ReadDrotenRecord));
  test::ExpectRecord<NameStoreRecord>(line, test::NameBytes{Bytes(3, 12), "Name", 0, 7},
                                      With(BRN_MSR_ReadNodeName));
}

TEST_P(MsrColumnsTest, OfSections) {
  test::StoreLink link = {.code = Code(3, 11),
                          .a = Code(3, 12),
                          .b = Code(3, 13),
                          .city = 3101,
                          .speed_a = 40,
                          .speed_b = 50,
                          .value3 = 250,
                          .kind = 4,
                          .value4 = 2,
                          .value6 = 5,
                          .value5 = 3,
                          .flag = 6};
  constexpr DefaultSpeeds kDefaults = {60, 70};
  test::ExpectRecord<LinkStoreRecord>("11,4,3,101,250,2,3,12,13,5,40,50,6",
                                      test::LinkRecord(form_, link),
                                      With(BRN_MSR_ReadDkukanRecord, kDefaults));
  link.speed_a = 60;
  link.speed_b = 70;
  test::ExpectRecord<LinkStoreRecord>("11,4,3,101,250,2,3,12,13,5,0,0,6",
                                      test::LinkRecord(form_, link),
                                      With(BRN_MSR_ReadDkukanRecord, kDefaults));
}

TEST_P(MsrColumnsTest, OfNamesAndConditions) {
  test::ExpectRecord<NameStoreRecord>("3,11,9,Name,7",
                                      test::NameBytes{Bytes(3, 11), "Name", 9, 0, 7},
                                      With(BRN_MSR_ReadKukanzRecord));
  test::ExpectRecord<RuleStoreRecord>("3,12,11,14,2",
                                      test::RuleRecord(Bytes(3, 12), Bytes(3, 11), Bytes(3, 14), 2),
                                      With(BRN_MSR_ReadTukoujRecord));
}

#ifndef _WIN32  // the documents are not there
TEST(MsrLayoutsTest, TheDocumentShowsTheTables) {
  test::ExpectDocumented(msr::kTables, "msr-layout.md");
}
#endif

}  // namespace
}  // namespace zatlib
