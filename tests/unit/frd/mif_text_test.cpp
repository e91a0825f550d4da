#include "frd/mif_text.h"

#include <optional>
#include <string>

#include "test_support.h"

namespace zatlib {
namespace {

using test::Exists;
using test::ReadBytes;
using test::WriteBytes;

struct Object {
  MifPoint kind;
  int32_t x = -7;
  int32_t y = -7;
};

class MifTextTest : public test::LibraryTest {
 protected:
  void Open(const std::string& content) {
    // The file before is still open.
    const std::string path = folder_ / ("objects" + std::to_string(++files_) + ".mif");
    WriteBytes(path, content);
    ASSERT_TRUE(mif_.Open(path.c_str()));
    points_.reset();
  }

  int Header(const std::string& content, uint32_t line_size = 512) {
    Open(content);
    return ReadMifHeader(mif_, line_size, info().c_str());
  }

  // The next object of the file.
  Object Next(LineSource& mif, MifPointTest test = MifPointTest::kFirstLetters) {
    if (!points_) points_.emplace(mif, test);
    Object object{};
    object.x = object.y = -7;
    object.kind = points_->Next(&object.x, &object.y);
    return object;
  }

  std::string info() const { return folder_ / "info.inf"; }

  LineSource mif_;

 private:
  std::optional<MifPoints> points_;
  int files_ = 0;
};

// ---- Header --------------------------------------------------------------------------------

TEST_F(MifTextTest, TheHeadersLinesAreKeptWhole) {
  EXPECT_EQ(Header("Version 300\r\n"
                   "Charset \"WindowsJapanese\"\r\n"
                   "Delimiter \",\"\r\n"
                   "CoordSys Earth Projection 1, 104\r\n"
                   "Columns 1\r\n  CODE Integer\r\nData\r\n\r\nPoint 1 2\r\n"),
            1);
  EXPECT_EQ(ReadBytes(info()),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 104\r\n");
  // The objects come next.
  const Object object = Next(mif_);
  EXPECT_EQ(object.kind, MifPoint::kPoint);
  EXPECT_EQ(object.x, 1000000);
}

TEST_F(MifTextTest, AHeaderWithoutBothLinesWritesNothing) {
  EXPECT_EQ(Header("Version 300\r\nData\r\n"), 1);
  EXPECT_FALSE(Exists(info()));
}

TEST_F(MifTextTest, AHeaderWithoutADataLineFails) {
  EXPECT_EQ(Header("Version 300\r\nCharset \"Neutral\"\r\n"), 0);
  EXPECT_EQ(ReadBytes(info()), "[INFORMATION]\r\nCharset=Charset \"Neutral\"\r\n");
  EXPECT_EQ(Header(""), 0);
}

TEST_F(MifTextTest, TheSpellingsOfTheDataLine) {
  EXPECT_EQ(Header("DATA\r\n"), 1);
  EXPECT_EQ(Header("Data\r\n"), 1);
  EXPECT_EQ(Header("data\r\n"), 1);
  EXPECT_EQ(Header("data"), 1);
  EXPECT_EQ(Header("dATA\r\nDaTa\r\n"), 0);
}

TEST_F(MifTextTest, WordsCountAnywhereInTheLine) {
  EXPECT_EQ(Header("  UPDATA Char(10)\r\nnever read\r\n"), 1);
  EXPECT_EQ(Header("x charset y\r\nz Coordsys\r\nmetadata\r\n"), 1);
  EXPECT_EQ(ReadBytes(info()), "[INFORMATION]\r\nCharset=x charset y\r\nCoordSys=z Coordsys\r\n");
}

TEST_F(MifTextTest, TheSpellingsOfTheKeptLines) {
  EXPECT_EQ(Header("CHARSET a\r\nCOORDSYS b\r\nData\r\n"), 1);
  EXPECT_FALSE(Exists(info()));
  EXPECT_EQ(Header("charset a\r\ncoordsys b\r\nData\r\n"), 1);
  EXPECT_EQ(ReadBytes(info()), "[INFORMATION]\r\nCharset=charset a\r\nCoordSys=coordsys b\r\n");
}

TEST_F(MifTextTest, OneLineMayBeAllThree) {
  EXPECT_EQ(Header("Charset CoordSys Data\r\nCharset x\r\n"), 1);
  EXPECT_EQ(ReadBytes(info()),
            "[INFORMATION]\r\nCharset=Charset CoordSys Data\r\n"
            "CoordSys=Charset CoordSys Data\r\n");
}

TEST_F(MifTextTest, TheLastLineOfAKindWins) {
  EXPECT_EQ(Header("Charset a\r\nCharset b\r\nData\r\n"), 1);
  EXPECT_EQ(ReadBytes(info()), "[INFORMATION]\r\nCharset=Charset b\r\n");
}

TEST_F(MifTextTest, AHeaderLineThatDoesNotFitEndsTheHeader) {
  EXPECT_EQ(Header(std::string(511, 'x') + "\r\nData\r\n", 512), 1);
  EXPECT_EQ(Header(std::string(512, 'x') + "\r\nData\r\n", 512), 0);
  EXPECT_EQ(Header(std::string(512, 'x') + "\r\nData\r\n", 1024), 1);
}

TEST_F(MifTextTest, AHeaderLineEndsAtAZeroByte) {
  EXPECT_EQ(Header(std::string("x\0Data\r\n", 8)), 0);
}

// ---- Points --------------------------------------------------------------------------------

TEST_F(MifTextTest, PointsOneByOne) {
  Open("Point 139.6917 35.6895\r\n    Symbol (35,0,12)\r\nPoint -0.000001 -35.123456\r\n");
  Object object = Next(mif_);
  EXPECT_EQ(object.kind, MifPoint::kPoint);
  EXPECT_EQ(object.x, 139691700);
  EXPECT_EQ(object.y, 35689500);
  object = Next(mif_);
  EXPECT_EQ(object.kind, MifPoint::kPoint);
  EXPECT_EQ(object.x, -1);
  EXPECT_EQ(object.y, -35123456);
  EXPECT_EQ(Next(mif_).kind, MifPoint::kEnd);
}

TEST_F(MifTextTest, ObjectsWithoutGeometry) {
  Open("none\r\nNone\r\nNONE\r\nnOnE\r\n");
  for (int i = 0; i < 4; ++i) {
    const Object object = Next(mif_);
    EXPECT_EQ(object.kind, MifPoint::kNone);
    EXPECT_EQ(object.x, -7);
    EXPECT_EQ(object.y, -7);
  }
  EXPECT_EQ(Next(mif_).kind, MifPoint::kEnd);
}

TEST_F(MifTextTest, AnyCaseOfPoint) {
  Open("POINT 1 2\r\npoint 3 4\r\npOiNt 5 6\r\n");
  EXPECT_EQ(Next(mif_).x, 1000000);
  EXPECT_EQ(Next(mif_).y, 4000000);
  EXPECT_EQ(Next(mif_).x, 5000000);
}

TEST_F(MifTextTest, OtherLinesAreSkipped) {
  Open("\r\nPline 2\r\n1 2\r\n3 4\r\n  Pen (1,2,0)\r\n Point 5 6\r\nPoin\r\nNon\r\nPoint 7 8\r\n");
  const Object object = Next(mif_);
  EXPECT_EQ(object.x, 7000000);
  EXPECT_EQ(object.y, 8000000);
}

TEST_F(MifTextTest, TheWordsCountAtTheStartWhateverFollows) {
  Open("Pointer 1 2\r\nnonesuch\r\n");
  EXPECT_EQ(Next(mif_).x, 1000000);
  EXPECT_EQ(Next(mif_).kind, MifPoint::kNone);
}

TEST_F(MifTextTest, TheFirstWordMustBeWholeWhereItIsAskedFor) {
  Open("Pointer 1 2\r\nnonesuch\r\nPline 2\r\n  pOINT 3 4\r\n nONE\r\nPOINT,5,6\r\nnone x\r\n");
  Object object = Next(mif_, MifPointTest::kFirstWord);
  EXPECT_EQ(object.kind, MifPoint::kPoint);
  EXPECT_EQ(object.x, 3000000);
  EXPECT_EQ(object.y, 4000000);
  EXPECT_EQ(Next(mif_, MifPointTest::kFirstWord).kind, MifPoint::kNone);
  object = Next(mif_, MifPointTest::kFirstWord);
  EXPECT_EQ(object.kind, MifPoint::kPoint);
  EXPECT_EQ(object.x, 5000000);
  EXPECT_EQ(object.y, 6000000);
  EXPECT_EQ(Next(mif_, MifPointTest::kFirstWord).kind, MifPoint::kNone);
  EXPECT_EQ(Next(mif_, MifPointTest::kFirstWord).kind, MifPoint::kEnd);
}

TEST_F(MifTextTest, AnotherWordOfFourOrFiveLettersIsNoObject) {
  Open("Nine\r\nPoems 1 2\r\nNone\r\n");
  EXPECT_EQ(Next(mif_, MifPointTest::kFirstWord).kind, MifPoint::kNone);
  EXPECT_EQ(Next(mif_, MifPointTest::kFirstWord).kind, MifPoint::kEnd);
}

TEST_F(MifTextTest, TokensEndAtBlanksAndCommas) {
  Open("Point 1.5,2.5\r\nPoint 3.5 4.5,9\r\n");
  Object object = Next(mif_);
  EXPECT_EQ(object.x, 1500000);
  EXPECT_EQ(object.y, 2500000);
  object = Next(mif_);
  EXPECT_EQ(object.x, 3500000);
  EXPECT_EQ(object.y, 4500000);
}

TEST_F(MifTextTest, MissingCoordinatesAreZero) {
  Open("Point 1.5\r\nPoint\r\n");
  Object object = Next(mif_);
  EXPECT_EQ(object.kind, MifPoint::kPoint);
  EXPECT_EQ(object.x, 1500000);
  EXPECT_EQ(object.y, 0);
  object = Next(mif_);
  EXPECT_EQ(object.kind, MifPoint::kPoint);
  EXPECT_EQ(object.x, 0);
  EXPECT_EQ(object.y, 0);
}

TEST_F(MifTextTest, CoordinatesFollowTheConverter) {
  Open("Point E139.5 1.1234567\r\n");
  const Object object = Next(mif_);
  EXPECT_EQ(object.x, 139500000);
  EXPECT_EQ(object.y, 11234567);
}

TEST_F(MifTextTest, TheLastObjectNeedsNoLineEnd) {
  Open("Point 1 2");
  EXPECT_EQ(Next(mif_).y, 2000000);
  EXPECT_EQ(Next(mif_).kind, MifPoint::kEnd);
}

TEST_F(MifTextTest, AnObjectLineHas2048Bytes) {
  Open("Point 1 2" + std::string(2038, ' ') + "\r\nPoint 3 4" + std::string(2039, ' ') +
       "\r\nPoint 5 6\r\n");
  EXPECT_EQ(Next(mif_).x, 1000000);
  EXPECT_EQ(Next(mif_).kind, MifPoint::kEnd);
}

}  // namespace
}  // namespace zatlib
