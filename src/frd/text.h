// Texts: bounded formatting, paths, delimited fields and number parsing.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string_view>

namespace zatlib {

inline constexpr size_t kPathSize = 260;      // a path buffer: 259 bytes of text and a terminator
inline constexpr size_t kMessageSize = 1024;  // a formatted message
inline constexpr size_t kNameSize = 20;       // bytes of a node or link name in the map
inline constexpr size_t kFieldLimit = 63;     // bytes of a source field that the readers take

#if defined(__GNUC__)
#if defined(_WIN32)
#define ZATLIB_PRINTF(text_at, first) __attribute__((format(gnu_printf, text_at, first)))
#else
#define ZATLIB_PRINTF(text_at, first) __attribute__((format(printf, text_at, first)))
#endif
#else
#define ZATLIB_PRINTF(text_at, first)
#endif

// Formats into a buffer of `size` bytes, cuts to it and always terminates. Returns the length.
size_t FRD_Format(char* out, size_t size, const char* format, ...) ZATLIB_PRINTF(3, 4);
size_t FRD_FormatV(char* out, size_t size, const char* format, va_list arguments);

// Copies at most size - 1 bytes and terminates. Returns the length copied.
size_t FRD_CopyText(char* out, size_t size, std::string_view text);

// Number of bytes of the character at the start of `text` in the system code page: 2 when a lead
// byte is followed by another byte, 1 else. `text` is not empty.
size_t FRD_CharLength(std::string_view text);

// The longest prefix of at most `limit` bytes that ends on a whole character.
std::string_view FRD_CutText(std::string_view text, size_t limit);

// out = folder, a separator, name; no second separator when the folder ends with one, never more
// than 259 bytes. An empty folder gives a separator followed by the name. `out` holds 260 bytes.
void FRD_JoinPath(char* out, const char* folder, const char* name);

// Splits at the last separator (dropped) or drive colon (kept with the folder); either output may
// be null, else it holds 260 bytes and receives at most 255 bytes of text.
void FRD_SplitPath(const char* path, char* folder_out, char* name_out);

// The path with its extension replaced by ".mid". A path without an extension loses its last
// element ("C:\data\node" gives "C:\data.mid"): callers pass names with an extension. `mid_out`
// holds 260 bytes.
void FRD_MakeMidPath(const char* mif_path, char* mid_out);

// A decimal number x 1,000,000 as a 32-bit integer, from at most 32 characters: digits and signs
// are kept in order, other characters skipped; decimals are filled up to 6 but never cut, so that
// 7 decimals give ten times the scale. Results beyond 32 bits clamp.
int32_t FRD_ParseFixed6(const char* text, size_t length);
inline int32_t FRD_ParseFixed6(std::string_view text) {
  return FRD_ParseFixed6(text.data(), text.size());
}

// A decimal integer as the C library's atoi reads it (leading blanks, a sign, digits), clamped to
// 32 bits; 0 for a text that does not begin with a number.
int32_t FRD_ParseInt(std::string_view text);

// The same for 64 bits.
int64_t FRD_ParseInt64(std::string_view text);

// The same for a decimal floating-point number.
double FRD_ParseDouble(std::string_view text);

// A count for a format that takes less than 64 bits: clamped, so that it is never another number.
template <typename Shown>
constexpr Shown ShownAs(int64_t count) {
  constexpr auto kLeast = static_cast<int64_t>(std::numeric_limits<Shown>::min());
  constexpr auto kMost = static_cast<int64_t>(std::numeric_limits<Shown>::max());
  return static_cast<Shown>(count < kLeast ? kLeast : count > kMost ? kMost : count);
}

}  // namespace zatlib
