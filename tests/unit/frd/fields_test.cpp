#include "frd/fields.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "test_support.h"

namespace zatlib {
namespace {

using Strings = std::vector<std::string>;

Strings Fields(std::string_view line) {
  Strings fields;
  FieldCursor cursor(line);
  std::string_view field;
  while (cursor.Next(&field)) fields.emplace_back(field);
  return fields;
}

TEST(Fields, CommaAndTabSeparateAlike) {
  EXPECT_EQ(Fields("a,b,c"), (Strings{"a", "b", "c"}));
  EXPECT_EQ(Fields("a\tb\tc"), (Strings{"a", "b", "c"}));
  EXPECT_EQ(Fields("a,b\tc"), (Strings{"a", "b", "c"}));
}

TEST(Fields, OtherCharactersDoNotSeparate) { EXPECT_EQ(Fields("a;b c\nd"), (Strings{"a;b c\nd"})); }

TEST(Fields, EmptyFieldsCount) {
  EXPECT_EQ(Fields(",a,,"), (Strings{"", "a", "", ""}));
  EXPECT_EQ(Fields(""), (Strings{""}));
  EXPECT_EQ(Fields(","), (Strings{"", ""}));
}

TEST(Fields, TheRecordEndsAtCrAndZero) {
  EXPECT_EQ(Fields("a,b\rc,d"), (Strings{"a", "b"}));
  EXPECT_EQ(Fields(std::string_view("a,b\0c,d", 7)), (Strings{"a", "b"}));
  EXPECT_EQ(Fields("\r"), (Strings{""}));
}

TEST(Fields, OneLeadingAndOneTrailingQuoteAreDropped) {
  EXPECT_EQ(Fields("\"a\",\"b\""), (Strings{"a", "b"}));
  EXPECT_EQ(Fields("\"a,b\""), (Strings{"a", "b"}));
  EXPECT_EQ(Fields("\"\",x"), (Strings{"", "x"}));
  EXPECT_EQ(Fields("\",x"), (Strings{"", "x"}));
  EXPECT_EQ(Fields("\"\"\"\",x"), (Strings{"\"\"", "x"}));
  // The trailing one goes without a leading one, too.
  EXPECT_EQ(Fields("a\",x"), (Strings{"a", "x"}));
  EXPECT_EQ(Fields("a\"b,x"), (Strings{"a\"b", "x"}));
}

TEST(Fields, QuotesDoNotProtectSeparators) {
  // Each piece of a quoted name with a comma loses the quote at its edge.
  EXPECT_EQ(Fields("1,\"Main Street, North\",2"), (Strings{"1", "Main Street", " North", "2"}));
  EXPECT_EQ(Fields("\"a\"\t\"b\tc\""), (Strings{"a", "b", "c"}));
  // A quote that is not at the edge of its piece stays.
  EXPECT_EQ(Fields("x\"a,b\"y"), (Strings{"x\"a", "b\"y"}));
}

TEST(Fields, BlanksStay) { EXPECT_EQ(Fields(" a , \"b\" "), (Strings{" a ", " \"b\" "})); }

TEST(Fields, AFieldOf63BytesPasses) {
  const std::string longest(63, 'x');
  EXPECT_EQ(Fields(longest), (Strings{longest}));
  EXPECT_EQ(Fields("1," + longest + ",2"), (Strings{"1", longest, "2"}));
  // The leading quote is skipped, the trailing one is copied first.
  EXPECT_EQ(Fields("\"" + longest), (Strings{longest}));
  EXPECT_EQ(Fields("\"" + std::string(62, 'x') + "\""), (Strings{std::string(62, 'x')}));
}

TEST(Fields, NothingComesAfterTheEnd) {
  FieldCursor cursor("a");
  std::string_view field;
  EXPECT_TRUE(cursor.Next(&field));
  EXPECT_FALSE(cursor.Next(&field));
  EXPECT_FALSE(cursor.Next(&field));
}

#if GTEST_HAS_DEATH_TEST && !defined(_WIN32)
void Notice(const char* path, int64_t line, int column) {
  std::fprintf(stderr, "too long: <%s> line %d column %d\n", path, static_cast<int>(line), column);
}

class FieldsDeathTest : public test::LibraryTest {
 protected:
  ~FieldsDeathTest() override { SetLongFieldNotice(nullptr); }
};

TEST_F(FieldsDeathTest, AFieldOf64BytesEndsTheProcess) {
  EXPECT_DEATH(Fields(std::string(64, 'x')), "");
  EXPECT_DEATH(Fields("a,b," + std::string(64, 'x') + ",c"), "");
  EXPECT_DEATH(Fields("\"" + std::string(63, 'x') + "\""), "");
}

TEST_F(FieldsDeathTest, TheNoticeComesFirst) {
  SetLongFieldNotice(Notice);
  EXPECT_DEATH(Fields("a,b," + std::string(64, 'x')), "too long: <> line 0 column 3");
}

TEST_F(FieldsDeathTest, TheNoticeNamesFileAndLine) {
  SetLongFieldNotice(Notice);
  EXPECT_DEATH(EndProcessAtLongField("nodes.txt", 2, 3), "too long: <nodes.txt> line 2 column 3");
}
#endif

}  // namespace
}  // namespace zatlib
