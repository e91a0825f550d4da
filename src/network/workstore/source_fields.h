// What the record readers of both formats share: the one reader that fills a record by the layout
// of its line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "frd/lines.h"
#include "network/workstore/number_scan.h"
#include "network/workstore/source_layout.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// The speeds that rows without a speed get, km/h.
struct DefaultSpeeds {
  uint16_t a;
  uint16_t b;
};

// [DEFAULTSPEED] SPEEDA and SPEEDB of the control file, default 0.
DefaultSpeeds ReadDefaultSpeeds(const char* control_file);

// The speed that a column of a line gives: 0 takes the default, a negative number gives 0.
uint16_t SpeedOf(std::string_view field, uint16_t default_speed);

// What the parsing of a line depends on besides its layout.
struct SourceRules {
  int code_length;
  DefaultSpeeds defaults = {0, 0};
  uint32_t line_size = kLineSize;  // bytes of a line, its end included
};

// The area number that a line gave, 0 without one.
struct LineAreas {
  int area = 0;
  int partner = 0;
};

// True when a line, which a CR follows, surely has fewer than `columns` columns and no field that
// is too long. False when it may be otherwise. For lines of which most have nothing in that column.
bool IsNarrow(std::string_view line, int columns);

// What the readers below are made of.
namespace fields {

template <typename Value>
void Put(char* field, Value value) {
  std::memcpy(field, &value, sizeof value);
}

// A number field taken at once: digits, in quotes or not, and then a delimiter; `to` (or `areas`)
// receives it. Null when the field is of another kind or out of the ordinary.
template <FieldKind kKind>
[[gnu::always_inline]] inline const char* TakeNumber(const char* p, const SourceRules& rules,
                                                     char* to, LineAreas* areas) {
  constexpr int64_t kExactInDouble = 15;  // digits
  constexpr int64_t kExactInLong = 18;
  constexpr int64_t kExactInInt = 9;
  if (*p == '"') ++p;
  if constexpr (kKind == FieldKind::kCoordinate) {
    int32_t value = 0;
    const char* end = TakeCoordinate(p, &value);
    if (end == nullptr) return nullptr;
    if (*end == '"') ++end;
    if (!IsDelimiter(*end)) return nullptr;
    Put(to, value);
    return end;
  }
  const DigitRun digits = TakeDigits(p);
  const int64_t count = digits.end - p;
  const char* end = digits.end;
  if (*end == '"') ++end;
  if (!IsDelimiter(*end)) return nullptr;
  // No digits at all are 0 in every kind of number; more than these need the full rules.
  if constexpr (kKind == FieldKind::kCode || kKind == FieldKind::kAreaCode ||
                kKind == FieldKind::kPartnerCode || kKind == FieldKind::kFullCode) {
    if (kKind == FieldKind::kCode && rules.code_length != kDecimalCode) {
      if (count > kExactInLong) return nullptr;
      Put(to, digits.value);
      return end;
    }
    if (count > kExactInDouble) return nullptr;
    Put(to, static_cast<double>(static_cast<int64_t>(digits.value)));
    return end;
  }
  if (count > kExactInInt) return nullptr;
  const auto value = static_cast<int32_t>(digits.value);
  if constexpr (kKind == FieldKind::kArea) {
    areas->area = value;
  } else if constexpr (kKind == FieldKind::kPartnerArea) {
    areas->partner = value;
  } else if constexpr (kKind == FieldKind::kWord) {
    Put(to, static_cast<uint16_t>(value));
  } else if constexpr (kKind == FieldKind::kLong) {
    Put(to, value);
  } else if constexpr (kKind == FieldKind::kByte) {
    Put(to, static_cast<uint8_t>(value));
  } else if constexpr (kKind == FieldKind::kSpeedA) {
    Put(to, value == 0 ? rules.defaults.a : static_cast<uint16_t>(value));
  } else if constexpr (kKind == FieldKind::kSpeedB) {
    Put(to, value == 0 ? rules.defaults.b : static_cast<uint16_t>(value));
  }
  return end;
}

// Takes any field by the full rules. Returns its end; null when it is too long.
const char* TakeField(const char* p, FieldKind kind, const SourceRules& rules, char* to,
                      LineAreas* areas);

// Passes over the fields from `p` to the end of the line. False when one is too long.
bool PassRest(const char* p, const char* line_end);

// Ends the lines at the field of `line`, the one read last, that is too long.
void EndAtLongField(std::string_view line, Lines& lines);

// Composes the numbers that a layout has left in the record with the line's areas.
void ComposeCodes(const SourceLayout& layout, int code_length, const LineAreas& areas,
                  char* record);

// Fills the fields of the record from column `kColumn` on. False when a field is too long.
template <const SourceLayout& kLayout, int kColumn>
bool Fill(const char* p, const char* line_end, const SourceRules& rules, char* record,
          LineAreas* areas) {
  if constexpr (kColumn == kLayout.columns) {
    return kLayout.reads_rest ? PassRest(p, line_end) : true;
  } else {
    constexpr SourceLayout::Entry kEntry = kLayout.entries[kColumn];
    const char* end = nullptr;
    if constexpr (kEntry.kind != FieldKind::kIgnored && kEntry.kind != FieldKind::kName) {
      end = TakeNumber<kEntry.kind>(p, rules, record + kEntry.offset, areas);
    }
    if (end == nullptr) {
      end = TakeField(p, kEntry.kind, rules, record + kEntry.offset, areas);
      if (end == nullptr) return false;
    }
    if (*end != ',' && *end != '\t') return true;
    return Fill<kLayout, kColumn + 1>(end + 1, line_end, rules, record, areas);
  }
}

}  // namespace fields

// Clears the record, reads the next line and fills the record's fields by the layout, taking fields
// as FieldCursor does. Returns 1, or 0 at the end of the lines. `areas` (may be null) receives the
// line's areas.
template <const SourceLayout& kLayout, typename Record>
int ReadSourceRecord(Lines& lines, const SourceRules& rules, Record* record,
                     LineAreas* areas = nullptr) {
  std::memset(static_cast<void*>(record), 0, sizeof(Record));
  std::string_view line;
  if (lines.Next(rules.line_size, &line) != LineResult::kLine) return 0;
  auto* bytes = reinterpret_cast<char*>(record);
  LineAreas found;
  if (!fields::Fill<kLayout, 0>(line.data(), line.data() + line.size(), rules, bytes, &found)) {
    fields::EndAtLongField(line, lines);
    return 0;
  }
  if constexpr (kLayout.composes) fields::ComposeCodes(kLayout, rules.code_length, found, bytes);
  if (areas != nullptr) *areas = found;
  return 1;
}

}  // namespace zatlib
