#include "frd/record_writer.h"

#include <algorithm>
#include <cstring>

namespace zatlib {
namespace {

constexpr uint32_t kWriteBlock = 1 << 20;  // bytes of one system write

}  // namespace

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
  if (!file_.IsOpen()) return false;
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
  failed_ = !file_.Write(block_.data(), used_, &written);
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
