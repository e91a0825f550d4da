// Vectors of records by the million: they lie in large pages where the system has such.
#pragma once

#include <cstddef>
#include <new>
#include <vector>

#include "platform/memory.h"

namespace zatmap::check {

template <typename T>
struct PageAllocator {
  using value_type = T;
  static constexpr size_t kLarge = (1 << 20) / sizeof(T);  // records; fewer come from the heap

  PageAllocator() = default;
  template <typename Other>
  PageAllocator(const PageAllocator<Other>&) {}  // NOLINT: what containers do with one another

  T* allocate(size_t count) {
    if (count < kLarge) return static_cast<T*>(::operator new(count * sizeof(T)));
    void* const block = zatlib::platform::AllocPages(count * sizeof(T));
    if (block == nullptr) throw std::bad_alloc();
    return static_cast<T*>(block);
  }
  void deallocate(T* records, size_t count) {
    if (count < kLarge) {
      ::operator delete(records);
    } else {
      zatlib::platform::FreePages(records);
    }
  }
  friend bool operator==(const PageAllocator&, const PageAllocator&) { return true; }
};

template <typename T>
using PageVector = std::vector<T, PageAllocator<T>>;

}  // namespace zatmap::check
