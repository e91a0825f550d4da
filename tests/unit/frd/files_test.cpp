#include "frd/files.h"

#include <cstring>
#include <string>
#include <vector>

#include "frd/control.h"
#include "frd/log.h"
#include "frd/parallel.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Access;
using platform::Disposition;
using platform::File;
using platform::Operation;
using platform::Share;
using platform::WriteFault;
using test::ReadBytes;
using test::WriteBytes;

constexpr size_t kBlock = 1 << 20;  // bytes that the line reader takes at a time

class FilesTest : public test::LibraryTest {
 protected:
  // A wait of ten seconds is over after eleven looks at the counter.
  FilesTest() { platform::StepTickCount(1000); }
  ~FilesTest() override {
    platform::StepTickCount(0);
    platform::FixLocalTime(nullptr);
  }

  File Create(const std::string& name) {
    return File::Open((folder_ / name).c_str(), Access::kWrite, Share::kNone,
                      Disposition::kCreateAlways);
  }

  void OpenText(LineReader* reader, const std::string& content) {
    const std::string path = folder_ / "lines.txt";
    WriteBytes(path, content);
    ASSERT_TRUE(reader->Open(path.c_str()));
  }

  // The lines up to the first result 0.
  std::vector<std::string> Lines(const std::string& content, uint32_t size = kLineSize) {
    std::vector<std::string> lines;
    LineReader reader;
    OpenText(&reader, content);
    std::string_view line;
    while (FRD_ReadLine(reader, size, &line) != 0) lines.emplace_back(line);
    EXPECT_FALSE(reader.failed());
    EXPECT_EQ(reader.line_number(), static_cast<int64_t>(lines.size()));
    return lines;
  }
};

using Strings = std::vector<std::string>;

// The service log of a day long ago, so that neither real logs nor other tests are met.
class ServiceLog {
 public:
  explicit ServiceLog(uint16_t day) {
    const platform::DateTime date{1982, 7, 0, day, 12, 34, 56, 789};
    platform::FixLocalTime(&date);
    char path[kPathSize] = {};
    if (FRD_GetCommonLogPath(kServiceTag, path) == 0) return;
    platform::RemoveFile(path);
    // Without the rights for the folder of all users there is nothing to see.
    usable_ = File::Open(path, Access::kWrite, Share::kNone, Disposition::kOpenAlways).IsOpen();
    path_ = path;
    if (usable_) platform::RemoveFile(path);
  }
  ~ServiceLog() {
    if (usable_) platform::RemoveFile(path_.c_str());
    platform::FixLocalTime(nullptr);
  }
  bool usable() const { return usable_; }
  std::string text() const { return ReadBytes(path_); }

 private:
  std::string path_;
  bool usable_ = false;
};

// ---- FRD_WriteFile -------------------------------------------------------------------------

TEST_F(FilesTest, WriteOfNothingSucceeds) {
  File file = Create("empty.dat");
  platform::ArmFault(Operation::kWrite, 1, true);
  EXPECT_EQ(FRD_WriteFile(file, "x", 0), 1);
  EXPECT_EQ(platform::OperationCount(Operation::kWrite), 0);
}

TEST_F(FilesTest, WritesAllBytes) {
  File file = Create("all.dat");
  EXPECT_EQ(FRD_WriteFile(file, "a\0b", 3), 1);
  file.Close();
  EXPECT_EQ(ReadBytes(folder_ / "all.dat"), std::string("a\0b", 3));
}

TEST_F(FilesTest, WritesInChunksOfEightMebibytes) {
  std::string data(8388608 + 10, 'a');
  data.replace(8388608, 10, "0123456789");
  File file = Create("chunks.dat");
  platform::CountOperations();
  EXPECT_EQ(FRD_WriteFile(file, data.data(), data.size()), 1);
  EXPECT_EQ(platform::OperationCount(Operation::kWrite), 2);
  file.Close();
  EXPECT_TRUE(ReadBytes(folder_ / "chunks.dat") == data);
}

TEST_F(FilesTest, AChunkOfExactlyEightMebibytesIsOneWrite) {
  const std::string data(8388608, 'a');
  File file = Create("one.dat");
  platform::CountOperations();
  EXPECT_EQ(FRD_WriteFile(file, data.data(), data.size()), 1);
  EXPECT_EQ(platform::OperationCount(Operation::kWrite), 1);
}

