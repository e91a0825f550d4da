#include "map/record_files.h"

namespace zatlib::map {
namespace {

constexpr uint32_t kBlockSize = 1u << 20;  // bytes of a reader's block

platform::File OpenToRead(const std::string& path) {
  return platform::File::Open(path.c_str(), platform::Access::kRead, platform::Share::kRead,
                              platform::Disposition::kOpenExisting);
}

}  // namespace

bool ByteReader::Open(const std::string& path, uint32_t record_size, int64_t offset) {
  file_ = OpenToRead(path);
  record_size_ = record_size;
  position_ = end_ = nullptr;
  if (!file_.IsOpen()) return false;
  return offset == 0 || file_.Seek(offset, platform::SeekFrom::kBegin) == offset;
}

bool ByteReader::Fill() {
  if (!file_.IsOpen()) return false;
  if (block_.empty()) block_.resize(kBlockSize);
  const size_t rest = static_cast<size_t>(end_ - position_);
  if (rest > 0) std::memmove(block_.data(), position_, rest);
  uint32_t read = 0;
  file_.Read(block_.data() + rest, static_cast<uint32_t>(block_.size() - rest), &read);
  position_ = block_.data();
  end_ = position_ + rest + read;
  return end_ - position_ >= static_cast<ptrdiff_t>(record_size_);
}

bool RecordFile::Open(const std::string& path, uint32_t record_size) {
  file_ = OpenToRead(path);
  record_size_ = record_size;
  count_ = file_.IsOpen() ? file_.Size() / record_size : 0;
  return file_.IsOpen();
}

bool RecordFile::Read(int64_t n, void* record) const { return Read(n, 1, record); }

bool RecordFile::Read(int64_t n, int64_t count, void* records) const {
  if (n < 0 || count < 0 || n > count_ || count > count_ - n) return false;
  const int64_t size = count * record_size_;
  return size <= UINT32_MAX && file_.ReadAt(n * record_size_, records, static_cast<uint32_t>(size));
}

}  // namespace zatlib::map
