// The report for a source file whose lines ended too early.
#pragma once

#include <string>

#include "frd/line_source.h"
#include "frd/progress.h"

namespace zatlib {

// Reports, task-modal, why the lines of a source file ended too early: "Can't read the file (%s) !"
// under `file_title` ("File Error in ...") for a read that the system refused, "Can't allocate
// memory for %s !" under "Memory Error in ..." for want of memory.
void ReportUnread(WindowHandle owner, const char* file_title, const char* path, SourceEnd end);

// "Memory Error in ..." for "File Error in ...".
std::string MemoryTitle(const char* file_title);

}  // namespace zatlib
