#include "frd/memory.h"

#include <cstring>

#include "frd/log.h"

namespace zatlib {

int FRD_FreeMem(void* block) {
  if (block == nullptr) return 0;
  if (platform::FreePages(block)) return 1;
  FRD_WriteLog(kPerUser, kServiceTag, "VirtualFree function fails in FRD_FreeMem !", 1);
  return 0;
}

uint64_t FRD_GetMemSize(const void* block) {
  return block == nullptr ? 0 : platform::PagesSize(block);
}

void* FRD_ReallocMem(void* block, uint64_t size) {
  const uint64_t old_size = FRD_GetMemSize(block);
  if (old_size == 0) return nullptr;
  if (old_size >= size) return block;
  void* grown = platform::AllocPages(size);
  if (grown == nullptr) return nullptr;
  std::memcpy(grown, block, old_size);
  FRD_FreeMem(block);
  return grown;
}

}  // namespace zatlib