TEST_F(FilesTest, ARetriedChunkStandsInTheFileTwice) {
  ServiceLog log(1);
  File file = Create("twice.dat");
  platform::ArmFault(Operation::kWrite, 1, false);
  EXPECT_EQ(FRD_WriteFile(file, "abc", 3), 1);
  platform::ClearFaults();
  file.Close();
  EXPECT_EQ(ReadBytes(folder_ / "twice.dat"), "abcabc");
  if (log.usable()) {
    EXPECT_EQ(log.text(),
              "19820701 12:34:56.789 RETRY... OriginalSize=3, WrittenSize=0, WrittingSize=3\r\n");
  }
}

TEST_F(FilesTest, OnlyTheRetriedChunkIsDoubled) {
  ServiceLog log(2);
  std::string data(8388608, 'a');
  data += "0123456789";
  File file = Create("second.dat");
  platform::ArmFault(Operation::kWrite, 2, false);
  EXPECT_EQ(FRD_WriteFile(file, data.data(), data.size()), 1);
  platform::ClearFaults();
  file.Close();
  const std::string content = ReadBytes(folder_ / "second.dat");
  ASSERT_EQ(content.size(), 8388628u);
  EXPECT_EQ(content.substr(8388606), "aa01234567890123456789");
  if (log.usable()) {
    EXPECT_EQ(log.text(),
              "19820702 12:34:56.789 RETRY... OriginalSize=8388618, WrittenSize=8388608, "
              "WrittingSize=10\r\n");
  }
}

TEST_F(FilesTest, TheRetryWaitsTenSeconds) {
  ServiceLog log(3);
  platform::StepTickCount(1);
  File file = Create("wait.dat");
  const uint64_t before = platform::TickCount();
  platform::ArmFault(Operation::kWrite, 1, false);
  EXPECT_EQ(FRD_WriteFile(file, "abc", 3), 1);
  const uint64_t passed = platform::TickCount() - before;
  EXPECT_GE(passed, 10000u);
  EXPECT_LE(passed, 10010u);
}

TEST_F(FilesTest, AFailedRetryEndsTheWrite) {
  ServiceLog log(4);
  const std::string path = folder_ / "readonly.dat";
  WriteBytes(path, "old");
  // A file opened for reading refuses every write outright.
  File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
  ASSERT_TRUE(file.IsOpen());
  EXPECT_EQ(FRD_WriteFile(file, "abcd", 4), 0);
  file.Close();
  EXPECT_EQ(ReadBytes(path), "old");
  if (log.usable()) {
    EXPECT_EQ(log.text(),
              "19820704 12:34:56.789 RETRY... OriginalSize=4, WrittenSize=0, WrittingSize=4\r\n"
              "19820704 12:34:56.789 RETRY ERROR!\r\n");
  }
}

TEST_F(FilesTest, APartialWriteIsNotTriedAgain) {
  ServiceLog log(5);
  File file = Create("half.dat");
  platform::ArmFault(Operation::kWrite, 1, false, WriteFault::kHalfWritten);
  EXPECT_EQ(FRD_WriteFile(file, "abcdefgh", 8), 0);
  platform::ClearFaults();
  file.Close();
  EXPECT_EQ(ReadBytes(folder_ / "half.dat"), "abcd");
  if (log.usable()) {
    EXPECT_EQ(log.text(),
              "19820705 12:34:56.789 ERROR! OriginalSize=8, WrittenSize=0, WrittingSize=8\r\n");
  }
}

TEST_F(FilesTest, APartialSecondChunkTellsWhatWasWrittenBefore) {
  ServiceLog log(6);
  const std::string data(8388608 + 10, 'a');
  File file = Create("half2.dat");
  platform::ArmFault(Operation::kWrite, 2, false, WriteFault::kHalfWritten);
  EXPECT_EQ(FRD_WriteFile(file, data.data(), data.size()), 0);
  platform::ClearFaults();
  file.Close();
  EXPECT_EQ(ReadBytes(folder_ / "half2.dat").size(), 8388613u);
  if (log.usable()) {
    EXPECT_EQ(log.text(),
              "19820706 12:34:56.789 ERROR! OriginalSize=8388618, WrittenSize=8388608, "
              "WrittingSize=10\r\n");
  }
}

