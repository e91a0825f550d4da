#include "frd/line_source.h"

#include <string>
#include <vector>

#include "platform/fault.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Operation;
using test::WriteBytes;

constexpr size_t kBlock = 1 << 20;  // bytes that are read at a time

class LineSourceTest : public test::LibraryTest {
 protected:
  void OpenText(LineSource* reader, const std::string& content) {
    const std::string path = folder_ / "lines.txt";
    WriteBytes(path, content);
    ASSERT_TRUE(reader->Open(path.c_str()));
  }

  // The lines up to the first result 0.
  std::vector<std::string> Lines(const std::string& content, uint32_t size = kLineSize) {
    std::vector<std::string> lines;
    LineSource reader;
    OpenText(&reader, content);
    std::string_view line;
    while (FRD_ReadLine(reader, size, &line) != 0) lines.emplace_back(line);
    EXPECT_FALSE(IsCutShort(reader.end()));
    EXPECT_EQ(reader.line_number(), static_cast<int64_t>(lines.size()));
    return lines;
  }
};

using Strings = std::vector<std::string>;

TEST_F(LineSourceTest, AMissingFileIsNotOpen) {
  LineSource reader;
  EXPECT_FALSE(reader.Open((folder_ / "missing.txt").c_str()));
  EXPECT_FALSE(reader.IsOpen());
}

TEST_F(LineSourceTest, LinesEndAtCrLf) {
  EXPECT_EQ(Lines("one,1\r\ntwo,2\r\n"), (Strings{"one,1", "two,2"}));
}

TEST_F(LineSourceTest, TheLastLineNeedsNoEnd) {
  EXPECT_EQ(Lines("one\r\ntwo"), (Strings{"one", "two"}));
  EXPECT_EQ(Lines("one"), (Strings{"one"}));
  EXPECT_EQ(Lines("one\r"), (Strings{"one"}));
}

TEST_F(LineSourceTest, AnEmptyFileHasNoLine) { EXPECT_EQ(Lines(""), Strings{}); }

TEST_F(LineSourceTest, EmptyLinesAreLines) {
  EXPECT_EQ(Lines("\r\n\r\nx\r\n\r\n"), (Strings{"", "", "x", ""}));
}

TEST_F(LineSourceTest, TheByteBehindCrIsSkippedWhateverItIs) {
  EXPECT_EQ(Lines("a\rbc\r\nd"), (Strings{"a", "c", "d"}));
  EXPECT_EQ(Lines("a\r\r\nb"), (Strings{"a", "\nb"}));
}

TEST_F(LineSourceTest, ALfOutsideQuotesIsAnOrdinaryByte) {
  EXPECT_EQ(Lines("a\nb\nc\n"), (Strings{"a\nb\nc\n"}));
  EXPECT_EQ(Lines("a\nb\r\nc"), (Strings{"a\nb", "c"}));
}

TEST_F(LineSourceTest, QuotedBreaksAreRemoved) {
  EXPECT_EQ(Lines("1,\"a\r\nb\",2\r\n3\r\n"), (Strings{"1,\"ab\",2", "3"}));
  EXPECT_EQ(Lines("\"\r\n\r\n\"\r\n"), (Strings{"\"\""}));
  EXPECT_EQ(Lines("\"a\nb\"\r\nc"), (Strings{"\"ab\"", "c"}));
}

TEST_F(LineSourceTest, WithEmbeddedBreaksEveryBreakGoes) {
  EXPECT_EQ(Lines("x\ny,\"a\rb\",\nz\r\nw"), (Strings{"xy,\"ab\",z", "w"}));
}

TEST_F(LineSourceTest, EachQuoteToggles) {
  // Two pairs, then CR outside; an empty pair between.
  EXPECT_EQ(Lines("\"a\"\"b\"\r\n\"\"\r\nc"), (Strings{"\"a\"\"b\"", "\"\"", "c"}));
}

