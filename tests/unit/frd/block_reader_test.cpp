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

}  // namespace
}  // namespace zatlib::test
