#include "network/workstore/source_fields.h"

#include <cstring>
#include <string_view>

#include "frd/control.h"
#include "frd/fields.h"

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
  FieldCursor fields(line, &file);
  std::string_view field;
  int column = 0;
  while ((column < layout.columns || layout.reads_rest) && fields.Next(&field)) {
    if (column < layout.columns) {
      const SourceLayout::Entry& entry = layout.entries[column];
      FillField(field, entry.kind, rules, bytes + entry.offset, &found);
    }
    ++column;
  }
  ComposeCodes(layout, rules.code_length, found, bytes);
  if (areas != nullptr) *areas = found;
  return 1;
}

}  // namespace zatlib
