// The number parsers against the C library.
#include <cctype>
#include <cerrno>
#include <cmath>
#include <string>

#include "frd/text.h"
#include "naive.h"
#include "network/workstore/feature_code.h"

namespace zatlib::fuzz {
namespace {

bool SameBits(double a, double b) { return std::memcmp(&a, &b, sizeof a) == 0; }

// strtod reads hexadecimal numbers, infinities and NaNs as well; source files have none.
bool IsPlainNumber(const std::string& text) {
  for (const char c : text) {
    if (std::strchr("xXiInN", c) != nullptr) return false;
  }
  return true;
}

void Check(const std::string& bytes) {
  // A block of exactly that size, so that a look behind it is noticed.
  const std::vector<char> block(bytes.begin(), bytes.end());
  const std::string_view view(block.data(), block.size());
  const int32_t fixed = FRD_ParseFixed6(view);
  FUZZ_CHECK(fixed == NaiveFixed6(bytes));

  const std::string text(bytes.c_str());  // the C library stops at a zero byte
  const long long whole = std::strtoll(text.c_str(), nullptr, 10);
  FUZZ_CHECK(FRD_ParseInt64(view) == whole);
  FUZZ_CHECK(FRD_ParseInt(view) == (whole > INT32_MAX   ? INT32_MAX
                                    : whole < INT32_MIN ? INT32_MIN
                                                        : static_cast<int32_t>(whole)));
  FUZZ_CHECK(ParseCode(view, kIntegerCode).AsInteger() == whole);
  if (IsPlainNumber(text)) {
    const double number = std::strtod(text.c_str(), nullptr);
    FUZZ_CHECK(SameBits(FRD_ParseDouble(view), number) ||
               (number == 0.0 && FRD_ParseDouble(view) == 0.0));
    FUZZ_CHECK(ParseCode(view, kDecimalCode) == FeatureCode::FromDouble(number));
  }
}

}  // namespace
}  // namespace zatlib::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  zatlib::fuzz::Check(std::string(reinterpret_cast<const char*>(data), size));
  return 0;
}
