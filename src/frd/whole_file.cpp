#include "frd/whole_file.h"

#include "frd/files.h"
#include "platform/file.h"

namespace zatlib {

LoadResult LoadWholeFile(const char* path, uint64_t size, WholeFile* file) {
  file->Free();
  PageArray<char> bytes;
  if (size > UINT64_MAX - kFileMargin || !bytes.Allocate(size + kFileMargin)) {
    return LoadResult::kNoMemory;
  }
  platform::File source =
      platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                           platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  if (!source.IsOpen()) return LoadResult::kNotOpened;
  if (!ReadExactly(source, bytes.data(), size)) return LoadResult::kNotRead;
  file->bytes = std::move(bytes);
  file->size = size;
  return LoadResult::kLoaded;
}

}  // namespace zatlib
