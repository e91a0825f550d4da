#include <filesystem>
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
using test::kHeader;
using test::kMsrMif;
using test::kZatMif;
using test::RunWithFault;
using test::WriteBytes;

using MifShapesTest = test::ShapeBuilderTest;

TEST_F(MifShapesTest, ReadsPlinesAndLinesOfAMifFile) {
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

TEST_F(MifShapesTest, CodesOf18DigitsAreIntegers) {
  cs_.CodeLength = 18;
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\nPline 1\r\n3 4\r\n",
                        "\"100000000000000001\",4\r\n100000000000000002\r\n"),
            1);
  EXPECT_EQ(
      entries(),
      Bytes().I64(100000000000000001).I32(0).I32(1).I64(100000000000000002).I32(8).I32(1).str());
}

TEST_F(MifShapesTest, AppendsTheFilesOfARun) {
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

TEST_F(MifShapesTest, ACountBelowOneWritesNoPointAndThatCount) {
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

TEST_F(MifShapesTest, OnlyLineObjectsInMixedCaseAreTaken) {
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

TEST_F(MifShapesTest, ObjectsWithoutARecordAreLeftOver) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\nPline 1\r\n3 4\r\n", "1\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

TEST_F(MifShapesTest, AnEmptyMidFileGivesEmptyShapeFiles) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n", ""), 1);
  EXPECT_TRUE(Exists(folder_ / "shapedat.dat"));
  EXPECT_TRUE(Exists(folder_ / "shapedbl.idx"));
  EXPECT_EQ(points() + entries(), "");
  EXPECT_TRUE(log().empty());
}

TEST_F(MifShapesTest, LastLinesNeedNoEnd) {
  EXPECT_EQ(BuildZatMif("Pline 2\r\n1 2\r\n3 4", "7"), 1);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  EXPECT_EQ(entries(), Bytes().F64(7).I32(0).I32(2).str());
}

TEST_F(MifShapesTest, CoordinatesWithSevenDecimalsAreTenTimesTheScale) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1.1234567 -2.5\r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes().I32(11234567).I32(-2500000).str());
}

TEST_F(MifShapesTest, AMissingMifFileIsReported) {
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't open the MIF file (" + (folder_ / "a.mif") + ") !", kZatMif);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
  ClearLog();
  EXPECT_EQ(SHAPE_CreateShapeFileFromMif(&cs_), 0);
  ExpectError("Can't open the MIF file (" + (folder_ / "a.mif") + ") !", kMsrMif);
}

TEST_F(MifShapesTest, AHeaderWithoutDataIsReported) {
  WriteBytes(folder_ / "a.mif", "Version 300\r\nCharset \"WindowsJapanese\"\r\nPline 1\r\n1 2\r\n");
  WriteBytes(folder_ / "a.mid", "1\r\n");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't read the MIF file header (" + (folder_ / "a.mif") + ") !", kZatMif);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
  // What the header had was written when it was read.
  EXPECT_EQ(info(), "[INFORMATION]\r\nCharset=Charset \"WindowsJapanese\"\r\n");
}

TEST_F(MifShapesTest, AMissingMidFileIsReported) {
  WriteBytes(folder_ / "a.mif", std::string(kHeader) + "Pline 1\r\n1 2\r\n");
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 0);
  ExpectError("Can't open the MID file (" + (folder_ / "a.mid") + ") !", kZatMif);
  EXPECT_FALSE(Exists(folder_ / "shapedat.dat"));
}

