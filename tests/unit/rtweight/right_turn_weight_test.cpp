#include "rtweight/right_turn_weight.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <functional>
#include <set>
#include <vector>

#include "fault_each.h"
#include "frd/parallel.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "records.h"

namespace zatlib::test {
namespace {

using platform::Operation;

// A point in whole degrees or fractions of them that a double holds exactly.
struct Degrees {
  double x;
  double y;
};
using Shape = std::vector<Degrees>;

constexpr Degrees kJunction = {0, 0};

constexpr char kMemoryLine[] = " *** Creating Right Turn Weight : Memory Operation *** ";
constexpr char kFileLine[] = " *** Creating Right Turn Weight : File Operation ";
constexpr char kOkLine[] = " *** Creating Right Turn Weight : End OK *** ";
constexpr char kErrorLine[] = " *** Creating Right Turn Weight : End ERROR *** ";

std::string Hex(const std::string& bytes) {
  static const char digits[] = "0123456789ABCDEF";
  std::string out;
  for (size_t i = 0; i < bytes.size(); ++i) {
    const auto byte = static_cast<unsigned char>(bytes[i]);
    if (i > 0) out += ' ';
    out += digits[byte >> 4];
    out += digits[byte & 15];
  }
  return out;
}

// One junction, node 0 at (0, 0). Link k has the code 1001 + k and lies in slot k of node 0, whose
// neighbour there is node k + 1. The neighbours have node 0 in slot 0 and nothing else.
class RightTurnWeightTest : public LibraryTest {
 protected:
  RightTurnWeightTest() { control_ = WriteControl("[SYSTEM]\r\n"); }

  // Writes the network and the shapes of the links; empty shapes get an entry without points.
  void WriteJunction(const std::vector<Shape>& shapes) {
    std::vector<int64_t> others;
    std::vector<int64_t> links;
    codes_.clear();
    for (size_t k = 0; k < shapes.size(); ++k) {
      others.push_back(static_cast<int64_t>(k) + 1);
      links.push_back(static_cast<int64_t>(k));
      codes_.push_back(1001.0 + static_cast<double>(k));
    }
    shapes_ = shapes;
    calc_ = CalcRecord(others);
    node_link_ = NodeLinkRecord(links);
    for (size_t k = 0; k < shapes.size(); ++k) {
      calc_ += CalcRecord({0});
      node_link_ += NodeLinkRecord({static_cast<int64_t>(k)});
    }
    WriteFiles();
  }

  // Writes the files from the members, which a test may have changed.
  void WriteFiles() {
    Bytes draw;
    Bytes index;
    Bytes data;
    for (size_t k = 0; k < shapes_.size(); ++k) {
      draw.F64(codes_[k]).Zero(24);
      index.F64(codes_[k]).I32(static_cast<int64_t>(data.str().size()));
      index.I32(static_cast<int64_t>(shapes_[k].size()));
      for (const Degrees& point : shapes_[k]) {
        data.I32(std::llround(point.x * 1000000)).I32(std::llround(point.y * 1000000));
      }
    }
    WriteBytes(folder_ / "mapcalc.dat", calc_);
    WriteBytes(folder_ / "nodelink.idx", node_link_);
    WriteBytes(folder_ / "mapdraw.dat", draw);
    WriteBytes(folder_ / "shapedbl.idx", index);
    WriteBytes(folder_ / "shapedat.dat", data);
    WriteBytes(folder_ / "shapedat.inf", "[INFORMATION]\r\n");
  }

  void WriteLimits(int right, int left) {
    WriteBytes(folder_ / "linkdef.dat", "[ROADFLAG]\r\nRTWEIGHT_RIGHT=" + std::to_string(right) +
                                            "\r\nRTWEIGHT_LEFT=" + std::to_string(left) + "\r\n");
  }

  int Run() { return MM_CreateRightTurnWeight(nullptr, control_.c_str()); }

  // Memory taken in the decision: the holder, the shape index, the ends of the shapes, the window
  // on their points, and four trial blocks, of which the last one is refused.
  int RunThroughFile() {
    return RunWithFault({Operation::kAllocate, 8}, [this] { return Run(); });
  }

  // The weights of node 0, made in memory and through the file, which must agree.
  std::string Weights() {
    ClearLog();
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(log(), (Lines{kMemoryLine, kOkLine}));
    const std::string in_memory = ReadBytes(folder_ / "rtweight.dat");
    EXPECT_EQ(in_memory.size(), calc_.size() / 8);
    EXPECT_TRUE(platform::RemoveFile((folder_ / "rtweight.dat").c_str()));
    ClearLog();
    EXPECT_EQ(RunThroughFile(), 1);
    EXPECT_EQ(log(), (Lines{kFileLine, kOkLine}));
    EXPECT_EQ(Hex(ReadBytes(folder_ / "rtweight.dat")), Hex(in_memory));
    return Hex(Record(in_memory, 0, 8));
  }

