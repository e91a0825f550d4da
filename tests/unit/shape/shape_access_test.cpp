#include "shape/shape_access.h"

#include <string>
#include <vector>

#include "fault_each.h"
#include "frd/parallel.h"
#include "platform/fault.h"
#include "shape_holder_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::RunWithFault;

using ShapeAccessTest = test::ShapeHolderTest;

TEST_F(ShapeAccessTest, AllThreeFilesMustBeThere) {
  const char* const names[] = {"shapedbl.idx", "shapedat.dat", "shapedat.inf"};
  WriteSmallShapes();
  EXPECT_EQ(SHAPE_CheckShapeFiles(folder_.path().c_str()), 1);
  for (const char* name : names) {
    WriteSmallShapes();
    ASSERT_EQ(std::remove((folder_ / name).c_str()), 0);
    EXPECT_EQ(SHAPE_CheckShapeFiles(folder_.path().c_str()), 0) << name;
  }
  EXPECT_TRUE(log().empty());
}

// The ends of the shapes, in the mode of the parameter and with one and with several threads.
class ShapeEndsModes : public ShapeAccessTest, public ::testing::WithParamInterface<int> {
 protected:
  ~ShapeEndsModes() override { SetThreadCount(0); }

  int OpenEnds(int threads = 0) {
    SetThreadCount(threads);
    Workers workers;
    return SHAPE_OpenShapeEnds(nullptr, &holder_, folder_.path().c_str(), GetParam(), workers);
  }

  int32_t Find(double code) {
    const FeatureCode wanted = FeatureCode::FromDouble(code);
    int32_t position = -2;
    SHAPE_FindShapeEnds(&wanted, 1, holder_, &position);
    return position;
  }

  // The points as "x y, x y, x y, x y", or "none".
  std::string Ends(double code) {
    const int32_t position = Find(code);
    if (position < 0) return "none";
    const ShapeEnds& ends = holder_.ends(position);
    std::string text;
    for (const ShapePoint& p : {ends.First, ends.Second, ends.BeforeLast, ends.Last}) {
      if (!text.empty()) text += ", ";
      text += std::to_string(p.X) + " " + std::to_string(p.Y);
    }
    return text;
  }
};
INSTANTIATE_TEST_SUITE_P(FileAndMemory, ShapeEndsModes, ::testing::Values(0, 1));

TEST_P(ShapeEndsModes, AreTheFirstAndTheLastTwoPoints) {
  WriteSmallShapes();
  ASSERT_EQ(OpenEnds(), 1);
  EXPECT_EQ(Ends(100), "7425153 43739716, 7425620 43739547, 7425620 43739547, -1 -2");
  EXPECT_EQ(Ends(200), "none");
  EXPECT_EQ(Ends(300), "none");
  EXPECT_EQ(Ends(400), "none");  // a single point
  EXPECT_EQ(Ends(99), "none");
  EXPECT_EQ(Get(100), -1);  // no points
  EXPECT_TRUE(log().empty());
}

TEST_P(ShapeEndsModes, OfALongShapeEndWithIts2048thPoint) {
  Bytes data;
  for (int i = 0; i < 3000; ++i) data.I32(1000 + i).I32(-i);
  Write(Bytes().F64(1).I32(0).I32(3000).F64(2).I32(8).I32(2048).F64(3).I32(0).I32(2), data);
  ASSERT_EQ(OpenEnds(), 1);
  EXPECT_EQ(Ends(1), "1000 0, 1001 -1, 3046 -2046, 3047 -2047");
  EXPECT_EQ(Ends(2), "1001 -1, 1002 -2, 3047 -2047, 3048 -2048");
  EXPECT_EQ(Ends(3), "1000 0, 1001 -1, 1000 0, 1001 -1");
}

