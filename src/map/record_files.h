// Record files of a map: whole, one record after the other, or single records anywhere.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

#include "frd/record_file.h"
#include "map/map_folder.h"
#include "platform/file.h"

namespace zatlib::map {

// Reads a file from its start, a block at a time.
class ByteReader {
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

  platform::File file_;
  std::vector<char> block_;
  const char* position_ = nullptr;
  const char* end_ = nullptr;
  uint32_t record_size_ = 1;
};

// The same for records of a type.
template <typename Record>
class RecordReader {
 public:
  bool Open(const MapFolder& folder, const char* name) {
    return reader_.Open(PathOf(folder, name), sizeof(Record));
  }

  // Copies the next record; false, with a zero record, behind the last whole one.
  bool Next(Record* record) {
    const char* bytes = reader_.IsOpen() ? reader_.Next() : nullptr;
    if (bytes == nullptr) {
      *record = Record{};
      return false;
    }
    std::memcpy(record, bytes, sizeof(Record));
    return true;
  }

 private:
  ByteReader reader_;
};

// Single records anywhere in a file. Several threads may read at once.
class RecordFile {
 public:
  // False when the file cannot be opened; it has no records then.
  bool Open(const std::string& path, uint32_t record_size);

  bool IsOpen() const { return file_.IsOpen(); }
  int64_t count() const { return count_; }

  // Copies record `n`; false when there is none or it cannot be read.
  bool Read(int64_t n, void* record) const;

  // Copies `count` records from `n` on; false likewise.
  bool Read(int64_t n, int64_t count, void* records) const;

 private:
  platform::File file_;
  uint32_t record_size_ = 1;
  int64_t count_ = 0;
};

// A file of records held whole. Where its bytes lie is this class's own affair; nobody changes
// them, and several threads may read.
template <typename Record>
class RecordTable {
 public:
  // An error when the file is missing or cannot be read; the table is empty then.
  Error Load(const MapFolder& folder, const char* name) {
    if (LoadFile(PathOf(folder, name).c_str(), &file_) == FileResult::kDone) return {};
    return {ErrorKind::kUnreadable, name};
  }
  int64_t size() const { return file_.count<Record>(); }
  bool Holds(int64_t i) const { return i >= 0 && i < size(); }
  const Record& operator[](int64_t i) const { return file_.records<Record>()[i]; }
  const Record* begin() const { return file_.records<Record>(); }
  const Record* end() const { return begin() + size(); }
  void Free() { file_.Free(); }

 private:
  WholeFile file_;
};

}  // namespace zatlib::map
