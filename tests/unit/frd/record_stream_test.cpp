#include "frd/record_stream.h"

#include <random>
#include <string>
#include <vector>

#include "frd/fields.h"
#include "network/workstore/source_fields.h"
#include "platform/fault.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Operation;

constexpr size_t kChunk = 1 << 18;  // bytes of the chunks that the stream cuts files into

struct LineRecord {
  char text[48];  // the line's start
  uint64_t length;
};

LineRecord RecordOf(std::string_view line) {
  LineRecord record{};
  line.copy(record.text, sizeof record.text);
  record.length = line.size();
  return record;
}

class RecordStreamTest : public test::LibraryTest, public ::testing::WithParamInterface<int> {
 protected:
  RecordStreamTest() { SetThreadCount(GetParam()); }
  ~RecordStreamTest() override { SetThreadCount(0); }

  void Open(LineSource* file, const std::string& content) {
    const std::string path = folder_ / "lines.txt";
    test::WriteBytes(path, content);
    ASSERT_TRUE(file->Open(path.c_str()));
  }

  // What reading line by line gives, and how it ends.
  struct Reading {
    std::vector<LineRecord> lines;
    SourceEnd end = SourceEnd::kEnd;
    int64_t line_number = 0;
    void TakeEnd(const LineSource& file) {
      end = file.end();
      line_number = file.line_number();
    }
  };

  Reading OneByOne(const std::string& content, uint32_t size) {
    Reading reading;
    LineSource file;
    Open(&file, content);
    std::string_view line;
    while (FRD_ReadLine(file, size, &line) != 0) reading.lines.push_back(RecordOf(line));
    reading.TakeEnd(file);
    return reading;
  }

  Reading Streamed(const std::string& content, uint32_t size) {
    Reading reading;
    LineSource file;
    Open(&file, content);
    RecordStream stream = StreamRecords<LineRecord>(file, [size](Lines& lines, LineRecord* record) {
      std::string_view line;
      if (lines.Next(size, &line) != LineResult::kLine) return ReadResult::kEnd;
      *record = RecordOf(line);
      return ReadResult::kRecord;
    });
    RecordRun<LineRecord> run;
    while (stream.Next(&run)) {
      EXPECT_EQ(run.count, run.read);
      reading.lines.insert(reading.lines.end(), run.records, run.records + run.count);
    }
    reading.TakeEnd(file);
    return reading;
  }

  void ExpectSame(const std::string& content, uint32_t size = kLineSize) {
    const Reading expected = OneByOne(content, size);
    const Reading streamed = Streamed(content, size);
    ASSERT_EQ(streamed.lines.size(), expected.lines.size());
    for (size_t i = 0; i < expected.lines.size(); ++i) {
      ASSERT_EQ(std::string(streamed.lines[i].text, sizeof streamed.lines[i].text),
                std::string(expected.lines[i].text, sizeof expected.lines[i].text))
          << i;
      ASSERT_EQ(streamed.lines[i].length, expected.lines[i].length) << i;
    }
    EXPECT_EQ(streamed.end, expected.end);
    EXPECT_EQ(streamed.line_number, expected.line_number);
  }
};

INSTANTIATE_TEST_SUITE_P(Threads, RecordStreamTest, ::testing::Values(1, 2, 4));

std::string NumberedLines(int count) {
  std::string content;
  for (int i = 0; i < count; ++i) content += "line," + std::to_string(i) + "\r\n";
  return content;
}

TEST_P(RecordStreamTest, AnEmptyFileHasNoRecords) { EXPECT_TRUE(Streamed("", 2048).lines.empty()); }

TEST_P(RecordStreamTest, HandsOutLinesInTheOrderOfTheFile) {
  const Reading reading = Streamed(NumberedLines(200000), kLineSize);
  ASSERT_EQ(reading.lines.size(), 200000u);
  for (size_t i = 0; i < 200000; ++i) {
    ASSERT_STREQ(reading.lines[i].text, ("line," + std::to_string(i)).c_str());
  }
  EXPECT_EQ(reading.line_number, 200000);
}