// Above the gibibyte that the program once gave to one call. The system's own sink takes the bytes.
TEST_F(FilesTest, ARefusedWriteOfMoreThanAGibibyteTellsTheWholeSize) {
  constexpr uint64_t kSize = 1090519050;  // 1 GiB, 16 MiB and 10 bytes
  PageArray<char> data;
  ASSERT_TRUE(data.Allocate(kSize));
#if defined(_WIN32)
  const char* const sink = "NUL";
#else
  const char* const sink = "/dev/null";
#endif
  File file = File::Open(sink, Access::kWrite, Share::kReadWrite, Disposition::kOpenExisting);
  ASSERT_TRUE(file.IsOpen());
  {
    ServiceLog log(8);
    // 128 chunks of 8 MiB are a gibibyte: the 130th has 129 in front.
    platform::ArmFault(Operation::kWrite, 130, false, WriteFault::kHalfWritten);
    EXPECT_EQ(FRD_WriteFile(file, data.data(), kSize), 0);
    platform::ClearFaults();
    if (log.usable()) {
      EXPECT_EQ(log.text(),
                "19820708 12:34:56.789 ERROR! OriginalSize=1090519050, WrittenSize=1082130432, "
                "WrittingSize=8388608\r\n");
    }
  }
  ServiceLog log(9);
  platform::ArmFault(Operation::kWrite, 131, false);
  EXPECT_EQ(FRD_WriteFile(file, data.data(), kSize), 1);
  // 131 chunks, the last of 10 bytes, which is tried again and then written once more.
  EXPECT_GE(platform::OperationCount(Operation::kWrite), 133);
  platform::ClearFaults();
  if (log.usable()) {
    EXPECT_EQ(log.text(),
              "19820709 12:34:56.789 RETRY... OriginalSize=1090519050, WrittenSize=1090519040, "
              "WrittingSize=10\r\n");
  }
}

// ---- Small file services -------------------------------------------------------------------

TEST_F(FilesTest, SaveFileReplacesTheOldContent) {
  const std::string path = folder_ / "save.dat";
  WriteBytes(path, "a longer old content");
  EXPECT_EQ(SaveFile(path.c_str(), "new", 3), SaveResult::kSaved);
  EXPECT_EQ(ReadBytes(path), "new");
}

TEST_F(FilesTest, SaveFileTellsWhatFailed) {
  ServiceLog log(7);
  EXPECT_EQ(SaveFile((folder_ / "none/save.dat").c_str(), "new", 3), SaveResult::kNotOpened);
  const std::string path = folder_ / "save.dat";
  platform::ArmFault(Operation::kWrite, 1, false, WriteFault::kHalfWritten);
  EXPECT_EQ(SaveFile(path.c_str(), "newnew", 6), SaveResult::kNotWritten);
}

TEST_F(FilesTest, FileSizeIsZeroForAMissingFile) {
  const std::string path = folder_ / "size.dat";
  EXPECT_EQ(FileSize(path.c_str()), 0u);
  EXPECT_FALSE(CanOpen(path.c_str()));
  WriteBytes(path, std::string(1234, 'x'));
  EXPECT_EQ(FileSize(path.c_str()), 1234u);
  EXPECT_TRUE(CanOpen(path.c_str()));
}

TEST_F(FilesTest, ReadExactlyWantsAllBytes) {
  const std::string path = folder_ / "exact.dat";
  WriteBytes(path, "abcdef");
  File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
  ASSERT_TRUE(file.IsOpen());
  char data[5] = {};
  EXPECT_TRUE(ReadExactly(file, data, 4));
  EXPECT_STREQ(data, "abcd");
  EXPECT_FALSE(ReadExactly(file, data, 4));
}

TEST_F(FilesTest, CreateFolderTreeMakesTheParents) {
  const std::string path =
      folder_ / "a" + platform::NativeSeparator() + "b" + platform::NativeSeparator() + "c";
  EXPECT_NE(FRD_CreateFolderTree(path.c_str()), 0);
  EXPECT_TRUE(platform::IsFolder(path.c_str()));
  // It exists: nothing was created.
  EXPECT_EQ(FRD_CreateFolderTree(path.c_str()), 0);
}

TEST_F(FilesTest, CreateFolderTreeFailsWithItsParent) {
  WriteBytes(folder_ / "file", "x");
  const std::string path =
      folder_ / "file" + platform::NativeSeparator() + "b" + platform::NativeSeparator() + "c";
  EXPECT_EQ(FRD_CreateFolderTree(path.c_str()), 0);
  EXPECT_FALSE(platform::IsFolder(path.c_str()));
}

