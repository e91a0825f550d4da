#include "map/code_index.h"

#include <cinttypes>
#include <cmath>
#include <cstdio>

#include "shape/shape_files.h"

namespace zatlib::map {

static_assert(sizeof(ShapeIndexEntry) == sizeof(CodeIndexRecord));
static_assert(offsetof(ShapeIndexEntry, Code) == offsetof(CodeIndexRecord, Code));

std::string CodeDigits(FeatureCode code, int code_length) {
  char text[64];
  if (code_length != kDecimalCode) {
    std::snprintf(text, sizeof text, "%" PRId64, code.AsInteger());
    return text;
  }
  const double value = code.AsDouble();
  if (std::fabs(value) < 1e15 && value == std::floor(value)) {
    std::snprintf(text, sizeof text, "%.0f", value);
  } else {
    std::snprintf(text, sizeof text, "%.17g", value);
  }
  return text;
}

bool ParseCodeDigits(const std::string& text, int code_length, FeatureCode* code) {
  if (text.empty() || text.size() > 18 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  *code = ParseCode(text, code_length);
  return true;
}

bool CodeIndex::Open(const MapFolder& folder, const char* name) {
  return file_.Open(PathOf(folder, name), sizeof(CodeIndexRecord));
}

bool CodeIndex::Read(int64_t position, CodeIndexRecord* record) const {
  return file_.Read(position, record);
}

int64_t CodeIndex::Position(FeatureCode code) const {
  int64_t low = 0;
  int64_t high = count();
  CodeIndexRecord record{};
  while (low < high) {
    const int64_t middle = low + (high - low) / 2;
    if (!Read(middle, &record)) return -1;
    if (record.Code < code) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return Read(low, &record) && record.Code == code ? low : -1;
}

int64_t CodeIndex::Number(FeatureCode code) const {
  CodeIndexRecord record{};
  const int64_t position = Position(code);
  return position >= 0 && Read(position, &record) ? record.Number : -1;
}

}  // namespace zatlib::map
