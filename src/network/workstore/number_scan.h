// Numbers at the front of a field, eight digits at a time. What is out of the ordinary is left to
// the parsers of frd/text.h, so that they alone say what a number is.
#pragma once

#include <bit>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace zatlib {

// Digits from `p` on: their value, and how many there are. Beyond 18 digits the value has no
// meaning.
struct DigitRun {
  uint64_t value = 0;
  const char* end = nullptr;
};

// Value of eight digits (not characters) in the bytes of `digits`, the first one lowest.
inline uint64_t EightDigits(uint64_t digits) {
  digits = digits * 10 + (digits >> 8);
  constexpr uint64_t kPairs = 0x000000FF000000FF;
  constexpr uint64_t kLow = 100 + (uint64_t{1000000} << 32);
  constexpr uint64_t kHigh = 1 + (uint64_t{10000} << 32);
  return ((digits & kPairs) * kLow + ((digits >> 16) & kPairs) * kHigh) >> 32;
}

// Takes the digits at `p`. Up to 7 bytes behind the last one must be readable.
inline DigitRun TakeDigits(const char* p, uint64_t value = 0) {
  static constexpr uint64_t kPowers[] = {1, 10, 100, 1000, 10000, 100000, 1000000, 10000000};
  static_assert(std::endian::native == std::endian::little);
  while (true) {
    uint64_t bytes;
    std::memcpy(&bytes, p, sizeof bytes);
    const uint64_t digits = bytes ^ 0x3030303030303030;
    // The top bit of a byte that is no digit; bytes above the first such one may be wrong.
    const uint64_t others = ((digits + 0x7676767676767676) | digits) & 0x8080808080808080;
    if (others != 0) {
      const int count = std::countr_zero(others) / 8;
      if (count == 0) return {value, p};
      // Leading zeros fill the eight up.
      return {value * kPowers[count] + EightDigits(digits << (64 - 8 * count)), p + count};
    }
    value = value * 100000000 + EightDigits(digits);
    p += 8;
  }
}

// Bytes that end a field or a record.
struct Delimiters {
  bool is[256] = {};
  consteval Delimiters() {
    for (const char c : {',', '\t', '\r', '\0'}) is[static_cast<unsigned char>(c)] = true;
  }
};
inline constexpr Delimiters kDelimiters;

inline bool IsDelimiter(char c) { return kDelimiters.is[static_cast<unsigned char>(c)]; }

// Takes a number of degrees at `p` as FRD_ParseFixed6 reads it, in millionths. Returns where it
// ends; null when it is out of the ordinary: more than 3 digits before the point (10 without one),
// more than 6 behind it, or beyond 32 bits.
inline const char* TakeCoordinate(const char* p, int32_t* value) {
  static constexpr int64_t kFill[] = {1000000, 100000, 10000, 1000, 100, 10, 1};
  constexpr int64_t kWholeDigits = 3;
  constexpr int64_t kMostDigits = 10;
  const bool negative = *p == '-';
  if (negative) ++p;
  const char* const begin = p;
  int64_t number = 0;
  while (*p >= '0' && *p <= '9' && p - begin < kWholeDigits) number = number * 10 + (*p++ - '0');
  if (*p == '.') {
    uint64_t bytes;
    std::memcpy(&bytes, ++p, sizeof bytes);
    const uint64_t digits = bytes ^ 0x3030303030303030;
    const uint64_t others = ((digits + 0x7676767676767676) | digits) & 0x8080808080808080;
    const int count = others == 0 ? 8 : std::countr_zero(others) / 8;
    if (count > 6 || p - begin + count == 1) return nullptr;
    number *= 1000000;
    if (count > 0) {
      number += static_cast<int64_t>(EightDigits(digits << (64 - 8 * count))) * kFill[count];
    }
    p += count;
  } else {
    const DigitRun rest = TakeDigits(p, static_cast<uint64_t>(number));
    const int64_t count = rest.end - begin;
    if (count == 0 || count > kMostDigits || *rest.end == '.') return nullptr;
    number = static_cast<int64_t>(rest.value) * kFill[0];
    p = rest.end;
  }
  if (number > INT32_MAX) return nullptr;
  *value = static_cast<int32_t>(negative ? -number : number);
  return p;
}

}  // namespace zatlib