TEST_F(LineSourceTest, AnOpenQuoteTakesTheRestOfTheFile) {
  EXPECT_EQ(Lines("a\r\n\"b\r\nc\r\n"), (Strings{"a", "\"bc"}));
}

TEST_F(LineSourceTest, AnOpenQuoteLongerThanTheBufferEndsTheReading) {
  EXPECT_EQ(Lines("a\r\n\"" + std::string(600, 'b') + "\r\nc\r\n", 512), (Strings{"a"}));
}

TEST_F(LineSourceTest, ZeroBytesStay) {
  EXPECT_EQ(Lines(std::string("a\0b\r\n\0\r\nc", 9)),
            (Strings{std::string("a\0b", 3), std::string("\0", 1), "c"}));
}

TEST_F(LineSourceTest, ALineThatFillsItsBufferWithItsCrIsRead) {
  const std::string text(2047, 'x');
  EXPECT_EQ(Lines(text + "\r\nnext\r\n"), (Strings{text, "next"}));
}

TEST_F(LineSourceTest, ALineWhoseCrLiesBehindTheBufferIsTooLong) {
  EXPECT_EQ(Lines("first\r\n" + std::string(2048, 'x') + "\r\nnext\r\n"), (Strings{"first"}));
}

TEST_F(LineSourceTest, ALastLineWithoutEndMustBeShorterThanTheBuffer) {
  EXPECT_EQ(Lines(std::string(2047, 'x')), (Strings{std::string(2047, 'x')}));
  EXPECT_EQ(Lines(std::string(2048, 'x')), Strings{});
}

// The byte behind a CR belongs to it: of a row of CRs every second one ends a line.
TEST_F(LineSourceTest, PiecesAreCutBetweenTheCrsOfARow) {
  constexpr size_t kPiece = 1 << 18;  // bytes that are read at a time
  for (size_t row = 1; row <= 5; ++row) {
    for (size_t beyond = 0; beyond <= 2; ++beyond) {
      std::string text;
      while (text.size() + 102 <= kPiece - row) text += std::string(100, 'x') + "\r\n";
      text += std::string(kPiece + beyond - row - text.size(), 'y') + std::string(row, '\r') +
              "z\r\nend\r\n";
      const Strings one_by_one = Lines(text);
      LineSource source;
      OpenText(&source, text);
      zatlib::Lines piece;
      ASSERT_TRUE(LineSource::MakeRoom(&piece));
      Strings lines;
      std::string_view line;
      while (source.NextPiece(&piece)) {
        while (piece.Next(kLineSize, &line) == LineResult::kLine) lines.emplace_back(line);
        source.AddLines(piece);
      }
      EXPECT_EQ(lines, one_by_one) << row << beyond;
      EXPECT_EQ(source.line_number(), static_cast<int64_t>(lines.size()));
    }
  }
}

TEST_F(LineSourceTest, TheEndOfAPieceIsThatOfItsSource) {
  LineSource source;
  OpenText(&source, "one\r\ntwo\r\n" + std::string(kLineSize, 'x') + "\r\n");
  zatlib::Lines piece;
  ASSERT_TRUE(LineSource::MakeRoom(&piece));
  ASSERT_TRUE(source.NextPiece(&piece));
  std::string_view line;
  ASSERT_EQ(piece.Next(kLineSize, &line), LineResult::kLine);
  source.EndInPiece(piece);
  EXPECT_EQ(source.end(), SourceEnd::kEnd);
  EXPECT_EQ(source.TakeEnd(), SourceEnd::kEnd);
  piece.EndAtLongField(3);
  source.EndInPiece(piece);
  EXPECT_EQ(source.end(), SourceEnd::kLongField);
}

