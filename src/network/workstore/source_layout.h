// What a line of a source file holds, as tables of its columns. The tables stand in
// input_zat/layouts.h and input_msr/layouts.h; the record readers, `zatmap check` and the tests of
// the documents take everything from there. Columns are counted from 1 everywhere.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "frd/lines.h"
#include "network/workstore/feature_code.h"

namespace zatlib {

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

// The values of a whole number or of a coordinate (millionths of a degree) that mean what they say;
// others are cut to the width of their field or read as something else.
struct ValueRange {
  int32_t low;
  int32_t high;
  const char* unit = "";

  constexpr bool Holds(int32_t value) const { return value >= low && value <= high; }
};
inline constexpr ValueRange kAnyText = {0, 0};  // for columns that hold no such thing
inline constexpr ValueRange kUnsigned8 = {0, UINT8_MAX};
inline constexpr ValueRange kUnsigned16 = {0, UINT16_MAX};
inline constexpr ValueRange kSigned16 = {INT16_MIN, INT16_MAX};
inline constexpr ValueRange kSigned32 = {INT32_MIN, INT32_MAX};
inline constexpr ValueRange kMetres = {0, UINT16_MAX, "m"};
inline constexpr ValueRange kSpeeds = {INT32_MIN, UINT16_MAX, "km/h"};
inline constexpr ValueRange kLongitudes = {-180000000, 180000000};
inline constexpr ValueRange kLatitudes = {-90000000, 90000000};

// Whether a line that ends before a column lacks something.
enum class Presence : uint8_t { kOptional, kNeeded };

inline constexpr int kNoField = -1;   // where a column goes that goes nowhere
inline constexpr int kIntoCodes = 0;  // where an area goes: into the codes of the record

// A column of a source line, or several of one kind in a row.
struct SourceColumn {
  int number;        // of the first one
  const char* name;  // in the documents
  FieldKind kind;
  Presence presence;  // of the first one
  ValueRange range;
  int record = kNoField;       // byte offset of the (first) field in the record of the line
  int name_record = kNoField;  // in the record of the line's name, if that is one of its own
  int count = 1;               // more than 1 for codes only
};

// The lines of the files that a section of the control file names.
struct SourceTable {
  const char* section;
  std::span<const SourceColumn> columns;  // in order, without a gap
  uint32_t line_size = kLineSize;         // bytes of a line, its end included
  bool reads_rest = true;  // columns behind the last one are split off, and may not be too long

  // The entry of a column that is in the table.
  constexpr const SourceColumn& operator[](int number) const {
    size_t i = 0;
    while (number >= columns[i].number + columns[i].count) ++i;
    return columns[i];
  }

  // The last column; the last one that a line must reach.
  constexpr int Last() const { return columns.back().number + columns.back().count - 1; }
  constexpr int Needed() const {
    int needed = 0;
    for (const SourceColumn& column : columns) {
      if (column.presence == Presence::kNeeded) needed = column.number;
    }
    return needed;
  }
};

// How a line fills a record: entry i says where column i + 1 goes. Columns behind the last entry
// are ignored; they are not even split off when `reads_rest` is false.
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

  // The columns of the table that have a place in the record, which `field` gives.
  consteval SourceLayout(const SourceTable& table, int SourceColumn::*field)
      : reads_rest(table.reads_rest) {
    for (const SourceColumn& column : table.columns) {
      if (column.*field == kNoField) continue;
      for (int i = 0; i < column.count; ++i) {
        const auto offset = static_cast<size_t>(column.*field) + sizeof(FeatureCode) * i;
        entries[column.number - 1 + i] = {column.kind, static_cast<uint16_t>(offset)};
      }
      columns = column.number - 1 + column.count;
      composes = composes || column.kind == FieldKind::kAreaCode ||
                 column.kind == FieldKind::kPartnerCode || column.kind == FieldKind::kFullCode;
    }
  }
};

}  // namespace zatlib
