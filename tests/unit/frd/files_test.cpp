#include "frd/files.h"

#include <cstring>
#include <string>
#include <vector>

#include "fault_each.h"
#include "frd/control.h"
#include "frd/log.h"
#include "frd/memory.h"
#include "frd/parallel.h"
#include "frd/record_file.h"
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
using test::RunWithFault;
using test::WriteBytes;

using Strings = std::vector<std::string>;

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
};

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
  int64_t count = -1;
  EXPECT_EQ(RunWithFault(
                {Operation::kWrite, 1, true}, [&] { return FRD_WriteFile(file, "x", 0); }, &count),
            1);
  EXPECT_EQ(count, 0);
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
  EXPECT_EQ(RunWithFault({Operation::kWrite}, [&] { return FRD_WriteFile(file, "abc", 3); }), 1);
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
  EXPECT_EQ(RunWithFault({Operation::kWrite, 2},
                         [&] { return FRD_WriteFile(file, data.data(), data.size()); }),
            1);
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
  EXPECT_EQ(RunWithFault({Operation::kWrite}, [&] { return FRD_WriteFile(file, "abc", 3); }), 1);
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
  EXPECT_EQ(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                         [&] { return FRD_WriteFile(file, "abcdefgh", 8); }),
            0);
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
  EXPECT_EQ(RunWithFault({Operation::kWrite, 2, false, WriteFault::kHalfWritten},
                         [&] { return FRD_WriteFile(file, data.data(), data.size()); }),
            0);
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
    EXPECT_EQ(RunWithFault({Operation::kWrite, 130, false, WriteFault::kHalfWritten},
                           [&] { return FRD_WriteFile(file, data.data(), kSize); }),
              0);
    if (log.usable()) {
      EXPECT_EQ(log.text(),
                "19820708 12:34:56.789 ERROR! OriginalSize=1090519050, WrittenSize=1082130432, "
                "WrittingSize=8388608\r\n");
    }
  }
  ServiceLog log(9);
  int64_t count = 0;
  EXPECT_EQ(RunWithFault(
                {Operation::kWrite, 131}, [&] { return FRD_WriteFile(file, data.data(), kSize); },
                &count),
            1);
  // 131 chunks, the last of 10 bytes, which is tried again and then written once more.
  EXPECT_GE(count, 133);
  if (log.usable()) {
    EXPECT_EQ(log.text(),
              "19820709 12:34:56.789 RETRY... OriginalSize=1090519050, WrittenSize=1090519040, "
              "WrittingSize=10\r\n");
  }
}

// ---- Small file services -------------------------------------------------------------------

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
  uint64_t read = 9;
  EXPECT_FALSE(ReadExactly(file, data, 4, &read));
  EXPECT_EQ(read, 2u);
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
  EXPECT_EQ(SaveBytes(path.c_str(), bytes.data(), kSize), FileResult::kDone);
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
  ASSERT_EQ(SaveBytes(path.c_str(), bytes.data(), kSize), FileResult::kDone);
  // 64, 64 and 2 MiB; several threads share them in parts of 4 MiB.
  const int64_t parts = GetParam() == 1 ? 3 : 33;
  for (const int64_t nth : {int64_t{1}, int64_t{2}, parts, parts + 1}) {
    File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
    platform::ArmFault(Operation::kRead, nth, false);
    uint64_t read = 0;
    EXPECT_EQ(ReadExactly(file, bytes.data(), kSize, &read), nth > parts) << nth;
    // What is known to be read: one thread's parts, and all that several share.
    const uint64_t second = GetParam() == 1 ? 64 << 20 : 0;
    const uint64_t known = nth > parts ? kSize : nth == parts ? 128 << 20 : nth == 2 ? second : 0;
    EXPECT_EQ(read, known) << nth;
    platform::ClearFaults();
  }
}

TEST_P(LongTransferTest, AFailureAfterACancelIsReported) {
  // The window is served after the first 64 MiB, where the cancel is seen; then the file ends.
  PageArray<char> bytes;
  ASSERT_TRUE(bytes.Allocate(kSize));
  const std::string path = folder_ / "short.dat";
  WriteBytes(path, std::string(70 << 20, 's'));
  g_silent = 0;
  FRD_SetCancelled(true);
  File file = File::Open(path.c_str(), Access::kRead, Share::kRead, Disposition::kOpenExisting);
  EXPECT_FALSE(ReadExactly(file, bytes.data(), kSize));
#ifdef _WIN32
  g_silent = 1;  // shows no box
#else
  ::testing::internal::CaptureStderr();
#endif
  ReportError(nullptr, "File Error", "Can't read %s !", "short.dat");
  ReportError(nullptr, "File Error", "Can't read %s !", "short.dat");
#ifndef _WIN32
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "File Error: Can't read short.dat !\nFile Error: Can't read short.dat !\n");
#endif
  EXPECT_EQ(log(), (Strings{"[Can't read short.dat !][File Error]",
                            "[Can't read short.dat !][File Error]"}));
}

TEST_F(FilesTest, ALongReadNeedsItsPlaceInTheFile) {
  constexpr uint64_t kLong = 16 << 20;  // bytes from which threads share a read
  WriteBytes(folder_ / "long.dat", std::string(kLong, 'a'));
  SetThreadCount(2);
  std::string data(kLong, 'b');
  for (int seek = 1; seek <= 2; ++seek) {
    File file = File::Open((folder_ / "long.dat").c_str(), Access::kRead, Share::kRead,
                           Disposition::kOpenExisting);
    EXPECT_FALSE(RunWithFault({Operation::kSeek, seek}, [&] {
      return ReadExactly(file, data.data(), kLong);
    })) << seek;
  }
  SetThreadCount(0);
}

}  // namespace
}  // namespace zatlib
