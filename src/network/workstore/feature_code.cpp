#include "network/workstore/feature_code.h"

#include <cinttypes>

#include "frd/control.h"
#include "frd/text.h"
#include "network/workstore/work_stores.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr int64_t kAreaInteger = 10000000000000000;  // 10^16
constexpr double kFirstDummyDecimal = kDummyArea * kNumbersOfArea;
constexpr int64_t kFirstDummyInteger = kDummyArea * kAreaInteger;

// A double cut to a 64-bit integer; what does not fit clamps.
int64_t Truncate(double value) {
  if (value >= 9223372036854775808.0) return INT64_MAX;
  if (value <= -9223372036854775808.0) return INT64_MIN;
  return value != value ? 0 : static_cast<int64_t>(value);
}

}  // namespace

bool IsValidCodeLength(int code_length) {
  return code_length == kDecimalCode || code_length == kIntegerCode;
}

FeatureCode ParseCode(std::string_view text, int code_length) {
  return code_length == kDecimalCode ? FeatureCode::FromDouble(FRD_ParseDouble(text))
                                     : FeatureCode::FromInteger(FRD_ParseInt64(text));
}

CodeText::CodeText(FeatureCode code, int code_length) {
  if (code_length == kDecimalCode) {
    FRD_Format(text_, sizeof text_, "%014.0lf", code.AsDouble());
  } else {
    FRD_Format(text_, sizeof text_, "%018" PRId64, code.AsInteger());
  }
}

FeatureCode ComposeCode(int area, double number, int code_length) {
  if (code_length == kDecimalCode) {
    return FeatureCode::FromDouble(area * 10000.0 * 10000.0 * 10000.0 + number);
  }
  // Unsigned, so that a nonsense area number wraps instead of being undefined.
  return {static_cast<uint64_t>(Truncate(number)) +
          static_cast<uint64_t>(int64_t{area}) * static_cast<uint64_t>(kAreaInteger)};
}

FeatureCode DummyLinkCode(int64_t k, int code_length) {
  return code_length == kDecimalCode
             ? FeatureCode::FromDouble(kFirstDummyDecimal + static_cast<double>(k))
             : FeatureCode::FromInteger(kFirstDummyInteger + k);
}

int BRN_GetCodeLength(const char* control_file) {
  const PathText path = OutputPath(control_file, kRoadDefinitionFile);
  return platform::ReadProfileInt("SYSTEM", "CODELENGTH", kDecimalCode, path.c_str());
}

}  // namespace zatlib
