#include "frd/text.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "platform/code_page.h"
#include "platform/file.h"

namespace zatlib {
namespace {

// A character of code page 932 whose second byte is a backslash.
constexpr char kBackslashInside[] = "\x95\x5C";

bool IsJapanese() { return platform::CodePage() == 932; }

std::string Sep() { return std::string(1, platform::NativeSeparator()); }

std::string Join(const std::string& folder, const std::string& name) {
  char out[kPathSize];
  std::memset(out, 'z', sizeof out);
  FRD_JoinPath(out, folder.c_str(), name.c_str());
  return out;
}

struct Split {
  std::string folder;
  std::string name;
};

Split SplitOf(const std::string& path) {
  char folder[kPathSize];
  char name[kPathSize];
  FRD_SplitPath(path.c_str(), folder, name);
  return {folder, name};
}

std::string Mid(const std::string& path) {
  char out[kPathSize];
  FRD_MakeMidPath(path.c_str(), out);
  return out;
}

int32_t Fixed6(const std::string& text) { return FRD_ParseFixed6(text.data(), text.size()); }

// ---- Formatting and copying ----------------------------------------------------------------

TEST(Text, FormatCutsAndTerminates) {
  char out[8];
  EXPECT_EQ(FRD_Format(out, sizeof out, "%s=%d", "abc", 7), 5u);
  EXPECT_STREQ(out, "abc=7");
  EXPECT_EQ(FRD_Format(out, sizeof out, "%s", "abcdefg"), 7u);
  EXPECT_STREQ(out, "abcdefg");
  EXPECT_EQ(FRD_Format(out, sizeof out, "%s", "abcdefgh"), 7u);
  EXPECT_STREQ(out, "abcdefg");
  EXPECT_EQ(FRD_Format(out, 1, "%s", "abc"), 0u);
  EXPECT_STREQ(out, "");
}

TEST(Text, FormatOfNoBufferWritesNothing) {
  char out[2] = "x";
  EXPECT_EQ(FRD_Format(out, 0, "%s", "abc"), 0u);
  EXPECT_STREQ(out, "x");
}

TEST(Text, CopyCutsAndTerminates) {
  char out[4];
  EXPECT_EQ(FRD_CopyText(out, sizeof out, "abc"), 3u);
  EXPECT_STREQ(out, "abc");
  EXPECT_EQ(FRD_CopyText(out, sizeof out, "abcd"), 3u);
  EXPECT_STREQ(out, "abc");
  EXPECT_EQ(FRD_CopyText(out, sizeof out, ""), 0u);
  EXPECT_STREQ(out, "");
  EXPECT_EQ(FRD_CopyText(out, sizeof out, std::string_view()), 0u);
  EXPECT_STREQ(out, "");
}

// ---- Characters ----------------------------------------------------------------------------

TEST(Text, CharactersOfOneAndTwoBytes) {
  if (!IsJapanese()) GTEST_SKIP() << "needs code page 932";
  EXPECT_EQ(FRD_CharLength("a"), 1u);
  EXPECT_EQ(FRD_CharLength("\x95\x5C"), 2u);
  EXPECT_EQ(FRD_CharLength("\x81\x40"), 2u);
  EXPECT_EQ(FRD_CharLength("\xE0\x40"), 2u);
  EXPECT_EQ(FRD_CharLength("\xFC\x40"), 2u);
  // Half-width katakana are single bytes.
  EXPECT_EQ(FRD_CharLength("\xA1\x40"), 1u);
  EXPECT_EQ(FRD_CharLength("\xDF\x40"), 1u);
  // Nothing behind the lead byte.
  EXPECT_EQ(FRD_CharLength("\x95"), 1u);
}

TEST(Text, ANameOf21BytesIsCutTo19WhenTheLastCharacterIsDouble) {
  if (!IsJapanese()) GTEST_SKIP() << "needs code page 932";
  const std::string name = std::string(19, 'a') + "\x82\xA0";
  EXPECT_EQ(FRD_CutText(name, kNameSize), std::string(19, 'a'));
}

TEST(Text, CutsKeepWholeCharacters) {
  if (!IsJapanese()) GTEST_SKIP() << "needs code page 932";
  const std::string even = std::string(18, 'a') + "\x82\xA0" + "b";
  EXPECT_EQ(FRD_CutText(even, kNameSize), std::string(18, 'a') + "\x82\xA0");
  EXPECT_EQ(FRD_CutText("abc", 20), "abc");
  EXPECT_EQ(FRD_CutText(std::string(20, 'a'), 20), std::string(20, 'a'));
  EXPECT_EQ(FRD_CutText(std::string(21, 'a'), 20), std::string(20, 'a'));
  EXPECT_EQ(FRD_CutText("\x82\xA0", 1), "");
  EXPECT_EQ(FRD_CutText("", 20), "");
}

// ---- FRD_JoinPath --------------------------------------------------------------------------

TEST(Text, JoinPutsOneSeparator) {
  EXPECT_EQ(Join("folder", "name"), "folder" + Sep() + "name");
  EXPECT_EQ(Join("folder" + Sep(), "name"), "folder" + Sep() + "name");
  EXPECT_EQ(Join("C:\\map\\", "node.idx"), "C:\\map\\node.idx");
}

TEST(Text, JoinOfAnEmptyFolderBeginsWithASeparator) { EXPECT_EQ(Join("", "name"), Sep() + "name"); }

TEST(Text, JoinSeesABackslashInsideACharacter) {
  if (!IsJapanese()) GTEST_SKIP() << "needs code page 932";
  const std::string inside = std::string("C:\\") + kBackslashInside;
  EXPECT_EQ(Join(inside, "name"), inside + Sep() + "name");
  EXPECT_EQ(Join(inside + "\\", "name"), inside + "\\name");
}

TEST(Text, JoinHoldsAtMost259Bytes) {
  const std::string folder(250, 'f');
  EXPECT_EQ(Join(folder, "12345678"), folder + Sep() + "12345678");  // 259 bytes
  EXPECT_EQ(Join(folder, "123456789"), folder + Sep() + "12345678");
  EXPECT_EQ(Join(std::string(258, 'f'), "name"), std::string(258, 'f') + Sep());
  EXPECT_EQ(Join(std::string(259, 'f'), "name"), std::string(259, 'f'));
  EXPECT_EQ(Join(std::string(260, 'f'), "name"), std::string(259, 'f'));
  EXPECT_EQ(Join(std::string(258, 'f') + Sep(), "name"), std::string(258, 'f') + Sep());
  EXPECT_EQ(Join(std::string(2000, 'f'), "name"), std::string(259, 'f'));
}

TEST(Text, JoinMayWriteIntoItsFolder) {
  char path[kPathSize] = "folder";
  FRD_JoinPath(path, path, "name");
  EXPECT_EQ(path, "folder" + Sep() + "name");
}

// ---- FRD_SplitPath -------------------------------------------------------------------------

TEST(Text, SplitAtTheLastSeparator) {
  const Split windows = SplitOf("C:\\data\\control.ini");
  EXPECT_EQ(windows.folder, "C:\\data");
  EXPECT_EQ(windows.name, "control.ini");
  const Split native = SplitOf(Sep() + "data" + Sep() + "in" + Sep() + "control.ini");
  EXPECT_EQ(native.folder, Sep() + "data" + Sep() + "in");
  EXPECT_EQ(native.name, "control.ini");
}

TEST(Text, SplitWithoutASeparator) {
  const Split split = SplitOf("control.ini");
  EXPECT_EQ(split.folder, "");
  EXPECT_EQ(split.name, "control.ini");
  EXPECT_EQ(SplitOf("").folder, "");
  EXPECT_EQ(SplitOf("").name, "");
}

TEST(Text, SplitAtADriveColonKeepsTheColon) {
  const Split split = SplitOf("C:control.ini");
  EXPECT_EQ(split.folder, "C:");
  EXPECT_EQ(split.name, "control.ini");
  EXPECT_EQ(SplitOf("C:\\control.ini").folder, "C:");
}

TEST(Text, SplitOfAPathThatEndsWithASeparator) {
  const Split split = SplitOf("a" + Sep() + "b" + Sep());
  EXPECT_EQ(split.folder, "a" + Sep() + "b");
  EXPECT_EQ(split.name, "");
  EXPECT_EQ(SplitOf(Sep() + "name").folder, "");
  EXPECT_EQ(SplitOf(Sep() + "name").name, "name");
}

TEST(Text, SplitSeesABackslashInsideACharacter) {
  if (!IsJapanese()) GTEST_SKIP() << "needs code page 932";
  const Split split = SplitOf(std::string("C:\\a\\") + kBackslashInside + "b.ini");
  EXPECT_EQ(split.folder, "C:\\a");
  EXPECT_EQ(split.name, std::string(kBackslashInside) + "b.ini");
  const Split after = SplitOf(std::string("C:\\") + kBackslashInside + "\\b.ini");
  EXPECT_EQ(after.folder, std::string("C:\\") + kBackslashInside);
  EXPECT_EQ(after.name, "b.ini");
}

#if !defined(_WIN32)
TEST(Text, SplitOfAUtf8PathSeesEverySlash) {
  // The last byte of a letter may look like the first byte of a double-byte character.
  const Split split = SplitOf("/home/\xE3\x81\x82/control.ini");
  EXPECT_EQ(split.folder, "/home/\xE3\x81\x82");
  EXPECT_EQ(split.name, "control.ini");
}

TEST(Text, SplitTreatsBothSeparatorsAlike) {
  EXPECT_EQ(SplitOf("/a/b\\c.ini").folder, "/a/b");
  EXPECT_EQ(SplitOf("\\a\\b/c.ini").name, "c.ini");
}
#endif

TEST(Text, SplitCutsEachPartTo255Bytes) {
  const Split split = SplitOf(std::string(300, 'f') + "\\" + std::string(300, 'n'));
  EXPECT_EQ(split.folder, std::string(255, 'f'));
  EXPECT_EQ(split.name, std::string(255, 'n'));
  const Split whole = SplitOf(std::string(255, 'f') + "\\" + std::string(255, 'n'));
  EXPECT_EQ(whole.folder, std::string(255, 'f'));
  EXPECT_EQ(whole.name, std::string(255, 'n'));
}

TEST(Text, SplitLooksAt1023Bytes) {
  const Split behind = SplitOf(std::string(1023, 'a') + "\\b");
  EXPECT_EQ(behind.folder, "");
  EXPECT_EQ(behind.name, std::string(255, 'a'));
  const Split inside = SplitOf(std::string(1021, 'a') + "\\bc");
  EXPECT_EQ(inside.folder, std::string(255, 'a'));
  EXPECT_EQ(inside.name, "b");
}

TEST(Text, SplitTakesNoOutput) {
  char folder[kPathSize];
  char name[kPathSize];
  FRD_SplitPath("a\\b", folder, nullptr);
  EXPECT_STREQ(folder, "a");
  FRD_SplitPath("a\\b", nullptr, name);
  EXPECT_STREQ(name, "b");
  FRD_SplitPath("a\\b", nullptr, nullptr);
}

// ---- FRD_MakeMidPath -----------------------------------------------------------------------

TEST(Text, MidReplacesTheExtension) {
  EXPECT_EQ(Mid("C:\\data\\node.mif"), "C:\\data\\node.mid");
  EXPECT_EQ(Mid("node.MIF"), "node.mid");
  EXPECT_EQ(Mid("a.b.mif"), "a.b.mid");
}

TEST(Text, MidWithoutAnExtensionLosesTheLastElement) {
  EXPECT_EQ(Mid("C:\\data\\node"), "C:\\data.mid");
  EXPECT_EQ(Mid(Sep() + "data" + Sep() + "node"), Sep() + "data.mid");
  EXPECT_EQ(Mid("a.b\\node"), "a.b.mid");
}

TEST(Text, MidDoesNotLookAtTheFirstByte) {
  EXPECT_EQ(Mid(".mif"), ".mif.mid");
  EXPECT_EQ(Mid("\\n"), "\\n.mid");
  EXPECT_EQ(Mid("n"), "n.mid");
}

TEST(Text, MidOfACharacterWithABackslashInside) {
  const std::string path = std::string("C:\\data\\") + kBackslashInside;
  EXPECT_EQ(Mid(path + ".mif"), path + ".mid");
}

TEST(Text, MidHoldsAtMost259Bytes) {
  EXPECT_EQ(Mid(std::string(255, 'a') + ".mif"), std::string(255, 'a') + ".mid");  // 259 bytes
  EXPECT_EQ(Mid(std::string(259, 'a')), std::string(259, 'a'));
  EXPECT_EQ(Mid(std::string(257, 'a')), std::string(257, 'a') + ".m");
}

// ---- FRD_ParseFixed6 -----------------------------------------------------------------------

TEST(Text, Fixed6OfOrdinaryNumbers) {
  EXPECT_EQ(Fixed6("135.5"), 135500000);
  EXPECT_EQ(Fixed6("-35.123456"), -35123456);
  EXPECT_EQ(Fixed6("12"), 12000000);
  EXPECT_EQ(Fixed6("139.6917"), 139691700);
  EXPECT_EQ(Fixed6("35.5"), 35500000);
  EXPECT_EQ(Fixed6("-0.000001"), -1);
  EXPECT_EQ(Fixed6("+7.25"), 7250000);
  EXPECT_EQ(Fixed6("0"), 0);
  EXPECT_EQ(Fixed6(".5"), 500000);
  EXPECT_EQ(Fixed6("5."), 5000000);
}

TEST(Text, Fixed6OfNoNumber) {
  EXPECT_EQ(Fixed6(""), 0);
  EXPECT_EQ(Fixed6("abc"), 0);
  EXPECT_EQ(Fixed6("-"), 0);
  EXPECT_EQ(Fixed6("."), 0);
}

TEST(Text, Fixed6SkipsOtherCharacters) {
  EXPECT_EQ(Fixed6("E139.5"), 139500000);
  EXPECT_EQ(Fixed6(" 1 39 . 5 "), 139500000);
  EXPECT_EQ(Fixed6("\"139.5\""), 139500000);
}

TEST(Text, Fixed6DoesNotCutDecimals) {
  EXPECT_EQ(Fixed6("1.123456"), 1123456);
  EXPECT_EQ(Fixed6("1.1234567"), 11234567);
  EXPECT_EQ(Fixed6("0.00000001"), 1);
}

TEST(Text, Fixed6KeepsEverySign) {
  // The conversion stops at a sign that follows digits.
  EXPECT_EQ(Fixed6("5e-05"), 5);
  EXPECT_EQ(Fixed6("5-"), 5);
  EXPECT_EQ(Fixed6("--5"), 0);
  EXPECT_EQ(Fixed6("1.5-2"), 15);
}

TEST(Text, Fixed6DropsEveryPoint) {
  // Two decimals behind the first point; four zeros are added.
  EXPECT_EQ(Fixed6("1.2.3"), 1230000);
}

TEST(Text, Fixed6LooksAt32Characters) {
  // 31 blanks and a digit; the second digit is the 33rd character.
  EXPECT_EQ(Fixed6(std::string(31, ' ') + "12"), 1000000);
  EXPECT_EQ(Fixed6(std::string(32, ' ') + "12"), 0);
  EXPECT_EQ(Fixed6(std::string(26, '0') + "12.345678"), 12345000);
}

TEST(Text, Fixed6LooksAtNoMoreThanTheLength) {
  EXPECT_EQ(FRD_ParseFixed6("139.6917", 5), 139600000);
  EXPECT_EQ(FRD_ParseFixed6("139.6917", 0), 0);
}

TEST(Text, Fixed6ClampsTo32Bits) {
  EXPECT_EQ(Fixed6("2147.483647"), 2147483647);
  EXPECT_EQ(Fixed6("2147.483648"), 2147483647);
  EXPECT_EQ(Fixed6("-2147.483648"), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(Fixed6("-2147.483649"), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(Fixed6("99999999999999999999999999999999"), 2147483647);
  EXPECT_EQ(Fixed6("-9999999999999999999999999999999"), std::numeric_limits<int32_t>::min());
}

// ---- Numbers -------------------------------------------------------------------------------

TEST(Text, IntegersStopAtTheFirstOtherCharacter) {
  EXPECT_EQ(FRD_ParseInt("42"), 42);
  EXPECT_EQ(FRD_ParseInt("  42"), 42);
  EXPECT_EQ(FRD_ParseInt("\t\r\n42"), 42);
  EXPECT_EQ(FRD_ParseInt("-5"), -5);
  EXPECT_EQ(FRD_ParseInt("+5"), 5);
  EXPECT_EQ(FRD_ParseInt("12abc"), 12);
  EXPECT_EQ(FRD_ParseInt("12.9"), 12);
  EXPECT_EQ(FRD_ParseInt("- 5"), 0);
  EXPECT_EQ(FRD_ParseInt("+-5"), 0);
  EXPECT_EQ(FRD_ParseInt("abc"), 0);
  EXPECT_EQ(FRD_ParseInt(""), 0);
}

TEST(Text, IntegersClamp) {
  EXPECT_EQ(FRD_ParseInt("2147483647"), 2147483647);
  EXPECT_EQ(FRD_ParseInt("2147483648"), 2147483647);
  EXPECT_EQ(FRD_ParseInt("-2147483648"), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(FRD_ParseInt("-2147483649"), std::numeric_limits<int32_t>::min());
  EXPECT_EQ(FRD_ParseInt64("9223372036854775807"), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(FRD_ParseInt64("9223372036854775808"), std::numeric_limits<int64_t>::max());
  EXPECT_EQ(FRD_ParseInt64("-9223372036854775808"), std::numeric_limits<int64_t>::min());
  EXPECT_EQ(FRD_ParseInt64("-99999999999999999999"), std::numeric_limits<int64_t>::min());
}

TEST(Text, IntegersOf18Digits) {
  EXPECT_EQ(FRD_ParseInt64("100000000000000001"), 100000000000000001);
  EXPECT_EQ(FRD_ParseInt64(" 999999999999999999x"), 999999999999999999);
}

TEST(Text, FloatingPointNumbers) {
  EXPECT_EQ(FRD_ParseDouble("99999999999999"), 99999999999999.0);
  EXPECT_EQ(FRD_ParseDouble("00000000000012"), 12.0);
  EXPECT_EQ(FRD_ParseDouble(" 12.5"), 12.5);
  EXPECT_EQ(FRD_ParseDouble("-12.5"), -12.5);
  EXPECT_EQ(FRD_ParseDouble("+12.5"), 12.5);
  EXPECT_EQ(FRD_ParseDouble("1e3"), 1000.0);
  EXPECT_EQ(FRD_ParseDouble(".5"), 0.5);
  EXPECT_EQ(FRD_ParseDouble("12abc"), 12.0);
  EXPECT_EQ(FRD_ParseDouble("12345678901234567890"), 12345678901234567890.0);
}

TEST(Text, NoFloatingPointNumber) {
  EXPECT_EQ(FRD_ParseDouble(""), 0.0);
  EXPECT_EQ(FRD_ParseDouble("abc"), 0.0);
  EXPECT_EQ(FRD_ParseDouble("."), 0.0);
  EXPECT_EQ(FRD_ParseDouble("--5"), 0.0);
  EXPECT_EQ(FRD_ParseDouble("- 5"), 0.0);
}

TEST(Text, FloatingPointNumbersOutOfRange) {
  EXPECT_EQ(FRD_ParseDouble("1e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(FRD_ParseDouble("-1e999"), -std::numeric_limits<double>::infinity());
  EXPECT_EQ(FRD_ParseDouble("1e-999"), 0.0);
  EXPECT_EQ(FRD_ParseDouble("0." + std::string(400, '0') + "1"), 0.0);
  EXPECT_EQ(FRD_ParseDouble("1" + std::string(400, '0')), std::numeric_limits<double>::infinity());
  // The exponent's sign alone does not tell: these are 10^495 and 10^-396.
  EXPECT_EQ(FRD_ParseDouble("1" + std::string(500, '0') + "e-5"),
            std::numeric_limits<double>::infinity());
  EXPECT_EQ(FRD_ParseDouble("0." + std::string(400, '0') + "1e5"), 0.0);
}

TEST(Text, ATextThatCannotBeFormattedIsEmpty) {
  char out[8] = "before";
  EXPECT_EQ(FRD_Format(out, sizeof out, "%ls", L"\xD800"), 0u);  // half a character
  EXPECT_STREQ(out, "");
}

TEST(Text, CopyIntoNoBufferWritesNothing) {
  char out[2] = "x";
  EXPECT_EQ(FRD_CopyText(out, 0, "abc"), 0u);
  EXPECT_STREQ(out, "x");
}

TEST(Text, BlanksInFrontOfNumbers) {
  EXPECT_EQ(FRD_ParseInt("\t\n\v\f\r 7"), 7);
  EXPECT_EQ(FRD_ParseInt("\b7"), 0);
  EXPECT_EQ(FRD_ParseInt("\x0E"
                         "7"),
            0);
  EXPECT_EQ(FRD_ParseDouble("\t 0.5"), 0.5);
}

TEST(Text, NumbersTooSmallForADoubleAreZero) {
  EXPECT_EQ(FRD_ParseDouble("0.0" + std::string(400, '0') + "1"), 0.0);
  EXPECT_EQ(FRD_ParseDouble("0.5e-999"), 0.0);
  EXPECT_EQ(FRD_ParseDouble("0.00005e999"), std::numeric_limits<double>::infinity());
  EXPECT_EQ(FRD_ParseDouble(std::string(400, '9') + ".5"), std::numeric_limits<double>::infinity());
}

TEST(Text, Fixed6EndsAtAZeroByte) {
  EXPECT_EQ(FRD_ParseFixed6("1.5\0"
                            "9",
                            5),
            1500000);
}

}  // namespace
}  // namespace zatlib