  std::string ErrorText(const std::string& before, const std::string& name) {
    return "[" + before + (folder_ / name) + "][Fatal Error in MM_CreateRightTurnWeight]";
  }
  Lines Failed(const char* mode, const std::string& error) { return {mode, kErrorLine, error}; }

  std::string control_;
  std::vector<Shape> shapes_;
  std::vector<double> codes_;
  std::string calc_;
  std::string node_link_;
};

// Roads to the south-west (slot 0), south-east (1), north-east (2) and north-west (3).
// Coming from the south-west one heads north-east: straight on is slot 2, right is slot 1 (90
// degrees), left is slot 3, back is slot 0. A right turn of 90 degrees is at least 45, so bit 1
// (0x40) is set, and back (0x80) counts as right; a left turn of 90 degrees is less than 135. The
// other arrivals are the same, turned by 90 degrees each: right of the heading and back.
const std::vector<Shape> kCross = {
    {{-1, -1}, kJunction}, {{1, -1}, kJunction}, {{1, 1}, kJunction}, {{-1, 1}, kJunction}};

TEST_F(RightTurnWeightTest, RightAngles) {
  WriteJunction(kCross);
  EXPECT_EQ(Weights(), "C0 60 30 90 00 00 00 00");
}

TEST_F(RightTurnWeightTest, NeighboursWithOneLinkHaveNoWeights) {
  WriteJunction(kCross);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "rtweight.dat").substr(8), std::string(32, '\0'));
}

// The direction in which a shape was recorded is of no account.
TEST_F(RightTurnWeightTest, ShapesMayBeginOrEndAtTheJunction) {
  for (unsigned reversed = 0; reversed < 16; ++reversed) {
    std::vector<Shape> shapes = kCross;
    for (unsigned k = 0; k < 4; ++k) {
      if ((reversed >> k & 1) != 0) shapes[k] = {shapes[k][1], shapes[k][0]};
    }
    WriteJunction(shapes);
    // Back over a shape that ends at the junction is measured at its first end: the same angle.
    EXPECT_EQ(Weights(), "C0 60 30 90 00 00 00 00") << reversed;
  }
}

// The roads of the cross again, each with a far part that runs off in another direction.
TEST_F(RightTurnWeightTest, TheSegmentBesideTheJunctionDecides) {
  WriteJunction({{kJunction, {-1, -1}, {4, -7}},
                 {{7, 4}, {1, -1}, kJunction},
                 {kJunction, {1, 1}, {-4, 7}},
                 {{-7, -4}, {-1, 1}, kJunction}});
  // The turn back over slots 1 and 3 is measured at their far ends, which are not axis-parallel.
  EXPECT_EQ(Weights(), "C0 60 30 90 00 00 00 00");
}

// Arriving from (-1, -2), heading (1, 2). Turned right by 45 degrees that is (3, 1): scalar product
// 5, lengths the roots of 5 and 10, cosine 5 / root 50 = 0.7071..., the limit of 45 degrees.
// Turned left by 45 degrees it is (-1, 3): less than 135. Back counts as right.
TEST_F(RightTurnWeightTest, FortyFiveDegreesToTheRightIsEnough) {
  WriteJunction({{{-1, -2}, kJunction}, {kJunction, {3, 1}}, {kJunction, {-1, 3}}});
  EXPECT_EQ(Weights().substr(0, 2), "C0");
}

// (300, 101) lies at 18.61 degrees, the heading at 63.43: 44.82 degrees to the right.
TEST_F(RightTurnWeightTest, LessThanFortyFiveDegreesToTheRightIsNot) {
  WriteJunction({{{-1, -2}, kJunction}, {kJunction, {3, 1.01}}, {kJunction, {-1, 3}}});
  EXPECT_EQ(Weights().substr(0, 2), "80");
}

// The heading (1, 2) turned left by 135 degrees is (-3, -1): scalar product -5, cosine -0.7071...
TEST_F(RightTurnWeightTest, AHundredAndThirtyFiveDegreesToTheLeftIsEnough) {
  WriteJunction({{{-1, -2}, kJunction}, {kJunction, {-3, -1}}, {kJunction, {-1, 3}}});
  EXPECT_EQ(Weights().substr(0, 2), "C0");
}

// (-300, -99) lies at 198.26 degrees: 134.83 degrees to the left of the heading at 63.43.
TEST_F(RightTurnWeightTest, LessThanAHundredAndThirtyFiveDegreesToTheLeftIsNot) {
  WriteJunction({{{-1, -2}, kJunction}, {kJunction, {-3, -0.99}}, {kJunction, {-1, 3}}});
  EXPECT_EQ(Weights().substr(0, 2), "80");
}

// Heading north-east (45 degrees). 150 degrees to the left is the direction of 195 degrees:
// (-0.965926, -0.258819). 150 degrees to the right is -105 degrees: (-0.258819, -0.965926).
TEST_F(RightTurnWeightTest, SharpTurnsToBothSides) {
  WriteJunction({{{-1, -1}, kJunction},
                 {kJunction, {-0.965926, -0.258819}},
                 {kJunction, {-0.258819, -0.965926}}});
  EXPECT_EQ(Weights().substr(0, 2), "E0");
}

