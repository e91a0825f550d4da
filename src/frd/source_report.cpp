#include "frd/source_report.h"

namespace zatlib {

Outcome FailUnread(const Step& step, const char* path, SourceEnd end) {
  if (end == SourceEnd::kNoMemory) return step.FailModal(kMemoryError, kNoLineMemory, path);
  return step.FailModal(kFileError, "Can't read the file (%s) !", path);
}

}  // namespace zatlib
