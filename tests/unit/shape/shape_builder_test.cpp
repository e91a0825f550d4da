#include "shape/shape_builder.h"

#include <filesystem>
#include <string>
#include <vector>

#include "fault_each.h"
#include "frd/progress.h"
#include "platform/fault.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Operation;
using platform::WriteFault;
using test::Bytes;
using test::Exists;
using test::ReadBytes;
using test::Record;
using test::RunWithFault;
using test::WriteBytes;

constexpr char kHeader[] =
    "Version 300\r\n"
    "Charset \"WindowsJapanese\"\r\n"
    "Delimiter \",\"\r\n"
    "CoordSys Earth Projection 1, 104\r\n"
    "Columns 2\r\n"
    "  LINKCODE Char(14)\r\n"
    "  ROADKIND Integer\r\n"
    "Data\r\n"
    "\r\n";

constexpr char kZatMif[] = "File Error in SHAPE_CreateShapeFileFromZatMif";
constexpr char kMsrMif[] = "File Error in SHAPE_CreateShapeFileFromMif";
constexpr char kZatText[] = "File Error in SHAPE_CreateShapeFileFromZatText";
constexpr char kFinish[] = "File Error in SHAPE_FinishShapeIndex";

class ShapeBuilderTest : public test::LibraryTest {
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

// ---- MIF files -----------------------------------------------------------------------------

TEST_F(ShapeBuilderTest, ReadsPlinesAndLinesOfAMifFile) {
  EXPECT_EQ(BuildZatMif("Pline 3\r\n"
                        "7.425952 43.738949\r\n"
                        "7.426105 43.73887\r\n"
                        "7.426277 43.738776\r\n"
                        "    Pen (1,2,0)\r\n"
                        "Line 7.417308 43.729759 7.417214 43.72986\r\n"
                        "    Pen (1,2,0)\r\n",
                        "\"10000020000002\",4,10001,32,3,2,2,\"10000010000002\",\"10000010000003\","
                        "60,60,0,1,\"Avenue Princesse Alice\"\r\n"
                        "\"10000020000005\",7,10001,14,6,1,3,\"10000010000007\",\"10000010000008\","
                        "30,30,0,1,\"Avenue des Papalins\"\r\n"),
            1);
  EXPECT_TRUE(log().empty());
  EXPECT_EQ(points(), Bytes()
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
  EXPECT_EQ(entries(),
            Bytes().F64(10000020000002.0).I32(0).I32(3).F64(10000020000005.0).I32(24).I32(2).str());
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 104\r\n");
}

TEST_F(ShapeBuilderTest, CodesOf18DigitsAreIntegers) {
  cs_.CodeLength = 18;
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\nPline 1\r\n3 4\r\n",
                        "\"100000000000000001\",4\r\n100000000000000002\r\n"),
            1);
  EXPECT_EQ(
      entries(),
      Bytes().I64(100000000000000001).I32(0).I32(1).I64(100000000000000002).I32(8).I32(1).str());
}

TEST_F(ShapeBuilderTest, AppendsTheFilesOfARun) {
  WriteBytes(folder_ / "shapedat.dat", "left from an earlier run");
  WriteBytes(folder_ / "shapedbl.idx", "left from an earlier run");
  SetPath(1, "b.mif");
  SetPath(2, "c.mif");
  WriteBytes(folder_ / "b.mif", std::string(kHeader) + "Line 5 6 7 8\r\nPline 1\r\n9 10\r\n");
  WriteBytes(folder_ / "b.mid", "21\r\n22\r\n");
  WriteBytes(folder_ / "c.mif",
             "Charset \"Neutral\"\r\nCoordSys Earth Projection 1, 152\r\nData\r\n"
             "Pline 1\r\n-11 -12\r\n");
  WriteBytes(folder_ / "c.mid", "31\r\n");
  EXPECT_EQ(BuildZatMif("Pline 2\r\n1 2\r\n3 4\r\n", "11\r\n"), 1);
  cs_.FileIndex = 1;
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 1);
  cs_.FileIndex = 2;
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 1);
  EXPECT_EQ(points(), Bytes()
                          .I32(1000000)
                          .I32(2000000)
                          .I32(3000000)
                          .I32(4000000)
                          .I32(5000000)
                          .I32(6000000)
                          .I32(7000000)
                          .I32(8000000)
                          .I32(9000000)
                          .I32(10000000)
                          .I32(-11000000)
                          .I32(-12000000)
                          .str());
  EXPECT_EQ(entries(), Bytes()
                           .F64(11)
                           .I32(0)
                           .I32(2)
                           .F64(21)
                           .I32(16)
                           .I32(2)
                           .F64(22)
                           .I32(32)
                           .I32(1)
                           .F64(31)
                           .I32(40)
                           .I32(1)
                           .str());
  // The last file's header lines win.
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "Charset=Charset \"Neutral\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 152\r\n");
}

