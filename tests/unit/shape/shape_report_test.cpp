#include "shape/shape_report.h"

#include "test_support.h"

namespace zatlib {
namespace {

class ShapeReportTest : public test::LibraryTest {};

TEST_F(ShapeReportTest, LogsMessageAndTitleInSilentModeAndShowsNothing) {
  for (const ShapeBox box : {ShapeBox::kTaskModal, ShapeBox::kPlain}) {
    ClearLog();
#ifndef _WIN32
    ::testing::internal::CaptureStderr();
#endif
    EXPECT_EQ(ReportShapeError(nullptr, box, "File Error in X", "at rec=%d of %s", 7, "a.mif"), 0);
#ifndef _WIN32
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
#endif
    ASSERT_EQ(log().size(), 1u);
    EXPECT_EQ(log()[0], "[at rec=7 of a.mif][File Error in X]");
  }
}

TEST_F(ShapeReportTest, ALongMessageIsCut) {
  for (const ShapeBox box : {ShapeBox::kTaskModal, ShapeBox::kPlain}) {
    ClearLog();
    ReportShapeError(nullptr, box, "T", "%s", std::string(2000, 'm').c_str());
    ASSERT_EQ(log().size(), 1u);
    EXPECT_EQ(log()[0], "[" + std::string(1020, 'm'));
  }
}

#ifndef _WIN32
TEST_F(ShapeReportTest, ShowsABoxOutsideSilentMode) {
  for (const ShapeBox box : {ShapeBox::kTaskModal, ShapeBox::kPlain}) {
    ClearLog();
    g_silent = 0;
    ::testing::internal::CaptureStderr();
    EXPECT_EQ(ReportShapeError(nullptr, box, "File Error in X", "at rec=%d", 7), 0);
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "File Error in X: at rec=7\n");
    g_silent = 1;
    ASSERT_EQ(log().size(), 1u);
    EXPECT_EQ(log()[0], "[at rec=7][File Error in X]");
  }
}
#endif

}  // namespace
}  // namespace zatlib
