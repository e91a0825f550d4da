// The door to files of records: one is loaded whole, read in blocks (frd/block_reader.h), or saved.
// What went wrong comes back as one value, of which every step makes its own texts.
#pragma once

#include <cstdint>

#include "frd/memory.h"

namespace zatlib {

enum class FileResult { kDone, kNoMemory, kNotOpened, kNotRead, kNotCreated, kNotWritten };

// Zero bytes behind the content of a file read whole.
inline constexpr uint64_t kFileMargin = 64;

// A file's content. Reading one file after another into the same object frees the earlier content.
struct WholeFile {
  PageArray<char> bytes;  // `size` bytes of the file and kFileMargin zero bytes
  uint64_t size = 0;      // bytes of the file

  // The content as records; a partial record at the end is not counted.
  template <typename Record>
  Record* records() {
    return reinterpret_cast<Record*>(bytes.data());
  }
  template <typename Record>
  const Record* records() const {
    return reinterpret_cast<const Record*>(bytes.data());
  }
  template <typename Record>
  int64_t count() const {
    return static_cast<int64_t>(size / sizeof(Record));
  }

  void Free() {
    bytes.Free();
    size = 0;
  }
};

// In what the loading of a whole file differs from step to step.
struct LoadRules {
  uint64_t most_bytes = UINT64_MAX;  // a longer file counts as one without memory
  int64_t exact_bytes = -1;          // the size that the caller has judged already; a file that has
                                     // another one by now counts as not read. -1: any
};

// What a load has seen of its file, also one that failed: its size (-1: not known), and the bytes
// read until then.
struct LoadSeen {
  int64_t size = -1;
  uint64_t read = 0;
};

// Opens the file for reading (others may read), takes memory for it and reads it in one go; an
// empty file loads. kNoMemory, kNotOpened or kNotRead leave `file` empty. `seen` may be null.
// Reports nothing.
FileResult LoadFile(const char* path, WholeFile* file, const LoadRules& rules = {},
                    LoadSeen* seen = nullptr);

// Reads the first `size` bytes of a file, which may be longer, into memory that the caller has.
// kNotOpened; kNotRead also for a file that is shorter. Reports nothing.
FileResult LoadStart(const char* path, void* data, uint64_t size);

// The same for the first `count` records.
template <typename Record>
FileResult LoadRecords(const char* path, Record* records, int64_t count) {
  return LoadStart(path, records, static_cast<uint64_t>(count) * sizeof(Record));
}

// Whole records of `record_size` bytes in a file; 0 when it cannot be opened.
int64_t CountRecords(const char* path, size_t record_size);

// Makes a file anew (no sharing) of `size` bytes, or of the first `count` records: writes it with
// FRD_WriteFile (frd/files.h), flushes and closes. kNotCreated or kNotWritten.
FileResult SaveBytes(const char* path, const void* data, uint64_t size);
template <typename Record>
FileResult SaveRecords(const char* path, const Record* records, int64_t count) {
  return SaveBytes(path, records, static_cast<uint64_t>(count) * sizeof(Record));
}

// Makes a file in one write that is not tried again, for a step that tells of a refused write at
// once. (More than a GiB takes a write for each.) kNotCreated or kNotWritten.
FileResult WriteOnce(const char* path, const void* data, uint64_t size);

}  // namespace zatlib
