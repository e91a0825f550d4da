#include "network/workstore/number_scan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frd/text.h"

namespace zatlib {
namespace {

// A text with a comma and readable bytes behind it.
std::string Padded(const std::string& text) { return text + "," + std::string(16, '9'); }

TEST(NumberScanTest, TakesDigitsUpToTheFirstOtherCharacter) {
  const struct {
    const char* text;
    uint64_t value;
    int64_t digits;
  } cases[] = {{"", 0, 0},
               {"7", 7, 1},
               {"0012", 12, 4},
               {"1234567", 1234567, 7},
               {"12345678", 12345678, 8},
               {"123456789", 123456789, 9},
               {"9999999999999999", 9999999999999999u, 16},
               {"123456789012345678", 123456789012345678u, 18}};
  for (const auto& c : cases) {
    const std::string text = Padded(c.text);
    const DigitRun run = TakeDigits(text.data());
    EXPECT_EQ(run.value, c.value) << c.text;
    EXPECT_EQ(run.end - text.data(), c.digits) << c.text;
  }
}

TEST(NumberScanTest, EveryByteButADigitEndsTheDigits) {
  for (int byte = 0; byte < 256; ++byte) {
    for (const int behind : {0x30, 0x39, 0xFF, 0x80, 0}) {
      std::string text = "42";
      text += static_cast<char>(byte);
      text.append(12, static_cast<char>(behind));
      const DigitRun run = TakeDigits(text.data());
      if (byte >= '0' && byte <= '9') {
        EXPECT_GE(run.end - text.data(), 3) << byte;
      } else {
        EXPECT_EQ(run.value, 42u) << byte;
        EXPECT_EQ(run.end - text.data(), 2) << byte;
      }
    }
  }
}

TEST(NumberScanTest, TakesPlainCoordinates) {
  const struct {
    const char* text;
    int32_t value;
  } cases[] = {{"7.425153", 7425153},
               {"-7.425153", -7425153},
               {"139.6917", 139691700},
               {"0.000001", 1},
               {"0", 0},
               {"35", 35000000},
               {"35.", 35000000},
               {".5", 500000},
               {"-.5", -500000},
               {"-179.999999", -179999999},
               {"2147", 2147000000}};
  for (const auto& c : cases) {
    const std::string text = Padded(c.text);
    int32_t value = -1;
    const char* end = TakeCoordinate(text.data(), &value);
    ASSERT_NE(end, nullptr) << c.text;
    EXPECT_EQ(value, c.value) << c.text;
    EXPECT_EQ(*end, ',') << c.text;
    EXPECT_EQ(FRD_ParseFixed6(c.text), c.value) << c.text;
  }
}

TEST(NumberScanTest, LeavesOtherCoordinatesToTheFullRules) {
  // Nothing at all, a point alone, 7 decimals (ten times the scale), beyond 32 bits, 11 digits.
  for (const char* text : {"", "-", ".", "7.4251530", "2148", "-2148", "99999999999", "1234.5"}) {
    int32_t value = 0;
    EXPECT_EQ(TakeCoordinate(Padded(text).data(), &value), nullptr) << text;
  }
}

// All texts of a few characters that matter: what is taken is what the full rules give, and it ends
// at the text's end or at a character that no delimiter is.
TEST(NumberScanTest, AgreesWithTheFullRulesOnAllShortTexts) {
  const std::string characters = "0159.-+\" x";
  for (int length = 1; length <= 5; ++length) {
    std::string text(static_cast<size_t>(length), characters[0]);
    std::vector<size_t> at(static_cast<size_t>(length), 0);
    while (true) {
      for (size_t i = 0; i < text.size(); ++i) text[i] = characters[at[i]];
      const std::string padded = Padded(text);
      int32_t value = 0;
      const char* end = TakeCoordinate(padded.data(), &value);
      if (end != nullptr && *end == ',') {
        EXPECT_EQ(value, FRD_ParseFixed6(text)) << text;
      }
      size_t digit = 0;
      while (digit < at.size() && ++at[digit] == characters.size()) at[digit++] = 0;
      if (digit == at.size()) break;
    }
  }
}

}  // namespace
}  // namespace zatlib
