// The Japanese texts of the interface against bytes that an independent converter made.
#include "frd/cp932.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <string>

namespace zatlib {
namespace {

struct Text {
  std::string converted;
  std::string expected;
};

template <size_t N>
std::string Of(const Cp932Text<N>& text) {
  return std::string(text.c_str(), text.length);
}

// clang-format off
const Text kTexts[] = {
    // 10 bytes
    {Of(kCp932<u8"キャンセル">),
     "\x83\x4C\x83\x83\x83\x93\x83\x5A\x83\x8B"},
    // 32 bytes
    {Of(kCp932<u8"計算用道路ネットワークデータ作成">),
     "\x8C\x76\x8E\x5A\x97\x70\x93\xB9\x98\x48\x83\x6C\x83\x62\x83\x67\x83\x8F\x81\x5B"
     "\x83\x4E\x83\x66\x81\x5B\x83\x5E\x8D\xEC\x90\xAC"},
    // 22 bytes
    {Of(kCp932<u8"キャンセル処理中・・・">),
     "\x83\x4C\x83\x83\x83\x93\x83\x5A\x83\x8B\x8F\x88\x97\x9D\x92\x86\x81\x45\x81\x45"
     "\x81\x45"},
    // 68 bytes
    {Of(kCp932<u8"ノードとリンクが不整合であるため計算用道路データが作成できません。%s">),
     "\x83\x6D\x81\x5B\x83\x68\x82\xC6\x83\x8A\x83\x93\x83\x4E\x82\xAA\x95\x73\x90\xAE"
     "\x8D\x87\x82\xC5\x82\xA0\x82\xE9\x82\xBD\x82\xDF\x8C\x76\x8E\x5A\x97\x70\x93\xB9"
     "\x98\x48\x83\x66\x81\x5B\x83\x5E\x82\xAA\x8D\xEC\x90\xAC\x82\xC5\x82\xAB\x82\xDC"
     "\x82\xB9\x82\xF1\x81\x42\x25\x73"},
    // 12 bytes
    {Of(kCp932<u8"データエラー">),
     "\x83\x66\x81\x5B\x83\x5E\x83\x47\x83\x89\x81\x5B"},
    // 60 bytes
    {Of(kCp932<u8"道路点 %014.0lf が重複しています。重複を取り除いてください。">),
     "\x93\xB9\x98\x48\x93\x5F\x20\x25\x30\x31\x34\x2E\x30\x6C\x66\x20\x82\xAA\x8F\x64"
     "\x95\xA1\x82\xB5\x82\xC4\x82\xA2\x82\xDC\x82\xB7\x81\x42\x8F\x64\x95\xA1\x82\xF0"
     "\x8E\xE6\x82\xE8\x8F\x9C\x82\xA2\x82\xC4\x82\xAD\x82\xBE\x82\xB3\x82\xA2\x81\x42"},
    // 60 bytes
    {Of(kCp932<u8"道路点 %018I64d が重複しています。重複を取り除いてください。">),
     "\x93\xB9\x98\x48\x93\x5F\x20\x25\x30\x31\x38\x49\x36\x34\x64\x20\x82\xAA\x8F\x64"
     "\x95\xA1\x82\xB5\x82\xC4\x82\xA2\x82\xDC\x82\xB7\x81\x42\x8F\x64\x95\xA1\x82\xF0"
     "\x8E\xE6\x82\xE8\x8F\x9C\x82\xA2\x82\xC4\x82\xAD\x82\xBE\x82\xB3\x82\xA2\x81\x42"},
    // 24 bytes
    {Of(kCp932<u8"道路点データの重複エラー">),
     "\x93\xB9\x98\x48\x93\x5F\x83\x66\x81\x5B\x83\x5E\x82\xCC\x8F\x64\x95\xA1\x83\x47"
     "\x83\x89\x81\x5B"},
    // 62 bytes
    {Of(kCp932<u8"道路区間 %014.0lf が重複しています。重複を取り除いてください。">),
     "\x93\xB9\x98\x48\x8B\xE6\x8A\xD4\x20\x25\x30\x31\x34\x2E\x30\x6C\x66\x20\x82\xAA"
     "\x8F\x64\x95\xA1\x82\xB5\x82\xC4\x82\xA2\x82\xDC\x82\xB7\x81\x42\x8F\x64\x95\xA1"
     "\x82\xF0\x8E\xE6\x82\xE8\x8F\x9C\x82\xA2\x82\xC4\x82\xAD\x82\xBE\x82\xB3\x82\xA2"
     "\x81\x42"},
    // 62 bytes
    {Of(kCp932<u8"道路区間 %018I64d が重複しています。重複を取り除いてください。">),
     "\x93\xB9\x98\x48\x8B\xE6\x8A\xD4\x20\x25\x30\x31\x38\x49\x36\x34\x64\x20\x82\xAA"
     "\x8F\x64\x95\xA1\x82\xB5\x82\xC4\x82\xA2\x82\xDC\x82\xB7\x81\x42\x8F\x64\x95\xA1"
     "\x82\xF0\x8E\xE6\x82\xE8\x8F\x9C\x82\xA2\x82\xC4\x82\xAD\x82\xBE\x82\xB3\x82\xA2"
     "\x81\x42"},
    // 26 bytes
    {Of(kCp932<u8"道路区間データの重複エラー">),
     "\x93\xB9\x98\x48\x8B\xE6\x8A\xD4\x83\x66\x81\x5B\x83\x5E\x82\xCC\x8F\x64\x95\xA1"
     "\x83\x47\x83\x89\x81\x5B"},
    // 18 bytes
    {Of(kCp932<u8"道路点重複チェック">),
     "\x93\xB9\x98\x48\x93\x5F\x8F\x64\x95\xA1\x83\x60\x83\x46\x83\x62\x83\x4E"},
    // 17 bytes
    {Of(kCp932<u8"01,高速自動車国道">),
     "\x30\x31\x2C\x8D\x82\x91\xAC\x8E\xA9\x93\xAE\x8E\xD4\x8D\x91\x93\xB9"},
    // 15 bytes
    {Of(kCp932<u8"02,都市高速道路">),
     "\x30\x32\x2C\x93\x73\x8E\x73\x8D\x82\x91\xAC\x93\xB9\x98\x48"},
    // 11 bytes
    {Of(kCp932<u8"03,一般国道">),
     "\x30\x33\x2C\x88\xEA\x94\xCA\x8D\x91\x93\xB9"},
    // 25 bytes
    {Of(kCp932<u8"04,主要地方道(都道府県道)">),
     "\x30\x34\x2C\x8E\xE5\x97\x76\x92\x6E\x95\xFB\x93\xB9\x28\x93\x73\x93\xB9\x95\x7B"
     "\x8C\xA7\x93\xB9\x29"},
    // 23 bytes
    {Of(kCp932<u8"05,主要地方道(指定市道)">),
     "\x30\x35\x2C\x8E\xE5\x97\x76\x92\x6E\x95\xFB\x93\xB9\x28\x8E\x77\x92\xE8\x8E\x73"
     "\x93\xB9\x29"},
    // 17 bytes
    {Of(kCp932<u8"06,一般都道府県道">),
     "\x30\x36\x2C\x88\xEA\x94\xCA\x93\x73\x93\xB9\x95\x7B\x8C\xA7\x93\xB9"},
    // 19 bytes
    {Of(kCp932<u8"07,指定市の一般市道">),
     "\x30\x37\x2C\x8E\x77\x92\xE8\x8E\x73\x82\xCC\x88\xEA\x94\xCA\x8E\x73\x93\xB9"},
    // 15 bytes
    {Of(kCp932<u8"09,その他の道路">),
     "\x30\x39\x2C\x82\xBB\x82\xCC\x91\xBC\x82\xCC\x93\xB9\x98\x48"},
    // 9 bytes
    {Of(kCp932<u8"00,未調査">),
     "\x30\x30\x2C\x96\xA2\x92\xB2\x8D\xB8"},
    // 15 bytes
    {Of(kCp932<u8"1,幅員13.0m以上">),
     "\x31\x2C\x95\x9D\x88\xF5\x31\x33\x2E\x30\x6D\x88\xC8\x8F\xE3"},
    // 25 bytes
    {Of(kCp932<u8"2,幅員5.5m以上～13.0m未満">),
     "\x32\x2C\x95\x9D\x88\xF5\x35\x2E\x35\x6D\x88\xC8\x8F\xE3\x81\x60\x31\x33\x2E\x30"
     "\x6D\x96\xA2\x96\x9E"},
    // 24 bytes
    {Of(kCp932<u8"3,幅員3.0m以上～5.5m未満">),
     "\x33\x2C\x95\x9D\x88\xF5\x33\x2E\x30\x6D\x88\xC8\x8F\xE3\x81\x60\x35\x2E\x35\x6D"
     "\x96\xA2\x96\x9E"},
    // 14 bytes
    {Of(kCp932<u8"4,幅員3.0m未満">),
     "\x34\x2C\x95\x9D\x88\xF5\x33\x2E\x30\x6D\x96\xA2\x96\x9E"},
    // 8 bytes
    {Of(kCp932<u8"0,未調査">),
     "\x30\x2C\x96\xA2\x92\xB2\x8D\xB8"},
    // 45 bytes
    {Of(kCp932<u8"道路点オブジェクトがありません！\r\n%s (rec=%d)">),
     "\x93\xB9\x98\x48\x93\x5F\x83\x49\x83\x75\x83\x57\x83\x46\x83\x4E\x83\x67\x82\xAA"
     "\x82\xA0\x82\xE8\x82\xDC\x82\xB9\x82\xF1\x81\x49\x0D\x0A\x25\x73\x20\x28\x72\x65"
     "\x63\x3D\x25\x64\x29"},
};

// Every double-byte character of these texts.
const Cp932Pair kExpectedPairs[] = {
    {0x3002, 0x8142}, {0x3042, 0x82A0}, {0x3044, 0x82A2}, {0x304C, 0x82AA}, {0x304D, 0x82AB}, {0x304F, 0x82AD},
    {0x3055, 0x82B3}, {0x3057, 0x82B5}, {0x3059, 0x82B7}, {0x305B, 0x82B9}, {0x305D, 0x82BB}, {0x305F, 0x82BD},
    {0x3060, 0x82BE}, {0x3066, 0x82C4}, {0x3067, 0x82C5}, {0x3068, 0x82C6}, {0x306E, 0x82CC}, {0x307E, 0x82DC},
    {0x3081, 0x82DF}, {0x308A, 0x82E8}, {0x308B, 0x82E9}, {0x3092, 0x82F0}, {0x3093, 0x82F1}, {0x30A7, 0x8346},
    {0x30A8, 0x8347}, {0x30AA, 0x8349}, {0x30AD, 0x834C}, {0x30AF, 0x834E}, {0x30B8, 0x8357}, {0x30BB, 0x835A},
    {0x30BF, 0x835E}, {0x30C1, 0x8360}, {0x30C3, 0x8362}, {0x30C7, 0x8366}, {0x30C8, 0x8367}, {0x30C9, 0x8368},
    {0x30CD, 0x836C}, {0x30CE, 0x836D}, {0x30D6, 0x8375}, {0x30E3, 0x8383}, {0x30E9, 0x8389}, {0x30EA, 0x838A},
    {0x30EB, 0x838B}, {0x30EF, 0x838F}, {0x30F3, 0x8393}, {0x30FB, 0x8145}, {0x30FC, 0x815B}, {0x4E00, 0x88EA},
    {0x4E0A, 0x8FE3}, {0x4E0D, 0x9573}, {0x4E2D, 0x9286}, {0x4E3B, 0x8EE5}, {0x4ED6, 0x91BC}, {0x4EE5, 0x88C8},
    {0x4F5C, 0x8DEC}, {0x51E6, 0x8F88}, {0x52D5, 0x93AE}, {0x533A, 0x8BE6}, {0x53D6, 0x8EE6}, {0x5408, 0x8D87},
    {0x54E1, 0x88F5}, {0x56FD, 0x8D91}, {0x5730, 0x926E}, {0x5B9A, 0x92E8}, {0x5E02, 0x8E73}, {0x5E45, 0x959D},
    {0x5E9C, 0x957B}, {0x6210, 0x90AC}, {0x6307, 0x8E77}, {0x6574, 0x90AE}, {0x65B9, 0x95FB}, {0x672A, 0x96A2},
    {0x67FB, 0x8DB8}, {0x6E80, 0x969E}, {0x70B9, 0x935F}, {0x7406, 0x979D}, {0x7528, 0x9770}, {0x770C, 0x8CA7},
    {0x7B97, 0x8E5A}, {0x81EA, 0x8EA9}, {0x822C, 0x94CA}, {0x8907, 0x95A1}, {0x8981, 0x9776}, {0x8A08, 0x8C76},
    {0x8ABF, 0x92B2}, {0x8DEF, 0x9848}, {0x8ECA, 0x8ED4}, {0x901F, 0x91AC}, {0x9053, 0x93B9}, {0x90FD, 0x9373},
    {0x91CD, 0x8F64}, {0x9593, 0x8AD4}, {0x9664, 0x8F9C}, {0x9AD8, 0x8D82}, {0xFF01, 0x8149}, {0xFF5E, 0x8160},
};
// clang-format on

TEST(Cp932, TextsAreTheBytesOfTheCodePage) {
  for (const Text& text : kTexts) EXPECT_EQ(text.converted, text.expected);
}

TEST(Cp932, EveryCharacterInUseIsInTheTable) {
  for (const Cp932Pair& expected : kExpectedPairs) {
    int found = 0;
    for (const Cp932Pair& pair : kCp932Pairs) {
      if (pair.code_point != expected.code_point) continue;
      ++found;
      EXPECT_EQ(pair.bytes, expected.bytes) << std::hex << expected.code_point;
    }
    EXPECT_EQ(found, 1) << std::hex << expected.code_point;
  }
}

TEST(Cp932, AsciiStaysAsItIs) {
  constexpr auto kText = ToCp932(u8"%s (rec=%d)\r\n");
  EXPECT_EQ(std::string(kText.c_str()), "%s (rec=%d)\r\n");
  EXPECT_EQ(kText.length, 13u);
}

TEST(Cp932, TheTextIsTerminated) {
  const auto& text = kCp932<u8"キャンセル">;
  EXPECT_EQ(text.length, 10u);
  EXPECT_EQ(std::strlen(text), 10u);
}

}  // namespace
}  // namespace zatlib
