#include "network/workstore/store_file.h"

#include <vector>

#include "../network_stores.h"

namespace zatlib::test::network {
namespace {

struct NumberRecord {
  int32_t number;
  char rest[44];
};
static_assert(sizeof(NumberRecord) == 48);

constexpr int64_t kCount = 60000;  // some 2.7 MiB, more than any block that is read at once

class StoreFileTest : public NetworkTest {
 protected:
  // A store of numbered records with an incomplete one behind them.
  StoreFileTest() {
    Bytes bytes;
    for (int64_t i = 0; i < kCount; ++i) bytes.I32(i).Zero(44);
    bytes.Zero(47);
    path_ = folder_ / "numbers";
    WriteBytes(path_, bytes);
  }

  // Number of records that are not what they should be, asked for in the order of `place`.
  template <typename Place>
  int64_t CountWrong(Place place) {
    StoreFile<NumberRecord> store;
    EXPECT_TRUE(store.Open(path_.c_str(), platform::Access::kRead));
    EXPECT_EQ(store.count(), kCount);
    int64_t wrong = 0;
    for (int64_t i = 0; i < kCount; ++i) {
      const NumberRecord* record = store.At(place(i));
      if (record == nullptr || record->number != place(i)) ++wrong;
    }
    return wrong;
  }

  std::string path_;
};

TEST_F(StoreFileTest, RecordsAreReadInAnyOrder) {
  EXPECT_EQ(CountWrong([](int64_t i) { return i; }), 0);
  EXPECT_EQ(CountWrong([](int64_t i) { return kCount - 1 - i; }), 0);
  EXPECT_EQ(CountWrong([](int64_t i) { return i * 7001 % kCount; }), 0);
  EXPECT_EQ(CountWrong([](int64_t i) { return i / 3 * 3; }), 0);
  EXPECT_EQ(CountWrong([](int64_t i) { return i % 2 == 0 ? i : kCount - i; }), 0);
  EXPECT_EQ(CountWrong([](int64_t i) { return i * 50 % kCount; }), 0);
}

TEST_F(StoreFileTest, FewReadsServeAPass) {
  platform::CountOperations();
  EXPECT_EQ(CountWrong([](int64_t i) { return i; }), 0);
  EXPECT_LT(platform::OperationCount(platform::Operation::kRead), 20);
  platform::ClearFaults();
}

TEST_F(StoreFileTest, PlacesOutsideTheStoreHoldNothing) {
  StoreFile<NumberRecord> store;
  ASSERT_TRUE(store.Open(path_.c_str(), platform::Access::kRead));
  EXPECT_EQ(store.At(-1), nullptr);
  EXPECT_EQ(store.At(kCount), nullptr);
  EXPECT_EQ(store.At(int64_t{1} << 60), nullptr);
  const NumberRecord* last = store.At(kCount - 1);
  ASSERT_NE(last, nullptr);
  EXPECT_EQ(last->number, kCount - 1);
}

TEST_F(StoreFileTest, ChangesAreSeenLaterAndInTheFile) {
  std::string expected = FileBytes("numbers");
  StoreFile<NumberRecord> store;
  ASSERT_TRUE(store.Open(path_.c_str(), platform::Access::kReadWrite));
  for (int64_t i = 0; i < kCount; i += 997) {
    const int64_t place = i * 7001 % kCount;
    NumberRecord* record = store.At(place);
    ASSERT_NE(record, nullptr);
    record->number = -record->number;
    ASSERT_TRUE(store.Write(place));
    expected.replace(static_cast<size_t>(place) * 48, 4, Bytes().I32(-place).str());
  }
  for (int64_t i = 0; i < kCount; i += 997) {
    const int64_t place = i * 7001 % kCount;
    const NumberRecord* record = store.At(place);
    ASSERT_NE(record, nullptr);
    EXPECT_EQ(record->number, -place);
  }
  EXPECT_TRUE(FileBytes("numbers") == expected);
}

TEST_F(StoreFileTest, ARefusedReadCanBeTriedAgain) {
  StoreFile<NumberRecord> store;
  ASSERT_TRUE(store.Open(path_.c_str(), platform::Access::kRead));
  EXPECT_EQ(RunWithFault({platform::Operation::kRead, 1, true}, [&] { return store.At(0); }),
            nullptr);
  const NumberRecord* record = store.At(0);
  ASSERT_NE(record, nullptr);
  EXPECT_EQ(record->number, 0);
}

TEST_F(StoreFileTest, RunsOfRecordsAreReadPastTheBlock) {
  StoreFile<NumberRecord> store;
  ASSERT_TRUE(store.Open(path_.c_str(), platform::Access::kRead));
  std::vector<NumberRecord> records(5);
  EXPECT_EQ(store.Read(59997, 5, records.data()), 3);
  EXPECT_EQ(records[0].number, 59997);
  EXPECT_EQ(records[2].number, 59999);
  EXPECT_EQ(store.Read(7, 2, records.data()), 2);
  EXPECT_EQ(records[1].number, 8);
  EXPECT_EQ(store.Read(-1, 5, records.data()), 0);
  EXPECT_EQ(store.Read(60000, 5, records.data()), 0);
  EXPECT_EQ(store.Read(7, 0, records.data()), 0);
}

TEST_F(StoreFileTest, APlaceThatCannotBeSoughtHoldsNothing) {
  StoreFile<NumberRecord> store;
  ASSERT_TRUE(store.Open(path_.c_str(), platform::Access::kReadWrite));
  NumberRecord record{};
  const auto at = [&] { return store.At(59000); };
  const auto read = [&] { return store.Read(7, 1, &record); };
  const auto write = [&] { return store.Write(59000); };
  EXPECT_EQ(RunWithFault({platform::Operation::kSeek, 1, true}, at), nullptr);
  EXPECT_EQ(RunWithFault({platform::Operation::kSeek, 1, true}, read), 0);
  ASSERT_NE(store.At(59000), nullptr);
  EXPECT_FALSE(RunWithFault({platform::Operation::kSeek, 1, true}, write));
  EXPECT_TRUE(store.Write(59000));
}

TEST_F(StoreFileTest, AWriteThatIsRefusedIsTold) {
  StoreFile<NumberRecord> store;
  ASSERT_TRUE(store.Open(path_.c_str(), platform::Access::kReadWrite));
  ASSERT_NE(store.At(3), nullptr);
  const auto write = [&] { return store.Write(3); };
  EXPECT_FALSE(RunWithFault({platform::Operation::kWrite, 1, true}, write));
  EXPECT_EQ(FileBytes("numbers").size(), 60000u * 48 + 47);
}

TEST_F(StoreFileTest, MissingStoresDoNotOpen) {
  StoreFile<NumberRecord> store;
  EXPECT_FALSE(store.Open((folder_ / "nothing").c_str(), platform::Access::kRead));
  EXPECT_FALSE(store.IsOpen());
  EXPECT_FALSE(store.Open((folder_ / "nothing").c_str(), platform::Access::kReadWrite));
  EXPECT_FALSE(Exists(folder_ / "nothing"));
}

}  // namespace
}  // namespace zatlib::test::network
