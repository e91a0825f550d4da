#include "input_zat/shape_step.h"

#include "frd/progress.h"
#include "test_support.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Exists;
using test::ReadBytes;
using test::WriteBytes;

constexpr char kMif[] =
    "Version 300\r\n"
    "Charset \"WindowsJapanese\"\r\n"
    "Delimiter \",\"\r\n"
    "CoordSys Earth Projection 1, 104\r\n"
    "Columns 2\r\n"
    "  LINKCODE Char(14)\r\n"
    "  ROADKIND Integer\r\n"
    "Data\r\n"
    "\r\n"
    "Pline 3\r\n"
    "7.425952 43.738949\r\n"
    "7.426105 43.73887\r\n"
    "7.426277 43.738776\r\n"
    "    Pen (1,2,0)\r\n"
    "Line 7.417308 43.729759 7.417214 43.72986\r\n"
    "    Pen (1,2,0)\r\n";

class ShapeStepTest : public test::LibraryTest {
 protected:
  int Run(const std::string& text) {
    const std::string control = WriteControl(text);
    return BRN_CreateShape(nullptr, 0.25f, 0.05f, control.c_str());
  }

  void ExpectNoShapeFiles() {
    for (const char* name : {"shapedat.dat", "shapedbl.idx", "shapedat.inf"}) {
      EXPECT_FALSE(Exists(folder_ / name)) << name;
    }
  }
};

TEST_F(ShapeStepTest, BuildsFromTheLinkMifFiles) {
  WriteBytes(folder_ / "a.mif", kMif);
  WriteBytes(folder_ / "a.mid", "\"10000020000002\",4\r\n\"10000020000001\",7\r\n");
  EXPECT_EQ(Run("[LINK]\r\nMIF=1\r\nFILENUM=1\r\nFILE01=" + (folder_ / "a.mif") +
                "\r\n[LINKSHAPE]\r\nFILENUM=1\r\nFILE01=nothing.txt\r\n"),
            1);
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "Setting Link Shape...");
  EXPECT_EQ(ReadBytes(folder_ / "shapedat.dat"), Bytes()
                                                     .I32(7425952)
                                                     .I32(43738949)
                                                     .I32(7426105)
                                                     .I32(43738870)
                                                     .I32(7426277)
                                                     .I32(43738776)
                                                     .I32(7417308)
                                                     .I32(43729759)
                                                     .I32(7417214)
                                                     .I32(43729860)
                                                     .str());
  EXPECT_EQ(ReadBytes(folder_ / "shapedbl.idx"),
            Bytes().F64(10000020000001.0).I32(24).I32(2).F64(10000020000002.0).I32(0).I32(3).str());
  EXPECT_EQ(ReadBytes(folder_ / "shapedat.inf"),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 104\r\n"
            "NumRec=2\r\n"
            "NumShape=5\r\n"
            "MaxShapeLink=10000020000002\r\n"
            "MaxNumShape=3\r\n");
}

TEST_F(ShapeStepTest, BuildsFromTheShapeTextFilesWhenLinksAreText) {
  WriteBytes(folder_ / "linkdef.dat", "[SYSTEM]\r\nCODELENGTH=18\r\n");
  WriteBytes(folder_ / "s1.txt", "100000000000000002,2\r\n139.5,35.5\r\n139.6,35.6\r\n");
  WriteBytes(folder_ / "s2.txt", "100000000000000001,1\r\n-0.5,-1\r\n");
  EXPECT_EQ(Run("[LINK]\r\nFILENUM=1\r\nFILE01=links.txt\r\n[LINKSHAPE]\r\nFILENUM=2\r\nFILE01=" +
                (folder_ / "s1.txt") + "\r\nFILE02=" + (folder_ / "s2.txt") + "\r\n"),
            1);
  EXPECT_EQ(
      ReadBytes(folder_ / "shapedbl.idx"),
      Bytes().I64(100000000000000001).I32(16).I32(1).I64(100000000000000002).I32(0).I32(2).str());
  EXPECT_EQ(ReadBytes(folder_ / "shapedat.dat"), Bytes()
                                                     .I32(139500000)
                                                     .I32(35500000)
                                                     .I32(139600000)
                                                     .I32(35600000)
                                                     .I32(-500000)
                                                     .I32(-1000000)
                                                     .str());
}

TEST_F(ShapeStepTest, MifLinksWithoutFilesLeaveNoShapeFiles) {
  EXPECT_EQ(Run("[LINK]\r\nMIF=1\r\nFILENUM=0\r\n"), 1);
  ExpectNoShapeFiles();
}

TEST_F(ShapeStepTest, TextLinksWithoutShapesLeaveNoShapeFiles) {
  EXPECT_EQ(Run("[LINK]\r\nMIF=0\r\nFILENUM=1\r\nFILE01=links.txt\r\n"), 1);
  ExpectNoShapeFiles();
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "Setting Link Shape...");
}

TEST_F(ShapeStepTest, AnInvalidCodeLengthFailsWithoutAMessage) {
  WriteBytes(folder_ / "linkdef.dat", "[SYSTEM]\r\nCODELENGTH=16\r\n");
  EXPECT_EQ(Run("[LINK]\r\nMIF=1\r\nFILENUM=0\r\n"), 0);
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "Setting Link Shape...");
}

TEST_F(ShapeStepTest, PassesOnThatABuilderFailed) {
  EXPECT_EQ(Run("[LINK]\r\nMIF=1\r\nFILENUM=1\r\nFILE01=" + (folder_ / "none.mif") + "\r\n"), 0);
  ASSERT_EQ(log().size(), 2u);
  EXPECT_EQ(log()[1], "[Can't open the MIF file (" + (folder_ / "none.mif") +
                          ") !][File Error in SHAPE_CreateShapeFileFromZatMif]");
}

TEST_F(ShapeStepTest, ACancelledRunDoesNotBegin) {
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run("[LINKSHAPE]\r\nFILENUM=1\r\nFILE01=x.txt\r\n"), 0);
  EXPECT_TRUE(log().empty());
  ExpectNoShapeFiles();
}

TEST_F(ShapeStepTest, SilentModeDoesNotHearTheCancelFlag) {
  FRD_SetCancelled(true);
  WriteBytes(folder_ / "s.txt", "1,1\r\n1,2\r\n");
  EXPECT_EQ(Run("[LINKSHAPE]\r\nFILENUM=1\r\nFILE01=" + (folder_ / "s.txt") + "\r\n"), 1);
  EXPECT_TRUE(Exists(folder_ / "shapedbl.idx"));
}

}  // namespace
}  // namespace zatlib
