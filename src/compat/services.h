// Service functions that nothing in the library calls any longer. They stay because they belong to
// the run-time services under these names, and whoever reads about those looks for them; they stand
// here, apart from those in use, so that nobody takes them for the way in which the library works.
// Each comment ends with what does that work there.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frd/keyed_table.h"

namespace zatlib {

// Number of lines (CRs outside quotes, and a last line without an end); -1 when the file cannot be
// opened. The readers count the lines that they read (frd/line_source.h).
int64_t FRD_CountLines(const char* path);

inline constexpr size_t kCsvFieldSize = 1024;  // the output of FRD_GetCsvField

// Finds field `index` (from 0) of a line, separated by ',', TAB or ';'; the line ends at a zero
// byte, CR or LF, or after `length` bytes. Double quotes do not protect separators; one leading and
// then one trailing quote are dropped. Returns (position of the field's first byte x 65,536) +
// position behind its last byte, quotes included, as far as 32 bits go, or -1 when the line has
// fewer fields. `out` (1,024 bytes, or null) receives the text, cut at a whole character, or an
// empty text. Source lines go through FieldCursor (frd/fields.h).
int FRD_GetCsvField(int index, int length, const char* line, char* out);

// The mask of bit 0 (0x80) to 7 (0x01) of a byte, most significant first. Above 7: the number with
// its low 8 bits cleared, which is 0 up to 255. The stages shift 0x80
// themselves.
uint32_t FRD_BitMask(uint32_t bit);

// Index of the first record whose key equals `key`, or -1. Lookups of many keys go through
// CodeLookup (frd/code_lookup.h).
int64_t FRD_FindFirstByKey(double key, int64_t count, const KeyedRecord* table);

// Sorts ascending by key, in place; equal keys keep no particular order. Returns 1. The stages sort
// with a look at the user now and then (frd/cancellable.h).
int FRD_SortByKey(int64_t count, KeyedRecord* table);

// Whom FRD_LogAndNotify tells.
struct NotifyContext {
  int show_messages;  // non-zero: a message box too
};

// Writes title and message with a stamp of their own to the build log and, when the context asks
// for it, shows a task-modal message box. Returns 0. Steps report through BRN_ShowError
// (frd/control.h).
int FRD_LogAndNotify(const NotifyContext* context, const char* message, const char* title,
                     unsigned flags);

}  // namespace zatlib