TEST_F(LineSourceTest, A600ByteLineDoesNotFitA512ByteBuffer) {
  LineSource reader;
  OpenText(&reader, std::string(600, 'x') + "\r\nb\r\n");
  std::string_view line;
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 0);
  EXPECT_EQ(reader.end(), SourceEnd::kTooLong);
  // The position is behind the 512 bytes that were read.
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 1);
  EXPECT_EQ(line, std::string(88, 'x'));
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 1);
  EXPECT_EQ(line, "b");
  EXPECT_EQ(reader.end(), SourceEnd::kEnd);
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 0);
  EXPECT_EQ(reader.end(), SourceEnd::kEnd);
}

TEST_F(LineSourceTest, ABufferOf512BytesTakes511AndTheCr) {
  EXPECT_EQ(Lines(std::string(511, 'x') + "\r\ny\r\n", 512), (Strings{std::string(511, 'x'), "y"}));
  EXPECT_EQ(Lines(std::string(512, 'x') + "\r\ny\r\n", 512), Strings{});
}

TEST_F(LineSourceTest, TheLfBehindACrAtTheBufferEndBelongsToTheLine) {
  EXPECT_EQ(Lines(std::string(2047, 'x') + "\r"), (Strings{std::string(2047, 'x')}));
  EXPECT_EQ(Lines(std::string(2047, 'x') + "\r\n"), (Strings{std::string(2047, 'x')}));
}

// `lines` full lines of 1,024 bytes, the last one `less` bytes shorter.
std::string Kibibytes(size_t lines, size_t less) {
  std::string text;
  for (size_t i = 0; i < lines; ++i) {
    text += std::string(1022 - (i + 1 == lines ? less : 0), 'x') + "\r\n";
  }
  return text;
}

TEST_F(LineSourceTest, ABlockBorderBetweenCrAndLf) {
  // 1,023 lines and 1,023 bytes bring the CR to the last byte of the first block.
  const std::string text = Kibibytes(1023, 0) + std::string(1023, 'y') + "\r\nafter\r\n";
  ASSERT_EQ(text[kBlock - 1], '\r');
  ASSERT_EQ(text[kBlock], '\n');
  const Strings lines = Lines(text);
  ASSERT_EQ(lines.size(), 1025u);
  EXPECT_EQ(lines[1022], std::string(1022, 'x'));
  EXPECT_EQ(lines[1023], std::string(1023, 'y'));
  EXPECT_EQ(lines[1024], "after");
}

TEST_F(LineSourceTest, ABlockThatEndsWithTheCrOfAFullBuffer) {
  // 1,022 lines and 2,048 bytes make a block; the buffer has taken all of it.
  const std::string text = Kibibytes(1022, 0) + std::string(2047, 'y') + "\r\nafter\r\n";
  ASSERT_EQ(text[kBlock - 1], '\r');
  const Strings lines = Lines(text);
  ASSERT_EQ(lines.size(), 1024u);
  EXPECT_EQ(lines[1022], std::string(2047, 'y'));
  EXPECT_EQ(lines[1023], "after");
}

TEST_F(LineSourceTest, ABlockThatEndsWithTheCrOfAFullSmallBuffer) {
  std::string text;
  for (int i = 0; i < 2047; ++i) text += std::string(510, 'x') + "\r\n";
  text += std::string(511, 'y') + "\r\nafter\r\n";
  ASSERT_EQ(text[kBlock - 1], '\r');
  const Strings lines = Lines(text, 512);
  ASSERT_EQ(lines.size(), 2049u);
  EXPECT_EQ(lines[2047], std::string(511, 'y'));
  EXPECT_EQ(lines[2048], "after");
}

TEST_F(LineSourceTest, ABlockBorderInsideAQuotedBreak) {
  const std::string text = Kibibytes(1023, 0) + "\"" + std::string(1022, 'y') + "\r\nz\"\r\nafter";
  ASSERT_EQ(text[kBlock - 1], '\r');
  const Strings lines = Lines(text);
  ASSERT_EQ(lines.size(), 1025u);
  EXPECT_EQ(lines[1023], "\"" + std::string(1022, 'y') + "z\"");
  EXPECT_EQ(lines[1024], "after");
}