// 300000 points: 2400000 bytes, of which 1048576 are looked at at a time. The shapes of 100 points
// overlap, and they stand in the index in order, backwards and mixed.
TEST_P(ShapeEndsModes, AreFoundAllOverTheData) {
  Bytes data;
  for (int i = 0; i < 300000; ++i) data.I32(i).I32(i + 7);
  constexpr int kShapes = 5980;                    // every 50 points
  for (const int factor : {1, kShapes - 1, 77}) {  // 77 and 5980 have no common divisor
    Bytes index;
    const auto first_point = [&](int i) { return i * int64_t{factor} % kShapes * 50; };
    for (int i = 0; i < kShapes; ++i) index.F64(10.0 + i).I32(first_point(i) * 8).I32(100);
    Write(index, data);
    for (const int threads : {1, 3}) {
      ASSERT_EQ(OpenEnds(threads), 1);
      for (int i = 0; i < kShapes; ++i) {
        const int32_t position = Find(10.0 + i);
        ASSERT_EQ(position, i);
        const ShapeEnds& ends = holder_.ends(position);
        const int64_t first = first_point(i);
        ASSERT_EQ(ends.First.X, first);
        ASSERT_EQ(ends.Second.X, first + 1);
        ASSERT_EQ(ends.BeforeLast.X, first + 98);
        ASSERT_EQ(ends.Last.X, first + 99);
        ASSERT_EQ(ends.Last.Y, first + 106);
      }
    }
  }
}

TEST_P(ShapeEndsModes, AreFoundForManyCodesAtOnce) {
  Bytes index;
  Bytes data;
  for (int i = 0; i < 1500; ++i) {
    index.I64(100000000000000001 + 2 * i).I32(i * 16).I32(2);
    data.I32(i).I32(0).I32(i).I32(1);
  }
  Write(index, data);
  ASSERT_EQ(OpenEnds(), 1);
  // Upward with gaps and strangers, then downward.
  std::vector<FeatureCode> codes;
  std::vector<int32_t> wanted;
  for (int i = 0; i < 1500; ++i) {
    if (i % 7 == 3) continue;
    codes.push_back(FeatureCode::FromInteger(100000000000000001 + 2 * i));
    wanted.push_back(i);
    codes.push_back(FeatureCode::FromInteger(100000000000000002 + 2 * i));
    wanted.push_back(-1);
  }
  for (int i = 1499; i >= 0; i -= 5) {
    codes.push_back(FeatureCode::FromInteger(100000000000000001 + 2 * i));
    wanted.push_back(i);
  }
  std::vector<int32_t> found(codes.size());
  SHAPE_FindShapeEnds(codes.data(), static_cast<int64_t>(codes.size()), holder_, found.data());
  EXPECT_EQ(found, wanted);
}

TEST_P(ShapeEndsModes, EntriesThatPointOutsideTheDataHaveNone) {
  Bytes index;
  index.F64(1).I32(8).I32(2);   // ends behind the data
  index.F64(2).I32(-8).I32(2);  // begins before them
  index.F64(3).I32(16).I32(2);  // begins at their end
  index.F64(4).I32(2147483640).I32(2147483647);
  index.F64(5).I32(0).I32(2);
  Write(index, Bytes().I32(1).I32(2).I32(3).I32(4));
  ASSERT_EQ(OpenEnds(), 1);
  for (const double code : {1.0, 2.0, 3.0, 4.0}) EXPECT_EQ(Ends(code), "none") << code;
  EXPECT_EQ(Ends(5), "1 2, 3 4, 1 2, 3 4");
}

TEST_P(ShapeEndsModes, OfAnOddOffsetAreThoseOfTheLookup) {
  Write(Bytes().F64(1).I32(12).I32(2),
        Bytes().I32(1).I32(2).I32(3).I32(4).I32(5).I32(6).I32(7).I32(8));
  ASSERT_EQ(OpenEnds(), 1);
  EXPECT_EQ(Ends(1), GetParam() != 0 ? "3 4, 5 6, 3 4, 5 6" : "4 5, 6 7, 4 5, 6 7");
}

