#include "shape/shape_output.h"

#include "fault_each.h"
#include "platform/fault.h"
#include "test_support.h"

namespace zatlib {
namespace {

using platform::Operation;
using platform::WriteFault;
using test::Bytes;
using test::ReadBytes;
using test::Record;
using test::RunWithFault;
using Part = FailedShapeWrite::Part;

constexpr int kPointsOfBlock = 131072;  // points written at once

class ShapeOutputTest : public test::LibraryTest {
 protected:
  void Open(bool append = false) {
    ASSERT_EQ(output_.Open((folder_ / "p").c_str(), (folder_ / "i").c_str(), append),
              ShapeOutput::Opened::kBoth);
  }

  // A record with points (first, 1), (first + 1, 2), ...
  bool Add(double code, int count, int first = 0, bool line_object = false) {
    if (!output_.BeginRecord(FeatureCode::FromDouble(code), line_object)) return false;
    for (int i = 0; i < count; ++i) {
      if (!output_.AddPoint({first + i, i + 1})) return false;
    }
    output_.EndRecord(count);
    return true;
  }

  void ExpectFailure(Part part, int64_t record, int64_t item, bool line_object) {
    EXPECT_EQ(output_.failure().part, part);
    EXPECT_EQ(output_.failure().record, record);
    EXPECT_EQ(output_.failure().item, item);
    EXPECT_EQ(output_.failure().line_object, line_object);
  }

  std::string points() { return ReadBytes(folder_ / "p"); }
  std::string entries() { return ReadBytes(folder_ / "i"); }

  ShapeOutput output_;
};

TEST_F(ShapeOutputTest, WritesPointsAndEntries) {
  Open();
  EXPECT_TRUE(Add(11, 2, 100));
  EXPECT_TRUE(Add(12, 0));
  EXPECT_TRUE(Add(13, 1, 300));
  EXPECT_EQ(output_.last_entry().Offset, 16);
  EXPECT_EQ(output_.last_entry().Count, 1);
  EXPECT_TRUE(output_.Finish());
  EXPECT_EQ(points(), Bytes().I32(100).I32(1).I32(101).I32(2).I32(300).I32(1).str());
  EXPECT_EQ(entries(),
            Bytes().F64(11).I32(0).I32(2).F64(12).I32(16).I32(0).F64(13).I32(16).I32(1).str());
  ExpectFailure(Part::kNone, 0, 0, false);
}

TEST_F(ShapeOutputTest, TellsWhichFileCannotBeOpened) {
  test::MakeFolder(folder_ / "d");
  ShapeOutput no_data;
  EXPECT_EQ(no_data.Open((folder_ / "d").c_str(), (folder_ / "i").c_str(), false),
            ShapeOutput::Opened::kNoData);
  ShapeOutput no_index;
  EXPECT_EQ(no_index.Open((folder_ / "p").c_str(), (folder_ / "d").c_str(), false),
            ShapeOutput::Opened::kNoIndex);
}

// Nobody else may write the shapes meanwhile.
TEST_F(ShapeOutputTest, OpensWithoutSharing) {
  Open();
  ShapeOutput second;
  EXPECT_EQ(second.Open((folder_ / "p").c_str(), (folder_ / "i").c_str(), true),
            ShapeOutput::Opened::kNoData);
}

TEST_F(ShapeOutputTest, ABigShapeGoesThroughSeveralBlocks) {
  Open();
  EXPECT_TRUE(Add(1, 300000));
  EXPECT_TRUE(Add(2, 1, -5));
  EXPECT_TRUE(output_.Finish());
  const std::string data = points();
  ASSERT_EQ(data.size(), 300001u * 8);
  for (const int i : {0, kPointsOfBlock - 1, kPointsOfBlock, 2 * kPointsOfBlock, 299999}) {
    EXPECT_EQ(Record(data, static_cast<size_t>(i), 8), Bytes().I32(i).I32(i + 1).str()) << i;
  }
  EXPECT_EQ(Record(data, 300000, 8), Bytes().I32(-5).I32(1).str());
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(300000).F64(2).I32(2400000).I32(1).str());
}

TEST_F(ShapeOutputTest, ManySmallShapesGoThroughSeveralBlocks) {
  Open();
  for (int i = 0; i < 100000; ++i) ASSERT_TRUE(Add(i, 1, i));
  EXPECT_TRUE(output_.Finish());
  const std::string index = entries();
  ASSERT_EQ(index.size(), 100000u * 16);
  ASSERT_EQ(points().size(), 100000u * 8);
  for (const int i : {0, 16383, 16384, 65535, 65536, 99999}) {
    EXPECT_EQ(Record(index, static_cast<size_t>(i), 16), Bytes().F64(i).I32(i * 8).I32(1).str());
  }
}

TEST_F(ShapeOutputTest, NamesTheFirstPointThatIsNotWhole) {
  Open();
  EXPECT_TRUE(Add(1, 3));
  EXPECT_TRUE(Add(2, 0));
  EXPECT_TRUE(Add(3, 2, 0, true));
  EXPECT_TRUE(Add(4, 2));
  // Half of 7 points is 28 bytes: three points and a half.
  EXPECT_FALSE(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                            [&] { return output_.Finish(); }));
  ExpectFailure(Part::kPoint, 3, 1, true);
  EXPECT_EQ(points().size(), 28u);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(3).F64(2).I32(24).I32(0).str());
}