// The left side has its own limit: with 45 degrees left and 135 right the cross is mirrored.
TEST_F(RightTurnWeightTest, EachSideHasItsLimit) {
  WriteLimits(135, 45);
  WriteJunction(kCross);
  // From the south-west: left is slot 3 (0x10), back is slot 0 (0x80); and so on.
  EXPECT_EQ(Weights(), "90 C0 60 30 00 00 00 00");
}

// Scalar product of a right angle: 0. The limit is cos 90 = 6e-17, just above it; that of 91
// degrees lies below.
TEST_F(RightTurnWeightTest, ARightAngleAtItsVeryLimit) {
  WriteJunction(kCross);
  WriteLimits(90, 91);
  EXPECT_EQ(Weights(), "C0 60 30 90 00 00 00 00");
  WriteLimits(91, 90);
  EXPECT_EQ(Weights(), "90 C0 60 30 00 00 00 00");
  WriteLimits(90, 90);
  EXPECT_EQ(Weights(), "D0 E0 70 B0 00 00 00 00");
  WriteLimits(91, 91);
  EXPECT_EQ(Weights(), "80 40 20 10 00 00 00 00");
}

// Lengths of 5 keep the cosines exact: straight on (3, 4) after (3, 4) is 25 / 25 = 1, back is
// -25 / 25 = -1. Both run along the arriving line and count as right.
TEST_F(RightTurnWeightTest, CollinearTurnsCountAsRight) {
  WriteJunction({{{-3, -4}, kJunction}, {kJunction, {3, 4}}, {kJunction, {-3, 5}}});
  // cos 0 = 1 takes every angle on the right side, cos 180 = -1 only the exact turn back.
  WriteLimits(0, 180);
  EXPECT_EQ(Weights().substr(0, 2), "C0");  // back and straight on; (-3, 5) is left
  WriteLimits(180, 0);
  EXPECT_EQ(Weights().substr(0, 2), "A0");  // back and the left turn, not straight on
  WriteLimits(180, 180);
  EXPECT_EQ(Weights().substr(0, 2), "80");
}

// Slot 0 from the south-west; slot 1 leaves to the east, slot 2 to the south: right turns of 45
// and 135 degrees, were the segments not parallel to an axis.
TEST_F(RightTurnWeightTest, AxisParallelDeparturesAreNeverWeighted) {
  WriteJunction({{{-1, -1}, kJunction}, {kJunction, {2, 0}}, {kJunction, {0, -2}}});
  EXPECT_EQ(Weights().substr(0, 2), "80");
}

// Arriving over an axis-parallel segment nothing is weighted, not even the turn back.
TEST_F(RightTurnWeightTest, AxisParallelArrivalsAreNeverWeighted) {
  WriteJunction({{{-1, -1}, kJunction}, {kJunction, {2, 0}}, {kJunction, {0, -2}}});
  EXPECT_EQ(Weights().substr(3, 5), "00 00");
}

// A millionth of a degree beside the axis is enough to take part: heading almost east, leaving
// almost south.
TEST_F(RightTurnWeightTest, AlmostAxisParallelSegmentsTakePart) {
  WriteJunction({{{-1, -0.000001}, kJunction}, {kJunction, {0.000001, -1}}, {kJunction, {1, 0}}});
  EXPECT_EQ(Weights().substr(0, 2), "C0");
}

TEST_F(RightTurnWeightTest, TwoNeighboursAreNoJunction) {
  WriteJunction({{{-1, -1}, kJunction}, {kJunction, {1, -2}}});
  EXPECT_EQ(Weights(), "00 00 00 00 00 00 00 00");
}

TEST_F(RightTurnWeightTest, OccupiedSlotsEndAtTheFirstEmptyOne) {
  WriteJunction(kCross);
  calc_ = CalcRecord({1, 2, -1, 4}) + calc_.substr(64);
  WriteFiles();
  EXPECT_EQ(Weights(), "00 00 00 00 00 00 00 00");
  calc_ = CalcRecord({1, 2, 3, -1}) + calc_.substr(64);
  WriteFiles();
  EXPECT_EQ(Weights(), "C0 60 20 00 00 00 00 00");
}

// Eight roads. Arriving from slot 0 at (1, 2) one heads (-1, -2), which is 243.43 degrees
// anticlockwise from the east; the others by their direction and the turn toward them:
//   slot 1 (2, 1)    26.57: 216.87 to the right = 143.13 to the left, weighted
//   slot 2 (2, -1)  333.43: 90 to the left, no
//   slot 3 (1, -2)  296.57: 53.13 to the left, no
//   slot 4 (-1, -2) 243.43: straight on, no
//   slot 5 (-2, -1) 206.57: 36.87 to the right, no
//   slot 6 (-2, 1)  153.43: 90 to the right, weighted
//   slot 7 (-1, 2)  116.57: 126.87 to the right, weighted
// and back. Bits 0, 1, 6 and 7: 0xC3.
TEST_F(RightTurnWeightTest, AllEightSlotsTakePart) {
  WriteJunction({{kJunction, {1, 2}},
                 {kJunction, {2, 1}},
                 {kJunction, {2, -1}},
                 {kJunction, {1, -2}},
                 {kJunction, {-1, -2}},
                 {kJunction, {-2, -1}},
                 {kJunction, {-2, 1}},
                 {kJunction, {-1, 2}}});
  EXPECT_EQ(Weights().substr(0, 2), "C3");
}

