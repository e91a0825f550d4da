#include "network/workstore/source_fields.h"

#include <cstring>
#include <string_view>

#include "frd/control.h"
#include "frd/fields.h"
#include "network/workstore/number_scan.h"

namespace zatlib {
namespace {

template <typename Value>
void Put(char* field, Value value) {
  std::memcpy(field, &value, sizeof value);
}

uint16_t Speed(std::string_view field, uint16_t default_speed) {
  const int32_t speed = FRD_ParseInt(field);
  if (speed < 0) return 0;
  return speed == 0 ? default_speed : static_cast<uint16_t>(speed);
}

void FillField(std::string_view field, FieldKind kind, const SourceRules& rules, char* to,
               LineAreas* areas) {
  switch (kind) {
    case FieldKind::kIgnored:
      break;
    case FieldKind::kCode:
      Put(to, ParseCode(field, rules.code_length));
      break;
    case FieldKind::kAreaCode:
    case FieldKind::kPartnerCode:
    case FieldKind::kFullCode:
      // The area may stand further on: the number waits in its field.
      Put(to, FRD_ParseDouble(field));
      break;
    case FieldKind::kArea:
      areas->area = FRD_ParseInt(field);
      break;
    case FieldKind::kPartnerArea:
      areas->partner = FRD_ParseInt(field);
      break;
    case FieldKind::kWord:
      Put(to, static_cast<uint16_t>(FRD_ParseInt(field)));
      break;
    case FieldKind::kLong:
      Put(to, FRD_ParseInt(field));
      break;
    case FieldKind::kByte:
      Put(to, static_cast<uint8_t>(FRD_ParseInt(field)));
      break;
    case FieldKind::kCoordinate:
      Put(to, FRD_ParseFixed6(field));
      break;
    case FieldKind::kSpeedA:
      Put(to, Speed(field, rules.defaults.a));
      break;
    case FieldKind::kSpeedB:
      Put(to, Speed(field, rules.defaults.b));
      break;
    case FieldKind::kName: {
      const std::string_view name = FRD_CutText(field, kNameSize);
      std::memcpy(to, name.data(), name.size());
      break;
    }
  }
}

// A number field taken at once: digits, in quotes or not, and then a delimiter. Null when it is not
// of that kind or the kind of field wants another parser.
const char* TakeNumber(const char* p, FieldKind kind, const SourceRules& rules, char* to,
                       LineAreas* areas) {
  constexpr int64_t kExactInDouble = 15;  // digits
  constexpr int64_t kExactInLong = 18;
  constexpr int64_t kExactInInt = 9;
  if (*p == '"') ++p;
  if (kind == FieldKind::kCoordinate) {
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
  switch (kind) {
    case FieldKind::kCode:
      if (rules.code_length != kDecimalCode) {
        if (count > kExactInLong) return nullptr;
        Put(to, digits.value);
        return end;
      }
      [[fallthrough]];
    case FieldKind::kAreaCode:
    case FieldKind::kPartnerCode:
    case FieldKind::kFullCode:
      if (count > kExactInDouble) return nullptr;
      Put(to, static_cast<double>(static_cast<int64_t>(digits.value)));
      return end;
    default:
      break;
  }
  if (count > kExactInInt) return nullptr;
  const auto value = static_cast<int32_t>(digits.value);
  switch (kind) {
    case FieldKind::kArea:
      areas->area = value;
      break;
    case FieldKind::kPartnerArea:
      areas->partner = value;
      break;
    case FieldKind::kWord:
      Put(to, static_cast<uint16_t>(value));
      break;
    case FieldKind::kLong:
      Put(to, value);
      break;
    case FieldKind::kByte:
      Put(to, static_cast<uint8_t>(value));
      break;
    case FieldKind::kSpeedA:
      Put(to, value == 0 ? rules.defaults.a : static_cast<uint16_t>(value));
      break;
    case FieldKind::kSpeedB:
      Put(to, value == 0 ? rules.defaults.b : static_cast<uint16_t>(value));
      break;
    default:
      return nullptr;
  }
  return end;
}

// Fills the record's fields from a line, which a CR follows. False when a field is too long. Takes
// fields as FieldCursor does.
bool FillRecord(std::string_view line, const SourceLayout& layout, const SourceRules& rules,
                char* record, LineAreas* areas) {
  const char* p = line.data();
  for (int column = 0; column < layout.columns; ++column) {
    const SourceLayout::Entry& entry = layout.entries[column];
    char* const to = record + entry.offset;
    const char* end = nullptr;
    if (entry.kind != FieldKind::kIgnored && entry.kind != FieldKind::kName) {
      end = TakeNumber(p, entry.kind, rules, to, areas);
    }
    if (end == nullptr) {
      if (*p == '"') ++p;
      end = p;
      while (!IsDelimiter(*end)) ++end;
      auto length = static_cast<size_t>(end - p);
      if (length > kFieldLimit) return false;
      if (length > 0 && p[length - 1] == '"') --length;
      FillField(std::string_view(p, length), entry.kind, rules, to, areas);
    }
    if (*end != ',' && *end != '\t') return true;
    p = end + 1;
  }
  if (!layout.reads_rest) return true;
  // The columns behind hold nothing, but may not be too long either.
  const char* const line_end = line.data() + line.size();
  while (line_end - p > static_cast<int64_t>(kFieldLimit)) {
    if (*p == '"') ++p;
    const char* end = p;
    while (!IsDelimiter(*end)) ++end;
    if (end - p > static_cast<int64_t>(kFieldLimit)) return false;
    if (*end != ',' && *end != '\t') return true;
    p = end + 1;
  }
  return true;
}

// Composes the numbers that FillField has left in the record with the line's areas.
void ComposeCodes(const SourceLayout& layout, int code_length, const LineAreas& areas,
                  char* record) {
  for (int i = 0; i < layout.columns; ++i) {
    const SourceLayout::Entry& entry = layout.entries[i];
    const bool within_area = entry.kind == FieldKind::kAreaCode;
    const bool within_partner = entry.kind == FieldKind::kPartnerCode;
    if (!within_area && !within_partner && entry.kind != FieldKind::kFullCode) continue;
    double number;
    std::memcpy(&number, record + entry.offset, sizeof number);
    const bool none = number == 0.0 && entry.kind != FieldKind::kFullCode;
    Put(record + entry.offset,
        none ? FeatureCode{}
             : ComposeCode(within_partner ? areas.partner : areas.area, number, code_length));
  }
}

}  // namespace

DefaultSpeeds ReadDefaultSpeeds(const char* control_file) {
  return {static_cast<uint16_t>(ControlInt(control_file, "DEFAULTSPEED", "SPEEDA", 0)),
          static_cast<uint16_t>(ControlInt(control_file, "DEFAULTSPEED", "SPEEDB", 0))};
}

int ReadSourceRecord(LineReader& file, const SourceLayout& layout, const SourceRules& rules,
                     void* record, size_t size, LineAreas* areas) {
  std::memset(record, 0, size);
  std::string_view line;
  if (FRD_ReadLine(file, rules.line_size, &line) == 0) return 0;
  auto* bytes = static_cast<char*>(record);
  LineAreas found;
  if (!FillRecord(line, layout, rules, bytes, &found)) {
    if (file.defers_long_fields()) {
      file.NoteLongField();
      return 0;
    }
    // Walking on to the field that is too long ends the process.
    FieldCursor fields(line, &file);
    std::string_view field;
    while (fields.Next(&field)) {
    }
  }
  if (layout.composes) ComposeCodes(layout, rules.code_length, found, bytes);
  if (areas != nullptr) *areas = found;
  return 1;
}

}  // namespace zatlib
