// What the record readers of both formats share: layouts of source lines as tables, and the one
// reader that fills a record by them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>

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

// What a column of a source line holds, and how it gets into a record.
enum class FieldKind : uint8_t {
  kIgnored,
  kCode,         // a whole code, parsed by the code length
  kAreaCode,     // a number within the line's area; 0 means none and stays 0
  kPartnerCode,  // the same with the line's partner area
  kFullCode,     // a number within the line's area, composed even when it is 0
  kArea,         // the area number; goes into no field
  kPartnerArea,
  kWord,        // an integer of 16 bits
  kLong,        // of 32 bits
  kByte,        // of 8 bits
  kCoordinate,  // degrees, stored as millionths
  kSpeedA,      // an integer of 16 bits; 0 takes the default, a negative number gives 0
  kSpeedB,
  kName  // at most 20 bytes, cut on whole characters
};

// Where a column (from 1) goes: the byte offset of the field in the record.
struct SourceColumn {
  int column;
  FieldKind kind;
  size_t offset;
};

// A layout of source lines: entry i says what column i + 1 holds. Columns behind the last entry are
// ignored; they are not even split off when `reads_rest` is false.
struct SourceLayout {
  static constexpr int kMaxColumns = 16;
  struct Entry {
    FieldKind kind = FieldKind::kIgnored;
    uint16_t offset = 0;
  };
  Entry entries[kMaxColumns] = {};
  int columns = 0;
  bool reads_rest = true;
  bool composes = false;  // some column is a number within an area

  consteval SourceLayout(std::initializer_list<SourceColumn> list, bool rest = true)
      : reads_rest(rest) {
    for (const SourceColumn& source : list) {
      entries[source.column - 1] = {source.kind, static_cast<uint16_t>(source.offset)};
      if (source.column > columns) columns = source.column;
      composes = composes || source.kind == FieldKind::kAreaCode ||
                 source.kind == FieldKind::kPartnerCode || source.kind == FieldKind::kFullCode;
    }
  }
};

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

// Clears the record (`size` bytes), reads the next line and fills the record's fields by the
// layout. Returns 1, or 0 at the end of the file. `areas` (may be null) receives the line's areas.
int ReadSourceRecord(LineReader& file, const SourceLayout& layout, const SourceRules& rules,
                     void* record, size_t size, LineAreas* areas);

template <typename Record>
int ReadSourceRecord(LineReader& file, const SourceLayout& layout, const SourceRules& rules,
                     Record* record, LineAreas* areas = nullptr) {
  return ReadSourceRecord(file, layout, rules, record, sizeof(Record), areas);
}

}  // namespace zatlib