TEST_F(ShapeBuilderTest, ACountBelowOneWritesNoPointAndThatCount) {
  EXPECT_EQ(BuildZatMif("Pline 0\r\n    Pen (1,2,0)\r\n"
                        "Pline -3\r\n"
                        "Pline Multiple 2\r\n"
                        "Pline\r\n"
                        "Pline 1\r\n1 2\r\n",
                        "1\r\n2\r\n3\r\n4\r\n5\r\n"),
            1);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).str());
  EXPECT_EQ(entries(), Bytes()
                           .F64(1)
                           .I32(0)
                           .I32(0)
                           .F64(2)
                           .I32(0)
                           .I32(-3)
                           .F64(3)
                           .I32(0)
                           .I32(0)
                           .F64(4)
                           .I32(0)
                           .I32(0)
                           .F64(5)
                           .I32(0)
                           .I32(1)
                           .str());
}

TEST_F(ShapeBuilderTest, OnlyLineObjectsInMixedCaseAreTaken) {
  EXPECT_EQ(BuildZatMif("NONE\r\n"
                        "Point 7.425153 43.739716\r\n    Symbol (35,0,12)\r\n"
                        "PLINE 2\r\n1 1\r\n2 2\r\n"
                        "PLINE MULTIPLE 2\r\n  2\r\n7.42 43.7\r\n"
                        "LINE 1 2 3 4\r\n"
                        "line 1 2 3 4\r\n"
                        " Line 1 2 3 4\r\n"
                        "Line 5 6 7 8\r\n",
                        "1\r\n"),
            1);
  EXPECT_EQ(points(), Bytes().I32(5000000).I32(6000000).I32(7000000).I32(8000000).str());
}

TEST_F(ShapeBuilderTest, ObjectsWithoutARecordAreLeftOver) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\nPline 1\r\n3 4\r\n", "1\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

TEST_F(ShapeBuilderTest, AnEmptyMidFileGivesEmptyShapeFiles) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n", ""), 1);
  EXPECT_TRUE(Exists(folder_ / "shapedat.dat"));
  EXPECT_TRUE(Exists(folder_ / "shapedbl.idx"));
  EXPECT_EQ(points() + entries(), "");
  EXPECT_TRUE(log().empty());
}

TEST_F(ShapeBuilderTest, LastLinesNeedNoEnd) {
  EXPECT_EQ(BuildZatMif("Pline 2\r\n1 2\r\n3 4", "7"), 1);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  EXPECT_EQ(entries(), Bytes().F64(7).I32(0).I32(2).str());
}

TEST_F(ShapeBuilderTest, CoordinatesWithSevenDecimalsAreTenTimesTheScale) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1.1234567 -2.5\r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes().I32(11234567).I32(-2500000).str());
}

TEST_F(ShapeBuilderTest, AMissingMifFileIsReported) {
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't open the MIF file (" + (folder_ / "a.mif") + ") !", kZatMif);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
  ClearLog();
  EXPECT_EQ(SHAPE_CreateShapeFileFromMif(&cs_), 0);
  ExpectError("Can't open the MIF file (" + (folder_ / "a.mif") + ") !", kMsrMif);
}

