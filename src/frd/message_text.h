// Texts with places for values, held to the types of those values when they are compiled.
#pragma once

#include <cstddef>
#include <type_traits>

namespace zatlib {

// True when a printf conversion (what stands behind the '%': length and letter) takes a value of
// type `Value`.
template <typename Value>
constexpr bool TakesValue(char length, bool twice, char letter) {
  if constexpr (std::is_same_v<Value, const char*>) {
    return length == 0 && letter == 's';
  } else if constexpr (std::is_same_v<Value, double>) {
    return (length == 0 || (length == 'l' && !twice)) && (letter == 'f' || letter == 'e');
  } else {
    static_assert(std::is_same_v<Value, int> || std::is_same_v<Value, long> ||
                      std::is_same_v<Value, long long>,
                  "give int, long, long long, double or const char*");
    constexpr bool kLong = std::is_same_v<Value, long>;
    constexpr bool kLongLong = std::is_same_v<Value, long long>;
    const bool fits = kLongLong ? length == 'l' && twice
                      : kLong   ? length == 'l' && !twice
                                : length == 0;
    return fits && letter == 'd';
  }
}

// What FindConversion found.
struct Conversion {
  const char* end = nullptr;  // behind it; null: none is left
  char length = 0;            // 'l' or none
  bool twice = false;         // "ll"
  char letter = 0;
};

// The next conversion of a format; "%%" is none. Flags, width and precision are passed over.
constexpr Conversion FindConversion(const char* text) {
  const auto is_one_of = [](char c, const char* set) {
    for (; *set != 0; ++set) {
      if (*set == c) return true;
    }
    return false;
  };
  for (; *text != 0; ++text) {
    if (*text != '%') continue;
    if (*++text == '%') continue;
    while (is_one_of(*text, "-+ #0123456789.")) ++text;
    Conversion found;
    if (*text == 'l') found.length = *text++;
    if (*text == 'l') {
      found.twice = true;
      ++text;
    }
    found.letter = *text;
    found.end = *text == 0 ? text : text + 1;
    return found;
  }
  return {};
}

// True when the conversions of `text` take the values in order. A text may leave values at the end
// out: texts of one table differ in how much they tell.
template <typename... Values>
constexpr bool FitsValues(const char* text) {
  bool fits = true;
  [[maybe_unused]] const auto take = [&]<typename Value>(std::type_identity<Value>) {
    if (text == nullptr) return;
    const Conversion found = FindConversion(text);
    text = found.end;
    if (found.end != nullptr) {
      fits = fits && TakesValue<Value>(found.length, found.twice, found.letter);
    }
  };
  (take(std::type_identity<Values>{}), ...);
  return fits && (text == nullptr || FindConversion(text).end == nullptr);
}

// A text of the interface that takes `Values` (int, long, long long, double, const char*). Made
// from a literal only; one whose conversions do not fit does not compile. An empty one says
// nothing.
template <typename... Values>
class MessageText {
 public:
  constexpr MessageText() = default;
  template <typename Literal>
  requires std::is_convertible_v<const Literal&, const char*>
  consteval MessageText(const Literal& text) : text_(text) {  // implicit: a literal is a text
    if (!FitsValues<Values...>(text_)) DoesNotFit();
  }

  constexpr const char* c_str() const { return text_; }
  constexpr bool empty() const { return *text_ == 0; }

 private:
  static void DoesNotFit() {}  // not constexpr: ends the compilation

  const char* text_ = "";
};

// For texts that have met their values' types (FormatText): FRD_Format.
void PutFormatted(char* out, size_t size, const char* format, ...);

// Formats a text of a table into a buffer of `size` bytes, cuts to it and terminates.
template <typename... Values>
void FormatText(char* out, size_t size, MessageText<std::type_identity_t<Values>...> text,
                Values... values) {
  PutFormatted(out, size, text.c_str(), values...);
}

}  // namespace zatlib
