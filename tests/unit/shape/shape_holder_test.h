// What the tests of opened shapes share: shape files written by hand, and one holder on them.
#pragma once

#include <memory>
#include <string>

#include "compat/shape_points.h"
#include "test_support.h"

namespace zatlib::test {

class ShapeHolderTest : public LibraryTest {
 protected:
  ShapeHolderTest() : points_(std::make_unique<ShapePoint[]>(kMaxShapePoints)) {}

  // Links 100 (three points), 200 (none), 300 (count -4) and 400 (one point).
  void WriteSmallShapes() {
    Write(Bytes()
              .F64(100)
              .I32(0)
              .I32(3)
              .F64(200)
              .I32(24)
              .I32(0)
              .F64(300)
              .I32(24)
              .I32(-4)
              .F64(400)
              .I32(24)
              .I32(1),
          Bytes()
              .I32(7425153)
              .I32(43739716)
              .I32(7425620)
              .I32(43739547)
              .I32(-1)
              .I32(-2)
              .I32(7425952)
              .I32(43738949));
  }

  void Write(const std::string& index, const std::string& data) {
    WriteBytes(folder_ / "shapedbl.idx", index);
    WriteBytes(folder_ / "shapedat.dat", data);
    WriteBytes(folder_ / "shapedat.inf", "[INFORMATION]\r\n");
  }

  int Get(double code) {
    return SHAPE_GetShapePoints(FeatureCode::FromDouble(code), points_.get(), &holder_);
  }

  void ExpectClosed() {
    EXPECT_EQ(holder_.entry_count(), 0);
    EXPECT_EQ(holder_.point_count(), 0);
    EXPECT_EQ(holder_.entries(), nullptr);
    EXPECT_EQ(Get(100), -1);
  }

  void ExpectError(const std::string& message, const std::string& title) {
    ASSERT_EQ(log().size(), 1u);
    EXPECT_EQ(log()[0], "[" + message + "][" + title + "]");
    ExpectClosed();
  }

  ShapeHolder holder_;
  std::unique_ptr<ShapePoint[]> points_;
};

}  // namespace zatlib::test
