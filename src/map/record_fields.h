// What stands where in the files of an output folder: the one table of the fields of every record,
// made from the records themselves. docs/file-formats.md is held to it by a test.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

namespace zatlib::map {

enum class FieldType {
  kCode,     // node or link code, printed by code length
  kI16,      // signed
  kI32,      //
  kDegrees,  // i32, millionths of a degree
  kU8,       // unsigned
  kU16,      //
  kU32,      //
  kBits,     // u8 printed as eight binary digits
  kText,     // name in the code page, zero padded
  kZero,     // always zero, or not read by anybody: not printed
};

// A field of a record: `count` values of `width` bytes from `offset` on.
struct Field {
  const char* name;
  uint32_t offset;
  uint32_t width;
  FieldType type;
  uint32_t count = 1;
};

// What a record of a file belongs to, which is how a record is found by a code.
enum class Rows { kNode, kLink, kNodeIndex, kLinkIndex, kShapeIndex, kShapePoint, kStore };

struct FileLayout {
  const char* name;
  uint32_t record_size;
  Rows rows;
  std::span<const Field> fields;
};

// The binary files of a map, the work stores and the fare link table.
std::span<const FileLayout> FileLayouts();

// The INI texts of a map.
std::span<const char* const> TextFiles();

// The layout of a file, by its name in any case; null when the name is not that of a binary file.
const FileLayout* FindLayout(std::string_view name);

// The name as the map spells it ("LINK.IDX" gives "link.idx"), null when it is no file of a map.
const char* FindFileName(std::string_view name);

// "code", "i32", "text" and so on, as docs/file-formats.md writes types; "" for kZero.
const char* TypeName(FieldType type);

// A field's value, `bytes` being at its first byte.
int64_t FieldNumber(const Field& field, const char* bytes);

}  // namespace zatlib::map
