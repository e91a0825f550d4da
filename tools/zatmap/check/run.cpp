#include "check/run.h"

#include <exception>

#include "check/control.h"
#include "check/rows.h"

namespace zatmap::check {

Findings RunChecks(const RunOptions& options) {
  Findings findings(options.max_per_kind);
  findings.ShowHidden(options.all);
  SetPieceSize(static_cast<size_t>(options.piece_size));
  try {
    Control control(findings, options.control_file, options.msr);
    if (!control.Check()) return findings;
    if (control.msr()) {
      CheckMsr(control, options.shape_limit, options.look);
    } else {
      CheckZat(control, options.shape_limit, options.look);
    }
  } catch (const std::exception&) {
    findings.SetIncomplete();
  }
  return findings;
}

}  // namespace zatmap::check
