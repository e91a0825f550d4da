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
constexpr uint32_t kReadBlock = 1 << 20;     // bytes of one system read of a source file
constexpr uint32_t kChunkSize = 1 << 18;     // bytes of a chunk of lines
constexpr uint32_t kWriteBlock = 1 << 20;    // bytes of one system write of a record file
constexpr int64_t kTransferLook = 64 << 20;  // bytes of a transfer between two looks at the window
constexpr uint64_t kSharedRead = 16 << 20;   // bytes from which threads share a read

// Serves the window during a long transfer. What is begun is read or written whole: a cancel is
// heard by whoever asks next.
void KeepWindowAlive() { BRN_SetStatus(nullptr); }

// Reads a large part of a file on all processors: the system copies it on the thread that asks.
bool ReadShared(platform::File& file, void* data, uint64_t size) {
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
  }
  return good && file.Seek(begin + static_cast<int64_t>(size), platform::SeekFrom::kBegin) >= 0;
}

// Removes every CR and LF from [begin, end); returns the new end.
char* RemoveBreaks(char* begin, char* end) {
  return std::remove_if(begin, end, [](char c) { return c == '\r' || c == '\n'; });
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
    if (file.Write(bytes + offset, chunk, &written) && written == chunk) {
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
    if (!file.Write(bytes + offset, chunk, &written) || written != chunk) {
      FRD_LogFrd("RETRY ERROR!");
      return 0;
    }
    // The offset stays: the next pass writes the same chunk once more. Readers of maps written
    // after a transient failure know the doubled chunk, so it is not mended.
  }
  return 1;
}

