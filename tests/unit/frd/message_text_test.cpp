#include "frd/message_text.h"

#include <gtest/gtest.h>

#include "frd/cp932.h"

namespace zatlib {
namespace {

// Each conversion takes its own type and no other.
static_assert(FitsValues<const char*>("Can't open the file (%s) !"));
static_assert(!FitsValues<int>("Can't open the file (%s) !"));
static_assert(FitsValues<int>("FILE%02d"));
static_assert(!FitsValues<long>("FILE%02d"));
static_assert(FitsValues<long>("lnNumNode=%ld"));
static_assert(!FitsValues<int>("lnNumNode=%ld"));
static_assert(FitsValues<long long>("size=%lld"));
static_assert(!FitsValues<long>("size=%lld"));
static_assert(FitsValues<double>("Total Physycal=%.1lfMB"));
static_assert(FitsValues<double>("%f"));
static_assert(!FitsValues<double>("%d"));
static_assert(!FitsValues<const char*>("%d"));
static_assert(!FitsValues<double>("%llf"));
static_assert(!FitsValues<const char*>("%ls"));

// Values are taken in order; a text may leave the last ones out but not ask for more.
static_assert(FitsValues<const char*, int>("%s at %02d"));
static_assert(!FitsValues<const char*, int>("%d at %s"));
static_assert(FitsValues<const char*, int>("%s"));
static_assert(FitsValues<const char*, int>(""));
static_assert(!FitsValues<const char*>("%s at %02d"));
static_assert(!FitsValues<>("%d"));

// "%%" is a character, and a '%' at the end asks for a value that nothing gives.
static_assert(FitsValues<>("99%% full"));
static_assert(FitsValues<int>("%%%d"));
static_assert(!FitsValues<int>("100%"));
static_assert(!FitsValues<>("100%"));

struct Texts {
  MessageText<const char*, long> not_read;
  MessageText<int> progress = "";
};

TEST(MessageText, ATextInJapaneseStaysWhereItIs) {
  static constexpr MessageText<int> kText = kCp932<u8"道路 %d">;
  EXPECT_EQ(kText.c_str(), static_cast<const char*>(kCp932<u8"道路 %d">));
  EXPECT_STREQ(kText.c_str(), "\x93\xB9\x98\x48 %d");
}

TEST(MessageText, MembersOfATableAreNamedAndMayBeLeftEmpty) {
  static constexpr Texts kTexts = {.not_read = "Can't read %s at %ld", .progress = {}};
  EXPECT_STREQ(kTexts.not_read.c_str(), "Can't read %s at %ld");
  EXPECT_FALSE(kTexts.not_read.empty());
  EXPECT_TRUE(kTexts.progress.empty());
  EXPECT_STREQ(kTexts.progress.c_str(), "");
}

}  // namespace
}  // namespace zatlib
