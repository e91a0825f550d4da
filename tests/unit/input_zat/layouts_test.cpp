#include "input_zat/layouts.h"

#include "source_tables.h"

namespace zatlib {
namespace {

TEST(ZatLayoutsTest, ColumnsStandInTheirPlaces) {
  for (const SourceTable* table : zat::kTables) test::ExpectWellFormed(*table);
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

#ifndef _WIN32  // the documents are not there
TEST(ZatLayoutsTest, TheDocumentShowsTheTables) {
  test::ExpectDocumented(zat::kTables, "control-file.md");
}
#endif

}  // namespace
}  // namespace zatlib