SaveResult SaveFile(const char* path, const void* data, uint64_t size) {
  // Files of a map are saved again with new content of the same size. Emptying one first would wait
  // until the disk has taken the content before.
  platform::File file = platform::File::Open(path, platform::Access::kWrite, platform::Share::kNone,
                                             platform::Disposition::kOpenAlways);
  if (!file.IsOpen()) return SaveResult::kNotOpened;
  const int whole = FRD_WriteFile(file, data, size);
  const bool cut = file.CutHere();
  file.Flush();
  return whole != 0 && cut ? SaveResult::kSaved : SaveResult::kNotWritten;
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

bool ReadExactly(platform::File& file, void* data, uint64_t size) {
  if (size >= kSharedRead && ThreadCount() > 1) return ReadShared(file, data, size);
  auto* bytes = static_cast<char*>(data);
  for (bool first = true; size > 0; first = false) {
    if (!first) KeepWindowAlive();
    const uint32_t part = static_cast<uint32_t>(std::min<uint64_t>(size, kTransferLook));
    uint32_t read = 0;
    if (!file.Read(bytes, part, &read) || read != part) return false;
    bytes += part;
    size -= part;
  }
  return true;
}

bool LineReader::Open(const char* path) {
  path_ = path;
  file_ = platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                               platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  position_ = end_ = nullptr;
  at_end_ = failed_ = too_long_ = drained_ = false;
  line_number_ = 0;
  return file_.IsOpen();
}

// Makes `wanted` bytes available unless the file ends before.
bool LineReader::Fill(uint32_t wanted) {
  if (static_cast<uint64_t>(end_ - position_) >= wanted || at_end_) return true;
  if (wanted > kLineSize + 1) return false;
  constexpr uint64_t kRoom = kReadBlock + kLineSize + 1 + kLineMargin;
  const auto left = static_cast<size_t>(end_ - position_);
  if (block_.size() < kRoom) {
    // None yet, or the small one that is enough between chunks.
    PageArray<char> block;
    if (!block.Allocate(kRoom)) return false;
    if (left > 0) std::memcpy(block.data(), position_, left);
    block_ = std::move(block);
  } else if (left > 0) {
    std::memmove(block_.data(), position_, left);
  }
  position_ = block_.data();
  end_ = position_ + left;
  while (static_cast<uint64_t>(end_ - position_) < wanted && !at_end_) {
    uint32_t read = 0;
    if (!file_.Read(end_, kReadBlock, &read)) {
      failed_ = true;
      at_end_ = true;
    }
    if (read < kReadBlock) at_end_ = true;
    end_ += read;
  }
  return true;
}

namespace {

// A line at the start of [begin, limit).
struct LineScan {
  char* end = nullptr;    // the CR that ends it; null when there is none
  bool embedded = false;  // there are line breaks inside quotes
};

LineScan ScanLine(char* begin, char* limit, bool may_have_quotes) {
  LineScan line;
  const auto size = static_cast<size_t>(limit - begin);
  line.end = static_cast<char*>(std::memchr(begin, '\r', size));
  if (!may_have_quotes) return line;
  const size_t looked_at = line.end != nullptr ? static_cast<size_t>(line.end - begin) : size;
  auto* quote = static_cast<char*>(std::memchr(begin, '"', looked_at));
  if (quote == nullptr) return line;
  if (line.end != nullptr &&
      std::memchr(quote, '\n', static_cast<size_t>(line.end - quote)) == nullptr) {
    // The usual line with quotes: all of them closed, no break inside.
    const auto quotes = std::count(quote, line.end, '"');
    if (quotes % 2 == 0) return line;
  }
  bool quoted = false;
  line.end = nullptr;
  for (char* p = begin; p < limit; ++p) {
    if (*p == '"') {
      quoted = !quoted;
    } else if (*p == '\r' || *p == '\n') {
      if (quoted) {
        line.embedded = true;
      } else if (*p == '\r') {
        line.end = p;
        break;
      }
    }
  }
  return line;
}

// Where the whole lines of [begin, end) end, which are not the last ones of their file.
char* EndOfWholeLines(char* begin, char* end, bool has_quotes) {
  if (!has_quotes) {
    // The byte behind a CR belongs to it, also when that is another CR: in a row of them every
    // second one ends a line.
    for (char* p = end; p > begin;) {
      while (p > begin && p[-1] != '\r') --p;
      char* row = p;
      while (row > begin && row[-1] == '\r') --row;
      if ((p - row) % 2 == 0) {
        if (p > row) return p;
      } else if (p < end) {
        return p + 1;
      } else if (p - row > 1) {
        return p - 1;
      }
      p = row;
    }
    return end;
  }
  char* p = begin;
  while (static_cast<size_t>(end - p) > kLineSize) {
    const LineScan line = ScanLine(p, p + kLineSize, true);
    // A line that is too long ends the reading: where it is cut does not matter.
    if (line.end == nullptr) return end;
    p = std::min(line.end + 2, end);
  }
  return p;
}

}  // namespace

bool LineReader::NextChunk(LineReader* chunk) {
  constexpr size_t kRoom = kChunkSize + kLineSize + 1;
  if (failed_ || (at_end_ && position_ == end_)) return false;
  if (!block_ && !block_.Allocate(kLineSize + 1 + kLineMargin)) failed_ = true;
  if (!chunk->block_ && !chunk->block_.Allocate(kRoom + kLineMargin)) failed_ = true;
  if (failed_) return false;
  char* const begin = chunk->block_.data();
  // Lines that were read already come first: the rest of the last chunk, or of a block.
  const size_t taken = std::min(static_cast<size_t>(end_ - position_), kRoom);
  if (taken > 0) std::memcpy(begin, position_, taken);
  position_ += taken;
  char* end = begin + taken;
  const bool reads = position_ == end_ && !at_end_;
  if (reads) {
    const auto wanted = static_cast<uint32_t>(std::min<size_t>(kRoom - taken, kChunkSize));
    uint32_t read = 0;
    if (!file_.Read(end, wanted, &read)) failed_ = true;
    at_end_ = failed_ || read < wanted;
    end += read;
  }
  const auto size = static_cast<size_t>(end - begin);
  chunk->has_quotes_ = size > 0 && std::memchr(begin, '"', size) != nullptr;
  const bool last = at_end_ && position_ == end_;
  char* cut = last ? end : EndOfWholeLines(begin, end, chunk->has_quotes_);
  if (static_cast<size_t>(end - cut) > kLineSize + 1) cut = end;
  if (reads) {
    position_ = block_.data();
    end_ = position_ + (end - cut);
    std::memcpy(position_, cut, static_cast<size_t>(end - cut));
  } else {
    position_ -= end - cut;
  }
  chunk->position_ = begin;
  chunk->end_ = cut;
  chunk->at_end_ = true;
  chunk->is_chunk_ = true;
  chunk->too_long_ = chunk->drained_ = chunk->long_field_ = false;
  chunk->line_number_ = 0;
  return cut > begin;
}

void LineReader::ReturnToLongField(const LineReader& file, int64_t lines_before) {
  path_ = file.path_;
  line_number_ += lines_before;
  is_chunk_ = false;
  once_more_ = true;
}

int LineReader::ReadAnyLine(uint32_t size, std::string_view* line) {
  if (once_more_) {
    once_more_ = false;
    // A CR stands behind it, and none in it.
    char* const again = line_begin_;
    *line = std::string_view(
        again, static_cast<size_t>(static_cast<char*>(std::memchr(again, '\r', size + 1)) - again));
    return 1;
  }
  too_long_ = false;
  // One byte more than the line may have: the LF behind a CR at the very end of the window.
  if (!Fill(size + 1)) {
    failed_ = true;
    return 0;
  }
  char* const begin = position_;
  const size_t window = std::min<size_t>(size, static_cast<size_t>(end_ - begin));
  if (window == 0) {
    drained_ = true;
    return 0;
  }
  char* const limit = begin + window;
  const LineScan scan = ScanLine(begin, limit, has_quotes_);
  char* end = scan.end;
  if (end == nullptr) {
    position_ = limit;
    if (window == size) {
      too_long_ = true;
      return 0;
    }
    end = limit;
    *end = '\r';
  } else {
    position_ = std::min(end + 2, end_);
  }
  ++line_number_;
  if (scan.embedded) {
    end = RemoveBreaks(begin, end);
    *end = '\r';
  }
  *line = std::string_view(begin, static_cast<size_t>(end - begin));
  line_begin_ = begin;
  return 1;
}

int FRD_CreateFolderTree(const char* path) {
  char parent[kPathSize];
  FRD_SplitPath(path, parent, nullptr);
  const bool has_parent = parent[0] != 0 && std::strcmp(parent, path) != 0;
  if (has_parent && !platform::IsFolder(parent) && FRD_CreateFolderTree(parent) == 0) return 0;
  return platform::CreateFolder(path) ? 1 : 0;
}

bool RecordWriter::Open(const char* path, uint32_t record_size, bool append) {
  file_ = platform::File::Open(
      path, append ? platform::Access::kReadWrite : platform::Access::kWrite,
      platform::Share::kNone,
      append ? platform::Disposition::kOpenAlways : platform::Disposition::kCreateAlways);
  record_size_ = record_size;
  limit_ = kMaxRecords * record_size;
  used_ = 0;
  count_ = 0;
  offset_ = 0;
  written_bytes_ = 0;
  failed_ = false;
  if (!file_.IsOpen()) return false;
  if (append) {
    offset_ = file_.Seek(0, platform::SeekFrom::kEnd);
    if (offset_ < 0) file_.Close();
  }
  block_.Take(kWriteBlock);
  capacity_ = static_cast<uint32_t>(block_.room()) / record_size * record_size;
  return file_.IsOpen();
}

bool RecordWriter::Append(const void* record) {
  if (offset_ >= limit_) return RefuseMore();
  if (used_ == capacity_ && !WriteOut()) return false;
  std::memcpy(block_.data() + used_, record, record_size_);
  used_ += record_size_;
  ++count_;
  offset_ += record_size_;
  return true;
}

bool RecordWriter::AppendMany(const void* records, int64_t count) {
  const int64_t taken = std::min(count, (limit_ - offset_) / record_size_);
  const auto* bytes = static_cast<const char*>(records);
  uint64_t left = taken > 0 ? static_cast<uint64_t>(taken) * record_size_ : 0;
  while (left > 0) {
    if (used_ == capacity_ && !WriteOut()) return false;
    const auto part = static_cast<uint32_t>(std::min<uint64_t>(left, capacity_ - used_));
    std::memcpy(block_.data() + used_, bytes, part);
    used_ += part;
    count_ += part / record_size_;
    offset_ += part;
    bytes += part;
    left -= part;
  }
  return taken == count || RefuseMore();
}

bool RecordWriter::RefuseMore() {
  WriteOut();
  failed_ = true;
  return false;
}

bool RecordWriter::WriteOut() {
  if (failed_) return false;
  if (used_ == 0) return true;
  uint32_t written = 0;
  failed_ = !file_.Write(block_.data(), used_, &written) || written != used_;
  written_bytes_ += written;
  used_ = 0;
  return !failed_;
}

bool RecordWriter::Close() {
  if (!file_.IsOpen()) return true;
  const bool good = WriteOut();
  file_.Flush();
  file_.Close();
  return good;
}

}  // namespace zatlib
