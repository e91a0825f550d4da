#include "frd/record_file.h"

#include <algorithm>

#include "frd/files.h"
#include "platform/file.h"

namespace zatlib {
namespace {

platform::File OpenToRead(const char* path) {
  return platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                              platform::Disposition::kOpenExisting, platform::Hint::kSequential);
}

// Anew and not over the old content: a process that is killed meanwhile must leave a file that is
// too short, not one that mixes old and new records.
platform::File OpenAnew(const char* path) {
  return platform::File::Open(path, platform::Access::kWrite, platform::Share::kNone,
                              platform::Disposition::kCreateAlways);
}

}  // namespace

FileResult LoadFile(const char* path, WholeFile* file, const LoadRules& rules, LoadSeen* seen) {
  file->Free();
  platform::File source = OpenToRead(path);
  if (!source.IsOpen()) return FileResult::kNotOpened;
  const int64_t size = source.Size();
  if (seen != nullptr) *seen = {.size = size};
  if (size < 0) return FileResult::kNotRead;
  if (static_cast<uint64_t>(size) > rules.most_bytes) return FileResult::kNoMemory;
  PageArray<char> bytes;
  if (!bytes.Allocate(size + kFileMargin)) return FileResult::kNoMemory;
  if (!ReadExactly(source, bytes.data(), static_cast<uint64_t>(size),
                   seen != nullptr ? &seen->read : nullptr)) {
    return FileResult::kNotRead;
  }
  if (rules.exact_bytes >= 0 && size != rules.exact_bytes) return FileResult::kNotRead;
  file->bytes = std::move(bytes);
  file->size = static_cast<uint64_t>(size);
  return FileResult::kDone;
}

FileResult LoadStart(const char* path, void* data, uint64_t size) {
  platform::File file = OpenToRead(path);
  if (!file.IsOpen()) return FileResult::kNotOpened;
  return ReadExactly(file, data, size) ? FileResult::kDone : FileResult::kNotRead;
}

int64_t CountRecords(const char* path, size_t record_size) {
  return static_cast<int64_t>(FileSize(path) / record_size);
}

FileResult SaveBytes(const char* path, const void* data, uint64_t size) {
  platform::File file = OpenAnew(path);
  if (!file.IsOpen()) return FileResult::kNotCreated;
  const int whole = FRD_WriteFile(file, data, size);
  file.Flush();
  return whole != 0 ? FileResult::kDone : FileResult::kNotWritten;
}

FileResult WriteOnce(const char* path, const void* data, uint64_t size) {
  constexpr uint64_t kLargestWrite = 1u << 30;
  platform::File file = OpenAnew(path);
  if (!file.IsOpen()) return FileResult::kNotCreated;
  const auto* bytes = static_cast<const char*>(data);
  while (size > 0) {
    const auto part = static_cast<uint32_t>(std::min(size, kLargestWrite));
    uint32_t written = 0;
    if (!file.Write(bytes, part, &written) || written != part) return FileResult::kNotWritten;
    bytes += part;
    size -= part;
  }
  return FileResult::kDone;
}

}  // namespace zatlib