// ---- FRD_ReadLine --------------------------------------------------------------------------

TEST_F(FilesTest, AMissingFileIsNotOpen) {
  LineReader reader;
  EXPECT_FALSE(reader.Open((folder_ / "missing.txt").c_str()));
  EXPECT_FALSE(reader.IsOpen());
}

TEST_F(FilesTest, LinesEndAtCrLf) {
  EXPECT_EQ(Lines("one,1\r\ntwo,2\r\n"), (Strings{"one,1", "two,2"}));
}

TEST_F(FilesTest, TheLastLineNeedsNoEnd) {
  EXPECT_EQ(Lines("one\r\ntwo"), (Strings{"one", "two"}));
  EXPECT_EQ(Lines("one"), (Strings{"one"}));
  EXPECT_EQ(Lines("one\r"), (Strings{"one"}));
}

TEST_F(FilesTest, AnEmptyFileHasNoLine) { EXPECT_EQ(Lines(""), Strings{}); }

TEST_F(FilesTest, EmptyLinesAreLines) {
  EXPECT_EQ(Lines("\r\n\r\nx\r\n\r\n"), (Strings{"", "", "x", ""}));
}

TEST_F(FilesTest, TheByteBehindCrIsSkippedWhateverItIs) {
  EXPECT_EQ(Lines("a\rbc\r\nd"), (Strings{"a", "c", "d"}));
  EXPECT_EQ(Lines("a\r\r\nb"), (Strings{"a", "\nb"}));
}

TEST_F(FilesTest, ALfOutsideQuotesIsAnOrdinaryByte) {
  EXPECT_EQ(Lines("a\nb\nc\n"), (Strings{"a\nb\nc\n"}));
  EXPECT_EQ(Lines("a\nb\r\nc"), (Strings{"a\nb", "c"}));
}

TEST_F(FilesTest, QuotedBreaksAreRemoved) {
  EXPECT_EQ(Lines("1,\"a\r\nb\",2\r\n3\r\n"), (Strings{"1,\"ab\",2", "3"}));
  EXPECT_EQ(Lines("\"\r\n\r\n\"\r\n"), (Strings{"\"\""}));
  EXPECT_EQ(Lines("\"a\nb\"\r\nc"), (Strings{"\"ab\"", "c"}));
}

TEST_F(FilesTest, WithEmbeddedBreaksEveryBreakGoes) {
  EXPECT_EQ(Lines("x\ny,\"a\rb\",\nz\r\nw"), (Strings{"xy,\"ab\",z", "w"}));
}

TEST_F(FilesTest, EachQuoteToggles) {
  // Two pairs, then CR outside; an empty pair between.
  EXPECT_EQ(Lines("\"a\"\"b\"\r\n\"\"\r\nc"), (Strings{"\"a\"\"b\"", "\"\"", "c"}));
}

TEST_F(FilesTest, AnOpenQuoteTakesTheRestOfTheFile) {
  EXPECT_EQ(Lines("a\r\n\"b\r\nc\r\n"), (Strings{"a", "\"bc"}));
}

TEST_F(FilesTest, AnOpenQuoteLongerThanTheBufferEndsTheReading) {
  EXPECT_EQ(Lines("a\r\n\"" + std::string(600, 'b') + "\r\nc\r\n", 512), (Strings{"a"}));
}

TEST_F(FilesTest, ZeroBytesStay) {
  EXPECT_EQ(Lines(std::string("a\0b\r\n\0\r\nc", 9)),
            (Strings{std::string("a\0b", 3), std::string("\0", 1), "c"}));
}

TEST_F(FilesTest, ALineThatFillsItsBufferWithItsCrIsRead) {
  const std::string text(2047, 'x');
  EXPECT_EQ(Lines(text + "\r\nnext\r\n"), (Strings{text, "next"}));
}

TEST_F(FilesTest, ALineWhoseCrLiesBehindTheBufferIsTooLong) {
  EXPECT_EQ(Lines("first\r\n" + std::string(2048, 'x') + "\r\nnext\r\n"), (Strings{"first"}));
}

