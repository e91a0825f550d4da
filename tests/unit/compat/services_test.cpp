#include "compat/services.h"

#include <cstring>
#include <string>
#include <vector>

#include "fault_each.h"
#include "frd/log.h"
#include "frd/text.h"
#include "platform/clock.h"
#include "platform/code_page.h"
#include "platform/file.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::DateTime;
using test::ReadBytes;
using test::WriteBytes;
using Table = std::vector<KeyedRecord>;

class ServicesTest : public test::LibraryTest {
 protected:
  ~ServicesTest() override { platform::FixLocalTime(nullptr); }

  int64_t Count(const std::string& content) {
    const std::string path = folder_ / "count.txt";
    WriteBytes(path, content);
    return FRD_CountLines(path.c_str());
  }

  // The build log of an early morning in 1984.
  static std::string BuildLogOf(uint16_t month) {
    const DateTime now{1984, month, 0, 14, 9, 8, 7, 65};
    platform::FixLocalTime(&now);
    char path[kPathSize] = {};
    EXPECT_EQ(FRD_GetUserLogPath(kBuildTag, path), 1);
    platform::RemoveFile(path);
    return path;
  }
};

struct Csv {
  int packed;
  std::string text;
};

Csv Field(int index, const std::string& line) {
  char out[kCsvFieldSize];
  std::memset(out, 'z', sizeof out);
  const int packed = FRD_GetCsvField(index, static_cast<int>(line.size()), line.c_str(), out);
  return {packed, out};
}

constexpr int At(int start, int end) { return start * 65536 + end; }

// ---- FRD_CountLines ------------------------------------------------------------------------

TEST_F(ServicesTest, CountOfAMissingFile) {
  EXPECT_EQ(FRD_CountLines((folder_ / "missing.txt").c_str()), -1);
}

TEST_F(ServicesTest, CountOfSmallFiles) {
  EXPECT_EQ(Count(""), 0);
  EXPECT_EQ(Count("a"), 1);
  EXPECT_EQ(Count("\n\n\n"), 1);
  EXPECT_EQ(Count("a\r"), 1);
  EXPECT_EQ(Count("a\r\n"), 1);
  EXPECT_EQ(Count("a\r\nb"), 2);
  EXPECT_EQ(Count("a\r\nb\r\n"), 2);
  EXPECT_EQ(Count("a\r\n\r\n"), 2);
  // Only the byte behind the CR, whatever it is, does not open a line.
  EXPECT_EQ(Count("a\rb"), 1);
  EXPECT_EQ(Count("a\rbc"), 2);
}

TEST_F(ServicesTest, ARefusedReadEndsTheCountingAsTheEndDoes) {
  const std::string lines = "a\r\n" + std::string(4093, 'b') + "\r\nc\r\n";
  WriteBytes(folder_ / "count.txt", lines);
  const auto count = [&] { return FRD_CountLines((folder_ / "count.txt").c_str()); };
  EXPECT_EQ(count(), 3);
  EXPECT_EQ(test::RunWithFault({platform::Operation::kRead, 1}, count), 0);
  // Behind the block that ends within the second line.
  EXPECT_EQ(test::RunWithFault({platform::Operation::kRead, 2}, count), 2);
}

TEST_F(ServicesTest, QuotedBreaksDoNotCount) {
  EXPECT_EQ(Count("\"a\r\nb\"\r\nc\r\n"), 2);
  EXPECT_EQ(Count("\"a\r\nb\r\nc\r\n"), 1);
}

TEST_F(ServicesTest, TheQuoteStateCarriesAcrossBlocks) {
  EXPECT_EQ(Count(std::string(4095, 'x') + "\"" + "\r\n\"\r\nz\r\n"), 2);
}

TEST_F(ServicesTest, AnOpenLastLineIsSeenOnlyInTheBlockOfItsCr) {
  // CR is the last byte of the block: nothing behind it in the block.
  EXPECT_EQ(Count(std::string(4095, 'x') + "\r\nabc"), 1);
  // One byte (LF) behind it.
  EXPECT_EQ(Count(std::string(4094, 'x') + "\r\nabc"), 1);
  // Two bytes behind it.
  EXPECT_EQ(Count(std::string(4093, 'x') + "\r\nabc"), 2);
  // The last CR decides, though the next blocks have none.
  EXPECT_EQ(Count("a\r\n" + std::string(10000, 'x')), 2);
}

// ---- FRD_GetCsvField -----------------------------------------------------------------------

