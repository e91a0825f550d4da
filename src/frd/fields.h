// Delimited records: fields between commas and tabs.
#pragma once

#include <string_view>

#include "frd/files.h"
#include "frd/text.h"

namespace zatlib {

// Walks the fields of one line. A field ends at a comma, a tab or the end of the record; the
// record ends at CR, NUL or the end of the text. One leading and one trailing double quote are
// dropped; there is no other quoting. A field of 64 bytes or more ends the process.
class FieldCursor {
 public:
  // `source` names the file and line in the notice of a field that is too long; may be null.
  explicit FieldCursor(std::string_view line, LineReader* source = nullptr)
      : position_(line.data()), end_(line.data() + line.size()), source_(source) {}

  // The next field; false when the record has no more, or when a field of a chunk of lines is too
  // long (the chunk notes it).
  bool Next(std::string_view* field);

 private:
  const char* position_;
  const char* end_;
  LineReader* source_;
  int column_ = 0;
  bool done_ = false;
};

// Called with the file, the line (from 1) and the column (from 1) before a field that is too long
// ends the process; null for none.
using LongFieldNotice = void (*)(const char* path, int64_t line, int column);
void SetLongFieldNotice(LongFieldNotice notice);

}  // namespace zatlib
