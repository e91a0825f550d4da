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
using test::kFinish;
using test::RunWithFault;

using ShapeIndexTest = test::ShapeBuilderTest;

TEST_F(ShapeIndexTest, FinishingSortsAndWritesTheTotals) {
  EXPECT_EQ(Finish(Bytes()
                       .F64(30)
                       .I32(0)
                       .I32(5)
                       .F64(10)
                       .I32(40)
                       .I32(7)
                       .F64(40)
                       .I32(96)
                       .I32(7)
                       .F64(20)
                       .I32(152)
                       .I32(0)),
            1);
  EXPECT_EQ(entries(), Bytes()
                           .F64(10)
                           .I32(40)
                           .I32(7)
                           .F64(20)
                           .I32(152)
                           .I32(0)
                           .F64(30)
                           .I32(0)
                           .I32(5)
                           .F64(40)
                           .I32(96)
                           .I32(7)
                           .str());
  // Of equal ones the first in code order is the largest.
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "NumRec=4\r\n"
            "NumShape=19\r\n"
            "MaxShapeLink=00000000000010\r\n"
            "MaxNumShape=7\r\n");
  EXPECT_TRUE(log().empty());
}

TEST_F(ShapeIndexTest, FinishingASingleEntry) {
  EXPECT_EQ(Finish(Bytes().F64(99999999999999.0).I32(0).I32(3)), 1);
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "NumRec=1\r\n"
            "NumShape=3\r\n"
            "MaxShapeLink=99999999999999\r\n"
            "MaxNumShape=3\r\n");
}

TEST_F(ShapeIndexTest, FinishingAnEmptyIndex) {
  EXPECT_EQ(Finish(""), 1);
  EXPECT_EQ(entries(), "");
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "NumRec=0\r\n"
            "NumShape=0\r\n"
            "MaxShapeLink=00000000000000\r\n"
            "MaxNumShape=0\r\n");
}

// The 8 bytes of an integer code are a tiny double, and are printed as such.
TEST_F(ShapeIndexTest, TheLargestIntegerCodeIsPrintedAsADecimalCode) {
  cs_.CodeLength = 18;
  EXPECT_EQ(Finish(Bytes()
                       .I64(100000000000000002)
                       .I32(8)
                       .I32(2)
                       .I64(100000000000000001)
                       .I32(0)
                       .I32(1)
                       .I64(5)
                       .I32(24)
                       .I32(1)),
            1);
  EXPECT_EQ(entries(), Bytes()
                           .I64(5)
                           .I32(24)
                           .I32(1)
                           .I64(100000000000000001)
                           .I32(0)
                           .I32(1)
                           .I64(100000000000000002)
                           .I32(8)
                           .I32(2)
                           .str());
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "NumRec=3\r\n"
            "NumShape=4\r\n"
            "MaxShapeLink=00000000000000\r\n"
            "MaxNumShape=2\r\n");
}

TEST_F(ShapeIndexTest, FinishingKeepsTheHeaderLines) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n", "7\r\n"), 1);
  EXPECT_EQ(SHAPE_FinishShapeIndex(&cs_), 1);
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 104\r\n"
            "NumRec=1\r\n"
            "NumShape=1\r\n"
            "MaxShapeLink=00000000000007\r\n"
            "MaxNumShape=1\r\n");
}

TEST_F(ShapeIndexTest, ADuplicateCodeFailsFinishing) {
  const std::string index =
      Bytes().F64(12345).I32(0).I32(1).F64(7).I32(8).I32(1).F64(12345).I32(16).I32(2);
  EXPECT_EQ(Finish(index), 0);
  ExpectError(test::Cp932("道路区間 00000000012345 が重複しています。重複を取り除いてください。"),
              test::Cp932("道路区間データの重複エラー"));
  EXPECT_EQ(entries(), index);
  EXPECT_FALSE(Exists(folder_ / "shapedat.inf"));

  ClearLog();
  cs_.CodeLength = 18;
  EXPECT_EQ(Finish(Bytes()
                       .I64(100000000000000001)
                       .I32(0)
                       .I32(1)
                       .I64(100000000000000002)
                       .I32(8)
                       .I32(1)
                       .I64(100000000000000001)
                       .I32(16)
                       .I32(1)),
            0);
  ExpectError(
      test::Cp932("道路区間 100000000000000001 が重複しています。重複を取り除いてください。"),
      test::Cp932("道路区間データの重複エラー"));
  EXPECT_FALSE(Exists(folder_ / "shapedat.inf"));
}

// Negative integers are no codes: their bytes are not ordered as doubles.
TEST_F(ShapeIndexTest, ACodeWithoutAnOrderIsALogicError) {
  cs_.CodeLength = 18;
  EXPECT_EQ(Finish(Bytes().I64(2).I32(0).I32(1).I64(-1).I32(8).I32(1)), 0);
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0].rfind("[Sort Error : [0] ", 0), 0u) << log()[0];
  const std::string end =
      " / -00000000000000001 >= [1] 00000000000000 / 000000000000000002]"
      "[Logic Error in SHAPE_FinishShapeIndex]";
  ASSERT_GE(log()[0].size(), end.size());
  EXPECT_EQ(log()[0].substr(log()[0].size() - end.size()), end);
  EXPECT_FALSE(Exists(folder_ / "shapedat.inf"));
}

TEST_F(ShapeIndexTest, FinishingWithoutAnIndexIsReported) {
  EXPECT_EQ(SHAPE_FinishShapeIndex(&cs_), 0);
  ExpectError(
      "Can't open the shape index DBL file for input (" + (folder_ / "shapedbl.idx") + ") !",
      kFinish);
}

TEST_F(ShapeIndexTest, FailuresOfFinishingAreReported) {
  const std::string index = Bytes().F64(2).I32(0).I32(1).F64(1).I32(8).I32(1).F64(3).I32(8).I32(0);
  const std::string path = folder_ / "shapedbl.idx";

  EXPECT_EQ(RunWithFault({Operation::kAllocate}, [&] { return Finish(index); }), 0);
  ExpectError("Can't allocate the memory for the Index size=48",
              "Memory Error in SHAPE_FinishShapeIndex");

  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kRead}, [&] { return Finish(index); }), 0);
  ExpectError("Can't read the index DBL file dwIO=0 (" + path + ")", kFinish);

  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kOpen, 2}, [&] { return Finish(index); }), 0);
  ExpectError("Can't open the index DBL file for output (" + path + ")", kFinish);

  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                         [&] { return Finish(index); }),
            0);
  ASSERT_FALSE(log().empty());
  EXPECT_EQ(log().back(), "[Can't write the index DBL file (" + path + ")][" + kFinish + "]");
  EXPECT_FALSE(Exists(folder_ / "shapedat.inf"));
}

TEST_F(ShapeIndexTest, APartialEntryAtTheEndIsDropped) {
  EXPECT_EQ(Finish(Bytes().F64(2).I32(0).I32(1).F64(1).I32(8)), 1);
  EXPECT_EQ(entries(), Bytes().F64(2).I32(0).I32(1).str());
}

}  // namespace
}  // namespace zatlib
