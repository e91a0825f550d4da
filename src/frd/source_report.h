// The report for a source file whose lines ended too early.
#pragma once

#include "frd/line_source.h"
#include "frd/step.h"

namespace zatlib {

// Reports, task-modal, why the lines of a source file ended too early (IsCutShort): a File Error of
// the step for a read that the system refused, a Memory Error for want of memory.
Outcome FailUnread(const Step& step, const char* path, SourceEnd end);

// The text of the latter.
inline constexpr MessageText<const char*> kNoLineMemory = "Can't allocate memory for %s !";

}  // namespace zatlib