TEST_P(RecordStreamTest, TheLastLineNeedsNoEnd) { ExpectSame(NumberedLines(50000) + "end"); }

TEST_P(RecordStreamTest, ACarriageReturnMayBeTheLastByteOfAChunk) {
  // Line ends around the place where the first chunk is cut, one byte further each time.
  for (size_t shift = 0; shift < 6; ++shift) {
    std::string content(kChunk - 3 - 100 + shift - 40, 'a');
    for (size_t i = 60; i < content.size(); i += 60) content.replace(i, 2, "\r\n");
    content += "\r\n" + std::string(90, 'b') + "\r\n" + std::string(38, 'c') + "\r\n";
    content += NumberedLines(1000);
    ExpectSame(content);
  }
}

TEST_P(RecordStreamTest, BreaksInQuotesDivideNoLineWhereverAChunkIsCut) {
  std::string content;
  for (int i = 0; i < 30000; ++i) {
    content += std::to_string(i) + ",\"two\r\nlines " + std::to_string(i * 7) + "\",x\r\n";
  }
  ExpectSame(content);
}

TEST_P(RecordStreamTest, AnOpenQuoteEndsTheReadingWhereItDoesLineByLine) {
  ExpectSame(NumberedLines(40000) + "1,\"open\r\n" + NumberedLines(40000));
  // Behind the last chunk's start, so that the file ends before the line is too long.
  ExpectSame(NumberedLines(40000) + "1,\"open\r\n2,3\r\n4");
}

TEST_P(RecordStreamTest, ALineThatIsTooLongEndsTheReading) {
  for (const size_t length : {2046u, 2047u, 2048u, 5000u, 600000u}) {
    ExpectSame(NumberedLines(30000) + std::string(length, 'x') + "\r\n" + NumberedLines(30000));
    ExpectSame(NumberedLines(30000) + std::string(length, 'x'));
  }
  ExpectSame(NumberedLines(30000) + std::string(600, 'x') + "\r\n" + NumberedLines(30000), 512);
}

TEST_P(RecordStreamTest, ManyShortLinesAreMoreThanAChunkHasRoomFor) {
  std::string content;
  for (int i = 0; i < 300000; ++i) content += "\r\n";
  ExpectSame(content + "x");
}

TEST_P(RecordStreamTest, AnyBytesGiveTheLinesOfReadingLineByLine) {
  std::mt19937 random(1);
  const std::string alphabet = "aaaaaaaaaaaaaaab,,,\r\n\r\n\r\"\n";
  for (int round = 0; round < 12; ++round) {
    std::string content(700000, ' ');
    // Every second file has few quotes, and every third none.
    const size_t used = round % 3 == 0 ? alphabet.size() - 2 : alphabet.size();
    for (char& c : content) c = alphabet[random() % used];
    if (round % 2 == 0) {
      for (char& c : content) {
        if (c == '"' && random() % 1000 != 0) c = 'q';
      }
    }
    ExpectSame(content);
  }
}

TEST_P(RecordStreamTest, TheFileCanBeReadOnBehindAPiece) {
  LineSource file;
  Open(&file, NumberedLines(200000));
  Lines piece;
  ASSERT_TRUE(LineSource::MakeRoom(&piece));
  ASSERT_TRUE(file.NextPiece(&piece));
  std::string_view line;
  int count = 0;
  while (piece.Next(kLineSize, &line) == LineResult::kLine) {
    ASSERT_EQ(line, "line," + std::to_string(count++));
  }
  EXPECT_GT(count, 10000);
  while (FRD_ReadLine(file, kLineSize, &line) != 0) {
    ASSERT_EQ(line, "line," + std::to_string(count++));
  }
  EXPECT_EQ(count, 200000);
}