TEST_F(FilesTest, ALastLineWithoutEndMustBeShorterThanTheBuffer) {
  EXPECT_EQ(Lines(std::string(2047, 'x')), (Strings{std::string(2047, 'x')}));
  EXPECT_EQ(Lines(std::string(2048, 'x')), Strings{});
}

TEST_F(FilesTest, A600ByteLineDoesNotFitA512ByteBuffer) {
  LineReader reader;
  OpenText(&reader, std::string(600, 'x') + "\r\nb\r\n");
  std::string_view line;
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 0);
  EXPECT_FALSE(reader.failed());
  EXPECT_TRUE(reader.too_long());
  // The position is behind the 512 bytes that were read.
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 1);
  EXPECT_EQ(line, std::string(88, 'x'));
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 1);
  EXPECT_EQ(line, "b");
  EXPECT_FALSE(reader.too_long());
  EXPECT_EQ(FRD_ReadLine(reader, 512, &line), 0);
  EXPECT_FALSE(reader.too_long());
}

TEST_F(FilesTest, ABufferOf512BytesTakes511AndTheCr) {
  EXPECT_EQ(Lines(std::string(511, 'x') + "\r\ny\r\n", 512), (Strings{std::string(511, 'x'), "y"}));
  EXPECT_EQ(Lines(std::string(512, 'x') + "\r\ny\r\n", 512), Strings{});
}