TEST_F(LineSourceTest, EveryPositionAroundABlockBorder) {
  for (size_t less = 0; less <= 12; ++less) {
    const std::string text = Kibibytes(1023, less) + "ab\r\n\"c\r\nd\"\r\n\r\n" +
                             std::string(1020, 'y') + "\r\ne\r\n" + Kibibytes(1024, 0) + "end";
    const Strings lines = Lines(text);
    ASSERT_EQ(lines.size(), 2053u) << less;
    EXPECT_EQ(lines[1022], std::string(1022 - less, 'x'));
    EXPECT_EQ(lines[1023], "ab");
    EXPECT_EQ(lines[1024], "\"cd\"");
    EXPECT_EQ(lines[1025], "");
    EXPECT_EQ(lines[1026], std::string(1020, 'y'));
    EXPECT_EQ(lines[1027], "e");
    EXPECT_EQ(lines[1028], std::string(1022, 'x'));
    EXPECT_EQ(lines[2052], "end");
  }
}

TEST_F(LineSourceTest, AFileOfExactlyOneBlock) {
  const Strings lines = Lines(Kibibytes(1024, 0));
  ASSERT_EQ(lines.size(), 1024u);
  EXPECT_EQ(lines[1023], std::string(1022, 'x'));
}

TEST_F(LineSourceTest, ARefusedReadIsToldApartFromTheEnd) {
  LineSource reader;
  OpenText(&reader, "a\r\nb\r\n");
  platform::ArmFault(Operation::kRead, 1, false);
  std::string_view line;
  EXPECT_EQ(FRD_ReadLine(reader, kLineSize, &line), 0);
  EXPECT_EQ(reader.end(), SourceEnd::kNotRead);
}

TEST_F(LineSourceTest, ARefusedReadOfALaterBlockEndsTheLines) {
  LineSource reader;
  OpenText(&reader, Kibibytes(2048, 0));
  platform::ArmFault(Operation::kRead, 2, false);
  std::string_view line;
  int64_t count = 0;
  while (FRD_ReadLine(reader, kLineSize, &line) != 0) ++count;
  EXPECT_EQ(count, 1024);
  EXPECT_EQ(reader.end(), SourceEnd::kNotRead);
}

TEST_F(LineSourceTest, WithoutMemoryNothingIsRead) {
  LineSource reader;
  OpenText(&reader, "a\r\n");
  platform::ArmFault(Operation::kAllocate, 1, false);
  std::string_view line;
  EXPECT_EQ(FRD_ReadLine(reader, kLineSize, &line), 0);
  EXPECT_EQ(reader.end(), SourceEnd::kNoMemory);
}

TEST_F(LineSourceTest, AReaderCanBeOpenedAgain) {
  LineSource reader;
  OpenText(&reader, "a\r\nb\r\n");
  std::string_view line;
  EXPECT_EQ(FRD_ReadLine(reader, kLineSize, &line), 1);
  EXPECT_EQ(reader.line_number(), 1);
  const std::string path = folder_ / "other.txt";
  WriteBytes(path, "c\r\n");
  ASSERT_TRUE(reader.Open(path.c_str()));
  EXPECT_EQ(reader.path(), path);
  EXPECT_EQ(reader.line_number(), 0);
  EXPECT_EQ(FRD_ReadLine(reader, kLineSize, &line), 1);
  EXPECT_EQ(line, "c");
  EXPECT_EQ(FRD_ReadLine(reader, kLineSize, &line), 0);
}

TEST_F(LineSourceTest, OthersMayReadTheFileMeanwhile) {
  LineSource first;
  OpenText(&first, "a\r\n");
  LineSource second;
  EXPECT_TRUE(second.Open((folder_ / "lines.txt").c_str()));
}

}  // namespace
}  // namespace zatlib
