#include "frd/block_reader.h"

#include <algorithm>

#include "frd/files.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr int64_t kLeastBlocks = 4096;  // bytes of both blocks where memory is short

// The next smaller size that divides this one: callers count on marks at multiples of it.
int64_t NextSmaller(int64_t records) {
  for (const int64_t divisor : {2, 5}) {
    if (records % divisor == 0) return records / divisor;
  }
  return 1;
}

}  // namespace

FileResult BlockReader::Open(const char* path, uint32_t record_size, int64_t block_records) {
  Close();
  file_ = platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                               platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  if (!file_.IsOpen()) return FileResult::kNotOpened;
  const int64_t size = file_.Size();
  if (size < 0) {
    Close();
    return FileResult::kNotRead;
  }
  size_ = static_cast<uint64_t>(size);
  record_size_ = record_size;
  count_ = size / record_size;
  block_limit_ = block_records;
  FileResult result = FileResult::kDone;
  if (!TakeBlocks(INT64_MAX)) {
    result = FileResult::kNoMemory;
  } else if (!ReadBlock()) {
    result = FileResult::kNotRead;
  }
  if (result != FileResult::kDone) Close();
  return result;
}

// Takes memory for the blocks, of no more than `most_bytes` unless they could not be smaller.
bool BlockReader::TakeBlocks(int64_t most_bytes) {
  for (int64_t refused = INT64_MAX;;) {
    block_records_ = std::clamp<int64_t>(count_, 1, block_limit_);
    block_size_ = static_cast<uint64_t>(block_records_) * record_size_;
    // One block is enough for a file that is not longer.
    const int64_t bytes = static_cast<int64_t>(block_size_) * (count_ > block_records_ ? 2 : 1);
    const bool least = bytes <= kLeastBlocks || block_limit_ == 1;
    if (bytes < refused && (bytes <= most_bytes || least)) {
      if (blocks_.Allocate(bytes)) return true;
      refused = bytes;
    }
    if (least) return false;
    block_limit_ = NextSmaller(block_limit_);
  }
}

bool BlockReader::Shrink() {
  if (!blocks_ || first_ > 0 || second_ || blocks_.size() <= kLeastBlocks ||
      file_.Seek(0, platform::SeekFrom::kBegin) < 0) {
    return false;
  }
  blocks_.Free();
  if (TakeBlocks(kLeastBlocks)) return ReadBlock();
  failed_ = true;
  in_block_ = 0;
  return false;
}

bool BlockReader::ReadBlock() {
  in_block_ = std::min(block_records_, count_ - first_);
  char* data = blocks_.data() + (second_ ? block_size_ : 0);
  failed_ = !ReadExactly(file_, data, static_cast<uint64_t>(in_block_) * record_size_);
  if (failed_) in_block_ = 0;
  return !failed_;
}

bool BlockReader::Advance() {
  if (failed_) return false;
  first_ += in_block_;
  if (first_ == count_) {
    in_block_ = 0;
    return true;
  }
  second_ = !second_;
  return ReadBlock();
}

void BlockReader::Close() {
  file_.Close();
  blocks_.Free();
  size_ = 0;
  count_ = 0;
  block_limit_ = 1;
  second_ = false;
  first_ = 0;
  in_block_ = 0;
  failed_ = false;
}

}  // namespace zatlib