TEST_F(MifShapesTest, OutputsThatCannotBeOpenedAreReported) {
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

TEST_F(MifShapesTest, AMifFileWithFewerObjectsThanRecordsIsReported) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n    Pen (1,2,0)\r\n", "1\r\n2\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=2", kZatMif);
  // What came before stays.
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

TEST_F(MifShapesTest, ACountBeyondTheEndOfTheFileIsReported) {
  EXPECT_EQ(BuildZatMif("Pline 1\r\n9 9\r\nPline 2000000000\r\n1 2\r\n3 4\r\n", "1\r\n2\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=2 in ITEM section",
              kZatMif);
  EXPECT_EQ(
      points(),
      Bytes().I32(9000000).I32(9000000).I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str());
}

// The style line behind an object with fewer points than it says has no coordinates.
TEST_F(MifShapesTest, ACountThatIsTooHighMeetsTheStyleLine) {
  EXPECT_EQ(
      BuildZatMif("Pline 3\r\n1 2\r\n3 4\r\n    Pen (1,2,0)\r\nPline 1\r\n5 6\r\n", "1\r\n2\r\n"),
      0);
  ExpectError("The Record of MIF file is invalid, at rec=1 in ITEM section", kZatMif);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  EXPECT_EQ(entries(), "");
}

TEST_F(MifShapesTest, APlinePointMayHaveOneZeroButNotTwo) {
  EXPECT_EQ(BuildZatMif("Pline 2\r\n0 51.5\r\n-0.1 0\r\nPline 2\r\n1 2\r\n0 0.0\r\n", "1\r\n2\r\n"),
            0);
  ExpectError("The Record of MIF file is invalid, at rec=2 in ITEM section", kZatMif);
  EXPECT_EQ(points(),
            Bytes().I32(0).I32(51500000).I32(-100000).I32(0).I32(1000000).I32(2000000).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(2).str());
}

// Each blank ends a field: of a doubled one Y is empty, of one in front X is, and what follows Y
// counts for nothing.
TEST_F(MifShapesTest, EachBlankOfAPlinePointEndsAField) {
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

TEST_F(MifShapesTest, AZeroByteEndsAPlinePoint) {
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

TEST_F(MifShapesTest, ALineWithAZeroCoordinateFailsTheFile) {
  for (const char* object : {"Line 0 51.5 1 2\r\n", "Line 1 0.0 1 2\r\n", "Line 1 2 0 2\r\n",
                             "Line 1 2 1 0\r\n", "Line 1 2 3\r\n", "Line\r\n"}) {
    ClearLog();
    EXPECT_EQ(BuildZatMif("Pline 1\r\n1 2\r\n" + std::string(object), "1\r\n2\r\n"), 0) << object;
    ExpectError("The MIF record value is Invalid, at rec=2 in Line shape !", kZatMif);
    EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(1).str()) << object;
  }
}

// A line feed alone does not end a line of a file, but the fields of this one.
TEST_F(MifShapesTest, ALineFeedEndsTheFieldsOfALine) {
  EXPECT_EQ(BuildZatMif("Line 1 2 3 4\n    Pen (1,2,0)\r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
  ClearLog();
  EXPECT_EQ(BuildZatMif("Line 1 2\n3 4 5 6\r\n", "1\r\n"), 0);
  ExpectError("The MIF record value is Invalid, at rec=1 in Line shape !", kZatMif);
}

TEST_F(MifShapesTest, CommasSeparateTheFieldsOfALineLikeBlanks) {
  EXPECT_EQ(BuildZatMif("Line 1,2 3,4\r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes().I32(1000000).I32(2000000).I32(3000000).I32(4000000).str());
}

TEST_F(MifShapesTest, AQuoteBeforeACoordinateOfALineIsDropped) {
  EXPECT_EQ(BuildZatMif("Line \"135.5 \"35.5 136 36\r\n", "1\r\n"), 1);
  EXPECT_EQ(points(), Bytes().I32(135500000).I32(35500000).I32(136000000).I32(36000000).str());
}

// Two blanks are two commas with an empty field between them.
TEST_F(MifShapesTest, ADoubledBlankInALineIsAnEmptyField) {
  EXPECT_EQ(BuildZatMif("Line 1  2 3 4\r\n", "1\r\n"), 0);
  ExpectError("The MIF record value is Invalid, at rec=1 in Line shape !", kZatMif);
}

TEST_F(MifShapesTest, FilesWithLfLineEndsCannotBeRead) {
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

TEST_F(MifShapesTest, AMidLineThatIsTooLongIsReported) {
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

TEST_F(MifShapesTest, AMifLineThatIsTooLongIsReported) {
  const std::string title_line(1024, 'x');
  EXPECT_EQ(BuildZatMif(title_line + "\r\nPline 1\r\n1 2\r\n", "1\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=1", kZatMif);
  ClearLog();
  EXPECT_EQ(BuildZatMif("Pline 1\r\n" + title_line + "\r\n", "1\r\n"), 0);
  ExpectError("Can't read the MIF file (" + (folder_ / "a.mif") + ") at rec=1 in ITEM section",
              kZatMif);
}

TEST_F(MifShapesTest, SourcesThatCannotBeReadAreReported) {
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

TEST_F(MifShapesTest, FailedWritesOfAMifFileAreReported) {
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

// More points than are written at once, and more entries than wait for theirs.
TEST_F(MifShapesTest, FailedWritesOfALongMifFileAreReported) {
  std::string plines, lines, mid;
  for (int i = 1; i <= 80000; ++i) {
    plines += "Pline 2\r\n1 2\r\n3 4\r\n";
    lines += "Line 1 2 3 4\r\n";
    mid += std::to_string(i) + "\r\n";
  }
  const auto build = [&](const std::string& objects) {
    ClearLog();
    EXPECT_EQ(RunWithFault({Operation::kWrite, 1, true}, [&] { return BuildZatMif(objects, mid); }),
              0);
  };
  build(plines);
  ExpectError("Can't write the Shape File at rec=1 in Poly ITEM section", kZatMif);
  build(lines);
  ExpectError("Can't write the Shape File at rec=1 in Line ITEM section", kZatMif);
  // A single object of more points than that.
  std::string pline = "Pline 140000\r\n";
  for (int i = 0; i < 140000; ++i) pline += "1 2\r\n";
  mid = "1\r\n";
  build(pline);
  ExpectError("Can't write the Shape File at rec=1 in Poly ITEM section", kZatMif);
}

TEST_F(MifShapesTest, AWriteThatFailedBeforeABadRecordIsWhatIsReported) {
  EXPECT_EQ(RunWithFault(
                {Operation::kWrite, 1, true},
                [&] { return BuildZatMif("Pline 1\r\n1 2\r\nPline 1\r\n0 0\r\n", "1\r\n2\r\n"); }),
            0);
  ExpectError("Can't write the Shape File at rec=1 in Poly ITEM section", kZatMif);
}

TEST_F(MifShapesTest, DataThatWouldPass2GiBAreRefused) {
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

TEST_F(MifShapesTest, MsrCodesAreMadeOfAreaAndNumber) {
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
TEST_F(MifShapesTest, AllDigitsOfAnMsrIntegerCodeCount) {
  cs_.CodeLength = 18;
  EXPECT_EQ(BuildMsrMif("Pline 0\r\n", "9007199254740993,1,2\r\n"), 1);
  EXPECT_EQ(entries(), Bytes().I64(29007199254740993).I32(0).I32(0).str());
}

TEST_F(MifShapesTest, TheColumnsOfACodeMayBeOthers) {
  WriteBytes(folder_ / "a.mif", std::string(kHeader) + "Pline 0\r\nPline 0\r\n");
  WriteBytes(folder_ / "a.mid", "x,12,7,34\r\nx,13,7\r\n");
  cs_.Columns = {.Code = 2};
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatMif(&cs_), 1);
  EXPECT_EQ(entries(), Bytes().F64(12).I32(0).I32(0).F64(13).I32(0).I32(0).str());
  cs_.Columns = {.Code = 4, .Area = 2};
  EXPECT_EQ(SHAPE_CreateShapeFileFromMif(&cs_), 1);
  EXPECT_EQ(entries(), Bytes().F64(12000000000034).I32(0).I32(0).F64(13e12).I32(0).I32(0).str());
}

TEST_F(MifShapesTest, MsrErrorsNameTheirBuilder) {
  EXPECT_EQ(BuildMsrMif("Line 0 1 2 3\r\n", "1,1,1\r\n"), 0);
  ExpectError("The MIF record value is Invalid, at rec=1 in Line shape !", kMsrMif);
}

}  // namespace
}  // namespace zatlib
