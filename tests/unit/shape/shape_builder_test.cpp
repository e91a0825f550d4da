#include "shape_builder_test.h"

#include <string>

#include "frd/progress.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Exists;
using test::kHeader;
using test::WriteBytes;

using test::ShapeBuilderTest;

TEST_F(ShapeBuilderTest, ACancelledRunStopsWithoutAMessage) {
  WriteBytes(folder_ / "a.mif", std::string(kHeader) + "Pline 1\r\n1 2\r\n");
  WriteBytes(folder_ / "a.mid", "1\r\n");
  WriteBytes(folder_ / "shapedbl.idx", Bytes().F64(1).I32(0).I32(1));
  g_silent = 0;
  cs_.ShowProgress = 1;
  FRD_SetCancelled(true);
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  EXPECT_EQ(SHAPE_CreateShapeFileFromMif(&cs_), 0);
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatText(&cs_), 0);
  EXPECT_EQ(SHAPE_FinishShapeIndex(&cs_), 0);
  g_silent = 1;
  EXPECT_TRUE(log().empty());
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
  EXPECT_FALSE(Exists(folder_ / "shapedat.inf"));
}

TEST_F(ShapeBuilderTest, WithoutProgressTheCancelFlagIsNotHeard) {
  FRD_SetCancelled(true);
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n", "1\r\n"), 1);
  EXPECT_EQ(SHAPE_FinishShapeIndex(&cs_), 1);
}

#ifndef _WIN32
ShapeContext* g_cs;

TEST_F(ShapeBuilderTest, ShowsWhatItDoes) {
  std::string objects;
  std::string mid;
  for (int i = 1; i <= 20001; ++i) {
    objects += "Pline 1\r\n1 2\r\n";
    mid += std::to_string(i) + "\r\n";
  }
  WriteBytes(folder_ / "a.mif", kHeader + objects);
  WriteBytes(folder_ / "a.mid", mid);
  SetPath(1, "b.txt");
  WriteBytes(folder_ / "b.txt", "30000,0\r\n");
  cs_.ShowProgress = 1;
  g_cs = &cs_;
  const auto work = [](WindowHandle, int64_t, const char*) {
    if (SHAPE_CreateShapeFileFromZatMif(g_cs) == 0) return 0;
    g_cs->FileIndex = 1;
    if (SHAPE_CreateShapeFileFromZatText(g_cs) == 0) return 0;
    return SHAPE_FinishShapeIndex(g_cs);
  };
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  const int result = FRD_RunDialog(nullptr, work, 0, "");
  const std::string shown = ::testing::internal::GetCapturedStderr();
  g_silent = 1;
  EXPECT_EQ(result, 1);
  EXPECT_EQ(shown,
            "Initalizing...\n"
            "Initializing... 1/2\n"
            "Reading Shape=10000 / 20001 [00000000010000 79992 1]\n"
            "Reading Shape=20000 / 20001 [00000000020000 159992 1]\n"
            "Creating Shape Data... 2/2\n"
            "Finishing Shape Index...\n");
  EXPECT_TRUE(log().empty());
}
#endif

}  // namespace
}  // namespace zatlib
