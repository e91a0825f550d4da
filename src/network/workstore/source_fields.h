// What the record readers of both formats share: a source line taken apart into a record.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

#include "frd/fields.h"
#include "frd/files.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// The speeds that rows without a speed get, km/h.
struct DefaultSpeeds {
  uint16_t a;
  uint16_t b;
};

// [DEFAULTSPEED] SPEEDA and SPEEDB of the control file, default 0.
DefaultSpeeds ReadDefaultSpeeds(const char* control_file);

// Clears the record, reads the next line (at most `line_size` bytes, its end included) and hands
// every field with its column (from 1), the first `columns` ones only, to `take`. Returns 1, or 0
// at the end of the file.
inline constexpr int kAllColumns = INT32_MAX;
template <typename Record, typename Take>
int ReadFields(LineReader& file, Record* record, Take take, uint32_t line_size = kLineSize,
               int columns = kAllColumns) {
  *record = Record{};
  std::string_view line;
  if (FRD_ReadLine(file, line_size, &line) == 0) return 0;
  FieldCursor fields(line, &file);
  std::string_view field;
  for (int column = 1; column <= columns && fields.Next(&field); ++column) take(column, field);
  return 1;
}

// Integer fields, cut to the width of their place in a record.
inline uint16_t ParseWord(std::string_view field) {
  return static_cast<uint16_t>(FRD_ParseInt(field));
}
inline int16_t ParseShort(std::string_view field) {
  return static_cast<int16_t>(FRD_ParseInt(field));
}

// A speed column: 0 takes the default, a negative number gives 0.
inline uint16_t ParseSpeed(std::string_view field, uint16_t default_speed) {
  const int32_t speed = FRD_ParseInt(field);
  if (speed < 0) return 0;
  return speed == 0 ? default_speed : static_cast<uint16_t>(speed);
}

// A name column: at most 20 bytes, cut on whole characters.
inline void TakeName(std::string_view field, NameStoreRecord* record) {
  const std::string_view name = FRD_CutText(field, kNameSize);
  std::memcpy(record->Name, name.data(), name.size());
}

}  // namespace zatlib
