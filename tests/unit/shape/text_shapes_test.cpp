#include <string>

#include "fault_each.h"
#include "platform/fault.h"
#include "shape_builder_test.h"

namespace zatlib {
namespace {

using platform::Operation;
using platform::WriteFault;
using test::Bytes;
using test::Exists;
using test::kZatText;
using test::Record;
using test::RunWithFault;
using test::WriteBytes;

using TextShapesTest = test::ShapeBuilderTest;

TEST_F(TextShapesTest, ReadsTheBlocksOfATextFile) {
  EXPECT_EQ(BuildText("10000020000001,2\r\n"
                      "7.425153,43.739716\r\n"
                      "7.425620,43.739547\r\n"
                      "\"10000020000002\"\t\"1\"\r\n"
                      "\"-7.5\"\t\"43.7\",ignored\r\n"
                      "10000020000003,0\r\n"
                      "10000020000004,-2\r\n"
                      "10000020000005\r\n"
                      "10000020000006,1\r\n"
                      "0,0\r\n"),
            1);
  EXPECT_TRUE(log().empty());
  EXPECT_EQ(points(), Bytes()
                          .I32(7425153)
                          .I32(43739716)
                          .I32(7425620)
                          .I32(43739547)
                          .I32(-7500000)
                          .I32(43700000)
                          .I32(0)
                          .I32(0)
                          .str());
  EXPECT_EQ(entries(), Bytes()
                           .F64(10000020000001.0)
                           .I32(0)
                           .I32(2)
                           .F64(10000020000002.0)
                           .I32(16)
                           .I32(1)
                           .F64(10000020000003.0)
                           .I32(24)
                           .I32(0)
                           .F64(10000020000004.0)
                           .I32(24)
                           .I32(-2)
                           .F64(10000020000005.0)
                           .I32(24)
                           .I32(0)
                           .F64(10000020000006.0)
                           .I32(24)
                           .I32(1)
                           .str());
}

TEST_F(TextShapesTest, TextCodesOf18DigitsAreIntegers) {
  cs_.CodeLength = 18;
  EXPECT_EQ(BuildText("100000000000000001,1\r\n1,2\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().I64(100000000000000001).I32(0).I32(1).str());
}

TEST_F(TextShapesTest, TextFilesDeclareDefaultsUnlessTheyAreThere) {
  EXPECT_EQ(BuildText(""), 1);
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 1015\r\n");
  WriteBytes(folder_ / "shapedat.inf",
             "[INFORMATION]\r\nCoordSys=CoordSys Earth Projection 1, 152\r\n");
  EXPECT_EQ(BuildText(""), 1);
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "CoordSys=CoordSys Earth Projection 1, 152\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n");
}

TEST_F(TextShapesTest, AnEmptyTextFileGivesEmptyShapeFiles) {
  EXPECT_EQ(BuildText(""), 1);
  EXPECT_TRUE(Exists(folder_ / "shapedat.dat"));
  EXPECT_TRUE(Exists(folder_ / "shapedbl.idx"));
  EXPECT_EQ(points() + entries(), "");
}

TEST_F(TextShapesTest, AppendsTextFiles) {
  SetPath(1, "b.txt");
  WriteBytes(folder_ / "b.txt", "2,1\r\n5,6\r\n");
  EXPECT_EQ(BuildText("1,2\r\n1,2\r\n3,4\r\n"), 1);
  cs_.FileIndex = 1;
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatText(&cs_), 1);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(2).F64(2).I32(16).I32(1).str());
  EXPECT_EQ(Record(points(), 2, 8), Bytes().I32(5000000).I32(6000000).str());
}

TEST_F(TextShapesTest, AMissingTextFileIsReported) {
  SetPath(0, "none.txt");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatText(&cs_), 0);
  ExpectError("Can't open the MIF file (" + (folder_ / "none.txt") + ") !", kZatText);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
  // The declarations come before the file is opened.
  EXPECT_TRUE(Exists(folder_ / "shapedat.inf"));
}

