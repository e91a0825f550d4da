#include "platform/progress_layout.h"

#include <gtest/gtest.h>

namespace zatlib::platform {
namespace {

TEST(ProgressLayout, TheUnitIsALineOfTextAndTheDialogFrame) {
  EXPECT_EQ(LayoutUnit(13, 0, 3), 20);  // 13 + 7.5
  EXPECT_EQ(LayoutUnit(12, 0, 3), 19);  // 12 + 7.5
  EXPECT_EQ(LayoutUnit(16, 3, 4), 29);  // 19 + 10
  EXPECT_EQ(LayoutUnit(13, 0, 1), 15);  // 13 + 2.5
}

TEST(ProgressLayout, TheClientAreaIsFifteenBySevenUnits) {
  EXPECT_EQ(ClientWidth(20), 300);
  EXPECT_EQ(ClientHeight(20), 142);
  EXPECT_EQ(ClientWidth(19), 285);
  EXPECT_EQ(ClientHeight(19), 134);  // 134.9
}

TEST(ProgressLayout, PartsInAUnitOfTwenty) {
  EXPECT_EQ(StatusBox(20, 300), (Box{25, 25, 250, 45}));
  EXPECT_EQ(BarBox(20, 300), (Box{19, 79, 262, 22}));
  EXPECT_EQ(CancelBox(20, 300), (Box{100, 110, 100, 24}));
  // From (20, 20) to (280, 70).
  EXPECT_EQ(FrameBox(20, 300), (Box{20, 20, 260, 50}));
}

TEST(ProgressLayout, BoxesAreEqualInAllFourNumbers) {
  const Box box = {1, 2, 3, 4};
  EXPECT_TRUE(box == (Box{1, 2, 3, 4}));
  for (const Box& other : {Box{0, 2, 3, 4}, Box{1, 0, 3, 4}, Box{1, 2, 0, 4}, Box{1, 2, 3, 0}}) {
    EXPECT_FALSE(box == other);
  }
}

TEST(ProgressLayout, FractionsAreCut) {
  EXPECT_EQ(StatusBox(19, 285), (Box{23, 23, 238, 42}));  // 23.75, 23.75, 285 - 47, 42.75
  EXPECT_EQ(BarBox(19, 285), (Box{18, 75, 249, 21}));
  EXPECT_EQ(CancelBox(19, 285), (Box{95, 104, 95, 22}));  // 190 / 2, 104.5, 95, 22.8
  EXPECT_EQ(FrameBox(19, 285), (Box{19, 19, 247, 47}));   // down to 66.5
  EXPECT_EQ(CancelBox(19, 286).left, 95);                 // 191 / 2
}

TEST(ProgressLayout, TheDialogIsCentredOverItsReference) {
  const Box work{0, 0, 1024, 768};
  EXPECT_EQ(CentredBox({0, 0, 306, 170}, {100, 200, 506, 370}, work), (Box{200, 300, 306, 170}));
  // Halves are integers: 507 / 2 = 253, 307 / 2 = 153.
  EXPECT_EQ(CentredBox({9, 9, 307, 171}, {100, 200, 507, 371}, work), (Box{200, 300, 307, 171}));
}

TEST(ProgressLayout, TheDialogStaysInsideTheWorkArea) {
  const Box work{10, 20, 1000, 700};
  EXPECT_EQ(CentredBox({0, 0, 300, 150}, {-200, -200, 100, 100}, work), (Box{10, 20, 300, 150}));
  EXPECT_EQ(CentredBox({0, 0, 300, 150}, {950, 690, 400, 400}, work), (Box{710, 570, 300, 150}));
  // Larger than the work area: left and top are bounded first, so the right and lower edge count.
  EXPECT_EQ(CentredBox({0, 0, 1200, 900}, {0, 0, 100, 100}, work), (Box{-190, -180, 1200, 900}));
  EXPECT_EQ(CentredBox({0, 0, 1000, 700}, {0, 0, 100, 100}, work), (Box{10, 20, 1000, 700}));
}

}  // namespace
}  // namespace zatlib::platform
