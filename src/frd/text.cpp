#include "frd/text.h"

#include <algorithm>
#include <charconv>
#include <cstdio>
#include <cstring>
#include <limits>

#include "frd/message_text.h"
#include "platform/code_page.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr size_t kSplitLimit = 255;       // bytes that FRD_SplitPath hands out
constexpr size_t kSplitInput = 1023;      // bytes that FRD_SplitPath looks at
constexpr size_t kFixed6Characters = 32;  // characters that FRD_ParseFixed6 looks at
constexpr int kDecimals = 6;

bool IsSpace(char c) { return c == ' ' || (c >= '\t' && c <= '\r'); }

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Start of the last whole character of a text that is not empty.
size_t LastCharStart(std::string_view text) {
  size_t start = 0;
  for (size_t i = 0; i < text.size(); i += FRD_CharLength(text.substr(i))) start = i;
  return start;
}

bool EndsWithSeparator(std::string_view text) {
  if (text.empty() || !platform::IsSeparator(text.back())) return false;
  // '/' is never the second byte of a double-byte character; '\' may be.
  return text.back() == '/' || LastCharStart(text) == text.size() - 1;
}

template <typename Integer>
Integer ParseClamped(std::string_view text) {
  size_t i = 0;
  while (i < text.size() && IsSpace(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  constexpr uint64_t kMax = static_cast<uint64_t>(std::numeric_limits<Integer>::max());
  const uint64_t limit = negative ? kMax + 1 : kMax;
  uint64_t value = 0;
  // 18 digits fit into 64 bits; only what is longer needs a test, with its division, a digit.
  const size_t safe_end = std::min(text.size(), i + 18);
  for (; i < safe_end && IsDigit(text[i]); ++i) {
    value = value * 10 + static_cast<uint64_t>(text[i] - '0');
  }
  for (; i < text.size() && IsDigit(text[i]); ++i) {
    const auto digit = static_cast<uint64_t>(text[i] - '0');
    if (value > (limit - digit) / 10) {
      value = limit;
      break;
    }
    value = value * 10 + digit;
  }
  value = std::min(value, limit);
  return static_cast<Integer>(negative ? 0 - value : value);
}

// Tells a number that is too large for a double from one that is too small. `number` is made of
// digits, a point and an exponent.
bool IsAboveOne(std::string_view number) {
  int64_t power = 0;  // of ten; places of the first digit that is not 0, from the point
  bool after_point = false;
  bool found = false;
  size_t i = 0;
  for (; i < number.size() && (IsDigit(number[i]) || number[i] == '.'); ++i) {
    if (number[i] == '.') {
      after_point = true;
    } else {
      if (after_point && !found) --power;
      found = found || number[i] != '0';
      if (!after_point && found) ++power;
    }
  }
  if (i < number.size()) power += ParseClamped<int32_t>(number.substr(i + 1));
  return power > 0;
}

}  // namespace

// Formats are checked where they are written: by the compiler, or as texts of a table.
#ifdef __GNUC__
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wformat-nonliteral"
#endif
size_t FRD_FormatV(char* out, size_t size, const char* format, va_list arguments) {
  if (size == 0) return 0;
  const int length = std::vsnprintf(out, size, format, arguments);
  if (length < 0) {
    out[0] = 0;
    return 0;
  }
  return std::min(static_cast<size_t>(length), size - 1);
}
#ifdef __GNUC__
#pragma GCC diagnostic pop
#endif

void PutFormatted(char* out, size_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(out, size, format, arguments);
  va_end(arguments);
}

size_t FRD_Format(char* out, size_t size, const char* format, ...) {
  va_list arguments;
  va_start(arguments, format);
  const size_t length = FRD_FormatV(out, size, format, arguments);
  va_end(arguments);
  return length;
}

size_t FRD_CopyText(char* out, size_t size, std::string_view text) {
  if (size == 0) return 0;
  const size_t length = std::min(text.size(), size - 1);
  if (length > 0) std::memcpy(out, text.data(), length);
  out[length] = 0;
  return length;
}

size_t FRD_CharLength(std::string_view text) {
  return text.size() > 1 && platform::IsLeadByte(static_cast<unsigned char>(text[0])) ? 2 : 1;
}

std::string_view FRD_CutText(std::string_view text, size_t limit) {
  if (text.size() <= limit) return text;
  size_t length = 0;
  while (true) {
    const size_t unit = FRD_CharLength(text.substr(length));
    if (length + unit > limit) return text.substr(0, length);
    length += unit;
  }
}

void FRD_JoinPath(char* out, const char* folder, const char* name) {
  char joined[kPathSize];
  size_t length = FRD_CopyText(joined, kPathSize, folder);
  if (!EndsWithSeparator(std::string_view(joined, length)) && length + 1 < kPathSize) {
    joined[length++] = platform::NativeSeparator();
  }
  FRD_CopyText(joined + length, kPathSize - length, name);
  std::memcpy(out, joined, kPathSize);
}

void FRD_SplitPath(const char* path, char* folder_out, char* name_out) {
  std::string_view text(path);
  text = text.substr(0, kSplitInput);
  size_t folder_length = 0;
  size_t name_start = 0;
  // Forward over whole characters; the last separator or colon met is the first one from behind.
  for (size_t i = 0; i < text.size();) {
    size_t unit = FRD_CharLength(text.substr(i));
    // '/' ends no double-byte character: here the path is in another encoding.
    if (unit == 2 && text[i + 1] == '/') unit = 1;
    if (unit == 1 && platform::IsSeparator(text[i])) {
      folder_length = i;
      name_start = i + 1;
    } else if (unit == 1 && text[i] == ':' && (platform::NativeSeparator() == '\\' || i == 1)) {
      // Elsewhere than on Windows a colon is an ordinary character but behind a drive letter.
      folder_length = i + 1;
      name_start = i + 1;
    }
    i += unit;
  }
  const std::string_view folder = text.substr(0, std::min(folder_length, kSplitLimit));
  const std::string_view name = text.substr(name_start).substr(0, kSplitLimit);
  char copy[kPathSize];
  FRD_CopyText(copy, kPathSize, name);
  if (folder_out != nullptr) FRD_CopyText(folder_out, kPathSize, folder);
  if (name_out != nullptr) FRD_CopyText(name_out, kPathSize, copy);
}

void FRD_MakeMidPath(const char* mif_path, char* mid_out) {
  std::string_view text(mif_path);
  text = text.substr(0, kPathSize - 1);
  for (size_t i = text.size(); i-- > 1;) {
    if (text[i] == '.' || platform::IsSeparator(text[i])) {
      text = text.substr(0, i);
      break;
    }
  }
  char path[kPathSize];
  const size_t length = FRD_CopyText(path, kPathSize, text);
  FRD_CopyText(path + length, kPathSize - length, ".mid");
  std::memcpy(mid_out, path, kPathSize);
}

int32_t FRD_ParseFixed6(const char* text, size_t length) {
  char kept[kFixed6Characters + kDecimals];
  size_t used = 0;
  int decimals = 0;
  bool after_point = false;
  for (size_t i = 0; i < std::min(length, kFixed6Characters) && text[i] != 0; ++i) {
    const char c = text[i];
    if (IsDigit(c)) {
      kept[used++] = c;
      if (after_point) ++decimals;
    } else if (c == '+' || c == '-') {
      kept[used++] = c;
    } else if (c == '.') {
      after_point = true;
    }
  }
  for (; decimals < kDecimals; ++decimals) kept[used++] = '0';
  return FRD_ParseInt(std::string_view(kept, used));
}

int32_t FRD_ParseInt(std::string_view text) { return ParseClamped<int32_t>(text); }

int64_t FRD_ParseInt64(std::string_view text) { return ParseClamped<int64_t>(text); }

double FRD_ParseDouble(std::string_view text) {
  // Whole numbers of up to 15 digits are exact in a double; they are nearly all there is.
  if (!text.empty() && text.size() <= 15) {
    int64_t value = 0;
    size_t i = 0;
    for (; i < text.size() && IsDigit(text[i]); ++i) value = value * 10 + (text[i] - '0');
    if (i == text.size()) return static_cast<double>(value);
  }
  size_t i = 0;
  while (i < text.size() && IsSpace(text[i])) ++i;
  bool negative = false;
  if (i < text.size() && (text[i] == '+' || text[i] == '-')) negative = text[i++] == '-';
  if (i >= text.size() || !(IsDigit(text[i]) || text[i] == '.')) return 0.0;
  double value = 0.0;
  const char* begin = text.data() + i;
  const char* end = text.data() + text.size();
  const auto parsed = std::from_chars(begin, end, value, std::chars_format::general);
  if (parsed.ec == std::errc::invalid_argument) return 0.0;
  if (parsed.ec == std::errc::result_out_of_range) {
    const std::string_view number(begin, static_cast<size_t>(parsed.ptr - begin));
    value = IsAboveOne(number) ? std::numeric_limits<double>::infinity() : 0.0;
  }
  return negative ? -value : value;
}

}  // namespace zatlib