TEST_F(RightTurnWeightTest, CodesOfDummyLinksHaveNoShape) {
  WriteJunction(kCross);
  codes_[3] = 99000000000000.0;
  WriteFiles();
  EXPECT_EQ(Weights(), "C0 60 20 00 00 00 00 00");
  codes_[3] = 98999999999999.0;
  WriteFiles();
  EXPECT_EQ(Weights(), "C0 60 30 90 00 00 00 00");
}

TEST_F(RightTurnWeightTest, ASlotWithoutLinkTakesNoPart) {
  WriteJunction(kCross);
  for (const int64_t number : {int64_t{-1}, int64_t{-5}, int64_t{4}, int64_t{2147483647}}) {
    node_link_ = NodeLinkRecord({0, number, 2, 3}) + node_link_.substr(32);
    WriteFiles();
    EXPECT_EQ(Weights(), "80 00 30 90 00 00 00 00") << number;
  }
}

TEST_F(RightTurnWeightTest, AShapeNeedsTwoPoints) {
  std::vector<Shape> shapes = kCross;
  shapes[1] = {kJunction};
  WriteJunction(shapes);
  EXPECT_EQ(Weights(), "80 00 30 90 00 00 00 00");
  shapes[1] = {};
  WriteJunction(shapes);
  EXPECT_EQ(Weights(), "80 00 30 90 00 00 00 00");
}

TEST_F(RightTurnWeightTest, ALinkThatTheShapesLackTakesNoPart) {
  WriteJunction(kCross);
  std::string index = ReadBytes(folder_ / "shapedbl.idx");
  WriteBytes(folder_ / "shapedbl.idx", index.substr(0, 16) + index.substr(32));
  EXPECT_EQ(Weights(), "80 00 30 90 00 00 00 00");
}

TEST_F(RightTurnWeightTest, ShapesThatDoNotMeetWeightNothing) {
  std::vector<Shape> shapes = kCross;
  shapes[1] = {{1, -1}, {0.000001, 0}};
  WriteJunction(shapes);
  EXPECT_EQ(Weights(), "80 40 30 90 00 00 00 00");
}

// The turn back compares a shape with itself, and its first points are compared first: slot 0 ends
// at the junction but begins with a segment to the north, which weights nothing.
TEST_F(RightTurnWeightTest, TheTurnBackIsMeasuredAtTheFirstPoint) {
  std::vector<Shape> shapes = kCross;
  shapes[0] = {{-5, -5}, {-5, -4}, {-1, -1}, kJunction};
  WriteJunction(shapes);
  EXPECT_EQ(Weights().substr(0, 2), "40");
  shapes[0] = {kJunction, {-1, -1}, {-5, -4}, {-5, -5}};
  WriteJunction(shapes);
  EXPECT_EQ(Weights().substr(0, 2), "C0");
}

// Two roads between the same two junctions, meeting at both: (0, 0) and (5, 5). First points are
// compared before last ones. Slot 0 runs (0, 0) (-1, -1) ... (5, 5), slot 1 the other way round,
// (5, 5) (6, 4) ... (0, 0): the first point of slot 0 meets the last one of slot 1.
TEST_F(RightTurnWeightTest, OfTwoCommonEndsTheFirstPointOfTheArrivalCounts) {
  WriteJunction({{kJunction, {-1, -1}, {-9, 4}, {4, 6}, {5, 5}},
                 {{5, 5}, {6, 4}, {9, -9}, {1, -1}, kJunction},
                 {kJunction, {1, 1}}});
  // At (0, 0): from (-1, -1) heading north-east to (1, -1), 90 degrees to the right: weighted.
  // Had (5, 5) counted: from (4, 6) heading south-east to (6, 4), straight on.
  EXPECT_EQ(Weights().substr(0, 2), "C0");
}

// Two links toward node 1: the second one has the weights of the first one, whatever its shape.
TEST_F(RightTurnWeightTest, ParallelLinksShareTheShapeOfTheFirst) {
  WriteJunction(kCross);
  calc_ = CalcRecord({1, 2, 3, 1}) + calc_.substr(64);
  WriteFiles();
  // Slot 3 acts as slot 0 (south-west), as arrival and as departure.
  // Arriving there: right is slot 1, back is slots 0 and 3: 0xD0. Arriving from slot 1 heading
  // north-west: right is slot 2, back slot 1: 0x60. Arriving from slot 2: back only, 0x20.
  EXPECT_EQ(Weights(), "D0 60 20 D0 00 00 00 00");
}

