// What the tests of the shape builders share: source files, one builder after the other, and the
// shape files that they leave.
#pragma once

#include <string>
#include <vector>

#include "shape/shape_builder.h"
#include "test_support.h"

namespace zatlib::test {

// The header of a MIF file.
inline constexpr char kHeader[] =
    "Version 300\r\n"
    "Charset \"WindowsJapanese\"\r\n"
    "Delimiter \",\"\r\n"
    "CoordSys Earth Projection 1, 104\r\n"
    "Columns 2\r\n"
    "  LINKCODE Char(14)\r\n"
    "  ROADKIND Integer\r\n"
    "Data\r\n"
    "\r\n";

// The titles of their errors.
inline constexpr char kZatMif[] = "File Error in SHAPE_CreateShapeFileFromZatMif";
inline constexpr char kMsrMif[] = "File Error in SHAPE_CreateShapeFileFromMif";
inline constexpr char kZatText[] = "File Error in SHAPE_CreateShapeFileFromZatText";
inline constexpr char kFinish[] = "File Error in SHAPE_FinishShapeIndex";

class ShapeBuilderTest : public LibraryTest {
 protected:
  ShapeBuilderTest() {
    paths_.resize(1);
    SetPath(0, "a.mif");
    cs_.CodeLength = 14;
    cs_.Folder = folder_.path().c_str();
    UsePaths();
  }

  void SetPath(size_t i, const std::string& name) {
    if (paths_.size() <= i) paths_.resize(i + 1);
    FRD_CopyText(paths_[i].text, kPathSize, folder_ / name);
    UsePaths();
  }

  void UsePaths() {
    cs_.Paths = paths_.data();
    cs_.FileCount = static_cast<int32_t>(paths_.size());
  }

  // Builds from a.mif with these objects behind the header, and a.mid.
  int BuildZatMif(const std::string& objects, const std::string& mid) {
    WriteBytes(folder_ / "a.mif", kHeader + objects);
    WriteBytes(folder_ / "a.mid", mid);
    return SHAPE_CreateShapeFileFromZatMif(&cs_);
  }

  int BuildMsrMif(const std::string& objects, const std::string& mid) {
    WriteBytes(folder_ / "a.mif", kHeader + objects);
    WriteBytes(folder_ / "a.mid", mid);
    cs_.Columns = {.Code = 1, .Area = 3};
    return SHAPE_CreateShapeFileFromMif(&cs_);
  }

  int BuildText(const std::string& text) {
    SetPath(0, "a.txt");
    WriteBytes(folder_ / "a.txt", text);
    return SHAPE_CreateShapeFileFromZatText(&cs_);
  }

  int Finish(const std::string& index) {
    WriteBytes(folder_ / "shapedbl.idx", index);
    return SHAPE_FinishShapeIndex(&cs_);
  }

  std::string points() { return ReadBytes(folder_ / "shapedat.dat"); }
  std::string entries() { return ReadBytes(folder_ / "shapedbl.idx"); }
  std::string info() { return ReadBytes(folder_ / "shapedat.inf"); }

  void ExpectError(const std::string& message, const std::string& title) {
    ASSERT_EQ(log().size(), 1u);
    EXPECT_EQ(log()[0], "[" + message + "][" + title + "]");
  }

  ShapeContext cs_;
  std::vector<PathText> paths_;
};

}  // namespace zatlib::test
