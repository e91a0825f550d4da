#include "platform/fault.h"

#include <gtest/gtest.h>

#include "platform/file.h"
#include "platform/memory.h"
#include "test_support.h"

namespace zatlib::platform {
namespace {

class FaultTest : public ::testing::Test {
 protected:
  ~FaultTest() override { ClearFaults(); }
  File Create() {
    return File::Open((folder_ / "a.dat").c_str(), Access::kReadWrite, Share::kNone,
                      Disposition::kCreateAlways);
  }
  test::TempFolder folder_;
};

TEST_F(FaultTest, NothingFailsAndNothingIsCountedUnlessAsked) {
  EXPECT_FALSE(ShouldFail(Operation::kWrite));
  EXPECT_EQ(OperationCount(Operation::kWrite), 0);
}

TEST_F(FaultTest, CountsWithoutFailing) {
  CountOperations();
  File file = Create();
  ASSERT_TRUE(file.IsOpen());
  uint32_t count = 0;
  EXPECT_TRUE(file.Write("abcd", 4, &count));
  EXPECT_EQ(file.Seek(0, SeekFrom::kBegin), 0);
  char data[4];
  EXPECT_TRUE(file.Read(data, 4, &count));
  EXPECT_TRUE(file.Flush());
  EXPECT_TRUE(FreePages(AllocPages(1)));
  for (const Operation operation :
       {Operation::kOpen, Operation::kWrite, Operation::kSeek, Operation::kRead, Operation::kFlush,
        Operation::kAllocate, Operation::kFree}) {
    EXPECT_EQ(OperationCount(operation), 1) << static_cast<int>(operation);
  }
}

TEST_F(FaultTest, OnlyTheNthFails) {
  ArmFault(Operation::kOpen, 2, false);
  EXPECT_TRUE(Create().IsOpen());
  EXPECT_FALSE(Create().IsOpen());
  EXPECT_TRUE(Create().IsOpen());
}

TEST_F(FaultTest, AStickyFaultStays) {
  ArmFault(Operation::kOpen, 2, true);
  EXPECT_TRUE(Create().IsOpen());
  EXPECT_FALSE(Create().IsOpen());
  EXPECT_FALSE(Create().IsOpen());
  ClearFaults();
  EXPECT_TRUE(Create().IsOpen());
}

TEST_F(FaultTest, ARefusedOpenMakesNoFile) {
  ArmFault(Operation::kOpen, 1, false);
  EXPECT_FALSE(Create().IsOpen());
  EXPECT_FALSE(test::Exists(folder_ / "a.dat"));
}

TEST_F(FaultTest, ARefusedWriteLeavesNothing) {
  File file = Create();
  ArmFault(Operation::kWrite, 1, false);
  uint32_t written = 99;
  EXPECT_FALSE(file.Write("abcd", 4, &written));
  EXPECT_EQ(written, 0u);
  EXPECT_TRUE(file.Write("efgh", 4, &written));
  file.Close();
  EXPECT_EQ(test::ReadBytes(folder_ / "a.dat"), "efgh");
}

TEST_F(FaultTest, AHalfWriteLeavesHalf) {
  File file = Create();
  ArmFault(Operation::kWrite, 1, false, WriteFault::kHalfWritten);
  uint32_t written = 99;
  EXPECT_FALSE(file.Write("abcd", 4, &written));
  EXPECT_EQ(written, 2u);
  file.Close();
  EXPECT_EQ(test::ReadBytes(folder_ / "a.dat"), "ab");
}

TEST_F(FaultTest, AReadAtAPositionIsARead) {
  File file = Create();
  uint32_t count = 0;
  char data[4];
  ASSERT_TRUE(file.Write("abcd", 4, &count));
  ArmFault(Operation::kRead, 2, false);
  EXPECT_TRUE(file.ReadAt(0, data, 4));
  EXPECT_FALSE(file.ReadAt(0, data, 4));
  EXPECT_TRUE(file.ReadAt(0, data, 4));
}

TEST_F(FaultTest, ReadSeekFlushAllocationAndReleaseFail) {
  File file = Create();
  uint32_t count = 99;
  char data[4];
  ArmFault(Operation::kRead, 1, false);
  EXPECT_FALSE(file.Read(data, 4, &count));
  EXPECT_EQ(count, 0u);
  ArmFault(Operation::kSeek, 1, false);
  EXPECT_EQ(file.Seek(0, SeekFrom::kBegin), -1);
  ArmFault(Operation::kFlush, 1, false);
  EXPECT_FALSE(file.Flush());
  ArmFault(Operation::kAllocate, 1, false);
  EXPECT_EQ(AllocPages(4096), nullptr);
  void* block = AllocPages(4096);
  ArmFault(Operation::kFree, 1, false);
  EXPECT_FALSE(FreePages(block));
  EXPECT_TRUE(FreePages(block));
}

}  // namespace
}  // namespace zatlib::platform
