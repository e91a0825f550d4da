#include "frd/files.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <utility>

#include "frd/control.h"
#include "frd/log.h"
#include "frd/parallel.h"
#include "platform/clock.h"

namespace zatlib {
namespace {

constexpr uint64_t kRetryWait = 10000;       // milliseconds before a refused chunk is tried again
constexpr int64_t kTransferLook = 64 << 20;  // bytes of a transfer between two looks at the window
constexpr uint64_t kSharedRead = 16 << 20;   // bytes from which threads share a read

// Serves the window during a long transfer. What is begun is read or written whole: a cancel is
// heard by whoever asks next.
void KeepWindowAlive() { BRN_SetStatus(nullptr); }

// Reads a large part of a file on all processors: the system copies it on the thread that asks.
// `*read` grows by the bytes of whole slices.
bool ReadShared(platform::File& file, void* data, uint64_t size, uint64_t* read) {
  constexpr int64_t kPart = 1 << 22;  // bytes
  const int64_t begin = file.Seek(0, platform::SeekFrom::kCurrent);
  if (begin < 0) return false;
  std::atomic<bool> good{true};
  Workers workers;
  const auto whole = static_cast<int64_t>(size);
  for (int64_t done = 0; good && done < whole; done += kTransferLook) {
    if (done > 0) KeepWindowAlive();
    const int64_t slice = std::min(whole - done, kTransferLook);
    workers.RunRanges(slice, kPart, [&](int64_t from, int64_t to) {
      if (!file.ReadAt(begin + done + from, static_cast<char*>(data) + done + from,
                       static_cast<uint32_t>(to - from))) {
        good = false;
      }
    });
    if (good) *read += static_cast<uint64_t>(slice);
  }
  return good && file.Seek(begin + static_cast<int64_t>(size), platform::SeekFrom::kBegin) >= 0;
}

}  // namespace

int FRD_WriteFile(platform::File& file, const void* data, uint64_t size) {
  const auto* bytes = static_cast<const char*>(data);
  uint64_t offset = 0;
  const auto log = [size, &offset](const char* what, uint32_t chunk) {
    char line[256];
    FRD_Format(line, sizeof line, "%s OriginalSize=%llu, WrittenSize=%llu, WrittingSize=%u", what,
               static_cast<unsigned long long>(size), static_cast<unsigned long long>(offset),
               chunk);
    FRD_LogFrd(line);
  };
  while (offset < size) {
    const auto chunk = static_cast<uint32_t>(std::min<uint64_t>(size - offset, kWriteChunk));
    uint32_t written = 0;
    if (file.Write(bytes + offset, chunk, &written)) {
      offset += chunk;
      if (offset < size && offset % kTransferLook == 0) KeepWindowAlive();
      continue;
    }
    if (written > 0) {
      log("ERROR!", chunk);
      return 0;
    }
    log("RETRY...", chunk);
    for (const uint64_t start = platform::TickCount();
         platform::TickCount() - start < kRetryWait;) {
    }
    if (!file.Write(bytes + offset, chunk, &written)) {
      FRD_LogFrd("RETRY ERROR!");
      return 0;
    }
    // The offset stays: the next pass writes the same chunk once more. Readers of maps written
    // after a transient failure know the doubled chunk, so it is not mended.
  }
  return 1;
}

uint64_t FileSize(const char* path) {
  const platform::File file =
      platform::File::Open(path, platform::Access::kRead, platform::Share::kReadWrite,
                           platform::Disposition::kOpenExisting);
  const int64_t size = file.IsOpen() ? file.Size() : 0;
  return size < 0 ? 0 : static_cast<uint64_t>(size);
}

bool CanOpen(const char* path) {
  return platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                              platform::Disposition::kOpenExisting)
      .IsOpen();
}

bool ReadExactly(platform::File& file, void* data, uint64_t size, uint64_t* read) {
  uint64_t done = 0;
  uint64_t& count = read != nullptr ? *read : done;
  count = 0;
  if (size >= kSharedRead && ThreadCount() > 1) return ReadShared(file, data, size, &count);
  auto* bytes = static_cast<char*>(data);
  while (count < size) {
    if (count > 0) KeepWindowAlive();
    const uint32_t part = static_cast<uint32_t>(std::min<uint64_t>(size - count, kTransferLook));
    uint32_t part_read = 0;
    const bool good = file.Read(bytes + count, part, &part_read) && part_read == part;
    count += part_read;
    if (!good) return false;
  }
  return true;
}

}  // namespace zatlib
