#include "frd/record_writer.h"

#include <filesystem>
#include <string>

#include "platform/fault.h"
#include "platform/file.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Operation;
using platform::WriteFault;
using test::ReadBytes;
using test::WriteBytes;

using RecordWriterTest = test::LibraryTest;

TEST_F(RecordWriterTest, RecordsAreWrittenInOrder) {
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

std::string g_written_path;
uint64_t g_size_at_write = 0;

TEST_F(RecordWriterTest, TheFileIsMadeAnew) {
  g_written_path = folder_ / "records.dat";
  WriteBytes(g_written_path, "old content");
  RecordWriter writer;
  ASSERT_TRUE(writer.Open(g_written_path.c_str(), 4, false));
  g_size_at_write = 99;
  platform::CountOperations();
  platform::WatchOperations([](Operation operation, int64_t) {
    if (operation == Operation::kWrite) {
      g_size_at_write = std::filesystem::file_size(g_written_path);
    }
  });
  EXPECT_TRUE(writer.Append("abcd"));
  EXPECT_TRUE(writer.Close());
  platform::WatchOperations(nullptr);
  platform::ClearFaults();
  EXPECT_EQ(g_size_at_write, 0u);
  EXPECT_EQ(ReadBytes(g_written_path), "abcd");
}

TEST_F(RecordWriterTest, RecordsAreAppended) {
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

TEST_F(RecordWriterTest, AppendingCreatesTheFile) {
  RecordWriter writer;
  const std::string path = folder_ / "new.dat";
  ASSERT_TRUE(writer.Open(path.c_str(), 4, true));
  EXPECT_TRUE(writer.Append("abcd"));
  EXPECT_TRUE(writer.Close());
  EXPECT_EQ(ReadBytes(path), "abcd");
}

TEST_F(RecordWriterTest, AFileOfRecordsExcludesOthers) {
  RecordWriter first;
  RecordWriter second;
  const std::string path = folder_ / "records.dat";
  ASSERT_TRUE(first.Open(path.c_str(), 4, false));
  EXPECT_FALSE(second.Open(path.c_str(), 4, false));
}

TEST_F(RecordWriterTest, RecordsOfManyBlocks) {
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

TEST_F(RecordWriterTest, ARefusedWriteTellsTheRecord) {
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

TEST_F(RecordWriterTest, ARecordFileThatCannotBeMade) {
  RecordWriter writer;
  EXPECT_FALSE(writer.Open((folder_ / "none/records.dat").c_str(), 8, false));
  EXPECT_FALSE(writer.IsOpen());
}

TEST_F(RecordWriterTest, WithoutMemoryRecordsAreWrittenInSmallBlocks) {
  RecordWriter writer;
  const std::string path = folder_ / "small.dat";
  platform::ArmFault(Operation::kAllocate, 1, true);
  ASSERT_TRUE(writer.Open(path.c_str(), 8, false));
  std::string expected;
  for (int i = 0; i < 2000; ++i) {
    const std::string record = "r" + std::to_string(1000000 + i);
    ASSERT_TRUE(writer.Append(record.c_str()));
    expected += record;
  }
  EXPECT_TRUE(writer.AppendMany(expected.data(), 2000));
  EXPECT_TRUE(writer.Close());
  // 512 records of 8 bytes a time.
  EXPECT_EQ(platform::OperationCount(Operation::kWrite), 8);
  EXPECT_EQ(writer.count(), 4000);
  EXPECT_TRUE(ReadBytes(path) == expected + expected);
}

TEST_F(RecordWriterTest, ARefusedSeekRefusesTheAppending) {
  RecordWriter writer;
  const std::string path = folder_ / "seek.dat";
  WriteBytes(path, "1234");
  platform::ArmFault(Operation::kSeek, 1, false);
  EXPECT_FALSE(writer.Open(path.c_str(), 4, true));
  EXPECT_EQ(ReadBytes(path), "1234");
}

TEST_F(RecordWriterTest, WhatIsNotOpenIsClosed) {
  RecordWriter writer;
  EXPECT_TRUE(writer.Close());
  ASSERT_TRUE(writer.Open((folder_ / "closed.dat").c_str(), 4, false));
  EXPECT_TRUE(writer.Close());
  EXPECT_TRUE(writer.Close());
}

}  // namespace
}  // namespace zatlib
