#include "compat/shape_points.h"

#include <string>

#include "../shape/shape_holder_test.h"
#include "fault_each.h"
#include "platform/fault.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::RunWithFault;
using test::WriteBytes;

class ShapePointsTest : public test::ShapeHolderTest {
 protected:
  int Open(int memory_mode) {
    return SHAPE_OpenShape(nullptr, &holder_, folder_.path().c_str(), memory_mode);
  }
};

class ShapePointsModes : public ShapePointsTest, public ::testing::WithParamInterface<int> {};
INSTANTIATE_TEST_SUITE_P(FileAndMemory, ShapePointsModes, ::testing::Values(0, 1));

TEST_P(ShapePointsModes, GivesThePointsOfALink) {
  WriteSmallShapes();
  ASSERT_EQ(Open(GetParam()), 1);
  EXPECT_EQ(holder_.entry_count(), 4);
  EXPECT_EQ(holder_.point_count(), 4);
  ASSERT_EQ(Get(100), 3);
  EXPECT_EQ(points_[0].X, 7425153);
  EXPECT_EQ(points_[0].Y, 43739716);
  EXPECT_EQ(points_[1].X, 7425620);
  EXPECT_EQ(points_[2].X, -1);
  EXPECT_EQ(points_[2].Y, -2);
  ASSERT_EQ(Get(400), 1);
  EXPECT_EQ(points_[0].X, 7425952);
  EXPECT_EQ(points_[0].Y, 43738949);
  EXPECT_TRUE(log().empty());
}

TEST_P(ShapePointsModes, ReturnsCountsBelowOneAsTheyAreStored) {
  WriteSmallShapes();
  ASSERT_EQ(Open(GetParam()), 1);
  points_[0] = {77, 88};
  EXPECT_EQ(Get(200), 0);
  EXPECT_EQ(Get(300), -4);
  EXPECT_EQ(points_[0].X, 77);
  EXPECT_EQ(points_[0].Y, 88);
}

TEST_P(ShapePointsModes, AnAbsentCodeGivesMinusOne) {
  WriteSmallShapes();
  ASSERT_EQ(Open(GetParam()), 1);
  for (const double code : {0.0, 99.0, 150.0, 401.0}) EXPECT_EQ(Get(code), -1) << code;
}

TEST_P(ShapePointsModes, CutsAShapeToItsFirst2048Points) {
  Bytes data;
  for (int i = 0; i < 3000; ++i) data.I32(1000 + i).I32(-i);
  Write(Bytes().F64(1).I32(0).I32(3000).F64(2).I32(0).I32(2048).F64(3).I32(0).I32(2049), data);
  ASSERT_EQ(Open(GetParam()), 1);
  for (const double code : {1.0, 2.0, 3.0}) {
    points_[2047] = {0, 0};
    EXPECT_EQ(Get(code), 2048);
    EXPECT_EQ(points_[0].X, 1000);
    EXPECT_EQ(points_[2047].X, 3047);
    EXPECT_EQ(points_[2047].Y, -2047);
  }
}

TEST_P(ShapePointsModes, FindsIntegerCodesAmongMany) {
  Bytes index;
  Bytes data;
  for (int i = 0; i < 1500; ++i) {
    index.I64(100000000000000001 + i).I32(i * 8).I32(1);
    data.I32(i).I32(i + 1);
  }
  Write(index, data);
  ASSERT_EQ(Open(GetParam()), 1);
  for (const int i : {0, 1, 511, 512, 749, 750, 1498, 1499}) {
    const FeatureCode code = FeatureCode::FromInteger(100000000000000001 + i);
    ASSERT_EQ(SHAPE_GetShapePoints(code, points_.get(), &holder_), 1) << i;
    EXPECT_EQ(points_[0].X, i);
    EXPECT_EQ(points_[0].Y, i + 1);
  }
  const FeatureCode absent = FeatureCode::FromInteger(100000000000000000);
  EXPECT_EQ(SHAPE_GetShapePoints(absent, points_.get(), &holder_), -1);
}

TEST_P(ShapePointsModes, EntriesThatPointOutsideTheDataGiveMinusOne) {
  Write(Bytes()
            .F64(1)
            .I32(8)
            .I32(2)  // ends behind the data
            .F64(2)
            .I32(-8)
            .I32(1)  // begins before them
            .F64(3)
            .I32(16)
            .I32(1)  // begins at their end
            .F64(4)
            .I32(2147483640)
            .I32(2147483647)
            .F64(5)
            .I32(8)
            .I32(1),  // the last point
        Bytes().I32(1).I32(2).I32(3).I32(4));
  ASSERT_EQ(Open(GetParam()), 1);
  EXPECT_EQ(Get(1), -1);
  EXPECT_EQ(Get(2), -1);
  EXPECT_EQ(Get(3), -1);
  EXPECT_EQ(Get(4), -1);
  ASSERT_EQ(Get(5), 1);
  EXPECT_EQ(points_[0].X, 3);
}

TEST_F(ShapePointsTest, MemoryModeRoundsAnOffsetDownAndFileModeTakesItAsItIs) {
  Write(Bytes().F64(1).I32(12).I32(1), Bytes().I32(1).I32(2).I32(3).I32(4).I32(5).I32(6));
  ASSERT_EQ(Open(1), 1);
  ASSERT_EQ(Get(1), 1);
  EXPECT_EQ(points_[0].X, 3);
  EXPECT_EQ(points_[0].Y, 4);
  ASSERT_EQ(Open(0), 1);
  ASSERT_EQ(Get(1), 1);
  EXPECT_EQ(points_[0].X, 4);
  EXPECT_EQ(points_[0].Y, 5);
}

