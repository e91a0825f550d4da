#include "frd/fields.h"

#include "platform/process.h"

namespace zatlib {
namespace {

LongFieldNotice g_notice = nullptr;

}  // namespace

void SetLongFieldNotice(LongFieldNotice notice) { g_notice = notice; }

bool FieldCursor::Next(std::string_view* field) {
  if (done_) return false;
  ++column_;
  const char* begin = position_;
  if (begin < end_ && *begin == '"') ++begin;
  const char* p = begin;
  while (p < end_ && *p != ',' && *p != '\t' && *p != '\r' && *p != '\0') ++p;
  auto length = static_cast<size_t>(p - begin);
  if (length > kFieldLimit) {
    if (source_ != nullptr && source_->defers_long_fields()) {
      source_->NoteLongField();
      done_ = true;
      return false;
    }
    if (g_notice != nullptr) {
      g_notice(source_ != nullptr ? source_->path().c_str() : "",
               source_ != nullptr ? source_->line_number() : 0, column_);
    }
    platform::EndProcessOnRangeError();
  }
  if (length > 0 && begin[length - 1] == '"') --length;
  *field = std::string_view(begin, length);
  if (p < end_ && (*p == ',' || *p == '\t')) {
    position_ = p + 1;
  } else {
    done_ = true;
  }
  return true;
}

}  // namespace zatlib