// 2048 points of a shape are looked at. One of 2049 that ends at the junction is cut before it.
TEST_F(RightTurnWeightTest, AShapeOfMoreThan2048PointsIsCut) {
  Shape shape;
  for (int i = 0; i < 2048; ++i) shape.push_back({-1.0 - (2047 - i) * 0.25, -1});
  std::vector<Shape> shapes = kCross;
  shapes[0] = shape;
  shapes[0].erase(shapes[0].begin());
  shapes[0].push_back(kJunction);  // 2048 points
  WriteJunction(shapes);
  // The turn back is measured at the first end, which runs east. Arriving from slot 3 (heading
  // south-east), right is slot 0.
  EXPECT_EQ(Weights(), "40 60 30 90 00 00 00 00");
  shapes[0] = shape;
  shapes[0].push_back(kJunction);  // 2049 points
  WriteJunction(shapes);
  EXPECT_EQ(Weights(), "00 60 30 10 00 00 00 00");
}

TEST_F(RightTurnWeightTest, CodesOfEighteenDigitsAreFound) {
  WriteJunction(kCross);
  Bytes draw;
  Bytes index;
  for (int k = 0; k < 4; ++k) {
    draw.I64(200000000000000001 + k).Zero(24);
    index.I64(200000000000000001 + k).I32(16 * k).I32(2);
  }
  WriteBytes(folder_ / "mapdraw.dat", draw);
  WriteBytes(folder_ / "shapedbl.idx", index);
  EXPECT_EQ(Weights(), "C0 60 30 90 00 00 00 00");
}

TEST_F(RightTurnWeightTest, WithoutShapeFilesNothingIsDone) {
  for (const char* name : {"shapedbl.idx", "shapedat.dat", "shapedat.inf"}) {
    WriteJunction(kCross);
    ASSERT_TRUE(platform::RemoveFile((folder_ / name).c_str()));
    EXPECT_EQ(Run(), 1);
    EXPECT_FALSE(Exists(folder_ / "rtweight.dat"));
    EXPECT_EQ(log(), Lines{});
  }
}

TEST_F(RightTurnWeightTest, AnEarlierTableIsReplaced) {
  WriteJunction(kCross);
  WriteBytes(folder_ / "rtweight.dat", std::string(1000, '\xFF'));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "rtweight.dat").size(), 40u);
}

TEST_F(RightTurnWeightTest, MemoryOperationNeedsEveryFileAndBlock) {
  const auto check = [this] {
    Workers workers;
    ShapeHolder shapes;
    return MM_SUB_CheckMemoryOperation(control_.c_str(), workers, &shapes);
  };
  WriteJunction(kCross);
  Workers workers;
  EXPECT_EQ(MM_SUB_CheckMemoryOperation(control_.c_str(), workers, nullptr), 0);
  EXPECT_EQ(check(), 1);
  int64_t last = 0;
  RunWithEachFault(
      {Operation::kAllocate}, [] {}, check,
      [&](int64_t n, int result) {
        EXPECT_EQ(result, n == 0 ? 1 : 0) << n;
        last = n;
      });
  EXPECT_EQ(last, 8);
  for (const char* name : {"mapcalc.dat", "mapdraw.dat", "nodelink.idx"}) {
    WriteFiles();
    WriteBytes(folder_ / name, "");
    EXPECT_EQ(check(), 0) << name;
    ASSERT_TRUE(platform::RemoveFile((folder_ / name).c_str()));
    EXPECT_EQ(check(), 0) << name;
  }
}

TEST_F(RightTurnWeightTest, LinkCodesAreLoadedInLinkOrder) {
  WriteJunction(kCross);
  FeatureCode codes[4] = {};
  EXPECT_EQ(MM_SUB_LoadLinkCodes(4, codes, control_.c_str()), 1);
  EXPECT_EQ(codes[0].AsDouble(), 1001.0);
  EXPECT_EQ(codes[3].AsDouble(), 1004.0);
}

TEST_F(RightTurnWeightTest, AShortLinkFileIsNoError) {
  WriteJunction(kCross);
  WriteBytes(folder_ / "mapdraw.dat", ReadBytes(folder_ / "mapdraw.dat").substr(0, 95));
  FeatureCode codes[4] = {{1}, {2}, {3}, {4}};
  EXPECT_EQ(MM_SUB_LoadLinkCodes(4, codes, control_.c_str()), 1);
  EXPECT_EQ(codes[1].AsDouble(), 1002.0);
  EXPECT_EQ(codes[2].bits, 3u);
  EXPECT_EQ(codes[3].bits, 4u);
  EXPECT_EQ(log(), Lines{});
}

// More links than one block of the reader holds.
TEST_F(RightTurnWeightTest, LongLinkFilesAreLoadedWhole) {
  Bytes draw;
  for (int k = 0; k < 5000; ++k) draw.F64(10.0 + k).Zero(24);
  WriteBytes(folder_ / "mapdraw.dat", draw);
  std::vector<FeatureCode> codes(5001);
  EXPECT_EQ(MM_SUB_LoadLinkCodes(5000, codes.data(), control_.c_str()), 1);
  for (size_t k = 0; k < 5000; ++k) {
    ASSERT_EQ(codes[k].AsDouble(), 10.0 + static_cast<double>(k));
  }
  EXPECT_EQ(codes[5000].bits, 0u);
}

