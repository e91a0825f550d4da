// Files of fixed-size records that grow record by record.
#pragma once

#include <cstdint>

#include "frd/work_buffer.h"
#include "platform/file.h"

namespace zatlib {

// Records of one file at most: record numbers are signed 32-bit numbers, -1 means none, and arrays
// by record number have room for two more.
inline constexpr int64_t kMaxRecords = 0x7FFFFFFF - 2;

// A file of fixed-size records that grows at its end, written in large blocks. Beyond kMaxRecords
// it takes no record, as if the system had refused it.
class RecordWriter {
 public:
  // Opens for reading and writing without sharing: created anew, or at its end when `append`.
  bool Open(const char* path, uint32_t record_size, bool append);
  bool IsOpen() const { return file_.IsOpen(); }

  // Takes one record. False when the system refused records (this one or earlier ones).
  bool Append(const void* record);

  // Takes `count` records. False when the system refused records.
  bool AppendMany(const void* records, int64_t count);

  // Number of records taken; after a failure, of those that are whole in the file.
  int64_t count() const { return failed_ ? failed_record() : count_; }

  // Position in bytes behind the last record taken.
  int64_t offset() const { return offset_; }

  // Writes what is still held. False when the system refused it.
  bool WriteOut();

  // After a failure: number (from 0) of the first record that is not whole in the file.
  int64_t failed_record() const { return written_bytes_ / record_size_; }

  // Writes out, flushes and closes. False when the system refused the write.
  bool Close();

 private:
  bool RefuseMore();

  platform::File file_;
  WorkBuffer<char> block_;
  uint32_t record_size_ = 1;
  uint32_t used_ = 0;
  uint32_t capacity_ = 0;
  int64_t count_ = 0;
  int64_t offset_ = 0;
  int64_t limit_ = 0;  // offset that no record begins at or behind
  int64_t written_bytes_ = 0;
  bool failed_ = false;
};

}  // namespace zatlib