TEST_F(ShapeOutputTest, NamesTheVeryFirstPointWhenNothingIsWritten) {
  Open();
  EXPECT_TRUE(Add(1, 3));
  EXPECT_TRUE(Add(2, 3));
  EXPECT_FALSE(RunWithFault({Operation::kWrite, 1, true}, [&] { return output_.Finish(); }));
  ExpectFailure(Part::kPoint, 1, 1, false);
  EXPECT_EQ(points(), "");
  EXPECT_EQ(entries(), "");
}

TEST_F(ShapeOutputTest, FindsTheFailedPointOfALaterBlock) {
  Open();
  EXPECT_TRUE(Add(1, kPointsOfBlock + 100));
  EXPECT_TRUE(Add(2, 100));
  // 200 points are left for the second write; half of them complete the first record.
  EXPECT_FALSE(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                            [&] { return output_.Finish(); }));
  ExpectFailure(Part::kPoint, 2, 1, false);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(kPointsOfBlock + 100).str());
}

TEST_F(ShapeOutputTest, AWriteThatFailsInsideARecordStopsThere) {
  Open();
  EXPECT_TRUE(Add(1, 10));
  platform::ArmFault(Operation::kWrite, 1, false, WriteFault::kHalfWritten);
  EXPECT_FALSE(Add(2, 200000));
  EXPECT_FALSE(output_.Finish());
  // 65,536 points are whole, 10 of them of the first record.
  ExpectFailure(Part::kPoint, 2, 65527, false);
  EXPECT_EQ(points().size(), 65536u * 8);
  EXPECT_EQ(entries(), Bytes().F64(1).I32(0).I32(10).str());
}

TEST_F(ShapeOutputTest, FindsTheFailedRecordAmongMany) {
  Open();
  for (int i = 0; i < 20000; ++i) ASSERT_TRUE(Add(i + 1, 1));
  // The first 16,384 records are written; half of the other 3,616 are 1,808.
  EXPECT_FALSE(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                            [&] { return output_.Finish(); }));
  ExpectFailure(Part::kPoint, 18193, 1, false);
  EXPECT_EQ(entries().size(), 18192u * 16);
}

TEST_F(ShapeOutputTest, NamesTheFirstEntryThatIsNotWhole) {
  Open();
  for (int i = 1; i <= 3; ++i) EXPECT_TRUE(Add(i, 2));
  // Half of three entries is 24 bytes: one entry and a half.
  EXPECT_FALSE(RunWithFault({Operation::kWrite, 2, false, WriteFault::kHalfWritten},
                            [&] { return output_.Finish(); }));
  ExpectFailure(Part::kEntry, 2, 0, false);
  EXPECT_EQ(points().size(), 48u);
  EXPECT_EQ(entries().size(), 24u);
}

// Of a disk that is full for both files the earlier failure counts.
TEST_F(ShapeOutputTest, AnEntryBeforeTheFailedPointGoesFirst) {
  Open();
  EXPECT_TRUE(Add(1, 2));
  EXPECT_TRUE(Add(2, 2));
  // The first record's points get through, its entry does not.
  EXPECT_FALSE(RunWithFault({Operation::kWrite, 1, true, WriteFault::kHalfWritten},
                            [&] { return output_.Finish(); }));
  EXPECT_EQ(output_.failure().part, Part::kEntry);
  EXPECT_EQ(output_.failure().record, 1);
  EXPECT_EQ(points().size(), 16u);
  EXPECT_EQ(entries().size(), 8u);
}

TEST_F(ShapeOutputTest, AppendsAndCountsRecordsOfTheFileAnew) {
  test::WriteBytes(folder_ / "p", Bytes().I32(1).I32(2).I32(3).I32(4));
  test::WriteBytes(folder_ / "i", Bytes().F64(9).I32(0).I32(2));
  Open(true);
  EXPECT_TRUE(Add(1, 1, 50));
  EXPECT_TRUE(Add(2, 3, 60));
  // Half of 4 points.
  EXPECT_FALSE(RunWithFault({Operation::kWrite, 1, false, WriteFault::kHalfWritten},
                            [&] { return output_.Finish(); }));
  ExpectFailure(Part::kPoint, 2, 2, false);
  EXPECT_EQ(points(), Bytes().I32(1).I32(2).I32(3).I32(4).I32(50).I32(1).I32(60).I32(1).str());
  EXPECT_EQ(entries(), Bytes().F64(9).I32(0).I32(2).F64(1).I32(16).I32(1).str());
}

}  // namespace
}  // namespace zatlib
