#include "frd/whole_file.h"

#include <gtest/gtest.h>

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

class WholeFileTest : public LibraryTest {
 protected:
  WholeFileTest() { WriteBytes(path_, Bytes().I32(1).I32(2).I32(3).I32(4).Text("xyz", 3)); }
  std::string path_ = folder_ / "table.dat";
  WholeFile file_;
};

TEST_F(WholeFileTest, HoldsTheFileAndCountsWholeRecords) {
  ASSERT_EQ(LoadWholeFile(path_.c_str(), &file_), LoadResult::kLoaded);
  EXPECT_EQ(file_.size, 19u);
  EXPECT_EQ(file_.count<Pair>(), 2);
  EXPECT_EQ(file_.records<Pair>()[1].a, 3);
  EXPECT_EQ(file_.records<Pair>()[1].b, 4);
}

TEST_F(WholeFileTest, IsFollowedBySixtyFourZeroBytes) {
  ASSERT_EQ(LoadWholeFile(path_.c_str(), &file_), LoadResult::kLoaded);
  EXPECT_EQ(file_.bytes.size(), 19u + 64u);
  EXPECT_EQ(std::string(file_.bytes.data() + 19, 64), std::string(64, '\0'));
}

TEST_F(WholeFileTest, AnEmptyFileLoads) {
  WriteBytes(path_, "");
  ASSERT_EQ(LoadWholeFile(path_.c_str(), &file_), LoadResult::kLoaded);
  EXPECT_EQ(file_.size, 0u);
  EXPECT_EQ(file_.count<Pair>(), 0);
}

TEST_F(WholeFileTest, TellsWhatFailedAndIsEmptyThen) {
  ASSERT_EQ(LoadWholeFile(path_.c_str(), &file_), LoadResult::kLoaded);
  ArmFault(Operation::kOpen, 1, false);
  EXPECT_EQ(LoadWholeFile(path_.c_str(), &file_), LoadResult::kNotOpened);
  EXPECT_EQ(file_.size, 0u);
  EXPECT_FALSE(file_.bytes);
  ArmFault(Operation::kAllocate, 1, false);
  EXPECT_EQ(LoadWholeFile(path_.c_str(), &file_), LoadResult::kNoMemory);
  ArmFault(Operation::kRead, 1, false);
  EXPECT_EQ(LoadWholeFile(path_.c_str(), &file_), LoadResult::kNotRead);
  EXPECT_EQ(LoadWholeFile((folder_ / "none.dat").c_str(), &file_), LoadResult::kNotOpened);
}

TEST_F(WholeFileTest, AnotherSizeThanExpectedCountsAsNotRead) {
  EXPECT_EQ(LoadWholeFile(path_.c_str(), 19, &file_), LoadResult::kLoaded);
  EXPECT_EQ(LoadWholeFile(path_.c_str(), 20, &file_), LoadResult::kNotRead);
  EXPECT_EQ(file_.size, 0u);
}

}  // namespace
}  // namespace zatlib::test
