#include "frd/memory.h"

#include <cstdint>
#include <cstring>
#include <string>
#include <utility>

#include "fault_each.h"
#include "frd/log.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Operation;

class MemoryTest : public test::LibraryTest {
 protected:
  ~MemoryTest() override {
    platform::PlayMachine(0, 0);
    platform::FixLocalTime(nullptr);
  }
};

TEST_F(MemoryTest, FreeOfNothingIsNoSuccess) { EXPECT_EQ(FRD_FreeMem(nullptr), 0); }

TEST_F(MemoryTest, FreeOfABlock) {
  void* block = platform::AllocPages(100);
  ASSERT_NE(block, nullptr);
  EXPECT_NE(FRD_FreeMem(block), 0);
  EXPECT_EQ(FRD_GetMemSize(nullptr), 0u);
}

TEST_F(MemoryTest, FreeOfAnUnknownBlockIsLogged) {
  const platform::DateTime date{1983, 1, 0, 2, 3, 4, 5, 6};
  platform::FixLocalTime(&date);
  char path[kPathSize] = {};
  ASSERT_EQ(FRD_GetUserLogPath(kServiceTag, path), 1);
  int64_t somewhere[4] = {};
  EXPECT_EQ(FRD_FreeMem(&somewhere[1]), 0);
  EXPECT_EQ(test::ReadBytes(path),
            "19830102 03:04:05.006 VirtualFree function fails in FRD_FreeMem !\r\n");
  platform::RemoveFile(path);
}

TEST_F(MemoryTest, ABlockThatTheSystemKeepsIsLogged) {
  const platform::DateTime date{1983, 1, 0, 3, 3, 4, 5, 6};
  platform::FixLocalTime(&date);
  char path[kPathSize] = {};
  ASSERT_EQ(FRD_GetUserLogPath(kServiceTag, path), 1);
  void* block = platform::AllocPages(1);
  EXPECT_EQ(test::RunWithFault({Operation::kFree}, [&] { return FRD_FreeMem(block); }), 0);
  EXPECT_EQ(FRD_GetMemSize(block), 4096u);
  EXPECT_EQ(test::ReadBytes(path),
            "19830103 03:04:05.006 VirtualFree function fails in FRD_FreeMem !\r\n");
  platform::RemoveFile(path);
  EXPECT_NE(FRD_FreeMem(block), 0);
}

TEST_F(MemoryTest, ABlockIsAsLargeAsItsPages) {
  void* block = platform::AllocPages(1);
  EXPECT_EQ(FRD_GetMemSize(block), 4096u);
  FRD_FreeMem(block);
  block = platform::AllocPages(4096);
  EXPECT_EQ(FRD_GetMemSize(block), 4096u);
  FRD_FreeMem(block);
  block = platform::AllocPages(4097);
  EXPECT_EQ(FRD_GetMemSize(block), 8192u);
  FRD_FreeMem(block);
}

TEST_F(MemoryTest, ReallocKeepsABlockThatIsLargeEnough) {
  void* block = platform::AllocPages(1);
  EXPECT_EQ(FRD_ReallocMem(block, 4096), block);
  EXPECT_EQ(FRD_ReallocMem(block, 10), block);
  EXPECT_EQ(FRD_GetMemSize(block), 4096u);
  FRD_FreeMem(block);
}

TEST_F(MemoryTest, ReallocCopiesTheWholeRegion) {
  auto* block = static_cast<char*>(platform::AllocPages(10));
  std::memset(block, 'x', 4096);
  auto* grown = static_cast<char*>(FRD_ReallocMem(block, 4097));
  ASSERT_NE(grown, nullptr);
  ASSERT_NE(grown, block);
  EXPECT_EQ(FRD_GetMemSize(grown), 8192u);
  EXPECT_EQ(std::string(grown, 8192), std::string(4096, 'x') + std::string(4096, '\0'));
  // The old block has gone back.
  EXPECT_EQ(FRD_GetMemSize(block), 0u);
  EXPECT_NE(FRD_FreeMem(grown), 0);
}

TEST_F(MemoryTest, ReallocOfNothingOrAnUnknownBlock) {
  int64_t somewhere[4] = {};
  EXPECT_EQ(FRD_ReallocMem(nullptr, 100), nullptr);
#if !defined(_WIN32)
  // On Windows every address of the process belongs to some region.
  EXPECT_EQ(FRD_ReallocMem(&somewhere[1], 100), nullptr);
#else
  (void)somewhere;
#endif
}