TEST_F(ShapeBuilderTest, AHeaderWithoutDataIsReported) {
  WriteBytes(folder_ / "a.mif", "Version 300\r\nCharset \"WindowsJapanese\"\r\nPline 1\r\n1 2\r\n");
  WriteBytes(folder_ / "a.mid", "1\r\n");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't read the MIF file header (" + (folder_ / "a.mif") + ") !", kZatMif);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
  // What the header had was written when it was read.
  EXPECT_EQ(info(), "[INFORMATION]\r\nCharset=Charset \"WindowsJapanese\"\r\n");
}

TEST_F(ShapeBuilderTest, AMissingMidFileIsReported) {
  WriteBytes(folder_ / "a.mif", std::string(kHeader) + "Pline 1\r\n1 2\r\n");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't open the MID file (" + (folder_ / "a.mid") + ") !", kZatMif);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
}

TEST_F(ShapeBuilderTest, OutputsThatCannotBeOpenedAreReported) {
  test::MakeFolder(folder_ / "shapedbl.idx");
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n", "1\r\n"), 0);
  ExpectError("Can't open the shape index DBL file (" + (folder_ / "shapedbl.idx") + ") !",
              kZatMif);
  ClearLog();
  // The opens: MIF, MID, data.
  EXPECT_EQ(RunWithFault({Operation::kOpen, 3},
                         [&] { return BuildZatMif("Pline 1\r\n1 2\r\n", "1\r\n"); }),
            0);
  ExpectError("Can't open the Shape File (" + (folder_ / "shapedat.dat") + ") !", kZatMif);
}

TEST_F(ShapeBuilderTest, AMifFileWithFewerObjectsThanRecordsIsReported) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n    Pen (1,2,0)\r\n", "1\r\n2\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=2", kZatMif);
  // What came before stays.
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

