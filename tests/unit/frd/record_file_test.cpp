#include "frd/record_file.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "platform/fault.h"
#include "test_support.h"

namespace zatlib::test {
namespace {

using platform::ArmFault;
using platform::Operation;

struct Pair {
  int32_t a;
  int32_t b;
};

class RecordFileTest : public LibraryTest {
 protected:
  RecordFileTest() { WriteBytes(path_, Bytes().I32(1).I32(2).I32(3).I32(4).Text("xyz", 3)); }
  std::string path_ = folder_ / "table.dat";
  WholeFile file_;
};

TEST_F(RecordFileTest, HoldsTheFileAndCountsWholeRecords) {
  ASSERT_EQ(LoadFile(path_.c_str(), &file_), FileResult::kDone);
  EXPECT_EQ(file_.size, 19u);
  EXPECT_EQ(file_.count<Pair>(), 2);
  EXPECT_EQ(file_.records<Pair>()[1].a, 3);
  EXPECT_EQ(file_.records<Pair>()[1].b, 4);
}

TEST_F(RecordFileTest, IsFollowedBySixtyFourZeroBytes) {
  ASSERT_EQ(LoadFile(path_.c_str(), &file_), FileResult::kDone);
  EXPECT_EQ(file_.bytes.size(), 19u + 64u);
  EXPECT_EQ(std::string(file_.bytes.data() + 19, 64), std::string(64, '\0'));
}

TEST_F(RecordFileTest, AnEmptyFileLoads) {
  WriteBytes(path_, "");
  ASSERT_EQ(LoadFile(path_.c_str(), &file_), FileResult::kDone);
  EXPECT_EQ(file_.size, 0u);
  EXPECT_EQ(file_.count<Pair>(), 0);
}

TEST_F(RecordFileTest, TellsWhatFailedAndIsEmptyThen) {
  ASSERT_EQ(LoadFile(path_.c_str(), &file_), FileResult::kDone);
  ArmFault(Operation::kOpen, 1, false);
  EXPECT_EQ(LoadFile(path_.c_str(), &file_), FileResult::kNotOpened);
  EXPECT_EQ(file_.size, 0u);
  EXPECT_FALSE(file_.bytes);
  ArmFault(Operation::kAllocate, 1, false);
  EXPECT_EQ(LoadFile(path_.c_str(), &file_), FileResult::kNoMemory);
  ArmFault(Operation::kRead, 1, false);
  EXPECT_EQ(LoadFile(path_.c_str(), &file_), FileResult::kNotRead);
  EXPECT_EQ(LoadFile((folder_ / "none.dat").c_str(), &file_), FileResult::kNotOpened);
}

TEST_F(RecordFileTest, AnotherSizeThanExpectedCountsAsNotRead) {
  EXPECT_EQ(LoadFile(path_.c_str(), &file_, {.exact_bytes = 19}), FileResult::kDone);
  EXPECT_EQ(LoadFile(path_.c_str(), &file_, {.exact_bytes = 20}), FileResult::kNotRead);
  EXPECT_EQ(file_.size, 0u);
}

TEST_F(RecordFileTest, AFileLongerThanWantedCountsAsOneWithoutMemory) {
  EXPECT_EQ(LoadFile(path_.c_str(), &file_, {.most_bytes = 19}), FileResult::kDone);
  EXPECT_EQ(LoadFile(path_.c_str(), &file_, {.most_bytes = 18}), FileResult::kNoMemory);
  EXPECT_EQ(file_.size, 0u);
}

TEST_F(RecordFileTest, ALoadTellsWhatItHasSeen) {
  LoadSeen seen;
  ASSERT_EQ(LoadFile(path_.c_str(), &file_, {}, &seen), FileResult::kDone);
  EXPECT_EQ(seen.size, 19);
  EXPECT_EQ(seen.read, 19u);
  ArmFault(Operation::kAllocate, 1, false);
  EXPECT_EQ(LoadFile(path_.c_str(), &file_, {}, &seen), FileResult::kNoMemory);
  EXPECT_EQ(seen.size, 19);
  EXPECT_EQ(seen.read, 0u);
  ArmFault(Operation::kRead, 1, false);
  EXPECT_EQ(LoadFile(path_.c_str(), &file_, {}, &seen), FileResult::kNotRead);
  EXPECT_EQ(seen.size, 19);
  EXPECT_EQ(seen.read, 0u);
}

TEST_F(RecordFileTest, TheFirstRecordsComeIntoMemoryThatStands) {
  Pair pairs[3] = {};
  EXPECT_EQ(LoadRecords(path_.c_str(), pairs, 2), FileResult::kDone);
  EXPECT_EQ(pairs[1].b, 4);
  EXPECT_EQ(LoadRecords(path_.c_str(), pairs, 3), FileResult::kNotRead);
  EXPECT_EQ(LoadRecords((folder_ / "none.dat").c_str(), pairs, 1), FileResult::kNotOpened);
  EXPECT_EQ(CountRecords(path_.c_str(), sizeof(Pair)), 2);
  EXPECT_EQ(CountRecords((folder_ / "none.dat").c_str(), sizeof(Pair)), 0);
}

TEST_F(RecordFileTest, RecordsAreSavedWhole) {
  const Pair pairs[] = {{1, 2}, {3, 4}};
  EXPECT_EQ(SaveRecords(path_.c_str(), pairs, 2), FileResult::kDone);
  EXPECT_EQ(ReadBytes(path_), Bytes().I32(1).I32(2).I32(3).I32(4).str());
  ArmFault(Operation::kOpen, 1, false);
  EXPECT_EQ(SaveRecords(path_.c_str(), pairs, 2), FileResult::kNotCreated);
  ArmFault(Operation::kWrite, 1, false, platform::WriteFault::kHalfWritten);
  EXPECT_EQ(SaveRecords(path_.c_str(), pairs, 2), FileResult::kNotWritten);
}

// The file that is being saved, and its size at the first write.
std::string g_saved_path;
uint64_t g_size_at_write = 0;

TEST_F(RecordFileTest, AFileIsMadeAnew) {
  g_saved_path = path_;
  g_size_at_write = 99;
  platform::CountOperations();
  platform::WatchOperations([](Operation operation, int64_t) {
    if (operation == Operation::kWrite) {
      g_size_at_write = std::filesystem::file_size(g_saved_path);
    }
  });
  const FileResult result = SaveBytes(path_.c_str(), "new", 3);
  platform::WatchOperations(nullptr);
  platform::ClearFaults();
  EXPECT_EQ(result, FileResult::kDone);
  EXPECT_EQ(g_size_at_write, 0u);
  EXPECT_EQ(ReadBytes(path_), "new");
  EXPECT_EQ(SaveBytes((folder_ / "none/save.dat").c_str(), "new", 3), FileResult::kNotCreated);
}

TEST_F(RecordFileTest, AFileOfOneWriteIsNotTriedAgain) {
  WriteBytes(path_, "longer than the new one");
  EXPECT_EQ(WriteOnce(path_.c_str(), "new", 3), FileResult::kDone);
  EXPECT_EQ(ReadBytes(path_), "new");
  EXPECT_EQ(WriteOnce(path_.c_str(), "", 0), FileResult::kDone);
  EXPECT_EQ(ReadBytes(path_), "");
  ArmFault(Operation::kOpen, 1, false);
  EXPECT_EQ(WriteOnce(path_.c_str(), "new", 3), FileResult::kNotCreated);
  for (const auto fault :
       {platform::WriteFault::kNothingWritten, platform::WriteFault::kHalfWritten}) {
    ArmFault(Operation::kWrite, 1, false, fault);
    EXPECT_EQ(WriteOnce(path_.c_str(), "newest", 6), FileResult::kNotWritten);
    EXPECT_EQ(ReadBytes(path_), fault == platform::WriteFault::kHalfWritten ? "new" : "");
  }
}

}  // namespace
}  // namespace zatlib::test
