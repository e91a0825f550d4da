// What every stage needs of the control file and of the user: the output folder, the error report,
// the status line and the start of a step.
#pragma once

#include <cstdint>
#include <string>

#include "frd/message_text.h"
#include "frd/progress.h"
#include "frd/text.h"

namespace zatlib {

// A path in a buffer of its own.
struct PathText {
  char text[kPathSize] = {};
  const char* c_str() const { return text; }
};

// Fills `folder_out` (260 bytes) with [FOLDER] CALCMAPDIR as it stands, or with the control file's
// own folder when the value has fewer than 2 characters. Empty for a control file named without a
// folder.
void BRN_GetCalcMapDir(const char* control_file, char* folder_out);

// Path of a file in the output folder. An empty output folder means the current folder.
PathText OutputPath(const char* control_file, const char* name);
PathText PathIn(const char* folder, const char* name);

// Integer and string values of the control file. Strings: at most 259 bytes.
int ControlInt(const char* control_file, const char* section, const char* key, int default_value);
PathText ControlPath(const char* control_file, const char* section, const char* key);

// The n-th file (from 1) of an input section: key "FILE%02d".
PathText ControlFile(const char* control_file, const char* section, int number);

// Non-zero [SYSTEM] LOG: steps end with a summary line.
bool WantsSummary(const char* control_file);

// Logs "[message][title]" and, unless silent, shows a message box: task-modal without a living
// owner. Returns the box's answer, 1 in silent mode.
int BRN_ShowError(WindowHandle owner, const char* message, const char* title, unsigned flags);

// Formats the message (at most 1,023 bytes) and reports it with the error icon.
int ReportError(WindowHandle owner, const char* title, const char* format, ...) ZATLIB_PRINTF(3, 4);

// Shows a text in the status line (null: only pumps), pumps messages and sets the wait cursor.
// Returns 1 to go on, 0 when the user has cancelled; always 1 in silent mode.
int BRN_SetStatus(const char* text);

// The same with a number put into the text; formats nothing when nobody sees it.
int SetStatusNumber(MessageText<int> text, int64_t number);

// The start that every step shares: shows its title, tests for cancel and logs the title. Returns
// 1 to go on, 0 when the user has cancelled (the title is then not logged).
int BRN_BeginStep(const char* title);

// Progress at a checkpoint: nothing and 1 in silent mode, FRD_SetProgress else.
int Checkpoint(float fraction);

// "OK" or "ERROR", as the summary lines say it.
inline const char* ResultText(int result) { return result != 0 ? "OK" : "ERROR"; }

}  // namespace zatlib
