#include "shape/shape_report.h"

#include "test_support.h"

namespace zatlib {
namespace {

class ShapeReportTest : public test::LibraryTest {
 protected:
  const Step step_ = Step::InFolder(nullptr, "maps", "X");
};

TEST_F(ShapeReportTest, LogsMessageAndTitleInSilentModeAndShowsNothing) {
#ifndef _WIN32
  ::testing::internal::CaptureStderr();
#endif
  EXPECT_EQ(FailInPlainBox(step_, "at rec=%d of %s", 7, "a.mif"), Outcome::kFailed);
#ifndef _WIN32
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
#endif
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "[at rec=7 of a.mif][File Error in X]");
}

TEST_F(ShapeReportTest, ALongMessageIsCut) {
  const std::string text(2000, 'm');
  EXPECT_EQ(FailInPlainBox(step_, "%s", text.c_str()), Outcome::kFailed);
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "[" + std::string(1020, 'm'));
}

#ifndef _WIN32
TEST_F(ShapeReportTest, ShowsABoxOutsideSilentMode) {
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FailInPlainBox(step_, "at rec=%d", 7), Outcome::kFailed);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "File Error in X: at rec=7\n");
  g_silent = 1;
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "[at rec=7][File Error in X]");
}
#endif

}  // namespace
}  // namespace zatlib
