#include "map/record_files.h"

#include <filesystem>

#include "fault_each.h"
#include "network/network_files.h"
#include "small_map.h"

namespace zatlib::test {
namespace {

TEST_F(SmallMap, ReadersGiveWholeRecordsAndThenZeros) {
  Write("nodeattr.dat", "\x01\x02");
  map::RecordReader<uint16_t> reader;
  uint16_t value = 9;
  EXPECT_FALSE(reader.Next(&value));
  ASSERT_TRUE(reader.Open(Open(), "nodeattr.dat"));
  EXPECT_TRUE(reader.Next(&value));
  EXPECT_EQ(value, 0x0201);
  EXPECT_FALSE(reader.Next(&value));
  EXPECT_EQ(value, 0);
  EXPECT_FALSE(reader.Open(Open(), "missing.dat"));
}

TEST_F(SmallMap, ReadersGoOnFromBlockToBlock) {
  // One record more than a block of 1 MiB holds, of a size that does not divide it.
  constexpr int kCount = (1 << 20) / 12 + 1;
  Bytes bytes;
  for (int i = 0; i < kCount; ++i) bytes.I32(i).I64(-i);
  Write("big.dat", bytes.str() + "tail");
  map::ByteReader reader;
  ASSERT_TRUE(reader.Open(folder_ / "big.dat", 12, 24));
  int count = 2;
  while (const char* record = reader.Next()) {
    int32_t number = 0;
    std::memcpy(&number, record, 4);
    ASSERT_EQ(number, count++);
  }
  EXPECT_EQ(count, kCount);
}

TEST_F(SmallMap, AReaderThatIsNotOpenHasNoRecords) {
  map::ByteReader reader;
  EXPECT_EQ(reader.Next(), nullptr);
  EXPECT_FALSE(reader.Open(folder_ / "missing.dat", 8));
  EXPECT_EQ(reader.Next(), nullptr);
}

TEST_F(SmallMap, AReaderBeginsWhereItIsTold) {
  map::ByteReader reader;
  ASSERT_TRUE(reader.Open(folder_ / "shapedat.dat", 8, 8));
  EXPECT_EQ(std::string(reader.Next(), 8), Bytes().I32(500).I32(50).str());
  EXPECT_FALSE(RunWithFault({platform::Operation::kSeek},
                            [&] { return reader.Open(folder_ / "shapedat.dat", 8, 8); }));
}

TEST_F(SmallMap, SingleRecordsAreReadAnywhere) {
  map::RecordFile file;
  NodeLocation location{};
  EXPECT_FALSE(file.Read(0, &location));
  ASSERT_TRUE(file.Open(folder_ / "maploc.dat", sizeof location));
  EXPECT_EQ(file.count(), 5);
  EXPECT_TRUE(file.Read(3, &location));
  EXPECT_EQ(location.Y, 1000);
  EXPECT_FALSE(file.Read(5, &location));
  EXPECT_FALSE(file.Read(-1, &location));
  NodeLocation two[2];
  EXPECT_TRUE(file.Read(1, 2, two));
  EXPECT_EQ(two[1].X, 2000);
  EXPECT_FALSE(file.Read(4, 2, two));
  EXPECT_FALSE(file.Read(1, -1, two));
  EXPECT_FALSE(file.Read(6, 0, two));
  EXPECT_FALSE(RunWithFault({platform::Operation::kRead}, [&] { return file.Read(1, 2, two); }));
}

#ifndef _WIN32  // where such a file takes room
TEST_F(SmallMap, MoreThanOneReadGivesIsNotRead) {
  map::RecordFile file;
  Write("sparse.dat", "");
  std::filesystem::resize_file(folder_ / "sparse.dat", uint64_t{1} << 32);
  ASSERT_TRUE(file.Open(folder_ / "sparse.dat", 1 << 16));
  EXPECT_EQ(file.count(), 1 << 16);
  char none = 0;
  EXPECT_FALSE(file.Read(0, 1 << 16, &none));  // 4 GiB
}
#endif

TEST_F(SmallMap, ATableHoldsTheWholeRecordsOfAFile) {
  Write("maploc.dat", Read("maploc.dat") + "rest");
  map::RecordTable<NodeLocation> table;
  EXPECT_EQ(Told(table.Load(Open(), "missing.dat")), "unreadable missing.dat -1");
  EXPECT_EQ(table.size(), 0);
  EXPECT_TRUE(table.Load(Open(), "maploc.dat").ok());
  EXPECT_EQ(table.size(), 5);
  EXPECT_EQ(table[4].X, 9000);
  EXPECT_TRUE(table.Holds(4));
  EXPECT_FALSE(table.Holds(5));
  EXPECT_FALSE(table.Holds(-1));
  table.Free();
  EXPECT_EQ(table.size(), 0);
}

}  // namespace
}  // namespace zatlib::test
