#include "platform/memory.h"

#include <gtest/gtest.h>

#include <cstdint>

namespace zatlib::platform {
namespace {

constexpr uint64_t kPage = 4096;

class PageMemoryTest : public ::testing::Test {
 protected:
  ~PageMemoryTest() override { PlayMachine(0, 0); }
};

TEST_F(PageMemoryTest, PagesAreZeroFilledAndWritable) {
  auto* block = static_cast<unsigned char*>(AllocPages(3 * kPage));
  ASSERT_NE(block, nullptr);
  EXPECT_EQ(reinterpret_cast<uintptr_t>(block) % kPage, 0u);
  for (uint64_t i = 0; i < 3 * kPage; ++i) {
    ASSERT_EQ(block[i], 0) << i;
    block[i] = 0xAB;
  }
  EXPECT_TRUE(FreePages(block));
}

TEST_F(PageMemoryTest, SizesAreRoundedUpToPages) {
  for (const auto& [size, region] : {std::pair<uint64_t, uint64_t>{1, kPage},
                                     {kPage, kPage},
                                     {kPage + 1, 2 * kPage},
                                     {1000000, 245 * kPage}}) {
    void* block = AllocPages(size);
    EXPECT_EQ(PagesSize(block), region) << size;
    EXPECT_TRUE(FreePages(block));
  }
}

TEST_F(PageMemoryTest, NeighboursAreCountedApart) {
  void* first = AllocPages(kPage);
  void* second = AllocPages(kPage);
  EXPECT_EQ(PagesSize(first), kPage);
  EXPECT_EQ(PagesSize(second), kPage);
  EXPECT_TRUE(FreePages(first));
  EXPECT_EQ(PagesSize(second), kPage);
  EXPECT_TRUE(FreePages(second));
}

TEST_F(PageMemoryTest, NothingIsRefused) {
  EXPECT_EQ(AllocPages(0), nullptr);
  EXPECT_EQ(PagesSize(nullptr), 0u);
  EXPECT_FALSE(FreePages(nullptr));
}

TEST_F(PageMemoryTest, AnImpossibleSizeIsRefused) {
  EXPECT_EQ(AllocPages(UINT64_MAX), nullptr);
  EXPECT_EQ(AllocPages(uint64_t{1} << 60), nullptr);
}

TEST_F(PageMemoryTest, TheMiddleOfABlockIsNoBlock) {
  auto* block = static_cast<char*>(AllocPages(2 * kPage));
  EXPECT_EQ(PagesSize(block + kPage), 0u);
  EXPECT_FALSE(FreePages(block + kPage));
  EXPECT_EQ(PagesSize(block), 2 * kPage);
  EXPECT_TRUE(FreePages(block));
}

TEST_F(PageMemoryTest, TheStatusIsPlausible) {
  const MemoryStatus status = GetMemoryStatus();
  EXPECT_GT(status.total_physical, uint64_t{64} << 20);
  EXPECT_GT(status.available_physical, 0u);
  EXPECT_LE(status.available_physical, status.total_physical);
  EXPECT_GT(status.total_paging, 0u);
  EXPECT_LE(status.available_paging, status.total_paging);
}

TEST_F(PageMemoryTest, PlaysASmallMachine) {
  PlayMachine(uint64_t{64} << 20, 0);
  EXPECT_EQ(GetMemoryStatus().total_physical, uint64_t{64} << 20);
  PlayMachine(0, 0);
  EXPECT_NE(GetMemoryStatus().total_physical, uint64_t{64} << 20);
}

TEST_F(PageMemoryTest, TheLimitCountsTheLiveBlocks) {
  void* before = AllocPages(4 * kPage);
  PlayMachine(0, 6 * kPage);
  EXPECT_EQ(AllocPages(2 * kPage + 1), nullptr);
  void* fits = AllocPages(2 * kPage);
  EXPECT_NE(fits, nullptr);
  EXPECT_EQ(AllocPages(1), nullptr);
  EXPECT_TRUE(FreePages(before));
  before = AllocPages(4 * kPage);
  EXPECT_NE(before, nullptr);
  EXPECT_TRUE(FreePages(before));
  EXPECT_TRUE(FreePages(fits));
}

}  // namespace
}  // namespace zatlib::platform
