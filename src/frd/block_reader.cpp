#include "frd/block_reader.h"

#include <algorithm>

#include "frd/files.h"

namespace zatlib {

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
  block_records_ = std::clamp<int64_t>(count_, 1, block_records);
  block_size_ = static_cast<uint64_t>(block_records_) * record_size;
  // One block is enough for a file that is not longer.
  const uint64_t blocks = count_ > block_records_ ? 2 : 1;
  FileResult result = FileResult::kDone;
  if (!blocks_.Allocate(blocks * block_size_)) {
    result = FileResult::kNoMemory;
  } else if (!ReadBlock()) {
    result = FileResult::kNotRead;
  }
  if (result != FileResult::kDone) Close();
  return result;
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
  second_ = false;
  first_ = 0;
  in_block_ = 0;
  failed_ = false;
}

}  // namespace zatlib
