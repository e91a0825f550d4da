// Big buffers from the page allocator.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "platform/memory.h"

namespace zatlib {

// Gives a page block back: non-zero on success, 0 for null or a failure. A failure is logged under
// "TOOLS\FRD".
int FRD_FreeMem(void* block);

// Size of a block's region in bytes (whole pages), 0 for null.
uint64_t FRD_GetMemSize(const void* block);

// The same block when its region already holds `size` bytes; else a new zero-filled block with the
// old region copied and the old block freed. Null when the block is null or unknown or the new
// allocation failed; the old block then stays valid.
void* FRD_ReallocMem(void* block, uint64_t size);

// An array of plain records in page memory; frees itself. Zero-filled when allocated.
template <typename T>
class PageArray {
 public:
  PageArray() = default;
  ~PageArray() { Free(); }
  PageArray(PageArray&& other) noexcept
      : data_(std::exchange(other.data_, nullptr)), size_(std::exchange(other.size_, 0)) {}
  PageArray& operator=(PageArray&& other) noexcept {
    if (this != &other) {
      Free();
      data_ = std::exchange(other.data_, nullptr);
      size_ = std::exchange(other.size_, 0);
    }
    return *this;
  }
  PageArray(const PageArray&) = delete;
  PageArray& operator=(const PageArray&) = delete;

  // Takes pages for `records` records (at least one byte); false when the allocator refuses.
  bool Allocate(int64_t records) {
    Free();
    const uint64_t bytes = static_cast<uint64_t>(records) * sizeof(T);
    data_ = static_cast<T*>(platform::AllocPages(bytes == 0 ? 1 : bytes));
    size_ = data_ == nullptr ? 0 : records;
    return data_ != nullptr;
  }

  // Makes room for `records` records, keeping what is there; false leaves the array as it is.
  bool Grow(int64_t records) {
    if (data_ == nullptr) return Allocate(records);
    void* grown = FRD_ReallocMem(data_, static_cast<uint64_t>(records) * sizeof(T));
    if (grown == nullptr) return false;
    data_ = static_cast<T*>(grown);
    size_ = records;
    return true;
  }

  void Free() {
    if (data_ != nullptr) FRD_FreeMem(data_);
    data_ = nullptr;
    size_ = 0;
  }

  T* data() { return data_; }
  const T* data() const { return data_; }
  int64_t size() const { return size_; }
  T& operator[](int64_t i) { return data_[i]; }
  const T& operator[](int64_t i) const { return data_[i]; }
  T* begin() { return data_; }
  explicit operator bool() const { return data_ != nullptr; }

 private:
  T* data_ = nullptr;
  int64_t size_ = 0;
};

}  // namespace zatlib
