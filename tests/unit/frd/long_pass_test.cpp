#include "frd/long_pass.h"

#include <vector>

#include "test_support.h"

namespace zatlib {
namespace {

class LongPassTest : public test::LibraryTest {
 protected:
  LongPassTest() {
    g_silent = 0;
    FRD_SetCancelled(false);
  }
  ~LongPassTest() override {
    g_silent = 1;
    FRD_SetCancelled(false);
  }
};

double ValueOf(const double& value) { return value; }

std::vector<double> Descending(int64_t count) {
  std::vector<double> values;
  for (int64_t i = count; i > 0; --i) values.push_back(static_cast<double>(i));
  return values;
}

TEST_F(LongPassTest, LooksAtTheEndOfEveryInterval) {
  FRD_SetCancelled(true);
  EXPECT_FALSE(CancelledAt(0));
  EXPECT_FALSE(CancelledAt(65534));
  EXPECT_TRUE(CancelledAt(65535));
  EXPECT_FALSE(CancelledAt(65536));
  EXPECT_TRUE(CancelledAt(131071));
  EXPECT_TRUE(CancelledAt(1023, 1024));
  EXPECT_FALSE(CancelledAt(1024, 1024));
  FRD_SetCancelled(false);
  EXPECT_FALSE(CancelledAt(65535));
}

TEST_F(LongPassTest, SilentRunsAreNotCancelled) {
  FRD_SetCancelled(true);
  g_silent = 1;
  EXPECT_FALSE(CancelledAt(65535));
  std::vector<double> values = Descending(3000000);
  EXPECT_EQ(SortUnlessCancelled(values.data(), 3000000, ValueOf), 1);
  EXPECT_EQ(values.front(), 1.0);
  EXPECT_EQ(values.back(), 3000000.0);
}

TEST_F(LongPassTest, SortsWhatSortRecordsSorts) {
  for (const int64_t count : {int64_t{0}, int64_t{1}, int64_t{1000}, int64_t{200000}}) {
    std::vector<double> values = Descending(count);
    EXPECT_EQ(SortUnlessCancelled(values.data(), count, ValueOf), 1);
    for (int64_t i = 0; i < count; ++i) {
      ASSERT_EQ(values[static_cast<size_t>(i)], static_cast<double>(i + 1));
    }
  }
}

TEST_F(LongPassTest, ALongSortStopsWhenTheUserCancels) {
  std::vector<double> values = Descending(3000000);
  FRD_SetCancelled(true);
  EXPECT_EQ(SortUnlessCancelled(values.data(), 3000000, ValueOf), 0);
  EXPECT_NE(values.back(), 3000000.0);
  // A short one is done before anybody could cancel it.
  values = Descending(60000);
  EXPECT_EQ(SortUnlessCancelled(values.data(), 60000, ValueOf), 1);
  EXPECT_EQ(values.back(), 60000.0);
}

}  // namespace
}  // namespace zatlib
