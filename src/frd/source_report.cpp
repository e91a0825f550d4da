#include "frd/source_report.h"

#include <string_view>

#include "frd/control.h"

namespace zatlib {

std::string MemoryTitle(const char* file_title) {
  constexpr std::string_view kFile = "File Error";
  return "Memory Error" + std::string(file_title).substr(kFile.size());
}

void ReportUnread(WindowHandle owner, const char* file_title, const char* path, SourceEnd end) {
  if (end == SourceEnd::kNoMemory) {
    ReportTaskModal(owner, MemoryTitle(file_title).c_str(), "Can't allocate memory for %s !", path);
  } else {
    ReportTaskModal(owner, file_title, "Can't read the file (%s) !", path);
  }
}

}  // namespace zatlib
