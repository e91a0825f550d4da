#include "map/shape_table.h"

#include "fault_each.h"
#include "small_map.h"

namespace zatlib::test {
namespace {

using map::ShapeTable;

FeatureCode Code(double code) { return FeatureCode::FromDouble(code); }

TEST_F(SmallMap, ShapesAreReadByTheLinksCode) {
  ShapeTable shapes;
  ASSERT_TRUE(shapes.Load(Open()).ok());
  EXPECT_EQ(shapes.index().size(), 2);
  std::vector<ShapePoint> points;
  ASSERT_TRUE(shapes.Points(Code(201), &points));
  ASSERT_EQ(points.size(), 3u);
  EXPECT_EQ(points[1].X, 500);
  EXPECT_EQ(points[1].Y, 50);
  EXPECT_FALSE(shapes.Points(Code(202), &points));  // not there
  EXPECT_TRUE(points.empty());
  EXPECT_FALSE(shapes.Points(Code(204), &points));  // one point
}

TEST_F(SmallMap, EntriesThatLeadOutOfTheFileGiveNoShape) {
  std::vector<ShapePoint> points;
  for (const auto& [offset, count] : {std::pair<int, int>{-8, 3}, {16, 3}, {0, 5}, {0, 20000000}}) {
    Put("shapedbl.idx", 8, offset);
    Put("shapedbl.idx", 12, count);
    ShapeTable shapes;
    ASSERT_TRUE(shapes.Load(Open()).ok());
    EXPECT_FALSE(shapes.Points(Code(201), &points)) << offset;
  }
}

TEST_F(SmallMap, ACodeBehindTheLastHasNoShape) {
  ShapeTable shapes;
  ASSERT_TRUE(shapes.Load(Open()).ok());
  std::vector<ShapePoint> points;
  EXPECT_FALSE(shapes.Points(Code(205), &points));
}

TEST_F(SmallMap, ShapesThatCannotBeReadAreTold) {
  const map::MapFolder folder = Open();
  ShapeTable shapes;
  // Both files are looked for first; then the index is opened, and the points.
  EXPECT_EQ(
      RunWithFault({platform::Operation::kOpen, 3}, [&] { return Told(shapes.Load(folder)); }),
      "unreadable shapedbl.idx -1");
  EXPECT_EQ(
      RunWithFault({platform::Operation::kOpen, 4}, [&] { return Told(shapes.Load(folder)); }),
      "unreadable shapedat.dat -1");
}

TEST_F(SmallMap, AMapWithoutAnIndexOfShapesHasNone) {
  platform::RemoveFile((folder_ / "shapedbl.idx").c_str());
  ShapeTable shapes;
  EXPECT_TRUE(shapes.Load(Open()).ok());
  EXPECT_EQ(shapes.index().size(), 0);
}

TEST_F(SmallMap, AMapWithoutShapesIsNoError) {
  platform::RemoveFile((folder_ / "shapedat.dat").c_str());
  ShapeTable shapes;
  EXPECT_TRUE(shapes.Load(Open()).ok());
  std::vector<ShapePoint> points;
  EXPECT_FALSE(shapes.Points(Code(201), &points));
}

}  // namespace
}  // namespace zatlib::test