TEST(Services, CsvFieldsAreSeparatedByCommaTabAndSemicolon) {
  const std::string line = "ab,c\td;ef";
  EXPECT_EQ(Field(0, line).text, "ab");
  EXPECT_EQ(Field(1, line).text, "c");
  EXPECT_EQ(Field(2, line).text, "d");
  EXPECT_EQ(Field(3, line).text, "ef");
  EXPECT_EQ(Field(0, line).packed, At(0, 2));
  EXPECT_EQ(Field(1, line).packed, At(3, 4));
  EXPECT_EQ(Field(2, line).packed, At(5, 6));
  EXPECT_EQ(Field(3, line).packed, At(7, 9));
}

TEST(Services, CsvEmptyFieldsCount) {
  EXPECT_EQ(Field(2, "a,,c").text, "c");
  EXPECT_EQ(Field(2, "a,,c").packed, 196612);  // 3 x 65,536 + 4
  EXPECT_EQ(Field(1, "a,,c").text, "");
  EXPECT_EQ(Field(1, "a,,c").packed, 131074);  // 2 x 65,536 + 2
}

TEST(Services, CsvMissingFields) {
  EXPECT_EQ(Field(3, "a,,c").packed, -1);
  EXPECT_EQ(Field(3, "a,,c").text, "");
  EXPECT_EQ(Field(1, "abc").packed, -1);
  EXPECT_EQ(Field(-1, "abc").packed, -1);
  EXPECT_EQ(Field(-1, "abc").text, "");
}

TEST(Services, CsvQuotesAreDroppedInPairsOnly) {
  EXPECT_EQ(Field(0, "\"x\",y").text, "x");
  EXPECT_EQ(Field(0, "\"x,y").text, "x");
  // Without a leading quote the trailing one stays.
  EXPECT_EQ(Field(0, "x\",y").text, "x\"");
  EXPECT_EQ(Field(0, "\"\",y").text, "");
  EXPECT_EQ(Field(0, "\",y").text, "");
  EXPECT_EQ(Field(0, "\"\"\"\",y").text, "\"\"");
  EXPECT_EQ(Field(0, "a\"b\"c,y").text, "a\"b\"c");
}

TEST(Services, CsvQuotesDoNotProtectSeparators) {
  EXPECT_EQ(Field(0, "\"a,b\",c").text, "a");
  EXPECT_EQ(Field(1, "\"a,b\",c").text, "b\"");
  EXPECT_EQ(Field(2, "\"a,b\",c").text, "c");
}

TEST(Services, CsvLinesEndAtZeroCrAndLf) {
  EXPECT_EQ(Field(1, std::string("a,b\0c,d", 7)).text, "b");
  EXPECT_EQ(Field(2, std::string("a,b\0c,d", 7)).packed, -1);
  EXPECT_EQ(Field(1, "a,b\r\n").text, "b");
  EXPECT_EQ(Field(1, "a,b\r\n").packed, At(2, 3));
  EXPECT_EQ(Field(1, "a,b\nc,d").text, "b");
  EXPECT_EQ(Field(2, "a,b\nc,d").packed, -1);
}

TEST(Services, CsvLinesEndAfterTheirLength) {
  char out[kCsvFieldSize];
  EXPECT_EQ(FRD_GetCsvField(1, 4, "a,bcd,e", out), At(2, 4));
  EXPECT_STREQ(out, "bc");
  EXPECT_EQ(FRD_GetCsvField(2, 4, "a,bcd,e", out), -1);
  // A length beyond the text: the zero byte ends the line.
  const std::string line = "a,b";
  EXPECT_EQ(FRD_GetCsvField(1, 1000, line.c_str(), out), At(2, 3));
  EXPECT_STREQ(out, "b");
}

TEST(Services, CsvTakesNoOutput) {
  EXPECT_EQ(FRD_GetCsvField(2, 4, "a,,c", nullptr), 196612);
  EXPECT_EQ(FRD_GetCsvField(3, 4, "a,,c", nullptr), -1);
}

TEST(Services, CsvFieldsAreCutTo1023Bytes) {
  EXPECT_EQ(Field(0, std::string(1023, 'x') + ",y").text, std::string(1023, 'x'));
  EXPECT_EQ(Field(0, std::string(1030, 'x') + ",y").text, std::string(1023, 'x'));
  EXPECT_EQ(Field(0, std::string(1030, 'x') + ",y").packed, 1030);
  EXPECT_EQ(Field(1, std::string(1030, 'x') + ",y").text, "y");
}

TEST(Services, CsvFieldsAreCutAtAWholeCharacter) {
  if (platform::CodePage() != 932) GTEST_SKIP() << "needs code page 932";
  EXPECT_EQ(Field(0, std::string(1022, 'x') + "\x82\xA0" + ",y").text, std::string(1022, 'x'));
  EXPECT_EQ(Field(0, std::string(1021, 'x') + "\x82\xA0" + ",y").text,
            std::string(1021, 'x') + "\x82\xA0");
}

