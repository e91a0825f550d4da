#include "frd/block_reader.h"

#include <gtest/gtest.h>

#include "platform/fault.h"
#include "test_support.h"

namespace zatlib::test {
namespace {

using platform::ArmFault;
using platform::Operation;

// Seven records of 4 bytes, 0 to 6, and 3 bytes behind them.
class BlockReaderTest : public LibraryTest {
 protected:
  BlockReaderTest() {
    Bytes bytes;
    for (int i = 0; i < 7; ++i) bytes.I32(i);
    WriteBytes(path_, bytes.Text("xyz", 3));
  }
  FileResult Open(int64_t block_records) {
    return reader_.Open(path_.c_str(), sizeof(int32_t), block_records);
  }
  std::string path_ = folder_ / "table.dat";
  BlockReader reader_;
};

TEST_F(BlockReaderTest, HandsOutTheFileInBlocks) {
  ASSERT_EQ(Open(3), FileResult::kDone);
  EXPECT_EQ(reader_.size(), 31u);
  EXPECT_EQ(reader_.count(), 7);
  const struct {
    int64_t first;
    int64_t count;
  } blocks[] = {{0, 3}, {3, 3}, {6, 1}};
  for (const auto& block : blocks) {
    EXPECT_EQ(reader_.first(), block.first);
    ASSERT_EQ(reader_.records_in_block(), block.count);
    for (int64_t i = 0; i < block.count; ++i) {
      EXPECT_EQ(reader_.records<int32_t>()[i], block.first + i);
    }
    EXPECT_TRUE(reader_.Advance());
  }
  EXPECT_EQ(reader_.records_in_block(), 0);
  EXPECT_TRUE(reader_.Advance());
  EXPECT_EQ(reader_.records_in_block(), 0);
  EXPECT_FALSE(reader_.failed());
}

TEST_F(BlockReaderTest, ABlockStaysWhileTheNextOneIsRead) {
  ASSERT_EQ(Open(3), FileResult::kDone);
  const int32_t* const before = reader_.records<int32_t>();
  ASSERT_TRUE(reader_.Advance());
  EXPECT_EQ(before[2], 2);
  EXPECT_EQ(reader_.records<int32_t>()[2], 5);
}

TEST_F(BlockReaderTest, OneBlockMayHoldEverything) {
  for (const int64_t records : {7, 8, 1000000}) {
    ASSERT_EQ(Open(records), FileResult::kDone);
    EXPECT_EQ(reader_.records_in_block(), 7);
    EXPECT_TRUE(reader_.Advance());
    EXPECT_EQ(reader_.records_in_block(), 0);
  }
}

TEST_F(BlockReaderTest, AnEmptyFileHasNoBlock) {
  WriteBytes(path_, "");
  ASSERT_EQ(Open(3), FileResult::kDone);
  EXPECT_EQ(reader_.count(), 0);
  EXPECT_EQ(reader_.records_in_block(), 0);
  EXPECT_TRUE(reader_.Advance());
}

TEST_F(BlockReaderTest, TellsWhatFailedAndHoldsNothingThen) {
  ArmFault(Operation::kOpen, 1, false);
  EXPECT_EQ(Open(3), FileResult::kNotOpened);
  ArmFault(Operation::kAllocate, 1, false);
  EXPECT_EQ(Open(3), FileResult::kNoMemory);
  ArmFault(Operation::kRead, 1, false);
  EXPECT_EQ(Open(3), FileResult::kNotRead);
  platform::ClearFaults();
  EXPECT_EQ(reader_.size(), 0u);
  EXPECT_EQ(reader_.records_in_block(), 0);
}

TEST_F(BlockReaderTest, AFailedReadEndsTheBlocks) {
  ASSERT_EQ(Open(3), FileResult::kDone);
  ArmFault(Operation::kRead, 1, false);
  EXPECT_FALSE(reader_.Advance());
  platform::ClearFaults();
  EXPECT_TRUE(reader_.failed());
  EXPECT_EQ(reader_.records_in_block(), 0);
  EXPECT_FALSE(reader_.Advance());
}

#ifndef _WIN32  // whose blocks take 64 KiB at least
// Records of 8 bytes, 0 to 39999, of which 10000 are wanted in a block.
class ShortMemory : public BlockReaderTest {
 protected:
  static constexpr uint64_t kPage = 4096;

  ShortMemory() {
    Bytes bytes;
    for (int i = 0; i < 40000; ++i) bytes.I64(i);
    WriteBytes(path_, bytes);
  }
  ~ShortMemory() override { platform::PlayMachine(0, 0); }

  FileResult Open(uint64_t limit) {
    platform::PlayMachine(0, limit);
    return reader_.Open(path_.c_str(), sizeof(int64_t), 10000);
  }

