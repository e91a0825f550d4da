// The files of an output folder as the tools read them: what stands where, and readers that hold
// a block of a file at a time.
#pragma once

#include <cstdint>
#include <cstring>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/memory.h"
#include "frd/record_file.h"
#include "network/network_files.h"
#include "platform/file.h"
#include "shape/shape_files.h"
#include "toll/interchange_flags.h"

namespace zatmap {

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

// A code as people read it: its digits without leading zeros for whole numbers, else as messages
// print it.
std::string CodeDigits(zatlib::FeatureCode code, int code_length);

// The folder of a map with what every tool asks first.
struct MapFolder {
  std::string path;
  int code_length = 14;  // of linkdef.dat; 14 when that is missing
  int64_t nodes = 0;     // records of mapcalc.dat
  int64_t links = 0;     // records of linknode.idx
};

// Looks at a folder. False, with a message on standard error that says what to do, when it is no
// folder or holds no map.
bool OpenMapFolder(const std::string& path, MapFolder* map);

std::string PathOf(const MapFolder& map, const char* name);
bool Exists(const MapFolder& map, const char* name);

// A control file path that makes the library's own readers take the road definition of `folder`:
// without [FOLDER] CALCMAPDIR a control file's own folder is the output folder.
std::string RoadDefinitionPath(const std::string& folder);

// Whole records of a file; 0 when it is missing.
template <typename Record>
int64_t CountOf(const MapFolder& map, const char* name) {
  return static_cast<int64_t>(zatlib::FileSize(PathOf(map, name).c_str()) / sizeof(Record));
}

// Reads a file from its start, a block at a time.
class ByteStream {
 public:
  // Opens and moves to `offset`. False when the file cannot be opened.
  bool Open(const std::string& path, uint32_t record_size, int64_t offset = 0);
  bool IsOpen() const { return file_.IsOpen(); }

  // The next record, null behind the last whole one. Good until the next call.
  const char* Next() {
    if (end_ - position_ < static_cast<ptrdiff_t>(record_size_) && !Fill()) return nullptr;
    const char* record = position_;
    position_ += record_size_;
    return record;
  }

 private:
  bool Fill();

  zatlib::platform::File file_;
  std::vector<char> block_;
  const char* position_ = nullptr;
  const char* end_ = nullptr;
  uint32_t record_size_ = 1;
};

// The same for records of a type.
template <typename Record>
class RecordStream {
 public:
  bool Open(const MapFolder& map, const char* name, int64_t first = 0) {
    return stream_.Open(PathOf(map, name), sizeof(Record),
                        first * static_cast<int64_t>(sizeof(Record)));
  }

  // Copies the next record; false, with a zero record, behind the last whole one.
  bool Next(Record* record) {
    const char* bytes = stream_.IsOpen() ? stream_.Next() : nullptr;
    if (bytes == nullptr) {
      *record = Record{};
      return false;
    }
    std::memcpy(record, bytes, sizeof(Record));
    return true;
  }

 private:
  ByteStream stream_;
};

// Reads single records anywhere in a file.
class RecordAccess {
 public:
  bool Open(const std::string& path, uint32_t record_size);

  int64_t count() const { return count_; }

  // Copies record `n`; false when there is none or it cannot be read.
  bool Read(int64_t n, void* record);

 private:
  zatlib::platform::File file_;
  uint32_t record_size_ = 1;
  int64_t count_ = 0;
};

// A file of records held whole. Empty when the file is missing; `ok` tells whether all was read.
template <typename Record>
class RecordTable {
 public:
  bool Load(const MapFolder& map, const char* name) {
    return zatlib::LoadFile(PathOf(map, name).c_str(), &file_) == zatlib::FileResult::kDone;
  }
  int64_t size() const { return file_.count<Record>(); }
  const Record& operator[](int64_t i) const { return file_.records<Record>()[i]; }
  const Record* begin() const { return file_.records<Record>(); }
  const Record* end() const { return begin() + size(); }
  void Free() { file_.Free(); }

 private:
  zatlib::WholeFile file_;
};

// The record number that an index on disk gives for a code, -1 when the code is absent.
int64_t FindCode(const MapFolder& map, const char* index_file, zatlib::FeatureCode code);

// The position of a code in an index (record size 16) on disk, -1 when it is absent.
int64_t FindIndexPosition(const MapFolder& map, const char* index_file, zatlib::FeatureCode code);

// Reads a code that a user typed. False when it is not a whole number.
bool ParseCodeArgument(const std::string& text, int code_length, zatlib::FeatureCode* code);

}  // namespace zatmap
