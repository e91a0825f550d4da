// A work store on disk, record by record: read in blocks, changed in place.
#pragma once

#include <algorithm>
#include <cstdint>
#include <span>

#include "frd/memory.h"
#include "frd/work_buffer.h"
#include "platform/file.h"

namespace zatlib {

template <typename Record>
class StoreFile {
 public:
  // Opens the store for reading, or for reading and writing. False when the system refuses. The
  // memory for the block is taken when the first record is asked for.
  bool Open(const char* path, platform::Access access) {
    file_ = platform::File::Open(path, access, platform::Share::kRead,
                                 platform::Disposition::kOpenExisting);
    if (!file_.IsOpen()) return false;
    const int64_t size = file_.Size();
    if (size < 0) file_.Close();
    count_ = size < 0 ? 0 : size / static_cast<int64_t>(sizeof(Record));
    first_ = 0;
    loaded_ = 0;
    window_ = kNearRecords;
    return file_.IsOpen();
  }

  bool IsOpen() const { return file_.IsOpen(); }

  // Number of whole records when the store was opened.
  int64_t count() const { return count_; }

  // Record i, good until the next call; null when it cannot be read.
  Record* At(int64_t i) {
    if (i < first_ || i >= first_ + loaded_) {
      if (!Load(i)) return nullptr;
    }
    return &block_[i - first_];
  }

  // Record i and those behind it that are at hand with it, good until the next call; none when
  // record i cannot be read.
  std::span<Record> From(int64_t i) {
    Record* record = At(i);
    if (record == nullptr) return {};
    return {record, static_cast<size_t>(first_ + loaded_ - i)};
  }

  // Reads up to `wanted` records from record i on into `out`, past the block. Returns how many were
  // read whole.
  int64_t Read(int64_t i, int64_t wanted, Record* out) {
    wanted = std::min({wanted, count_ - i, int64_t{kMostRecords}});
    if (i < 0 || wanted < 1 ||
        file_.Seek(i * static_cast<int64_t>(sizeof(Record)), platform::SeekFrom::kBegin) < 0) {
      return 0;
    }
    uint32_t read = 0;
    file_.Read(out, static_cast<uint32_t>(wanted) * sizeof(Record), &read);
    return read / sizeof(Record);
  }

  // Writes record i, as At(i) gave it and the caller changed it, back in place.
  bool Write(int64_t i) {
    uint32_t written = 0;
    return file_.Seek(i * static_cast<int64_t>(sizeof(Record)), platform::SeekFrom::kBegin) >= 0 &&
           file_.Write(&block_[i - first_], sizeof(Record), &written) && written == sizeof(Record);
  }

 private:
  static constexpr int64_t kBlockRecords = (1 << 20) / sizeof(Record);
  static constexpr int64_t kMostRecords = (1 << 23) / sizeof(Record);  // of one direct read
  static constexpr int64_t kNearRecords = (1 << 12) / sizeof(Record);

  bool Load(int64_t i) {
    // Where the caller goes on behind the block, more and more is read ahead; after a jump little
    // is: a node's neighbours may lie anywhere in the store.
    const int64_t end = first_ + loaded_;
    const bool goes_on = i >= end && i - end < kNearRecords;
    loaded_ = 0;
    if (i < 0 || i >= count_) return false;
    block_.Take(kBlockRecords);
    window_ = goes_on ? std::min(window_ * 4, block_.room()) : kNearRecords;
    first_ = goes_on ? i : i / kNearRecords * kNearRecords;
    const int64_t wanted = std::min(count_ - first_, window_);
    if (file_.Seek(first_ * static_cast<int64_t>(sizeof(Record)), platform::SeekFrom::kBegin) < 0) {
      return false;
    }
    uint32_t read = 0;
    file_.Read(block_.data(), static_cast<uint32_t>(wanted) * sizeof(Record), &read);
    // What was read whole is good, also when the file has become shorter or a read failed.
    loaded_ = read / sizeof(Record);
    return i < first_ + loaded_;
  }

  platform::File file_;
  WorkBuffer<Record> block_;
  int64_t count_ = 0;
  int64_t first_ = 0;
  int64_t loaded_ = 0;
  int64_t window_ = kNearRecords;  // records that the last load asked for
};

}  // namespace zatlib