TEST_F(ShapeBuilderTest, ACountBeyondTheEndOfTheFileIsReported) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n9 9\r\nPline 2000000000\r\n1 2\r\n3 4\r\n", "1\r\n2\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=2 in ITEM section",
              kZatMif);
  EXPECT_EQ(
      points(),
      Bytes().I32(9000000).I32(9000000).I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

// The style line behind an object with fewer points than it says has no coordinates.
TEST_F(ShapeBuilderTest, ACountThatIsTooHighMeetsTheStyleLine) {
  EXPECT_EQ(
      BuildZatMif("Pline 3\r\n1 2\r\n3 4\r\n    Pen (1,2,0)\r\nPline 1\r\n5 6\r\n", "1\r\n2\r\n"),
      0);
  ExpectError("The Record of MIF file is invalid, at rec=1 in ITEM section", kZatMif);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  EXPECT_EQ(entries(), "");
}

TEST_F(ShapeBuilderTest, APlinePointMayHaveOneZeroButNotTwo) {
  EXPECT_EQ(BuildZatMif("Pline 2\r\n0 51.5\r\n-0.1 0\r\nPline 2\r\n1 2\r\n0 0.0\r\n", "1\r\n2\r\n"),
            0);
  ExpectError("The Record of MIF file is invalid, at rec=2 in ITEM section", kZatMif);
  EXPECT_EQ(points(),
            Bytes().I32(0).I32(51500000).I32(-100000).I32(0).I32(1000000).I32(2000000).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(2).str());
}

// Each blank ends a field: of a doubled one Y is empty, of one in front X is, and what follows Y
// counts for nothing.
TEST_F(ShapeBuilderTest, EachBlankOfAPlinePointEndsAField) {
  EXPECT_EQ(BuildZatMif("Pline 4\r\n1  2\r\n 3 4\r\n5 6 7\r\n8 9 \r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes()
                          .I32(1000000)
                          .I32(0)
                          .I32(0)
                          .I32(3000000)
                          .I32(5000000)
                          .I32(6000000)
                          .I32(8000000)
                          .I32(9000000)
                          .str());
  EXPECT_TRUE(log().empty());
}

TEST_F(ShapeBuilderTest, AZeroByteEndsAPlinePoint) {
  using std::string_literals::operator""s;
  EXPECT_EQ(BuildZatMif("Pline 4\r\n1\0 2\r\n3 4\0 5\r\n6 \0 7\r\n8\0x 9\r\n"s, "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes()
                          .I32(1000000)
                          .I32(0)
                          .I32(3000000)
                          .I32(4000000)
                          .I32(6000000)
                          .I32(0)
                          .I32(8000000)
                          .I32(0)
                          .str());
  EXPECT_TRUE(log().empty());
  EXPECT_EQ(BuildZatMif("Pline 1\r\n\0 2 3\r\n"s, "1\r\n"), 0);
  ExpectError("The Record of MIF file is invalid, at rec=1 in ITEM section", kZatMif);
}

TEST_F(ShapeBuilderTest, ALineWithAZeroCoordinateFailsTheFile) {
  for (const char* object : {"Line 0 51.5 1 2\r\n", "Line 1 0.0 1 2\r\n", "Line 1 2 0 2\r\n",
                             "Line 1 2 1 0\r\n", "Line 1 2 3\r\n", "Line\r\n"}) {
    ClearLog();
    EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n" + std::string(object), "1\r\n2\r\n"), 0) << object;
    ExpectError("The MIF record value is Invalid, at rec=2 in Line shape !", kZatMif);
    EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str()) << object;
  }
}

TEST_F(ShapeBuilderTest, CommasSeparateTheFieldsOfALineLikeBlanks) {
  EXPECT_EQ(BuildZatMif("Line 1,2 3,4\r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
}

// Two blanks are two commas with an empty field between them.
TEST_F(ShapeBuilderTest, AQuoteBeforeACoordinateOfALineIsDropped) {
  EXPECT_EQ(BuildZatMif("Line \"135.5 \"35.5 136 36\r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes().I32(135500000).I32(35500000).I32(136000000).I32(36000000).str());
}

TEST_F(ShapeBuilderTest, ADoubledBlankInALineIsAnEmptyField) {
  EXPECT_EQ(BuildZatMif("Line 1  2 3 4\r\n", "1\r\n"), 0);
  ExpectError("The MIF record value is Invalid, at rec=1 in Line shape !", kZatMif);
}

TEST_F(ShapeBuilderTest, FilesWithLfLineEndsCannotBeRead) {
  // As small as this, the file is one line that contains "Data".
  WriteBytes(folder_ / "a.mif", "Version 300\nData\n\nPline 2\n1 2\n3 4\n");
  WriteBytes(folder_ / "a.mid", "1\n2\n");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=1", kZatMif);
  ClearLog();
  std::string mif = "Version 300\nData\n\nPline 200\n";
  for (int i = 0; i < 200; ++i) mif += "7.425952 43.738949\n";
  WriteBytes(folder_ / "a.mif", mif);
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't read the MIF file header (" + (folder_ / "a.mif") + ") !", kZatMif);
}

TEST_F(ShapeBuilderTest, AMidLineThatIsTooLongIsReported) {
  // 2,047 bytes and the CR still fit.
  const std::string fits = "1,\"" + std::string(20, 'n') + "\"";
  std::string widest = fits;
  while (widest.size() < 2047) widest += ",x";
  widest.resize(2047);
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n", widest + "\r\n"), 1);
  EXPECT_TRUE(log().empty());
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\nPline 1\r\n1 2\r\n", fits + "\r\n" + widest + ",\r\n"),
            0);
  ExpectError("Can't read the Mid File (" + (folder_ / "a.mid") + ") at rec=2", kZatMif);
  // The end of the file is no line end once the buffer is full.
  ClearLog();
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n", widest + ","), 0);
  ExpectError("Can't read the Mid File (" + (folder_ / "a.mid") + ") at rec=1", kZatMif);
}

TEST_F(ShapeBuilderTest, AMifLineThatIsTooLongIsReported) {
  const std::string title_line(1024, 'x');
  EXPECT_EQ(BuildZatMif(title_line + "\r\nPline 1\r\n1 2\r\n", "1\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=1", kZatMif);
  ClearLog();
  EXPECT_EQ(BuildZatMif("Pline 1\r\n" + title_line + "\r\n", "1\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=1 in ITEM section",
              kZatMif);
}

TEST_F(ShapeBuilderTest, SourcesThatCannotBeReadAreReported) {
  // The reads: MIF header, MID.
  EXPECT_EQ(
      RunWithFault({Operation::kRead}, [&] { return BuildZatMif("Pline 1\r\n1 2\r\n", "1\r\n"); }),
      0);
  ExpectError("Can't read the MIF file header (" + (folder_ / "a.mif") + ") !", kZatMif);
  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kRead, 2},
                         [&] { return BuildZatMif("Pline 1\r\n1 2\r\n", "1\r\n"); }),
            0);
  ExpectError("Can't read the Mid File (" + (folder_ / "a.mid") + ") at rec=1", kZatMif);
}

TEST_F(ShapeBuilderTest, FailedWritesOfAMifFileAreReported) {
  const std::string objects = "Pline 2\r\n1 2\r\n3 4\r\nLine 1 2 3 4\r\nPline 1\r\n5 6\r\n";
  const std::string mid = "1\r\n2\r\n3\r\n";
  // Five points are 40 bytes; half of them are two points and a half.
  EXPECT_EQ(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                         [&] { return BuildZatMif(objects, mid); }),
            0);
  ExpectError("Can't write the Shape File at rec=2 in Line ITEM section", kZatMif);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(2).str());

  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kWrite, 1, true}, [&] { return BuildMsrMif(objects, mid); }),
            0);
  ExpectError("Can't write the Shape File at rec=1 in Poly ITEM section", kMsrMif);

  // Three entries are 48 bytes; half of them are one entry and a half.
  ClearLog();
  EXPECT_EQ(RunWithFault({Operation::kWrite, 2, false, WriteFault::kHalfWritten},
                         [&] { return BuildZatMif(objects, mid); }),
            0);
  ExpectError("Can't write the shape index DBL file (" + (folder_ / "shapedbl.idx") + ") at rec=2",
              kZatMif);
}

