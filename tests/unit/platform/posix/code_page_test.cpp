// The code pages that a process may begin with, and what a terminal gets of texts in them.
#include "platform/code_page.h"

#ifndef _WIN32

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "environment.h"

namespace zatlib::platform {
namespace {

using test::Environment;

constexpr char kVariable[] = "ZATLIB_CODEPAGE";

// The code page is read once: each one is asked in a process of its own.
class CodePageOfProcess : public ::testing::Test {
 protected:
  CodePageOfProcess() { GTEST_FLAG_SET(death_test_style, "threadsafe"); }
  ~CodePageOfProcess() override { GTEST_FLAG_SET(death_test_style, "fast"); }
};

// The first and the last lead byte, in hexadecimal digits; "" when there is none.
std::string LeadBytes() {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (int byte = 0; byte < 256; ++byte) {
    const bool lead = IsLeadByte(static_cast<unsigned char>(byte));
    const bool before = byte > 0 && IsLeadByte(static_cast<unsigned char>(byte - 1));
    if (lead == before) continue;
    const int edge = lead ? byte : byte - 1;
    text += kDigits[edge / 16];
    text += kDigits[edge % 16];
    text += lead ? '-' : ' ';
  }
  return text;
}

TEST_F(CodePageOfProcess, TheEnvironmentNamesIt) {
  struct Case {
    const char* value;
    unsigned page;
    const char* lead_bytes;
  };
  const Case cases[] = {{"932", 932, "81-9F E0-FC "}, {"936", 936, "81-FE "},
                        {"949", 949, "81-FE "},       {"950", 950, "81-FE "},
                        {"1252", 1252, ""},           {"65001", 65001, ""},
                        {"", 932, "81-9F E0-FC "},    {"none", 932, "81-9F E0-FC "},
                        {"-1", 932, "81-9F E0-FC "},  {"65536", 932, "81-9F E0-FC "}};
  for (const Case& c : cases) {
    const Environment page(kVariable, c.value);
    EXPECT_EXIT(std::exit(CodePage() == c.page && LeadBytes() == c.lead_bytes ? 0 : 1),
                ::testing::ExitedWithCode(0), "")
        << c.value;
  }
}

TEST_F(CodePageOfProcess, WithoutTheEnvironmentItIsTheJapaneseOne) {
  const Environment page(kVariable, nullptr);
  EXPECT_EXIT(std::exit(CodePage() == 932 ? 0 : 1), ::testing::ExitedWithCode(0), "");
}

TEST_F(CodePageOfProcess, AProgramMaySetAnother) {
  const Environment page(kVariable, "932");
  EXPECT_EXIT(std::exit(SetCodePage(1252) && CodePage() == 1252 && LeadBytes().empty() &&
                                ForTerminal("caf\xE9") == "café"
                            ? 0
                            : 1),
              ::testing::ExitedWithCode(0), "");
  EXPECT_EXIT(std::exit(SetCodePage(65001) && CodePage() == 65001 ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
  // One that no table knows changes nothing.
  EXPECT_EXIT(std::exit(!SetCodePage(60000) && CodePage() == 932 ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
}

TEST_F(CodePageOfProcess, TextsOfItReachTheTerminalAsUtf8) {
  {
    const Environment page(kVariable, "1252");
    EXPECT_EXIT(std::exit(ForTerminal("caf\xE9") == "café" ? 0 : 1), ::testing::ExitedWithCode(0),
                "");
  }
  const Environment page(kVariable, "60000");  // one that no table knows
  EXPECT_EXIT(std::exit(ForTerminal("caf\xE9") == "caf\xE9" ? 0 : 1), ::testing::ExitedWithCode(0),
              "");
}

TEST_F(CodePageOfProcess, BytesThatItLacksReachTheTerminalAsTheyAre) {
  const Environment page(kVariable, "932");
  EXPECT_EXIT(std::exit(ForTerminal("\xFF\x93\xB9/a") == "\xFF道/a" ? 0 : 1),
              ::testing::ExitedWithCode(0), "");
  EXPECT_EXIT(std::exit(ForTerminal("\x93\xB9\x93") == "道\x93" ? 0 : 1),  // half a character
              ::testing::ExitedWithCode(0), "");
}

}  // namespace
}  // namespace zatlib::platform

#endif
