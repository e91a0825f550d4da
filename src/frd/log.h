// The diary: one file a day and tag under the application-data folder, one line a call.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "frd/text.h"
#include "platform/clock.h"

namespace zatlib {

inline constexpr char kBuildTag[] = "ZatLib";
inline constexpr char kServiceTag[] = "TOOLS\\FRD";
inline constexpr int kPerUser = 1;
inline constexpr int kAllUsers = 0;

// Appends one line (CR LF), with a time stamp in front when asked for. `folder_kind` non-zero =
// per user; `tag` null = the host program's own log. Returns 1 when every write succeeded, else 0.
int FRD_WriteLog(int folder_kind, const char* tag, const char* text, int with_time_stamp);

// Today's log file of a tag; `path_out` holds 260 bytes. Return 1, or 0 when the system has no
// application-data folder.
int FRD_GetUserLogPath(const char* tag, char* path_out);
int FRD_GetCommonLogPath(const char* tag, char* path_out);

// The log of a program: beside it, with its name and the extension .log.
std::string LogBeside(std::string program);

// The host program's log: beside the executable, or in the temporary folder when that place is
// read-only. `path_out` holds 260 bytes.
void FRD_GetHostLogPath(char* path_out);

// Deletes a tag's files of days before today minus 31 and logs how many; with a null tag the host
// program's log. Returns the result of the path lookup (1 with a null tag).
int FRD_EraseOldLogs(int folder_kind, const char* tag);

// Steps year, month and day back by one day; the day of the week and the time stay. Non-zero on
// success, 0 when the date does not exist.
int FRD_MakPrevDay(platform::DateTime* date);

// Time-stamped line in the all-users service log; a day's file above 65,536 bytes makes an erase
// pass first.
int FRD_LogFrd(const char* text);

// A line in the per-user log of a tag; a null tag writes into the company folder itself.
int FRD_LogTagged(const char* tag, const char* text, int with_time_stamp);

// Formats a line into the build log, time-stamped.
void LogBuild(const char* format, ...) ZATLIB_PRINTF(1, 2);

// Hears every line of the build log (without its stamp) as it is written, also when the log file
// cannot be. For programs that show a run's errors; one listener, null for none.
void SetLogListener(std::function<void(const char* text)> listener);

}  // namespace zatlib