TEST_F(ShapeBuilderTest, AWriteThatFailedBeforeABadRecordIsWhatIsReported) {
  EXPECT_EQ(RunWithFault(
                {Operation::kWrite, 1, true},
                [&] { return BuildZatMif("Pline 1\r\n1 2\r\nPline 1\r\n0 0\r\n", "1\r\n2\r\n"); }),
            0);
  ExpectError("Can't write the Shape File at rec=1 in Poly ITEM section", kZatMif);
}

TEST_F(ShapeBuilderTest, DataThatWouldPass2GiBAreRefused) {
  SetPath(1, "b.mif");
  cs_.FileIndex = 1;
  WriteBytes(folder_ / "shapedat.dat", "");
  WriteBytes(folder_ / "shapedbl.idx", "");
  // Room for one point: 2^31 - 16 + 8 is below 2^31.
  std::filesystem::resize_file(folder_ / "shapedat.dat", 2147483632);
  WriteBytes(folder_ / "b.mif",
             std::string(kHeader) + "Pline 1\r\n1 2\r\nPline 2\r\n3 4\r\n5 6\r\n");
  WriteBytes(folder_ / "b.mid", "1\r\n2\r\n");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("The shape data exceeds 2 GiB, at rec=2", kZatMif);
  EXPECT_EQ(std::filesystem::file_size(folder_ / "shapedat.dat"), 2147483640u);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(2147483632).I32(1).str());

  // Behind the limit not even a shape without points has an offset.
  ClearLog();
  std::filesystem::resize_file(folder_ / "shapedat.dat", 2147483648);
  WriteBytes(folder_ / "b.mif", std::string(kHeader) + "Pline 0\r\n");
  WriteBytes(folder_ / "b.mid", "1\r\n");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("The shape data exceeds 2 GiB, at rec=1", kZatMif);
}