TEST(Services, ALineOfFieldsEndsWhereItsLengthSays) {
  const std::string line = std::string(40000, 'x') + ",yz,w";
  char out[kCsvFieldSize];
  const int length = static_cast<int>(line.size());
  EXPECT_EQ(FRD_GetCsvField(0, length, line.c_str(), out), 40000);
  EXPECT_EQ(out, std::string(1023, 'x'));
  // 40,001 x 65,536 + 40,003 = 2,621,545,539 as a 32-bit number.
  EXPECT_EQ(FRD_GetCsvField(1, length, line.c_str(), out), -1673421757);
  EXPECT_STREQ(out, "yz");
  EXPECT_EQ(FRD_GetCsvField(2, length, line.c_str(), out), -1673225147);
  EXPECT_STREQ(out, "w");
  EXPECT_EQ(FRD_GetCsvField(3, length, line.c_str(), out), -1);
  EXPECT_STREQ(out, "");
}

// ---- FRD_BitMask ---------------------------------------------------------------------------

TEST(Services, BitMasksOfAByte) {
  const uint32_t masks[] = {0x80, 0x40, 0x20, 0x10, 0x08, 0x04, 0x02, 0x01};
  for (uint32_t bit = 0; bit < 8; ++bit) EXPECT_EQ(FRD_BitMask(bit), masks[bit]);
}

TEST(Services, BitMasksBeyondAByte) {
  EXPECT_EQ(FRD_BitMask(8), 0u);
  EXPECT_EQ(FRD_BitMask(255), 0u);
  EXPECT_EQ(FRD_BitMask(256), 256u);
  EXPECT_EQ(FRD_BitMask(300), 256u);
  EXPECT_EQ(FRD_BitMask(0xFFFFFFFF), 0xFFFFFF00);
}

// ---- FRD_FindFirstByKey --------------------------------------------------------------------

TEST(Services, FindsTheFirstPosition) {
  EXPECT_EQ(FRD_FindFirstByKey(1.0, 0, nullptr), -1);
  // Keys 0, 2, 4, ... around the range that is searched without halving.
  for (const int count : {1, 2, 511, 512, 513, 1024, 1025, 5000}) {
    Table table;
    for (int i = 0; i < count; ++i) table.push_back({i * 2.0, i * 2 + 1000, 0});
    for (int i = 0; i < count; ++i) {
      ASSERT_EQ(FRD_FindFirstByKey(i * 2.0, count, table.data()), i) << count;
      ASSERT_EQ(FRD_FindFirstByKey(i * 2.0 + 1, count, table.data()), -1) << count;
    }
    EXPECT_EQ(FRD_FindFirstByKey(-1.0, count, table.data()), -1);
  }
}

TEST(Services, FindsTheFirstOfARunOfEqualKeys) {
  for (const int count : {400, 512, 516, 4000}) {
    Table table;
    for (int i = 0; i < count; ++i) table.push_back({static_cast<double>(i / 4), i, 0});
    for (int key = 0; key < count / 4; ++key) {
      ASSERT_EQ(FRD_FindFirstByKey(key, count, table.data()), key * 4) << count;
    }
  }
  const Table equal(1500, KeyedRecord{7.0, 5, 0});
  EXPECT_EQ(FRD_FindFirstByKey(7.0, 1500, equal.data()), 0);
}

TEST(Services, FindsTheFirstOfARunLongerThanTheLinearRange) {
  Table table;
  for (int i = 0; i < 2000; ++i) {
    table.push_back({i < 300 ? 1.0 : i < 1800 ? 2.0 : 3.0, i, 0});
  }
  EXPECT_EQ(FRD_FindFirstByKey(1.0, 2000, table.data()), 0);
  EXPECT_EQ(FRD_FindFirstByKey(2.0, 2000, table.data()), 300);
  EXPECT_EQ(FRD_FindFirstByKey(3.0, 2000, table.data()), 1800);
  EXPECT_EQ(FRD_FindFirstByKey(2.5, 2000, table.data()), -1);
}

TEST(Services, FindsTheFirstOfKeysThatAreIntegersBits) {
  Table table;
  for (int64_t i = 1; i <= 600; ++i) {
    KeyedRecord record{0, static_cast<int32_t>(i), 0};
    std::memcpy(&record.key, &i, sizeof i);
    table.push_back(record);
  }
  EXPECT_EQ(FRD_FindFirstByKey(table[598].key, 600, table.data()), 598);
}

// ---- FRD_SortByKey -------------------------------------------------------------------------