TEST_F(RightTurnWeightTest, AMissingLinkFileIsReported) {
  FeatureCode codes[4] = {};
  EXPECT_EQ(MM_SUB_LoadLinkCodes(4, codes, control_.c_str()), 0);
  EXPECT_EQ(log(), Lines{"[Can't open the file : " + (folder_ / "mapdraw.dat") +
                         ", lnSize=4][Fatal Error in MM_SUB_LoadLinkCodes]"});
}

TEST_F(RightTurnWeightTest, AMissingOrEmptyFileIsReported) {
  for (const char* name : {"mapcalc.dat", "mapdraw.dat", "nodelink.idx"}) {
    WriteJunction(kCross);
    WriteBytes(folder_ / name, "");
    const Lines expected =
        Failed(kFileLine, ErrorText("Can't find the file / allcate the memory : ", name));
    ClearLog();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(log(), expected);
    ASSERT_TRUE(platform::RemoveFile((folder_ / name).c_str()));
    ClearLog();
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(log(), expected);
    EXPECT_FALSE(Exists(folder_ / "rtweight.dat"));
  }
}

TEST_F(RightTurnWeightTest, TheNodeLinkFileHoldsARecordAtLeast) {
  WriteJunction(kCross);
  WriteBytes(folder_ / "nodelink.idx", std::string(31, '\0'));
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log(), Failed(kMemoryLine, ErrorText("Can't find the file / allcate the memory : ",
                                                 "nodelink.idx")));
}

TEST_F(RightTurnWeightTest, ShapesThatCannotBeOpenedAreReported) {
  WriteJunction(kCross);
  WriteBytes(folder_ / "shapedbl.idx", "");
  const std::string shape_error = "[Can't find the shape index file (" +
                                  (folder_ / "shapedbl.idx") +
                                  ") !][File Error in SHAPE_OpenShape]";
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log(), (Lines{shape_error, kFileLine, shape_error, kErrorLine,
                          "[Can't open the shape in " + folder_.path() +
                              "][Fatal Error in MM_CreateRightTurnWeight]"}));
}

TEST_F(RightTurnWeightTest, NoMemoryForTheHolderIsReported) {
  WriteJunction(kCross);
  EXPECT_EQ(RunWithFault({Operation::kAllocate, 1, true}, [this] { return Run(); }), 0);
  EXPECT_EQ(log(), Failed(kFileLine, "[Can't allocate the memory for the shape holder : size=" +
                                         std::to_string(sizeof(ShapeHolder)) +
                                         "][Fatal Error in MM_CreateRightTurnWeight]"));
}

// Blocks of the run itself, after the 8 of the decision, whose shapes it goes on with: nodes, link
// codes, shapes of the links, node links, output. 5 nodes: 5 x 8 + 16 = 56.
TEST_F(RightTurnWeightTest, NoMemoryIsReportedForEveryBlock) {
  WriteJunction(kCross);
  const std::string title = "][Fatal Error in MM_CreateRightTurnWeight]";
  const struct {
    int number;
    std::string error;
  } rows[] = {
      {10, ErrorText("Can't find the file / allcate the memory : ", "mapcalc.dat")},
      {11, ErrorText("Can't find the file / allcate the memory : ", "mapdraw.dat")},
      {12, ErrorText("Can't find the file / allcate the memory : ", "mapdraw.dat")},
      {13, ErrorText("Can't find the file / allcate the memory : ", "nodelink.idx")},
      {14, "[Can't allocate the memory for the RtWeight, size=56" + title},
  };
  for (const auto& row : rows) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kAllocate, row.number}, [this] { return Run(); }), 0)
        << row.number;
    ASSERT_FALSE(log().empty());
    EXPECT_EQ(log().front(), kMemoryLine);
    EXPECT_EQ(log().back(), row.error) << row.number;
    EXPECT_FALSE(Exists(folder_ / "rtweight.dat"));
  }
  EXPECT_EQ(RunWithFault({Operation::kAllocate, 15}, [this] { return Run(); }), 1);
}

// Where the decision finds no memory for the shapes themselves, the way through the file does not
// find it either.
TEST_F(RightTurnWeightTest, NoMemoryForTheShapesIsReportedOnEitherWay) {
  WriteJunction(kCross);
  for (const int number : {2, 3, 4}) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kAllocate, number, true}, [this] { return Run(); }), 0);
    ASSERT_EQ(log().size(), 5u) << number;
    EXPECT_EQ(log()[1], kFileLine);
    EXPECT_EQ(log()[3], kErrorLine);
    EXPECT_EQ(log()[4], "[Can't open the shape in " + folder_.path() +
                            "][Fatal Error in MM_CreateRightTurnWeight]");
  }
}

