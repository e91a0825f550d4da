// Files that are read whole: the record tables of the output folder.
#pragma once

#include <cstdint>

#include "frd/memory.h"

namespace zatlib {

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

enum class LoadResult { kLoaded, kNoMemory, kNotOpened, kNotRead };

// Opens the file for reading (others may read), takes memory for it and reads it in one go; an
// empty file loads. A file of more than `most_bytes` counts as one without memory. Reports nothing;
// `file` is empty after a failure.
LoadResult LoadWholeFile(const char* path, WholeFile* file, uint64_t most_bytes = UINT64_MAX);

// The same for a file whose size the caller has judged already: one that has another size by now
// counts as not read.
LoadResult LoadWholeFile(const char* path, uint64_t expected_size, WholeFile* file);

}  // namespace zatlib
