// Japanese texts: written as readable UTF-8 where they are used, code page 932 bytes in the
// program.
//
//     MessageBox(kCp932<u8"道路点 %014.0lf が重複しています。">);
//
// The conversion happens at compile time; a character that the table lacks does not compile.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zatlib {

// A double-byte character: its code point and its two bytes, first byte high.
struct Cp932Pair {
  uint32_t code_point;
  uint16_t bytes;
};

// clang-format off
inline constexpr Cp932Pair kCp932Pairs[] = {
    {0x3002, 0x8142}, {0x3042, 0x82A0}, {0x3044, 0x82A2}, {0x304C, 0x82AA},  // 。 あ い が
    {0x304D, 0x82AB}, {0x304F, 0x82AD}, {0x3055, 0x82B3}, {0x3057, 0x82B5},  // き く さ し
    {0x3059, 0x82B7}, {0x305B, 0x82B9}, {0x305D, 0x82BB}, {0x305F, 0x82BD},  // す せ そ た
    {0x3060, 0x82BE}, {0x3066, 0x82C4}, {0x3067, 0x82C5}, {0x3068, 0x82C6},  // だ て で と
    {0x306E, 0x82CC}, {0x307E, 0x82DC}, {0x3081, 0x82DF}, {0x308A, 0x82E8},  // の ま め り
    {0x308B, 0x82E9}, {0x3092, 0x82F0}, {0x3093, 0x82F1}, {0x30A7, 0x8346},  // る を ん ェ
    {0x30A8, 0x8347}, {0x30AA, 0x8349}, {0x30AD, 0x834C}, {0x30AF, 0x834E},  // エ オ キ ク
    {0x30B8, 0x8357}, {0x30BB, 0x835A}, {0x30BF, 0x835E}, {0x30C1, 0x8360},  // ジ セ タ チ
    {0x30C3, 0x8362}, {0x30C7, 0x8366}, {0x30C8, 0x8367}, {0x30C9, 0x8368},  // ッ デ ト ド
    {0x30CD, 0x836C}, {0x30CE, 0x836D}, {0x30D6, 0x8375}, {0x30E3, 0x8383},  // ネ ノ ブ ャ
    {0x30E9, 0x8389}, {0x30EA, 0x838A}, {0x30EB, 0x838B}, {0x30EF, 0x838F},  // ラ リ ル ワ
    {0x30F3, 0x8393}, {0x30FB, 0x8145}, {0x30FC, 0x815B}, {0x4E00, 0x88EA},  // ン ・ ー 一
    {0x4E0A, 0x8FE3}, {0x4E0D, 0x9573}, {0x4E2D, 0x9286}, {0x4E3B, 0x8EE5},  // 上 不 中 主
    {0x4ED6, 0x91BC}, {0x4EE5, 0x88C8}, {0x4F5C, 0x8DEC}, {0x51E6, 0x8F88},  // 他 以 作 処
    {0x52D5, 0x93AE}, {0x533A, 0x8BE6}, {0x53D6, 0x8EE6}, {0x5408, 0x8D87},  // 動 区 取 合
    {0x54E1, 0x88F5}, {0x56FD, 0x8D91}, {0x5730, 0x926E}, {0x5B9A, 0x92E8},  // 員 国 地 定
    {0x5E02, 0x8E73}, {0x5E45, 0x959D}, {0x5E9C, 0x957B}, {0x6210, 0x90AC},  // 市 幅 府 成
    {0x6307, 0x8E77}, {0x6574, 0x90AE}, {0x65B9, 0x95FB}, {0x672A, 0x96A2},  // 指 整 方 未
    {0x67FB, 0x8DB8}, {0x6E80, 0x969E}, {0x70B9, 0x935F}, {0x7406, 0x979D},  // 査 満 点 理
    {0x7528, 0x9770}, {0x770C, 0x8CA7}, {0x7B97, 0x8E5A}, {0x81EA, 0x8EA9},  // 用 県 算 自
    {0x822C, 0x94CA}, {0x8907, 0x95A1}, {0x8981, 0x9776}, {0x8A08, 0x8C76},  // 般 複 要 計
    {0x8ABF, 0x92B2}, {0x8DEF, 0x9848}, {0x8ECA, 0x8ED4}, {0x901F, 0x91AC},  // 調 路 車 速
    {0x9053, 0x93B9}, {0x90FD, 0x9373}, {0x91CD, 0x8F64}, {0x9593, 0x8AD4},  // 道 都 重 間
    {0x9664, 0x8F9C}, {0x9AD8, 0x8D82}, {0xFF01, 0x8149}, {0xFF5E, 0x8160},  // 除 高 ！ ～
};
// clang-format on

// A UTF-8 literal as a template argument.
template <size_t N>
struct Utf8Literal {
  char8_t text[N] = {};
  consteval Utf8Literal(const char8_t (&literal)[N]) {  // NOLINT: literals convert
    for (size_t i = 0; i < N; ++i) text[i] = literal[i];
  }
};

// The converted text; never longer than its UTF-8 form.
template <size_t N>
struct Cp932Text {
  char bytes[N] = {};
  size_t length = 0;
  constexpr const char* c_str() const { return bytes; }
  constexpr operator const char*() const { return bytes; }  // NOLINT: used as a text
};

template <size_t N>
consteval Cp932Text<N> ToCp932(const char8_t (&utf8)[N]) {
  Cp932Text<N> out;
  for (size_t i = 0; i + 1 < N;) {
    const uint32_t lead = utf8[i];
    if (lead < 0x80) {
      out.bytes[out.length++] = static_cast<char>(lead);
      ++i;
      continue;
    }
    const size_t more = lead >= 0xF0 ? 3 : lead >= 0xE0 ? 2 : 1;
    uint32_t code_point = lead & (0x3Fu >> more);
    for (size_t k = 1; k <= more; ++k) code_point = code_point << 6 | (utf8[i + k] & 0x3Fu);
    i += more + 1;
    uint16_t pair = 0;
    for (const Cp932Pair& entry : kCp932Pairs) {
      if (entry.code_point == code_point) pair = entry.bytes;
    }
    if (pair == 0) throw "a character is missing in kCp932Pairs";
    out.bytes[out.length++] = static_cast<char>(pair >> 8);
    out.bytes[out.length++] = static_cast<char>(pair & 0xFF);
  }
  return out;
}

template <Utf8Literal kText>
inline constexpr auto kCp932 = ToCp932(kText.text);

}  // namespace zatlib
