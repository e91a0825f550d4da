#include <atomic>

#include "platform/fault.h"
#include "platform/process.h"

namespace zatlib::platform {
namespace {

struct FaultState {
  std::atomic<bool> watching{false};
  Operation operation = Operation::kCount;
  int64_t nth = 0;
  bool sticky = false;
  WriteFault write_fault = WriteFault::kNothingWritten;
  std::atomic<void (*)(Operation, int64_t)> watcher{nullptr};
  std::atomic<int64_t> counts[static_cast<int>(Operation::kCount)];
};
FaultState g_faults;

void Restart() {
  g_faults.watching = false;
  g_faults.operation = Operation::kCount;
  for (auto& count : g_faults.counts) count = 0;
}

void* g_module = nullptr;

}  // namespace

bool ShouldFail(Operation operation) {
  if (!g_faults.watching.load(std::memory_order_relaxed)) return false;
  const int64_t number = ++g_faults.counts[static_cast<int>(operation)];
  if (auto* const watcher = g_faults.watcher.load()) watcher(operation, number);
  if (operation != g_faults.operation) return false;
  return number == g_faults.nth || (g_faults.sticky && number > g_faults.nth);
}

bool FailedWriteLeavesHalf() { return g_faults.write_fault == WriteFault::kHalfWritten; }

void ArmFault(Operation operation, int64_t nth, bool sticky, WriteFault write_fault) {
  Restart();
  g_faults.operation = operation;
  g_faults.nth = nth;
  g_faults.sticky = sticky;
  g_faults.write_fault = write_fault;
  g_faults.watching = true;
}

void CountOperations() {
  Restart();
  g_faults.watching = true;
}

int64_t OperationCount(Operation operation) { return g_faults.counts[static_cast<int>(operation)]; }

void WatchOperations(void (*watcher)(Operation operation, int64_t number)) {
  g_faults.watcher = watcher;
}

void ClearFaults() { Restart(); }

void* ModuleHandle() { return g_module; }
void SetModuleHandle(void* module) { g_module = module; }

}  // namespace zatlib::platform