TEST_F(FilesTest, TheLfBehindACrAtTheBufferEndBelongsToTheLine) {
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

TEST_F(FilesTest, ABlockBorderBetweenCrAndLf) {
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

TEST_F(FilesTest, ABlockThatEndsWithTheCrOfAFullBuffer) {
  // 1,022 lines and 2,048 bytes make a block; the buffer has taken all of it.
  const std::string text = Kibibytes(1022, 0) + std::string(2047, 'y') + "\r\nafter\r\n";
  ASSERT_EQ(text[kBlock - 1], '\r');
  const Strings lines = Lines(text);
  ASSERT_EQ(lines.size(), 1024u);
  EXPECT_EQ(lines[1022], std::string(2047, 'y'));
  EXPECT_EQ(lines[1023], "after");
}

TEST_F(FilesTest, ABlockThatEndsWithTheCrOfAFullSmallBuffer) {
  std::string text;
  for (int i = 0; i < 2047; ++i) text += std::string(510, 'x') + "\r\n";
  text += std::string(511, 'y') + "\r\nafter\r\n";
  ASSERT_EQ(text[kBlock - 1], '\r');
  const Strings lines = Lines(text, 512);
  ASSERT_EQ(lines.size(), 2049u);
  EXPECT_EQ(lines[2047], std::string(511, 'y'));
  EXPECT_EQ(lines[2048], "after");
}

TEST_F(FilesTest, ABlockBorderInsideAQuotedBreak) {
  const std::string text = Kibibytes(1023, 0) + "\"" + std::string(1022, 'y') + "\r\nz\"\r\nafter";
  ASSERT_EQ(text[kBlock - 1], '\r');
  const Strings lines = Lines(text);
  ASSERT_EQ(lines.size(), 1025u);
  EXPECT_EQ(lines[1023], "\"" + std::string(1022, 'y') + "z\"");
  EXPECT_EQ(lines[1024], "after");
}

TEST_F(FilesTest, EveryPositionAroundABlockBorder) {
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

TEST_F(FilesTest, AFileOfExactlyOneBlock) {
  const Strings lines = Lines(Kibibytes(1024, 0));
  ASSERT_EQ(lines.size(), 1024u);
  EXPECT_EQ(lines[1023], std::string(1022, 'x'));
}

TEST_F(FilesTest, ARefusedReadIsToldApartFromTheEnd) {
  LineReader reader;
  OpenText(&reader, "a\r\nb\r\n");
  platform::ArmFault(Operation::kRead, 1, false);
  std::string_view line;
  EXPECT_EQ(FRD_ReadLine(reader, kLineSize, &line), 0);
  EXPECT_TRUE(reader.failed());
}

TEST_F(FilesTest, ARefusedReadOfALaterBlockEndsTheLines) {
  LineReader reader;
  OpenText(&reader, Kibibytes(2048, 0));
  platform::ArmFault(Operation::kRead, 2, false);
  std::string_view line;
  int64_t count = 0;
  while (FRD_ReadLine(reader, kLineSize, &line) != 0) ++count;
  EXPECT_EQ(count, 1024);
  EXPECT_TRUE(reader.failed());
}

TEST_F(FilesTest, WithoutMemoryNothingIsRead) {
  LineReader reader;
  OpenText(&reader, "a\r\n");
  platform::ArmFault(Operation::kAllocate, 1, false);
  std::string_view line;
  EXPECT_EQ(FRD_ReadLine(reader, kLineSize, &line), 0);
  EXPECT_TRUE(reader.failed());
}

TEST_F(FilesTest, AReaderCanBeOpenedAgain) {
  LineReader reader;
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

TEST_F(FilesTest, OthersMayReadTheFileMeanwhile) {
  LineReader first;
  OpenText(&first, "a\r\n");
  LineReader second;
  EXPECT_TRUE(second.Open((folder_ / "lines.txt").c_str()));
}

// ---- RecordWriter --------------------------------------------------------------------------

TEST_F(FilesTest, RecordsAreWrittenInOrder) {
  RecordWriter writer;
  const std::string path = folder_ / "records.dat";
  WriteBytes(path, "old content");
  ASSERT_TRUE(writer.Open(path.c_str(), 4, false));
  EXPECT_TRUE(writer.Append("abcd"));
  EXPECT_TRUE(writer.Append("efgh"));
  EXPECT_EQ(writer.count(), 2);
  EXPECT_EQ(writer.offset(), 8);
  EXPECT_TRUE(writer.Close());
  EXPECT_FALSE(writer.IsOpen());
  EXPECT_EQ(ReadBytes(path), "abcdefgh");
}

TEST_F(FilesTest, RecordsAreAppended) {
  RecordWriter writer;
  const std::string path = folder_ / "records.dat";
  WriteBytes(path, "1234");
  ASSERT_TRUE(writer.Open(path.c_str(), 4, true));
  EXPECT_EQ(writer.offset(), 4);
  EXPECT_TRUE(writer.Append("abcd"));
  EXPECT_EQ(writer.count(), 1);
  EXPECT_EQ(writer.offset(), 8);
  EXPECT_TRUE(writer.Close());
  EXPECT_EQ(ReadBytes(path), "1234abcd");
}

TEST_F(FilesTest, AppendingCreatesTheFile) {
  RecordWriter writer;
  const std::string path = folder_ / "new.dat";
  ASSERT_TRUE(writer.Open(path.c_str(), 4, true));
  EXPECT_TRUE(writer.Append("abcd"));
  EXPECT_TRUE(writer.Close());
  EXPECT_EQ(ReadBytes(path), "abcd");
}

TEST_F(FilesTest, AFileOfRecordsExcludesOthers) {
  RecordWriter first;
  RecordWriter second;
  const std::string path = folder_ / "records.dat";
  ASSERT_TRUE(first.Open(path.c_str(), 4, false));
  EXPECT_FALSE(second.Open(path.c_str(), 4, false));
}

TEST_F(FilesTest, RecordsOfManyBlocks) {
  RecordWriter writer;
  const std::string path = folder_ / "many.dat";
  ASSERT_TRUE(writer.Open(path.c_str(), 12, false));
  std::string expected;
  for (int i = 0; i < 200000; ++i) {
    const std::string record(12, static_cast<char>('a' + i % 26));
    expected += record;
    ASSERT_TRUE(writer.Append(record.data()));
  }
  EXPECT_EQ(writer.offset(), 2400000);
  EXPECT_TRUE(writer.Close());
  EXPECT_TRUE(ReadBytes(path) == expected);
}

TEST_F(FilesTest, ARefusedWriteTellsTheRecord) {
  RecordWriter writer;
  const std::string path = folder_ / "refused.dat";
  ASSERT_TRUE(writer.Open(path.c_str(), 8, false));
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(writer.Append("abcdefgh"));
  // 20 of 40 bytes: records 0 and 1 are whole.
  platform::ArmFault(Operation::kWrite, 1, false, WriteFault::kHalfWritten);
  EXPECT_FALSE(writer.WriteOut());
  EXPECT_EQ(writer.failed_record(), 2);
  EXPECT_FALSE(writer.Close());
}

TEST_F(FilesTest, ARecordFileThatCannotBeMade) {
  RecordWriter writer;
  EXPECT_FALSE(writer.Open((folder_ / "none/records.dat").c_str(), 8, false));
  EXPECT_FALSE(writer.IsOpen());
}

// Without memory the records go to the file in smaller parts.
TEST_F(FilesTest, ARecordFileNeedsNoMemory) {
  platform::ArmFault(Operation::kAllocate, 1, true);
  RecordWriter writer;
  ASSERT_TRUE(writer.Open((folder_ / "records.dat").c_str(), 12, false));
  std::string all;
  for (int i = 0; i < 1000; ++i) {
    const std::string record = test::Bytes().I32(i).I64(-i);
    all += record;
    EXPECT_TRUE(writer.Append(record.data()));
  }
  EXPECT_TRUE(writer.AppendMany(all.data(), 1000));
  EXPECT_TRUE(writer.Close());
  EXPECT_EQ(ReadBytes(folder_ / "records.dat"), all + all);
}

TEST_F(FilesTest, ARefusedSeekRefusesTheAppending) {
  RecordWriter writer;
  const std::string path = folder_ / "seek.dat";
  WriteBytes(path, "1234");
  platform::ArmFault(Operation::kSeek, 1, false);
  EXPECT_FALSE(writer.Open(path.c_str(), 4, true));
  EXPECT_EQ(ReadBytes(path), "1234");
}

// ---- Cancel during long transfers --------------------------------------------------------

class LongTransferTest : public FilesTest, public ::testing::WithParamInterface<int> {
 protected:
  LongTransferTest() { SetThreadCount(GetParam()); }
  ~LongTransferTest() override {
    SetThreadCount(0);
    FRD_SetCancelled(false);
    g_silent = 1;
  }

  static constexpr uint64_t kSize = 130u << 20;  // the window is served twice on the way
};

INSTANTIATE_TEST_SUITE_P(Threads, LongTransferTest, ::testing::Values(1, 4));

TEST_P(LongTransferTest, AFileThatIsBegunIsWrittenAndReadWholeWhateverTheUserDoes) {
  PageArray<char> bytes;
  ASSERT_TRUE(bytes.Allocate(kSize));
  for (uint64_t i = 0; i < kSize; i += 4096) bytes[i] = static_cast<char>(i / 4096 % 127);
  const std::string path = folder_ / "long.dat";
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(SaveFile(path.c_str(), bytes.data(), kSize), SaveResult::kSaved);
  EXPECT_EQ(FileSize(path.c_str()), kSize);
  PageArray<char> read;
  ASSERT_TRUE(read.Allocate(kSize));
  File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
  EXPECT_TRUE(ReadExactly(file, read.data(), kSize));
  EXPECT_EQ(std::memcmp(bytes.data(), read.data(), kSize), 0);
  // The cancel is heard before what comes next.
  EXPECT_EQ(BRN_BeginStep("Saving the next file..."), 0);
  EXPECT_EQ(log(), Strings{});
}

TEST_P(LongTransferTest, EveryPartOfALongReadMayFail) {
  PageArray<char> bytes;
  ASSERT_TRUE(bytes.Allocate(kSize));
  const std::string path = folder_ / "long.dat";
  ASSERT_EQ(SaveFile(path.c_str(), bytes.data(), kSize), SaveResult::kSaved);
  // 64, 64 and 2 MiB; several threads share them in parts of 4 MiB.
  const int64_t parts = GetParam() == 1 ? 3 : 33;
  for (const int64_t nth : {int64_t{1}, int64_t{2}, parts, parts + 1}) {
    File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
    platform::ArmFault(Operation::kRead, nth, false);
    EXPECT_EQ(ReadExactly(file, bytes.data(), kSize), nth > parts) << nth;
    platform::ClearFaults();
  }
}

TEST_P(LongTransferTest, AFailureAfterACancelIsReported) {
  PageArray<char> bytes;
  ASSERT_TRUE(bytes.Allocate(kSize));
  const std::string path = folder_ / "short.dat";
  WriteBytes(path, "short");
  g_silent = 0;
  FRD_SetCancelled(true);
  File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
  EXPECT_FALSE(ReadExactly(file, bytes.data(), kSize));
  g_silent = 1;  // shows no box
  ReportError(nullptr, "File Error", "Can't read %s !", "short.dat");
  ReportError(nullptr, "File Error", "Can't read %s !", "short.dat");
  EXPECT_EQ(log(), (Strings{"[Can't read short.dat !][File Error]",
                            "[Can't read short.dat !][File Error]"}));
}

}  // namespace
}  // namespace zatlib