  void ExpectAll(int64_t block_records) {
    EXPECT_EQ(reader_.block_limit(), block_records);
    int64_t next = 0;
    while (reader_.records_in_block() > 0) {
      EXPECT_EQ(reader_.first(), next);
      EXPECT_EQ(reader_.records_in_block(), std::min(block_records, 40000 - next));
      for (int64_t i = 0; i < reader_.records_in_block(); ++i) {
        ASSERT_EQ(reader_.records<int64_t>()[i], next++);
      }
      EXPECT_EQ(reader_.end(), next);
      ASSERT_TRUE(reader_.Advance());
    }
    EXPECT_EQ(next, 40000);
  }
};

TEST_F(ShortMemory, TheBlocksAreSmallerAndDivideTheWantedOnes) {
  // Two blocks of 10000 records are 40 pages, of 5000 20, of 2500 10, of 1250 5, of 625 3, and of
  // 125 one.
  const struct {
    uint64_t pages;
    int64_t block;
  } machines[] = {{40, 10000}, {39, 5000}, {19, 2500}, {9, 1250}, {4, 625}, {2, 125}, {1, 125}};
  for (const auto& machine : machines) {
    SCOPED_TRACE(machine.pages);
    ASSERT_EQ(Open(machine.pages * kPage), FileResult::kDone);
    ExpectAll(machine.block);
  }
  EXPECT_EQ(Open(kPage - 1), FileResult::kNoMemory);
}

TEST_F(ShortMemory, ABlockThatNothingDividesShrinksToOneRecord) {
  // Two blocks of 1009 records, a prime, are four pages; of one record, one.
  platform::PlayMachine(0, 3 * kPage);
  ASSERT_EQ(reader_.Open(path_.c_str(), sizeof(int64_t), 1009), FileResult::kDone);
  ExpectAll(1);
}

TEST_F(ShortMemory, RecordsLargerThanTheLeastBlocksComeOneByOne) {
  // Of 8000 bytes each: two of them are four pages.
  platform::PlayMachine(0, 4 * kPage);
  ASSERT_EQ(reader_.Open(path_.c_str(), 8000, 3), FileResult::kDone);
  EXPECT_EQ(reader_.block_limit(), 1);
  EXPECT_EQ(reader_.records_in_block(), 1);
  platform::PlayMachine(0, 3 * kPage);
  EXPECT_EQ(reader_.Open(path_.c_str(), 8000, 3), FileResult::kNoMemory);
}

TEST_F(ShortMemory, WhatIsNotThereDoesNotGiveWay) {
  EXPECT_FALSE(reader_.Shrink());  // not open
  ASSERT_EQ(Open(0), FileResult::kDone);
  ArmFault(Operation::kSeek, 1, false);
  EXPECT_FALSE(reader_.Shrink());
  platform::ClearFaults();
  EXPECT_FALSE(reader_.failed());
  EXPECT_EQ(reader_.records<int64_t>()[9999], 9999);
}

TEST_F(ShortMemory, ABlockThatFindsNoMemoryAnyMoreIsAFailure) {
  ASSERT_EQ(Open(0), FileResult::kDone);
  ArmFault(Operation::kAllocate, 1, true);
  EXPECT_FALSE(reader_.Shrink());
  platform::ClearFaults();
  EXPECT_TRUE(reader_.failed());
  EXPECT_EQ(reader_.records_in_block(), 0);
}

TEST_F(ShortMemory, TheFirstBlockMayGiveWay) {
  ASSERT_EQ(Open(0), FileResult::kDone);
  EXPECT_TRUE(reader_.Shrink());
  EXPECT_FALSE(reader_.Shrink());
  platform::PlayMachine(0, 3 * kPage);
  void* const others = platform::AllocPages(2 * kPage);
  EXPECT_NE(others, nullptr);
  platform::FreePages(others);
  ExpectAll(125);
  // Behind the first block nothing gives way any more.
  ASSERT_EQ(Open(0), FileResult::kDone);
  ASSERT_TRUE(reader_.Advance());
  EXPECT_FALSE(reader_.Shrink());
  EXPECT_EQ(reader_.records<int64_t>()[0], 10000);
}

TEST_F(ShortMemory, ABlockThatCannotBeReadAgainIsAFailure) {
  ASSERT_EQ(Open(0), FileResult::kDone);
  ArmFault(Operation::kRead, 1, false);
  EXPECT_FALSE(reader_.Shrink());
  EXPECT_TRUE(reader_.failed());
  EXPECT_EQ(reader_.records_in_block(), 0);
}
#endif

}  // namespace
}  // namespace zatlib::test
