#include "platform/code_page.h"

#include <gtest/gtest.h>

namespace zatlib::platform {
namespace {

TEST(CodePageTest, LeadBytesOfCodePage932) {
  if (CodePage() != 932) GTEST_SKIP() << "the system's code page is " << CodePage();
  for (int byte = 0; byte < 256; ++byte) {
    const bool lead = (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    EXPECT_EQ(IsLeadByte(static_cast<unsigned char>(byte)), lead) << byte;
  }
}

TEST(CodePageTest, PlainTextsReachTheTerminalAsTheyAre) {
  EXPECT_EQ(ForTerminal(""), "");
  EXPECT_EQ(ForTerminal("Can't write linkdef.dat !"), "Can't write linkdef.dat !");
}

#ifndef _WIN32
TEST(CodePageTest, JapaneseTextsReachTheTerminalAsUtf8) {
  if (CodePage() != 932) GTEST_SKIP() << "the system's code page is " << CodePage();
  EXPECT_EQ(ForTerminal("\x93\xB9"), "道");
  EXPECT_EQ(ForTerminal("道"), "道");
}
#endif

}  // namespace
}  // namespace zatlib::platform