TEST_P(ShapeEndsModes, NeedNoIndexOnceTheirPositionsAreKnown) {
  WriteSmallShapes();
  ASSERT_EQ(OpenEnds(), 1);
  const int32_t position = Find(100);
  holder_.FreeIndex();
  EXPECT_EQ(holder_.entry_count(), 0);
  EXPECT_EQ(holder_.entries(), nullptr);
  EXPECT_EQ(holder_.ends(position).Last.X, -1);
  EXPECT_EQ(Find(100), -1);
  SHAPE_CloseShape(&holder_);
  ExpectClosed();
}

TEST_P(ShapeEndsModes, AMissingOrEmptyFileIsReported) {
  const std::string title = "File Error in SHAPE_OpenShape";
  EXPECT_EQ(OpenEnds(), 0);
  ExpectError("Can't find the shape index file (" + (folder_ / "shapedbl.idx") + ") !", title);
  ClearLog();
  Write(Bytes().F64(1).I32(0).I32(1), "");
  EXPECT_EQ(OpenEnds(), 0);
  ExpectError("Can't find the shape data file (" + (folder_ / "shapedat.dat") + ") !", title);
}

TEST_P(ShapeEndsModes, AFileThatCannotBeOpenedAgainIsReported) {
  WriteSmallShapes();
  EXPECT_EQ(RunWithFault({platform::Operation::kOpen, 4}, [&] { return OpenEnds(); }), 0);
  ExpectError(
      (GetParam() != 0 ? "Can't open / read the shape data (" : "Can't open the shape data (") +
          (folder_ / "shapedat.dat") + ") !",
      "File Error in SHAPE_OpenShape");
}

// The index, the ends and the window on the data.
TEST_P(ShapeEndsModes, MemoryThatIsRefusedIsReported) {
  WriteSmallShapes();
  const std::string title = "Memory Error in SHAPE_OpenShape";
  EXPECT_EQ(RunWithFault({platform::Operation::kAllocate}, [&] { return OpenEnds(); }), 0);
  ExpectError("Can't allocate the memory for the shape index, size=64", title);
  for (const int number : {2, 3}) {
    ClearLog();
    EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, number}, [&] { return OpenEnds(); }),
              0);
    ExpectError("Can't allocate the memory for the shape data, size=32", title);
  }
  // Shapes in another order than their links need a list of it.
  ClearLog();
  Write(Bytes().F64(1).I32(16).I32(2).F64(2).I32(0).I32(2), std::string(32, '\0'));
  EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, 4}, [&] { return OpenEnds(); }), 0);
  ExpectError("Can't allocate the memory for the shape data, size=32", title);
}

// Three windows. In memory every byte is wanted; out of the file only the shapes in a window that
// cannot be read are lost, and the next window is read afresh.
TEST_P(ShapeEndsModes, DataThatCannotBeReadFailOrAreLost) {
  Bytes data;
  for (int i = 0; i < 300000; ++i) data.I32(i).I32(0);
  // Around 1048576 bytes = point 131072, with the 2048 points behind it that the first window
  // holds, and around point 262144.
  Bytes index;
  const int firsts[] = {0, 131071, 131072, 133119, 133120, 262143, 262144};
  for (const int first : firsts) index.F64(1000.0 + first).I32(first * 8).I32(2);
  Write(index, data);
  const int result = RunWithFault({platform::Operation::kRead, 3}, [&] { return OpenEnds(); });
  if (GetParam() != 0) {
    EXPECT_EQ(result, 0);
    ExpectError("Can't open / read the shape data (" + (folder_ / "shapedat.dat") + ") !",
                "File Error in SHAPE_OpenShape");
    return;
  }
  ASSERT_EQ(result, 1);
  EXPECT_TRUE(log().empty());
  std::vector<int> lost;
  for (const int first : firsts) {
    if (Find(1000.0 + first) < 0) lost.push_back(first);
  }
  EXPECT_EQ(lost, (std::vector<int>{133119, 133120, 262143}));
}

}  // namespace
}  // namespace zatlib
