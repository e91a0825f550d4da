// The build driver: the stages in their order.
#pragma once

#include <cstdint>

#include "frd/progress.h"

namespace zatlib {

inline constexpr int64_t kFormatZat = 0;
inline constexpr int64_t kFormatMsr = 1;

// The format that [SYSTEM] FORMAT names: kFormatMsr for "MSR" in any case, else kFormatZat.
int64_t BRN_GetFormat(const char* control_file);

// The whole build: stage one of the format, stage two, interchange flags. Deletes the work stores
// after a success unless [SYSTEM] DEBUG is set. Returns non-zero on success, 0 on failure or
// cancel; logs "End OK." or "End Error.".
int BRN_BuildRoadNetworks(WindowHandle owner, int64_t format, const char* control_file);

// Stage two alone, from the work stores to the finished map. Same results; the format is not used.
int BRN_PathTwo(WindowHandle owner, int64_t format, const char* control_file);

// Stage one alone, as the callbacks of a dialog run.
int BRN_PathOneZat(WindowHandle owner, int64_t format, const char* control_file);
int BRN_PathOneMsr(WindowHandle owner, int64_t format, const char* control_file);

}  // namespace zatlib
