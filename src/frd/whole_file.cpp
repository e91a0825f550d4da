#include "frd/whole_file.h"

#include "frd/files.h"
#include "platform/file.h"

namespace zatlib {

LoadResult LoadWholeFile(const char* path, WholeFile* file, uint64_t most_bytes) {
  file->Free();
  platform::File source =
      platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                           platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  if (!source.IsOpen()) return LoadResult::kNotOpened;
  const int64_t size = source.Size();
  if (size < 0) return LoadResult::kNotRead;
  if (static_cast<uint64_t>(size) > most_bytes) return LoadResult::kNoMemory;
  PageArray<char> bytes;
  if (!bytes.Allocate(static_cast<uint64_t>(size) + kFileMargin)) return LoadResult::kNoMemory;
  if (!ReadExactly(source, bytes.data(), static_cast<uint64_t>(size))) return LoadResult::kNotRead;
  file->bytes = std::move(bytes);
  file->size = static_cast<uint64_t>(size);
  return LoadResult::kLoaded;
}

LoadResult LoadWholeFile(const char* path, uint64_t expected_size, WholeFile* file) {
  const LoadResult result = LoadWholeFile(path, file);
  if (result != LoadResult::kLoaded || file->size == expected_size) return result;
  file->Free();
  return LoadResult::kNotRead;
}

}  // namespace zatlib
