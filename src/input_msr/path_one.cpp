#include "input_msr/path_one.h"

#include "frd/control.h"
#include "frd/log.h"

namespace zatlib {

int BRN_MSR_PathOne(WindowHandle owner, const char*) {
  LogBuild("Path One Start (MSR format) ");
  // The readers of this layout are not there yet: better a clear end than an empty map.
  ReportError(owner, "Error in BRN_MSR_PathOne", "The MSR format can't be read yet !");
  return 0;
}

}  // namespace zatlib