TEST_F(MemoryTest, ReallocWithoutMemoryLeavesTheOldBlock) {
  auto* block = static_cast<char*>(platform::AllocPages(10));
  std::memcpy(block, "content", 8);
  platform::ArmFault(Operation::kAllocate, 1, false);
  EXPECT_EQ(FRD_ReallocMem(block, 10000), nullptr);
  platform::ClearFaults();
  EXPECT_EQ(FRD_GetMemSize(block), 4096u);
  EXPECT_STREQ(block, "content");
  EXPECT_NE(FRD_FreeMem(block), 0);
}

TEST_F(MemoryTest, AMachineWithLittleMemoryRefuses) {
  platform::PlayMachine(1 << 20, 1 << 20);
  void* first = platform::AllocPages(600000);
  ASSERT_NE(first, nullptr);
  EXPECT_EQ(platform::AllocPages(600000), nullptr);
  EXPECT_EQ(FRD_ReallocMem(first, 2000000), nullptr);
  EXPECT_EQ(platform::GetMemoryStatus().total_physical, 1048576u);
  EXPECT_NE(FRD_FreeMem(first), 0);
  void* second = platform::AllocPages(600000);
  EXPECT_NE(second, nullptr);
  FRD_FreeMem(second);
}

TEST_F(MemoryTest, AnArrayIsZeroFilled) {
  PageArray<int32_t> array;
  EXPECT_FALSE(array);
  EXPECT_EQ(array.size(), 0u);
  ASSERT_TRUE(array.Allocate(1000));
  EXPECT_TRUE(array);
  EXPECT_EQ(array.size(), 1000u);
  EXPECT_EQ(array[0], 0);
  EXPECT_EQ(array[999], 0);
  EXPECT_EQ(array.begin(), array.data());
}

TEST_F(MemoryTest, AnArrayOfNothingHasAPlace) {
  PageArray<int32_t> array;
  ASSERT_TRUE(array.Allocate(0));
  EXPECT_NE(array.data(), nullptr);
  EXPECT_EQ(array.size(), 0u);
}

TEST_F(MemoryTest, AnArrayGrowsAndKeepsItsRecords) {
  PageArray<int32_t> array;
  ASSERT_TRUE(array.Grow(10));
  array[9] = 77;
  ASSERT_TRUE(array.Grow(100000));
  EXPECT_EQ(array.size(), 100000u);
  EXPECT_EQ(array[9], 77);
  EXPECT_EQ(array[99999], 0);
  platform::ArmFault(Operation::kAllocate, 1, false);
  EXPECT_FALSE(array.Grow(10000000));
  EXPECT_EQ(array.size(), 100000u);
  EXPECT_EQ(array[9], 77);
}

TEST_F(MemoryTest, AnArrayThatCannotBeAllocatedIsEmpty) {
  PageArray<int32_t> array;
  platform::ArmFault(Operation::kAllocate, 1, false);
  EXPECT_FALSE(array.Allocate(10));
  EXPECT_FALSE(array);
  EXPECT_EQ(array.size(), 0u);
}

TEST_F(MemoryTest, AnArrayMovesItsBlock) {
  PageArray<int32_t> first;
  ASSERT_TRUE(first.Allocate(5));
  int32_t* const block = first.data();
  PageArray<int32_t> second(std::move(first));
  EXPECT_EQ(second.data(), block);
  EXPECT_EQ(second.size(), 5u);
  PageArray<int32_t> third;
  ASSERT_TRUE(third.Allocate(7));
  int32_t* const old_block = third.data();
  third = std::move(second);
  EXPECT_EQ(third.data(), block);
#if !defined(_WIN32)
  EXPECT_EQ(FRD_GetMemSize(old_block), 0u);
#else
  (void)old_block;
#endif
  third.Free();
  EXPECT_FALSE(third);
}

TEST_F(MemoryTest, AnArrayMovedToItselfKeepsItsBlock) {
  PageArray<int32_t> array;
  ASSERT_TRUE(array.Allocate(5));
  int32_t* const block = array.data();
  PageArray<int32_t>& same = array;
  array = std::move(same);
  EXPECT_EQ(array.data(), block);
  EXPECT_EQ(array.size(), 5u);
}

}  // namespace
}  // namespace zatlib
