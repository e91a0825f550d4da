#include "frd/fields.h"

#include "platform/process.h"

namespace zatlib {
namespace {

LongFieldNotice g_notice = nullptr;

}  // namespace

void SetLongFieldNotice(LongFieldNotice notice) { g_notice = notice; }

void EndProcessAtLongField(const char* path, int64_t line, int column) {
  if (g_notice != nullptr) g_notice(path, line, column);
  platform::EndProcessOnRangeError();
}

bool FieldCursor::Next(std::string_view* field) {
  if (done_) return false;
  ++column_;
  const char* begin = position_;
  if (begin < end_ && *begin == '"') ++begin;
  const char* p = begin;
  while (p < end_ && *p != ',' && *p != '\t' && *p != '\r' && *p != '\0') ++p;
  auto length = static_cast<size_t>(p - begin);
  if (length > kFieldLimit) {
    if (lines_ == nullptr) EndProcessAtLongField("", 0, column_);
    lines_->EndAtLongField(column_);
    done_ = true;
    return false;
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
