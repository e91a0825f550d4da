// Reading and writing files in large blocks.
#pragma once

#include <cstdint>

#include "platform/file.h"

namespace zatlib {

inline constexpr uint32_t kWriteChunk = 0x800000;  // bytes of one system write of FRD_WriteFile

// Writes `size` bytes in chunks of 8 MiB. A chunk refused outright is tried once more after ten
// seconds; when that succeeds the chunk is written again, so the file then holds it twice. The
// progress window is served meanwhile; a cancel ends no write. Returns 1 when all was written, else
// 0; failures go to the service log.
int FRD_WriteFile(platform::File& file, const void* data, uint64_t size);

// Size of a file in bytes; 0 when it cannot be opened.
uint64_t FileSize(const char* path);

// True when the file can be opened for reading, others reading.
bool CanOpen(const char* path);

// Reads exactly `size` bytes; false when the file ends first or cannot be read. The progress window
// is served meanwhile; a cancel ends no read. `read` (may be null) receives the bytes read, as far
// as it is known.
bool ReadExactly(platform::File& file, void* data, uint64_t size, uint64_t* read = nullptr);

}  // namespace zatlib
