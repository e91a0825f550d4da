// The seam through which a test makes the platform fail: every open, read, write, seek and flush of
// a file, every read or write of an INI value, every allocation or release of pages, every start of
// a worker thread and every move or removal of platform/folder.h asks here first, inside the back
// ends. In normal use nothing is armed and a question costs one load of a flag.
#pragma once

#include <cstdint>

namespace zatlib::platform {

// kReadValue and kWriteValue: a value of an INI file, one for each call. kMove: a file or folder
// that is made, moved, exchanged or removed.
enum class Operation {
  kOpen,
  kRead,
  kWrite,
  kSeek,
  kFlush,
  kAllocate,
  kFree,
  kReadValue,
  kWriteValue,
  kThread,
  kMove,
  kCount
};

// What an armed write does with the bytes of the failing call.
enum class WriteFault { kNothingWritten, kHalfWritten };

// True when the operation asked for is to fail. Counts the operation while a plan is armed or
// counting is on.
bool ShouldFail(Operation operation);

// True when the write that ShouldFail(kWrite) has just refused is to leave half of its bytes.
bool FailedWriteLeavesHalf();

// Arms a failure: the nth operation (from 1) of that kind fails, and with `sticky` every later
// one too. Replaces an earlier plan and starts counting from 0.
void ArmFault(Operation operation, int64_t nth, bool sticky,
              WriteFault write_fault = WriteFault::kNothingWritten);

// Counts operations without failing any, so that a test learns how many there are.
void CountOperations();

// Number of operations of that kind since ArmFault or CountOperations.
int64_t OperationCount(Operation operation);

// Called before every operation while faults are armed or operations are counted, with its number
// of that kind (from 1); null for nothing. A test ends the process there, or fills the disk.
void WatchOperations(void (*watcher)(Operation operation, int64_t number));

// Back to normal: nothing fails, nothing is counted.
void ClearFaults();

}  // namespace zatlib::platform
