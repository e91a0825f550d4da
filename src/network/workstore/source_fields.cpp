#include "network/workstore/source_fields.h"

#include <cstring>
#include <string_view>

#include "frd/control.h"
#include "frd/fields.h"

namespace zatlib {
namespace {

using fields::Put;

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
      Put(to, SpeedOf(field, rules.defaults.a));
      break;
    case FieldKind::kSpeedB:
      Put(to, SpeedOf(field, rules.defaults.b));
      break;
    case FieldKind::kName: {
      const std::string_view name = FRD_CutText(field, kNameSize);
      std::memcpy(to, name.data(), name.size());
      break;
    }
  }
}

}  // namespace

namespace fields {

const char* TakeField(const char* p, FieldKind kind, const SourceRules& rules, char* to,
                      LineAreas* areas) {
  if (*p == '"') ++p;
  const char* end = p;
  while (!IsDelimiter(*end)) ++end;
  auto length = static_cast<size_t>(end - p);
  if (length > kFieldLimit) return nullptr;
  if (length > 0 && p[length - 1] == '"') --length;
  FillField(std::string_view(p, length), kind, rules, to, areas);
  return end;
}

bool PassRest(const char* p, const char* line_end) {
  // Columns that hold nothing may not be too long either. What is left short enough cannot be.
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

void EndAtLongField(std::string_view line, Lines& lines) {
  FieldCursor cursor(line, &lines);
  std::string_view field;
  while (cursor.Next(&field)) {
  }
}

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

}  // namespace fields

DefaultSpeeds ReadDefaultSpeeds(const char* control_file) {
  return {static_cast<uint16_t>(ControlInt(control_file, "DEFAULTSPEED", "SPEEDA", 0)),
          static_cast<uint16_t>(ControlInt(control_file, "DEFAULTSPEED", "SPEEDB", 0))};
}

uint16_t SpeedOf(std::string_view field, uint16_t default_speed) {
  const int32_t speed = FRD_ParseInt(field);
  if (speed < 0) return 0;
  return speed == 0 ? default_speed : static_cast<uint16_t>(speed);
}

bool IsNarrow(std::string_view line, int columns) {
  constexpr uint64_t kLowBits = 0x7F7F7F7F7F7F7F7F;
  constexpr uint64_t kOnes = 0x0101010101010101;
  // A field that is too long covers so many whole words.
  constexpr int kLongRun = static_cast<int>((kFieldLimit + 1) / 8 - 1);
  // The top bit of each byte of the word that is `byte`.
  const auto equal = [](uint64_t word, char byte) {
    const uint64_t other = word ^ (kOnes * static_cast<uint64_t>(byte));
    return ~(((other & kLowBits) + kLowBits) | other | kLowBits);
  };
  int separators = 0;
  int run = 0;  // words without a separator
  size_t at = 0;
  for (; at + 8 <= line.size(); at += 8) {
    uint64_t word;
    std::memcpy(&word, line.data() + at, sizeof word);
    const uint64_t found = equal(word, ',') | equal(word, '\t');
    // One top bit a byte: their sum comes together in the top byte of a product.
    separators += static_cast<int>(((found >> 7) * kOnes) >> 56);
    run = found != 0 ? 0 : run + 1;
    if (run >= kLongRun) return false;
  }
  for (; at < line.size(); ++at) separators += line[at] == ',' || line[at] == '\t' ? 1 : 0;
  return separators + 1 < columns;
}

}  // namespace zatlib