TEST_P(RecordStreamTest, UnwantedRecordsAreCountedAndLeftOut) {
  LineSource file;
  Open(&file, NumberedLines(100000));
  RecordStream stream = StreamRecords<LineRecord>(file, [](Lines& lines, LineRecord* record) {
    std::string_view line;
    if (lines.Next(kLineSize, &line) != LineResult::kLine) return ReadResult::kEnd;
    *record = RecordOf(line);
    return line.ends_with('7') ? ReadResult::kRecord : ReadResult::kUnwanted;
  });
  RecordRun<LineRecord> run;
  int64_t read = 0;
  int64_t wanted = 0;
  while (stream.Next(&run)) {
    for (int64_t i = 0; i < run.count; ++i) {
      ASSERT_STREQ(run.records[i].text, ("line," + std::to_string((wanted + i) * 10 + 7)).c_str());
    }
    read += run.read;
    wanted += run.count;
  }
  EXPECT_EQ(read, 100000);
  EXPECT_EQ(wanted, 10000);
}

TEST_P(RecordStreamTest, ARecordMayEndTheFileEarly) {
  LineSource file;
  Open(&file, NumberedLines(100000));
  RecordStream stream = StreamRecords<LineRecord>(file, [](Lines& lines, LineRecord* record) {
    std::string_view line;
    if (lines.Next(kLineSize, &line) != LineResult::kLine || line == "line,70000")
      return ReadResult::kEnd;
    *record = RecordOf(line);
    return ReadResult::kRecord;
  });
  RecordRun<LineRecord> run;
  int64_t count = 0;
  while (stream.Next(&run)) count += run.count;
  EXPECT_EQ(count, 70000);
  EXPECT_FALSE(stream.Next(&run));
  EXPECT_EQ(file.line_number(), 70001);
}

TEST_P(RecordStreamTest, ARefusedReadEndsTheLinesAndIsTold) {
  LineSource file;
  Open(&file, NumberedLines(100000));
  platform::ArmFault(Operation::kRead, 3, true);
  RecordStream stream = StreamRecords<LineRecord>(file, [](Lines& lines, LineRecord* record) {
    std::string_view line;
    if (lines.Next(kLineSize, &line) != LineResult::kLine) return ReadResult::kEnd;
    *record = RecordOf(line);
    return ReadResult::kRecord;
  });
  RecordRun<LineRecord> run;
  int64_t count = 0;
  while (stream.Next(&run)) count += run.count;
  platform::ClearFaults();
  EXPECT_EQ(file.end(), SourceEnd::kNotRead);
  EXPECT_GT(count, 0);
  EXPECT_LT(count, 100000);
}

// Counts the records of a file of lines; `end` receives how it ended.
int64_t CountRecords(LineSource* file, SourceEnd* end) {
  RecordStream stream = StreamRecords<LineRecord>(*file, [](Lines& lines, LineRecord* record) {
    std::string_view line;
    if (lines.Next(kLineSize, &line) != LineResult::kLine) return ReadResult::kEnd;
    *record = RecordOf(line);
    return ReadResult::kRecord;
  });
  RecordRun<LineRecord> run;
  int64_t count = 0;
  while (stream.Next(&run)) count += run.count;
  *end = file->end();
  return count;
}

TEST_P(RecordStreamTest, WithoutMemoryThereIsNoRecordAndThatIsTold) {
  // The lines of a piece, and its records.
  for (const int refused : {1, 2}) {
    LineSource file;
    Open(&file, NumberedLines(100));
    platform::ArmFault(Operation::kAllocate, refused, true);
    SourceEnd end = SourceEnd::kEnd;
    EXPECT_EQ(CountRecords(&file, &end), 0);
    platform::ClearFaults();
    EXPECT_EQ(end, SourceEnd::kNoMemory);
  }
}