TEST_F(TextShapesTest, ATextBlockThatEndsEarlyIsReported) {
  EXPECT_EQ(BuildText("1,1\r\n1,2\r\n2,3\r\n3,4\r\n5,6\r\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=2 item=3", kZatText);
  EXPECT_EQ(points().size(), 24u);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

TEST_F(TextShapesTest, ATextCountThatLiesIsReported) {
  EXPECT_EQ(BuildText("1,1000000000\r\n1,2\r\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=1 item=2", kZatText);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).str());
  EXPECT_EQ(entries(), "");
}

TEST_F(TextShapesTest, ATextPointLineThatIsTooLongIsReported) {
  EXPECT_EQ(BuildText("1,1\r\n1,2" + std::string(2048, ',') + "\r\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=1 item=1", kZatText);
}

TEST_F(TextShapesTest, ATextHeadLineThatIsTooLongEndsTheFile) {
  EXPECT_EQ(BuildText("1,1\r\n1,2\r\n2,0" + std::string(2048, ',') + "\r\n3,0\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
  EXPECT_TRUE(log().empty());
}

TEST_F(TextShapesTest, ATextFileWithLfLineEndsIsOneLine) {
  // Column 2 is "2", a line feed and "1.5".
  EXPECT_EQ(BuildText("1,2\n1.5,2\n3,4\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=1 item=1", kZatText);
  ClearLog();
  std::string text = "1,200\n";
  for (int i = 0; i < 200; ++i) text += "7.425952,43.738949\n";
  EXPECT_EQ(BuildText(text), 1);
  EXPECT_EQ(points() + entries(), "");
}

TEST_F(TextShapesTest, ATextFileThatCannotBeReadIsReported) {
  EXPECT_EQ(RunWithFault({Operation::kRead}, [&] { return BuildText("1,1\r\n1,2\r\n"); }), 0);
  ExpectError("Can't read the file (" + (folder_ / "a.txt") + ") !", kZatText);
}

TEST_F(TextShapesTest, FailedWritesOfATextFileAreReported) {
  const std::string text = "1,1\r\n1,2\r\n2,3\r\n1,2\r\n3,4\r\n5,6\r\n";
  // Four points are 32 bytes; half of them are two points.
  EXPECT_EQ(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                         [&] { return BuildText(text); }),
            0);
  ExpectError("Can't write the Shape File at rec=2 in Line ITEM section item=2", kZatText);
  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kWrite, 2, true}, [&] { return BuildText(text); }), 0);
  ExpectError("Can't write the shape index DBL file (" + (folder_ / "shapedbl.idx") + ") at rec=1",
              kZatText);
}

// More points than are written at once, and more entries than wait for theirs.
TEST_F(TextShapesTest, FailedWritesOfALongTextFileAreReported) {
  std::string many, one = "1,140000\r\n";
  for (int i = 1; i <= 80000; ++i) many += std::to_string(i) + ",2\r\n1,2\r\n3,4\r\n";
  for (int i = 0; i < 140000; ++i) one += "1,2\r\n";
  for (const std::string& text : {many, one}) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kWrite, 1, true}, [&] { return BuildText(text); }), 0);
    ExpectError("Can't write the Shape File at rec=1 in Line ITEM section item=1", kZatText);
  }
}

TEST_F(TextShapesTest, TextOutputsThatCannotBeOpenedAreReported) {
  test::MakeFolder(folder_ / "shapedat.dat");
  EXPECT_EQ(BuildText("1,1\r\n1,2\r\n"), 0);
  ExpectError("Can't open the Shape File (" + (folder_ / "shapedat.dat") + ") !", kZatText);
}

// Blocks of points larger than what is read and written at once.
TEST_F(TextShapesTest, ALongTextShapeIsStreamed) {
  std::string text = "1,200000\r\n";
  for (int i = 0; i < 200000; ++i) {
    text += "1." + std::to_string(100000 + i) + ",43.738949\r\n";
  }
  text += "2,1\r\n5,6\r\n";
  EXPECT_EQ(BuildText(text), 1);
  const std::string data = points();
  ASSERT_EQ(data.size(), 200001u * 8);
  for (const int i : {0, 1, 55555, 131071, 131072, 199999}) {
    EXPECT_EQ(Record(data, static_cast<size_t>(i), 8), Bytes().I32(1100000 + i).I32(43738949).str())
        << i;
  }
  EXPECT_EQ(Record(data, 200000, 8), Bytes().I32(5000000).I32(6000000).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(200000).F64(2).I32(1600000).I32(1).str());
}

}  // namespace
}  // namespace zatlib
