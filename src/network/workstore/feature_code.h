// Feature codes: the 8-byte identifiers of nodes and links.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace zatlib {

inline constexpr int kDecimalCode = 14;  // CODELENGTH: a double that holds up to 14 digits
inline constexpr int kIntegerCode = 18;  // CODELENGTH: a signed 64-bit integer of up to 18 digits

// The 8 bytes of a code. Whatever they hold, they are ordered and compared as the double they can
// be read as: non-negative 64-bit integers order like the doubles of the same bits.
struct FeatureCode {
  uint64_t bits = 0;

  double AsDouble() const {
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
  }
  int64_t AsInteger() const { return static_cast<int64_t>(bits); }

  // True for the code of an empty record: its bytes read as 0.0.
  bool IsEmpty() const { return AsDouble() == 0.0; }

  static FeatureCode FromDouble(double value) {
    FeatureCode code;
    std::memcpy(&code.bits, &value, sizeof value);
    return code;
  }
  static FeatureCode FromInteger(int64_t value) { return {static_cast<uint64_t>(value)}; }

  friend bool operator==(FeatureCode a, FeatureCode b) { return a.AsDouble() == b.AsDouble(); }
  friend bool operator<(FeatureCode a, FeatureCode b) { return a.AsDouble() < b.AsDouble(); }
};
static_assert(sizeof(FeatureCode) == 8);

// Numbers of an area that its codes of length 14 keep apart, and the area whose codes are those of
// the dummy links.
inline constexpr double kNumbersOfArea = 1e12;
inline constexpr int kDummyArea = 99;

// True for 14 and 18.
bool IsValidCodeLength(int code_length);

// A code from its text: a floating-point number for length 14, a 64-bit integer for any other.
FeatureCode ParseCode(std::string_view text, int code_length);

// A code as messages print it ("%014.0lf" or "%018I64d").
class CodeText {
 public:
  CodeText(FeatureCode code, int code_length);
  const char* c_str() const { return text_; }

 private:
  char text_[352];  // the largest double has 309 digits
};

// The code that the MSR layouts give as an area number and a number within the area: area x 10^12 +
// number for length 14, area x 10^16 + number truncated to an integer for length 18.
FeatureCode ComposeCode(int area, double number, int code_length);

// The k-th dummy link's code (k from 1); codes from there upward are reserved for dummy links.
FeatureCode DummyLinkCode(int64_t k, int code_length);

// [SYSTEM] CODELENGTH of the road definition file in the output folder, default 14.
int BRN_GetCodeLength(const char* control_file);

}  // namespace zatlib
