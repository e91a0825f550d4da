#include "frd/work_buffer.h"

#include "platform/fault.h"
#include "test_support.h"

namespace zatlib::test {
namespace {

constexpr uint64_t kPage = 4096;

// Records of 64 bytes, of which the buffer itself holds 64.
struct Block {
  int64_t values[8];
};

class WorkBufferTest : public LibraryTest {
 protected:
  ~WorkBufferTest() override { platform::PlayMachine(0, 0); }

  // Every record of the buffer can be written and read.
  void ExpectRoom(int64_t room) {
    ASSERT_EQ(buffer_.room(), room);
    for (int64_t i = 0; i < room; ++i) buffer_[i].values[7] = i;
    for (int64_t i = 0; i < room; ++i) EXPECT_EQ(buffer_.data()[i].values[7], i);
  }

  WorkBuffer<Block> buffer_;
};

TEST_F(WorkBufferTest, TakesWhatIsWanted) {
  EXPECT_FALSE(buffer_.IsTaken());
  EXPECT_EQ(buffer_.room(), 0);
  buffer_.Take(1000);
  EXPECT_TRUE(buffer_.IsTaken());
  ExpectRoom(1000);
  // Once.
  buffer_.Take(2000);
  ExpectRoom(1000);
}

TEST_F(WorkBufferTest, SmallOnesNeedNoPages) {
  platform::CountOperations();
  buffer_.Take(64);
  ExpectRoom(64);
  EXPECT_EQ(platform::OperationCount(platform::Operation::kAllocate), 0);
}

TEST_F(WorkBufferTest, TakesHalfWhereMemoryIsShort) {
  // 1000 records are 16 pages, 500 are 8 and 250 are 4.
  platform::PlayMachine(0, 7 * kPage);
  buffer_.Take(1000);
  ExpectRoom(250);
}

TEST_F(WorkBufferTest, HasRoomWithoutAnyMemory) {
  platform::ArmFault(platform::Operation::kAllocate, 1, true);
  buffer_.Take(1000);
  ExpectRoom(64);
}

TEST_F(WorkBufferTest, MayBeGivenBackAndMoved) {
  buffer_.Take(64);
  buffer_[3].values[0] = 7;
  WorkBuffer<Block> other = std::move(buffer_);
  EXPECT_EQ(other[3].values[0], 7);
  other.Free();
  EXPECT_EQ(other.room(), 0);
  other.Take(1000);
  EXPECT_EQ(other.room(), 1000);
}

}  // namespace
}  // namespace zatlib::test
