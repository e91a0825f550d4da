#include "platform/memory.h"

#include <windows.h>

#include <atomic>

#include "platform/fault.h"

namespace zatlib::platform {
namespace {

std::atomic<uint64_t> g_total{0};  // bytes of the live blocks
uint64_t g_played_physical = 0;
uint64_t g_played_limit = 0;

uint64_t PageSize() {
  static const uint64_t size = [] {
    SYSTEM_INFO info;
    ::GetSystemInfo(&info);
    return static_cast<uint64_t>(info.dwPageSize);
  }();
  return size;
}

}  // namespace

void* AllocPages(uint64_t size) {
  if (ShouldFail(Operation::kAllocate) || size == 0) return nullptr;
  const uint64_t rounded = (size + PageSize() - 1) / PageSize() * PageSize();
  if (rounded < size) return nullptr;
  if (g_played_limit != 0 && g_total + rounded > g_played_limit) return nullptr;
  void* block = ::VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
  if (block != nullptr) g_total += rounded;
  return block;
}

bool FreePages(void* block) {
  if (ShouldFail(Operation::kFree)) return false;
  const uint64_t size = PagesSize(block);
  if (size == 0 || ::VirtualFree(block, 0, MEM_RELEASE) == 0) return false;
  g_total -= size;
  return true;
}

uint64_t PagesSize(const void* block) {
  MEMORY_BASIC_INFORMATION region{};
  if (block == nullptr || ::VirtualQuery(block, &region, sizeof region) == 0) return 0;
  if (region.State != MEM_COMMIT || region.AllocationBase != block) return 0;
  return region.RegionSize;
}

uint64_t PagesInUse() { return g_total; }

MemoryStatus GetMemoryStatus() {
  MEMORYSTATUS info{};
  info.dwLength = sizeof info;
  ::GlobalMemoryStatus(&info);
  MemoryStatus status{};
  status.total_physical = g_played_physical != 0 ? g_played_physical : info.dwTotalPhys;
  status.available_physical = info.dwAvailPhys;
  status.total_paging = info.dwTotalPageFile;
  status.available_paging = info.dwAvailPageFile;
  return status;
}

void PlayMachine(uint64_t total_physical, uint64_t allocation_limit) {
  g_played_physical = total_physical;
  g_played_limit = allocation_limit;
}

}  // namespace zatlib::platform