// Lets every single operation of a kind fail in turn, and collects what was reported last; `check`
// looks at the result of each run and at what it has left.
std::set<std::string> SweepErrors(Operation operation, const std::vector<std::string>& log,
                                  const std::function<int()>& run,
                                  const std::function<void(int)>& check) {
  std::set<std::string> errors;
  RunWithEachFault(
      {.operation = operation}, [] {}, run,
      [&](int64_t, int result) {
        if (result == 0) errors.insert(log.back());
        check(result);
      });
  return errors;
}

TEST_F(RightTurnWeightTest, EveryFailedOpenIsReported) {
  WriteJunction(kCross);
  const auto errors = SweepErrors(
      Operation::kOpen, log(),
      [this] {
        platform::RemoveFile((folder_ / "rtweight.dat").c_str());
        ClearLog();
        return Run();
      },
      [this](int result) {
        const std::string weights = ReadBytes(folder_ / "rtweight.dat");
        // A run that could not even see the shape files has nothing to do.
        if (result == 0 || log().empty()) {
          EXPECT_EQ(weights, "");
        } else {
          EXPECT_EQ(Hex(weights.substr(0, 8)), "C0 60 30 90 00 00 00 00");
        }
      });
  // Shapes that the decision cannot open are opened again.
  const std::set<std::string> expected = {
      ErrorText("Can't find the file / allcate the memory : ", "mapcalc.dat"),
      ErrorText("Can't open the file : ", "mapcalc.dat"),
      ErrorText("Can't find the file / allcate the memory : ", "mapdraw.dat"),
      "[Fatal Error occured in MM_SUB_LoadLinkCodes, num rec = 4]"
      "[Fatal Error in MM_CreateRightTurnWeight]",
      ErrorText("Can't find the file / allcate the memory : ", "nodelink.idx"),
      ErrorText("Can't open the file : ", "nodelink.idx"),
      ErrorText("Can't open the output file : ", "rtweight.dat")};
  EXPECT_EQ(errors, expected);
}

TEST_F(RightTurnWeightTest, EveryFailedReadOfATableIsReported) {
  WriteJunction(kCross);
  const auto errors = SweepErrors(
      Operation::kRead, log(),
      [this] {
        platform::RemoveFile((folder_ / "rtweight.dat").c_str());
        ClearLog();
        return Run();
      },
      [this](int result) {
        // Codes that cannot be read are no error: their links have no shapes.
        const std::string weights = Hex(ReadBytes(folder_ / "rtweight.dat").substr(0, 8));
        if (result == 0) {
          EXPECT_EQ(weights, "");
        } else {
          EXPECT_TRUE(weights == "C0 60 30 90 00 00 00 00" || weights == "00 00 00 00 00 00 00 00");
        }
      });
  const std::set<std::string> expected = {ErrorText("Can't read the file : ", "mapcalc.dat"),
                                          ErrorText("Can't read the file : ", "nodelink.idx")};
  EXPECT_EQ(errors, expected);
}

TEST_F(RightTurnWeightTest, ATableThatCannotBeCreatedIsReported) {
  WriteJunction(kCross);
  WriteBytes(folder_ / "rtweight.dat", "old");
  const platform::File reader =
      platform::File::Open((folder_ / "rtweight.dat").c_str(), platform::Access::kRead,
                           platform::Share::kRead, platform::Disposition::kOpenExisting);
  ASSERT_TRUE(reader.IsOpen());
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(log(), Failed(kMemoryLine, ErrorText("Can't open the output file : ", "rtweight.dat")));
  EXPECT_EQ(ReadBytes(folder_ / "rtweight.dat"), "old");
}

// Written in one piece and not tried again.
TEST_F(RightTurnWeightTest, ATableThatCannotBeWrittenIsReported) {
  WriteJunction(kCross);
  for (const auto fault :
       {platform::WriteFault::kNothingWritten, platform::WriteFault::kHalfWritten}) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kWrite, 1, true, fault}, [this] { return Run(); }), 0);
    EXPECT_EQ(log(),
              Failed(kMemoryLine, ErrorText("Can't write the output file : ", "rtweight.dat")));
  }
}

TEST_F(RightTurnWeightTest, ShapePointsThatCannotBeReadTakeNoPart) {
  WriteJunction(kCross);
  WriteBytes(folder_ / "shapedat.dat", ReadBytes(folder_ / "shapedat.dat").substr(0, 63));
  EXPECT_EQ(Weights(), "C0 60 20 00 00 00 00 00");
  const std::string index = ReadBytes(folder_ / "shapedbl.idx");
  WriteBytes(folder_ / "shapedbl.idx",
             index.substr(0, 8) + Bytes().I32(-8).I32(2).str() + index.substr(16));
  EXPECT_EQ(Weights(), "00 60 20 00 00 00 00 00");
}

TEST_F(RightTurnWeightTest, NodesBehindTheEndOfTheNodeLinksHaveNoWeights) {
  WriteJunction(kCross);
  // Node 1 claims the same junction, and its links lie behind the end of the file.
  calc_ = CalcRecord({1, 2, 3, 4}) + CalcRecord({1, 2, 3, 4}) + std::string(63, '\x01');
  node_link_ = node_link_.substr(0, 63);
  WriteFiles();
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Hex(ReadBytes(folder_ / "rtweight.dat")),
            "C0 60 30 90 00 00 00 00 00 00 00 00 00 00 00 00");
}