TEST_P(RecordStreamTest, AFileThatHasBeenReadToItsEndTakesNoMemory) {
  {
    LineSource file;
    Open(&file, NumberedLines(100));
    // One piece is enough.
    platform::ArmFault(Operation::kAllocate, 3, true);
    SourceEnd end = SourceEnd::kNoMemory;
    EXPECT_EQ(CountRecords(&file, &end), 100);
    EXPECT_EQ(platform::OperationCount(Operation::kAllocate), 2);
    EXPECT_EQ(end, SourceEnd::kEnd);
  }
  {
    LineSource file;
    Open(&file, "");
    platform::ArmFault(Operation::kAllocate, 1, true);
    SourceEnd end = SourceEnd::kNoMemory;
    EXPECT_EQ(CountRecords(&file, &end), 0);
    EXPECT_EQ(platform::OperationCount(Operation::kAllocate), 0);
    EXPECT_EQ(end, SourceEnd::kEnd);
  }
  // Lines of 16 bytes: the file ends where its first piece does.
  {
    std::string content;
    for (int i = 0; i < 16384; ++i) content += "abcdefghijklmn\r\n";
    ASSERT_EQ(content.size(), kChunk);
    LineSource file;
    Open(&file, content);
    platform::ArmFault(Operation::kAllocate, 3, true);
    SourceEnd end = SourceEnd::kNoMemory;
    EXPECT_EQ(CountRecords(&file, &end), 16384);
    EXPECT_EQ(platform::OperationCount(Operation::kAllocate), 2);
    EXPECT_EQ(end, SourceEnd::kEnd);
  }
  platform::ClearFaults();
}

TEST_P(RecordStreamTest, TwoPiecesAreEnoughForALongFile) {
  LineSource file;
  Open(&file, NumberedLines(200000));
  platform::ArmFault(Operation::kAllocate, 5, true);
  SourceEnd end = SourceEnd::kNoMemory;
  EXPECT_EQ(CountRecords(&file, &end), 200000);
  platform::ClearFaults();
  EXPECT_EQ(end, SourceEnd::kEnd);
}

TEST_P(RecordStreamTest, MemoryThatIsLackingWhileTheFileHasMoreIsTold) {
  LineSource file;
  Open(&file, NumberedLines(200000));
  platform::ArmFault(Operation::kAllocate, 3, true);
  SourceEnd end = SourceEnd::kEnd;
  const int64_t count = CountRecords(&file, &end);
  platform::ClearFaults();
  EXPECT_GT(count, 10000);
  EXPECT_LT(count, 200000);
  EXPECT_EQ(end, SourceEnd::kNoMemory);
}

#ifndef _WIN32
// The notice of a field that is too long, and the end of the process, come for the right line.
TEST_P(RecordStreamTest, AFieldThatIsTooLongEndsTheProcessWhenItsTurnComes) {
  const std::string content =
      NumberedLines(90000) + "1,2," + std::string(64, 'f') + ",5\r\n" + NumberedLines(90000);
  static constexpr SourceColumn kColumns[] = {
      {2, "number", FieldKind::kLong, Presence::kNeeded, kSigned32, 0}};
  static constexpr SourceLayout kLayout = {{"", kColumns}, &SourceColumn::record};
  const auto read_all = [&] {
    SetLongFieldNotice([](const char* path, int64_t line, int column) {
      std::fprintf(stderr, "%s line %d column %d\n", path, static_cast<int>(line), column);
    });
    LineSource file;
    Open(&file, content);
    RecordStream stream = StreamRecords<int64_t>(file, [](Lines& lines, int64_t* record) {
      return ReadSourceRecord<kLayout>(lines, {14}, record) != 0 ? ReadResult::kRecord
                                                                 : ReadResult::kEnd;
    });
    RecordRun<int64_t> run;
    int64_t expected = 0;
    while (stream.Next(&run)) {
      for (int64_t i = 0; i < run.count; ++i) {
        if (run.records[i] != expected++) std::abort();
      }
    }
    std::fprintf(stderr, "%d records, then ", static_cast<int>(expected));
    file.TakeEnd();
  };
  EXPECT_DEATH(read_all(), "90000 records, then .*lines.txt line 90001 column 3");
}
#endif

}  // namespace
}  // namespace zatlib
