// Delimited records: fields between commas and tabs.
#pragma once

#include <cstdint>
#include <string_view>

#include "frd/lines.h"
#include "frd/text.h"

namespace zatlib {

// Walks the fields of one line. A field ends at a comma, a tab or the end of the record; the
// record ends at CR, NUL or the end of the text. One leading and one trailing double quote are
// dropped; there is no other quoting. A field of 64 bytes or more is too long: it ends the lines
// that it stands in, and whoever reads them ends the process (LineSource::TakeEnd).
class FieldCursor {
 public:
  // `lines` are those that the line was read from last; without them a field that is too long ends
  // the process at once.
  explicit FieldCursor(std::string_view line, Lines* lines = nullptr)
      : position_(line.data()), end_(line.data() + line.size()), lines_(lines) {}

  // The next field; false when the record has no more, or when the field is too long.
  bool Next(std::string_view* field);

 private:
  const char* position_;
  const char* end_;
  Lines* lines_;
  int column_ = 0;
  bool done_ = false;
};

// Called with the file, the line (from 1) and the column (from 1) before a field that is too long
// ends the process; null for none.
using LongFieldNotice = void (*)(const char* path, int64_t line, int column);
void SetLongFieldNotice(LongFieldNotice notice);

// The end that a field which is too long makes by design: gives the notice and ends the process
// without a message.
[[noreturn]] void EndProcessAtLongField(const char* path, int64_t line, int column);

}  // namespace zatlib