TEST(Services, SortsAscendingAndMovesWholeRecords) {
  Table table;
  uint32_t state = 12345;
  for (int i = 0; i < 3000; ++i) {
    state = state * 1103515245u + 12345u;
    const uint32_t key = state >> 16;
    table.push_back({static_cast<double>(key), static_cast<int32_t>(key * 3), key + 7});
  }
  EXPECT_EQ(FRD_SortByKey(3000, table.data()), 1);
  for (size_t i = 0; i < table.size(); ++i) {
    ASSERT_TRUE(i == 0 || table[i - 1].key <= table[i].key) << i;
    ASSERT_EQ(table[i].value, static_cast<int32_t>(table[i].key) * 3);
    ASSERT_EQ(table[i].extra, static_cast<uint32_t>(table[i].key) + 7);
  }
}

TEST(Services, SortsAKnownTable) {
  Table table = {{3, 30, 1}, {-1, 10, 2}, {2.5, 20, 3}, {-1, 11, 4}};
  EXPECT_EQ(FRD_SortByKey(4, table.data()), 1);
  EXPECT_EQ(table[0].key, -1);
  EXPECT_EQ(table[1].key, -1);
  EXPECT_EQ(table[0].value + table[1].value, 21);
  EXPECT_EQ(table[2].value, 20);
  EXPECT_EQ(table[2].extra, 3u);
  EXPECT_EQ(table[3].value, 30);
}

TEST(Services, SortsTablesInAnyOrder) {
  Table table;
  for (int i = 999; i >= 0; --i) table.push_back({static_cast<double>(i), i, 0});
  EXPECT_EQ(FRD_SortByKey(1000, table.data()), 1);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(table[static_cast<size_t>(i)].value, i);
  // In order already.
  EXPECT_EQ(FRD_SortByKey(1000, table.data()), 1);
  for (int i = 0; i < 1000; ++i) ASSERT_EQ(table[static_cast<size_t>(i)].value, i);
}

TEST(Services, FewerThanTwoRecordsAreSorted) {
  EXPECT_EQ(FRD_SortByKey(0, nullptr), 1);
  KeyedRecord one{5, 6, 7};
  EXPECT_EQ(FRD_SortByKey(1, &one), 1);
  EXPECT_EQ(one.key, 5);
}

TEST(Services, SortsOnlyTheRecordsCounted) {
  Table table = {{3, 0, 0}, {2, 0, 0}, {1, 0, 0}};
  EXPECT_EQ(FRD_SortByKey(2, table.data()), 1);
  EXPECT_EQ(table[0].key, 2);
  EXPECT_EQ(table[1].key, 3);
  EXPECT_EQ(table[2].key, 1);
}

TEST(Services, SortsDenormalKeys) {
  Table table;
  for (const int64_t bits : {int64_t{3}, int64_t{1}, int64_t{2}}) {
    KeyedRecord record{0, static_cast<int32_t>(bits), 0};
    std::memcpy(&record.key, &bits, sizeof bits);
    table.push_back(record);
  }
  FRD_SortByKey(3, table.data());
  EXPECT_EQ(table[0].value, 1);
  EXPECT_EQ(table[1].value, 2);
  EXPECT_EQ(table[2].value, 3);
}

// ---- FRD_LogAndNotify ----------------------------------------------------------------------

TEST_F(ServicesTest, NoticesHaveAStampOfTheirOwn) {
  const std::string path = BuildLogOf(5);
  EXPECT_EQ(FRD_LogAndNotify(nullptr, "Message", "Title", 0), 0);
  const NotifyContext silent{0};
  EXPECT_EQ(FRD_LogAndNotify(&silent, "Again", "Title", 0), 0);
  EXPECT_EQ(ReadBytes(path),
            "19840514 09:08:07 [Title] Message\r\n"
            "19840514 09:08:07 [Title] Again\r\n");
  platform::RemoveFile(path.c_str());
}

TEST_F(ServicesTest, NoticesAreCutTo1023Bytes) {
  const std::string path = BuildLogOf(6);
  EXPECT_EQ(FRD_LogAndNotify(nullptr, std::string(2000, 'm').c_str(), "T", 0), 0);
  // "19840614 09:08:07 [T] " takes 22 bytes.
  EXPECT_EQ(ReadBytes(path), "19840614 09:08:07 [T] " + std::string(1001, 'm') + "\r\n");
  platform::RemoveFile(path.c_str());
}

#if !defined(_WIN32)
TEST_F(ServicesTest, NoticesAreShownWhenTheContextAsksForIt) {
  const NotifyContext silent{0};
  const NotifyContext loud{1};
  ::testing::internal::CaptureStderr();
  FRD_LogAndNotify(nullptr, "Message", "Title", 0);
  FRD_LogAndNotify(&silent, "Message", "Title", 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_LogAndNotify(&loud, "Message", "Title", 0), 0);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(), "Title: Message\n");
}
#endif

}  // namespace
}  // namespace zatlib
