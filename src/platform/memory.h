// Page memory and the machine's memory status.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zatlib::platform {

// Reserves and commits zero-filled read-write pages for `size` bytes; null when the system (or an
// armed fault) refuses, and for a size of 0.
void* AllocPages(uint64_t size);

// Gives a block of AllocPages back; false for null, an unknown block, or when the system (or an
// armed fault) refuses.
bool FreePages(void* block);

// Size of the block's region in bytes, rounded up to whole pages; 0 for null or unknown.
uint64_t PagesSize(const void* block);

// Bytes of the blocks that were not given back, rounded up to whole pages.
uint64_t PagesInUse();

struct MemoryStatus {
  uint64_t total_physical;      // bytes
  uint64_t available_physical;  // bytes
  uint64_t total_paging;        // bytes: physical memory and swap space
  uint64_t available_paging;    // bytes
};

MemoryStatus GetMemoryStatus();

// Plays a machine with that much memory for the tests: the status reports it, and AllocPages
// refuses what would bring the sum of live blocks above `allocation_limit`. 0 = the real machine.
void PlayMachine(uint64_t total_physical, uint64_t allocation_limit);

}  // namespace zatlib::platform