TEST_P(ShapePointsModes, PartialRecordsAtTheEndAreIgnored) {
  Write(Bytes().F64(1).I32(0).I32(1).F64(2).I32(0), Bytes().I32(1).I32(2).I32(3));
  ASSERT_EQ(Open(GetParam()), 1);
  EXPECT_EQ(holder_.entry_count(), 1);
  EXPECT_EQ(holder_.point_count(), 1);
  EXPECT_EQ(Get(1), 1);
  EXPECT_EQ(Get(2), -1);
}

TEST_P(ShapePointsModes, OpeningAgainReplacesWhatWasOpen) {
  WriteSmallShapes();
  ASSERT_EQ(Open(GetParam()), 1);
  test::MakeFolder(folder_ / "other");
  const std::string other = folder_ / "other";
  WriteBytes(folder_ / "other/shapedbl.idx", Bytes().F64(7).I32(0).I32(1));
  WriteBytes(folder_ / "other/shapedat.dat", Bytes().I32(70).I32(71));
  ASSERT_EQ(SHAPE_OpenShape(nullptr, &holder_, other.c_str(), 1 - GetParam()), 1);
  EXPECT_EQ(holder_.entry_count(), 1);
  EXPECT_EQ(Get(100), -1);
  ASSERT_EQ(Get(7), 1);
  EXPECT_EQ(points_[0].X, 70);
  // Nothing of the first opening is left: its files can be written again.
  WriteSmallShapes();
  ASSERT_EQ(Open(GetParam()), 1);
  EXPECT_EQ(Get(100), 3);
}

TEST_P(ShapePointsModes, ClosingEmptiesTheHolder) {
  WriteSmallShapes();
  ASSERT_EQ(Open(GetParam()), 1);
  SHAPE_CloseShape(&holder_);
  ExpectClosed();
  SHAPE_CloseShape(&holder_);
  ExpectClosed();
}

TEST_F(ShapePointsTest, AMissingOrEmptyFileIsReported) {
  const std::string index = folder_ / "shapedbl.idx";
  const std::string data = folder_ / "shapedat.dat";
  const std::string title = "File Error in SHAPE_OpenShape";
  EXPECT_EQ(Open(1), 0);
  ExpectError("Can't find the shape index file (" + index + ") !", title);

  ClearLog();
  WriteBytes(index, "");
  EXPECT_EQ(Open(0), 0);
  ExpectError("Can't find the shape index file (" + index + ") !", title);

  ClearLog();
  WriteBytes(index, Bytes().F64(1).I32(0).I32(1));
  EXPECT_EQ(Open(0), 0);
  ExpectError("Can't find the shape data file (" + data + ") !", title);

  ClearLog();
  WriteBytes(data, "");
  EXPECT_EQ(Open(1), 0);
  ExpectError("Can't find the shape data file (" + data + ") !", title);
}

// The opens in order: the index for its size, the index, the data for its size, the data.
TEST_F(ShapePointsTest, AFileThatCannotBeOpenedAgainIsReported) {
  WriteSmallShapes();
  const std::string title = "File Error in SHAPE_OpenShape";
  EXPECT_EQ(RunWithFault({platform::Operation::kOpen, 2}, [&] { return Open(1); }), 0);
  ExpectError("Can't open / read the shape index DBL (" + (folder_ / "shapedbl.idx") + ") !",
              title);

  ClearLog();
  EXPECT_EQ(RunWithFault({platform::Operation::kOpen, 4}, [&] { return Open(1); }), 0);
  ExpectError("Can't open / read the shape data (" + (folder_ / "shapedat.dat") + ") !", title);

  ClearLog();
  EXPECT_EQ(RunWithFault({platform::Operation::kOpen, 4}, [&] { return Open(0); }), 0);
  ExpectError("Can't open the shape data (" + (folder_ / "shapedat.dat") + ") !", title);
}

TEST_F(ShapePointsTest, AReadThatFailsIsReported) {
  WriteSmallShapes();
  const std::string title = "File Error in SHAPE_OpenShape";
  EXPECT_EQ(RunWithFault({platform::Operation::kRead}, [&] { return Open(0); }), 0);
  ExpectError("Can't open / read the shape index DBL (" + (folder_ / "shapedbl.idx") + ") !",
              title);

  ClearLog();
  EXPECT_EQ(RunWithFault({platform::Operation::kRead, 2}, [&] { return Open(1); }), 0);
  ExpectError("Can't open / read the shape data (" + (folder_ / "shapedat.dat") + ") !", title);
}

TEST_F(ShapePointsTest, MemoryThatIsRefusedIsReported) {
  WriteSmallShapes();
  const std::string title = "Memory Error in SHAPE_OpenShape";
  EXPECT_EQ(RunWithFault({platform::Operation::kAllocate}, [&] { return Open(0); }), 0);
  ExpectError("Can't allocate the memory for the shape index, size=64", title);

  ClearLog();
  EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, 2}, [&] { return Open(1); }), 0);
  ExpectError("Can't allocate the memory for the shape data, size=32", title);
}

TEST_F(ShapePointsTest, ALookupInTheFileThatCannotSeekOrReadGivesMinusOne) {
  WriteSmallShapes();
  ASSERT_EQ(Open(0), 1);
  EXPECT_EQ(RunWithFault({platform::Operation::kSeek}, [&] { return Get(100); }), -1);
  EXPECT_EQ(RunWithFault({platform::Operation::kRead}, [&] { return Get(100); }), -1);
  EXPECT_EQ(Get(100), 3);
  EXPECT_TRUE(log().empty());
}

}  // namespace
}  // namespace zatlib