TEST_F(ShapeBuilderTest, MsrCodesAreMadeOfAreaAndNumber) {
  const std::string objects =
      "Pline 1\r\n1 2\r\nPline 1\r\n3 4\r\nPline 0\r\nPline 0\r\nPline 0\r\n";
  const std::string mid =
      "20000001,4,10,1,121,3,2,10000001,10000002,2,60,60,0\r\n"
      "\"20000002\",4,\"10\",1\r\n"  // quoted columns
      "7,4\r\n"                      // no area
      "0,4,3\r\n"                    // composed although the number is 0
      "LINKCODE,ROADKIND,AREA\r\n";
  for (const int length : {14, 0}) {
    cs_.CodeLength = length;
    EXPECT_EQ(BuildMsrMif(objects, mid), 1);
    EXPECT_EQ(entries(), Bytes()
                             .F64(10000020000001.0)
                             .I32(0)
                             .I32(1)
                             .F64(10000020000002.0)
                             .I32(8)
                             .I32(1)
                             .F64(7.0)
                             .I32(16)
                             .I32(0)
                             .F64(3000000000000.0)
                             .I32(16)
                             .I32(0)
                             .F64(0.0)
                             .I32(16)
                             .I32(0)
                             .str());
  }
  cs_.CodeLength = 18;
  EXPECT_EQ(BuildMsrMif(objects, mid), 1);
  EXPECT_EQ(entries(), Bytes()
                           .I64(100000000020000001)
                           .I32(0)
                           .I32(1)
                           .I64(100000000020000002)
                           .I32(8)
                           .I32(1)
                           .I64(7)
                           .I32(16)
                           .I32(0)
                           .I64(30000000000000000)
                           .I32(16)
                           .I32(0)
                           .I64(0)
                           .I32(16)
                           .I32(0)
                           .str());
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  EXPECT_TRUE(log().empty());
}