// 4000 crosses, 20000 nodes: more than one block of nodes, one part of links and one window on the
// shapes, which have 33 points (4 x 4000 x 33 x 8 = 4224000 bytes).
class ManyJunctionsTest : public RightTurnWeightTest {
 protected:
  static constexpr int kJunctions = 4000;

  ~ManyJunctionsTest() override { SetThreadCount(0); }

  // The shapes lie in the order of their links, or the other way round.
  void WriteJunctions(bool backwards) {
    Bytes draw;
    Bytes index;
    std::vector<std::string> shapes;
    for (int j = 0; j < kJunctions; ++j) {
      calc_ = CalcRecord({5 * j + 1, 5 * j + 2, 5 * j + 3, 5 * j + 4});
      node_link_ = NodeLinkRecord({4 * j, 4 * j + 1, 4 * j + 2, 4 * j + 3});
      for (int k = 0; k < 4; ++k) {
        calc_ += CalcRecord({5 * j});
        node_link_ += NodeLinkRecord({4 * j + k});
        Bytes shape;
        for (int p = 32; p >= 0; --p) {
          shape.I32(std::llround(kCross[static_cast<size_t>(k)][0].x * 1000 * p) + j);
          shape.I32(std::llround(kCross[static_cast<size_t>(k)][0].y * 1000 * p) - j);
        }
        shapes.push_back(shape);
      }
      all_calc_ += calc_;
      all_node_link_ += node_link_;
    }
    for (int l = 0; l < 4 * kJunctions; ++l) {
      draw.F64(1001.0 + l).Zero(24);
      const int place = backwards ? 4 * kJunctions - 1 - l : l;
      index.F64(1001.0 + l).I32(place * 33 * 8).I32(33);
    }
    if (backwards) std::reverse(shapes.begin(), shapes.end());
    std::string data;
    for (const std::string& shape : shapes) data += shape;
    WriteBytes(folder_ / "mapcalc.dat", all_calc_);
    WriteBytes(folder_ / "nodelink.idx", all_node_link_);
    WriteBytes(folder_ / "mapdraw.dat", draw);
    WriteBytes(folder_ / "shapedbl.idx", index);
    WriteBytes(folder_ / "shapedat.dat", data);
    WriteBytes(folder_ / "shapedat.inf", "[INFORMATION]\r\n");
  }

  // The weights of one cross (as in RightAngles) for all of them.
  static std::string AllWeights() {
    std::string weights;
    for (int j = 0; j < kJunctions; ++j) {
      weights += std::string("\xC0\x60\x30\x90", 4) + std::string(36, '\0');
    }
    return weights;
  }

  std::string all_calc_;
  std::string all_node_link_;
};

TEST_F(ManyJunctionsTest, AnyNumberOfThreadsGivesTheSame) {
  WriteJunctions(false);
  for (const int threads : {1, 2, 5}) {
    SetThreadCount(threads);
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(ReadBytes(folder_ / "rtweight.dat") == AllWeights()) << threads;
    EXPECT_EQ(RunThroughFile(), 1);
    EXPECT_TRUE(ReadBytes(folder_ / "rtweight.dat") == AllWeights()) << threads;
  }
}

TEST_F(ManyJunctionsTest, TheOrderOfTheShapesIsOfNoAccount) {
  WriteJunctions(true);
  for (const int threads : {1, 3}) {
    SetThreadCount(threads);
    EXPECT_EQ(Run(), 1);
    EXPECT_TRUE(ReadBytes(folder_ / "rtweight.dat") == AllWeights()) << threads;
  }
}

// The second block of a node file.
TEST_F(ManyJunctionsTest, AFileThatCannotBeReadOnIsReported) {
  WriteJunctions(false);
  const int64_t reads = CountedOperations(Operation::kRead, [this] { return Run(); });
  const struct {
    int64_t number;
    const char* name;
  } rows[] = {{reads - 1, "mapcalc.dat"}, {reads, "nodelink.idx"}};
  for (const auto& row : rows) {
    ASSERT_TRUE(platform::RemoveFile((folder_ / "rtweight.dat").c_str()));
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kRead, row.number}, [this] { return Run(); }), 0);
    EXPECT_EQ(log(), Failed(kMemoryLine, ErrorText("Can't read the file : ", row.name)));
    EXPECT_FALSE(Exists(folder_ / "rtweight.dat"));
    EXPECT_EQ(Run(), 1);
  }
}

// A cancel is looked for behind every full block of nodes.
TEST_F(ManyJunctionsTest, ACancelEndsTheStep) {
  WriteJunctions(false);
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(), 0);
  FRD_SetCancelled(false);
  EXPECT_EQ(log(), (Lines{kMemoryLine, kErrorLine}));
  EXPECT_FALSE(Exists(folder_ / "rtweight.dat"));
}

}  // namespace
}  // namespace zatlib::test
