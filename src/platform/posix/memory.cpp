#include "platform/memory.h"

#include <sys/mman.h>
#include <sys/sysinfo.h>
#include <unistd.h>

#include <mutex>
#include <unordered_map>

#include "platform/fault.h"

namespace zatlib::platform {
namespace {

constexpr uint64_t kLargeBlock = 8 << 20;  // bytes from which large pages are asked for

// Blocks in use: a handful at a time, so a table beats a header in front of each.
struct Blocks {
  std::mutex mutex;
  std::unordered_map<const void*, uint64_t> sizes;
  uint64_t total = 0;
  uint64_t played_physical = 0;
  uint64_t played_limit = 0;
};

Blocks& Table() {
  static Blocks* blocks = new Blocks;
  return *blocks;
}

}  // namespace

void* AllocPages(uint64_t size) {
  if (ShouldFail(Operation::kAllocate) || size == 0) return nullptr;
  const uint64_t page = static_cast<uint64_t>(::sysconf(_SC_PAGESIZE));
  const uint64_t rounded = (size + page - 1) / page * page;
  if (rounded < size) return nullptr;
  Blocks& blocks = Table();
  const std::lock_guard<std::mutex> guard(blocks.mutex);
  if (blocks.played_limit != 0 && blocks.total + rounded > blocks.played_limit) return nullptr;
  void* block =
      ::mmap(nullptr, rounded, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (block == MAP_FAILED) return nullptr;
#ifdef MADV_HUGEPAGE
  // Large pages: fewer page faults, and lookups all over a table find their addresses faster.
  if (rounded >= kLargeBlock) (void)::madvise(block, rounded, MADV_HUGEPAGE);
#endif
  blocks.sizes.emplace(block, rounded);
  blocks.total += rounded;
  return block;
}

bool FreePages(void* block) {
  if (ShouldFail(Operation::kFree)) return false;
  Blocks& blocks = Table();
  const std::lock_guard<std::mutex> guard(blocks.mutex);
  const auto found = blocks.sizes.find(block);
  if (found == blocks.sizes.end()) return false;
  const uint64_t size = found->second;
  blocks.sizes.erase(found);
  blocks.total -= size;
  return ::munmap(block, size) == 0;
}

uint64_t PagesSize(const void* block) {
  Blocks& blocks = Table();
  const std::lock_guard<std::mutex> guard(blocks.mutex);
  const auto found = blocks.sizes.find(block);
  return found == blocks.sizes.end() ? 0 : found->second;
}

uint64_t PagesInUse() {
  Blocks& blocks = Table();
  const std::lock_guard<std::mutex> guard(blocks.mutex);
  return blocks.total;
}

MemoryStatus GetMemoryStatus() {
  struct sysinfo info {};
  MemoryStatus status{};
  if (::sysinfo(&info) != 0) return status;
  const uint64_t unit = info.mem_unit;
  status.total_physical = info.totalram * unit;
  status.available_physical = (info.freeram + info.bufferram) * unit;
  status.total_paging = (info.totalram + info.totalswap) * unit;
  status.available_paging = (info.freeram + info.bufferram + info.freeswap) * unit;
  Blocks& blocks = Table();
  const std::lock_guard<std::mutex> guard(blocks.mutex);
  if (blocks.played_physical != 0) status.total_physical = blocks.played_physical;
  return status;
}

void PlayMachine(uint64_t total_physical, uint64_t allocation_limit) {
  Blocks& blocks = Table();
  const std::lock_guard<std::mutex> guard(blocks.mutex);
  blocks.played_physical = total_physical;
  blocks.played_limit = allocation_limit;
}

}  // namespace zatlib::platform
