#include "map/code_index.h"

#include "fault_each.h"
#include "small_map.h"

namespace zatlib::test {
namespace {

using map::CodeDigits;
using map::CodeIndex;
using map::ParseCodeDigits;

TEST(CodeDigitsTest, WholeCodesAreTheirDigits) {
  EXPECT_EQ(CodeDigits(FeatureCode::FromDouble(10000010000001), 14), "10000010000001");
  EXPECT_EQ(CodeDigits(FeatureCode::FromDouble(7), 14), "7");
  EXPECT_EQ(CodeDigits(FeatureCode::FromDouble(0.5), 14), "0.5");
  EXPECT_EQ(CodeDigits(FeatureCode::FromDouble(2e15), 14), "2000000000000000");
  EXPECT_EQ(CodeDigits(FeatureCode::FromInteger(990000000000000001), 18), "990000000000000001");
}

TEST(CodeDigitsTest, CodesAreReadFromUpTo18Digits) {
  FeatureCode code;
  EXPECT_TRUE(ParseCodeDigits("201", 14, &code));
  EXPECT_EQ(code.AsDouble(), 201.0);
  EXPECT_TRUE(ParseCodeDigits("123456789012345678", 18, &code));
  EXPECT_EQ(code.AsInteger(), 123456789012345678);
  for (const char* text : {"", "1234567890123456789", "-1", "1.5", " 1", "1e3"}) {
    EXPECT_FALSE(ParseCodeDigits(text, 14, &code)) << text;
  }
}

TEST_F(SmallMap, CodesAreFoundInTheSortedIndex) {
  // Out of the order of the records: 301 is link 5, 302 link 1.
  Write("link.idx", IndexRecord(301, 5) + IndexRecord(302, 1) + IndexRecord(305, 0));
  CodeIndex index;
  EXPECT_EQ(index.Position(FeatureCode::FromDouble(301)), -1);
  EXPECT_FALSE(index.Open(Open(), "missing.idx"));
  ASSERT_TRUE(index.Open(Open(), "link.idx"));
  EXPECT_EQ(index.count(), 3);
  const int64_t numbers[][3] = {{300, -1, -1}, {301, 0, 5}, {302, 1, 1},
                                {303, -1, -1}, {305, 2, 0}, {306, -1, -1}};
  for (const auto& [code, position, number] : numbers) {
    const FeatureCode wanted = FeatureCode::FromDouble(static_cast<double>(code));
    EXPECT_EQ(index.Position(wanted), position) << code;
    EXPECT_EQ(index.Number(wanted), number) << code;
  }
}

TEST_F(SmallMap, ACodeThatCannotBeReadIsNotFound) {
  CodeIndex index;
  ASSERT_TRUE(index.Open(Open(), "link.idx"));
  const FeatureCode code = FeatureCode::FromDouble(201);
  ASSERT_EQ(index.Number(code), 0);
  // Looking for the first of four records reads three of them, and the one found once more, twice.
  for (int read = 1; read <= 5; ++read) {
    EXPECT_EQ(RunWithFault({platform::Operation::kRead, read}, [&] { return index.Number(code); }),
              -1)
        << read;
  }
}

}  // namespace
}  // namespace zatlib::test