// 9,007,199,254,740,993 is the first integer that a double cannot hold.
TEST_F(ShapeBuilderTest, AllDigitsOfAnMsrIntegerCodeCount) {
  cs_.CodeLength = 18;
  EXPECT_EQ(BuildMsrMif("Pline 0\r\n", "9007199254740993,1,2\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().I64(29007199254740993).I32(0).I32(0).str());
}

TEST_F(ShapeBuilderTest, MsrErrorsNameTheirBuilder) {
  EXPECT_EQ(BuildMsrMif("Line 0 1 2 3\r\n", "1,1,1\r\n"), 0);
  ExpectError("The MIF record value is Invalid, at rec=1 in Line shape !", kMsrMif);
}

// ---- Text files ----------------------------------------------------------------------------

TEST_F(ShapeBuilderTest, ReadsTheBlocksOfATextFile) {
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

TEST_F(ShapeBuilderTest, TextCodesOf18DigitsAreIntegers) {
  cs_.CodeLength = 18;
  EXPECT_EQ(BuildText("100000000000000001,1\r\n1,2\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().I64(100000000000000001).I32(0).I32(1).str());
}

TEST_F(ShapeBuilderTest, TextFilesDeclareDefaultsUnlessTheyAreThere) {
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

TEST_F(ShapeBuilderTest, AnEmptyTextFileGivesEmptyShapeFiles) {
  EXPECT_EQ(BuildText(""), 1);
  EXPECT_TRUE(Exists(folder_ / "shapedat.dat"));
  EXPECT_TRUE(Exists(folder_ / "shapedbl.idx"));
  EXPECT_EQ(points() + entries(), "");
}

TEST_F(ShapeBuilderTest, AppendsTextFiles) {
  SetPath(1, "b.txt");
  WriteBytes(folder_ / "b.txt", "2,1\r\n5,6\r\n");
  EXPECT_EQ(BuildText("1,2\r\n1,2\r\n3,4\r\n"), 1);
  cs_.FileIndex = 1;
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatText(&cs_), 1);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(2).F64(2).I32(16).I32(1).str());
  EXPECT_EQ(Record(points(), 2, 8), Bytes().I32(5000000).I32(6000000).str());
}

TEST_F(ShapeBuilderTest, AMissingTextFileIsReported) {
  SetPath(0, "none.txt");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatText(&cs_), 0);
  ExpectError("Can't open the MIF file (" + (folder_ / "none.txt") + ") !", kZatText);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
  // The declarations come before the file is opened.
  EXPECT_TRUE(Exists(folder_ / "shapedat.inf"));
}

TEST_F(ShapeBuilderTest, ATextBlockThatEndsEarlyIsReported) {
  EXPECT_EQ(BuildText("1,1\r\n1,2\r\n2,3\r\n3,4\r\n5,6\r\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=2 item=3", kZatText);
  EXPECT_EQ(points().size(), 24u);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

TEST_F(ShapeBuilderTest, ATextCountThatLiesIsReported) {
  EXPECT_EQ(BuildText("1,1000000000\r\n1,2\r\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=1 item=2", kZatText);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).str());
  EXPECT_EQ(entries(), "");
}

TEST_F(ShapeBuilderTest, ATextPointLineThatIsTooLongIsReported) {
  EXPECT_EQ(BuildText("1,1\r\n1,2" + std::string(2048, ',') + "\r\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=1 item=1", kZatText);
}

TEST_F(ShapeBuilderTest, ATextHeadLineThatIsTooLongEndsTheFile) {
  EXPECT_EQ(BuildText("1,1\r\n1,2\r\n2,0" + std::string(2048, ',') + "\r\n3,0\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
  EXPECT_TRUE(log().empty());
}

TEST_F(ShapeBuilderTest, ATextFileWithLfLineEndsIsOneLine) {
  // Column 2 is "2", a line feed and "1.5".
  EXPECT_EQ(BuildText("1,2\n1.5,2\n3,4\n"), 0);
  ExpectError("Can't read the Item Data (" + (folder_ / "a.txt") + ") at rec=1 item=1", kZatText);
  ClearLog();
  std::string text = "1,200\n";
  for (int i = 0; i < 200; ++i) text += "7.425952,43.738949\n";
  EXPECT_EQ(BuildText(text), 1);
  EXPECT_EQ(points() + entries(), "");
}

TEST_F(ShapeBuilderTest, ATextFileThatCannotBeReadIsReported) {
  EXPECT_EQ(RunWithFault({Operation::kRead}, [&] { return BuildText("1,1\r\n1,2\r\n"); }), 0);
  ExpectError("Can't read the file (" + (folder_ / "a.txt") + ") !", kZatText);
}

TEST_F(ShapeBuilderTest, FailedWritesOfATextFileAreReported) {
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

TEST_F(ShapeBuilderTest, TextOutputsThatCannotBeOpenedAreReported) {
  test::MakeFolder(folder_ / "shapedat.dat");
  EXPECT_EQ(BuildText("1,1\r\n1,2\r\n"), 0);
  ExpectError("Can't open the Shape File (" + (folder_ / "shapedat.dat") + ") !", kZatText);
}

// Blocks of points larger than what is read and written at once.
TEST_F(ShapeBuilderTest, ALongTextShapeIsStreamed) {
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

// ---- Finishing -----------------------------------------------------------------------------

TEST_F(ShapeBuilderTest, FinishingSortsAndWritesTheTotals) {
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

TEST_F(ShapeBuilderTest, FinishingASingleEntry) {
  EXPECT_EQ(Finish(Bytes().F64(99999999999999.0).I32(0).I32(3)), 1);
  EXPECT_EQ(info(),
            "[INFORMATION]\r\n"
            "NumRec=1\r\n"
            "NumShape=3\r\n"
            "MaxShapeLink=99999999999999\r\n"
            "MaxNumShape=3\r\n");
}

TEST_F(ShapeBuilderTest, FinishingAnEmptyIndex) {
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
TEST_F(ShapeBuilderTest, TheLargestIntegerCodeIsPrintedAsADecimalCode) {
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

TEST_F(ShapeBuilderTest, FinishingKeepsTheHeaderLines) {
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

TEST_F(ShapeBuilderTest, ADuplicateCodeFailsFinishing) {
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
TEST_F(ShapeBuilderTest, ACodeWithoutAnOrderIsALogicError) {
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

TEST_F(ShapeBuilderTest, FinishingWithoutAnIndexIsReported) {
  EXPECT_EQ(SHAPE_FinishShapeIndex(&cs_), 0);
  ExpectError(
      "Can't open the shape index DBL file for input (" + (folder_ / "shapedbl.idx") + ") !",
      kFinish);
}

TEST_F(ShapeBuilderTest, FailuresOfFinishingAreReported) {
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

TEST_F(ShapeBuilderTest, APartialEntryAtTheEndIsDropped) {
  EXPECT_EQ(Finish(Bytes().F64(2).I32(0).I32(1).F64(1).I32(8)), 1);
  EXPECT_EQ(entries(), Bytes().F64(2).I32(0).I32(1).str());
}

// ---- Progress ------------------------------------------------------------------------------

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
