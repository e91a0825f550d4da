#include "input_msr/layouts.h"

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

#ifndef _WIN32  // the documents are not there
TEST(MsrLayoutsTest, TheDocumentShowsTheTables) {
  test::ExpectDocumented(msr::kTables, "msr-layout.md");
}
#endif

}  // namespace
}  // namespace zatlib
