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

// Takes memory for `size` bytes, opens the file for reading (others may read) and reads that many
// bytes in one go; `size` is what FileSize told, so that the caller can judge it first. A file that
// has become shorter meanwhile counts as not read. Reports nothing; `file` is empty after a
// failure.
LoadResult LoadWholeFile(const char* path, uint64_t size, WholeFile* file);

}  // namespace zatlib
