#include "compat/services.h"

#include <algorithm>
#include <string_view>

#include "frd/log.h"
#include "frd/text.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "platform/user_interface.h"

namespace zatlib {
namespace {

constexpr uint32_t kCountBlock = 4096;  // bytes of one read of FRD_CountLines

}  // namespace

int64_t FRD_CountLines(const char* path) {
  platform::File file =
      platform::File::Open(path, platform::Access::kRead, platform::Share::kReadWrite,
                           platform::Disposition::kOpenExisting);
  if (!file.IsOpen()) return -1;
  char block[kCountBlock];
  int64_t count = 0;
  bool any = false;
  bool quoted = false;
  bool open_line = false;
  uint32_t read = 0;
  while (file.Read(block, kCountBlock, &read) && read > 0) {
    any = true;
    for (uint32_t i = 0; i < read; ++i) {
      if (block[i] == '"') {
        quoted = !quoted;
      } else if (block[i] == '\r' && !quoted) {
        ++count;
        open_line = i + 2 < read;
      }
    }
  }
  if (open_line) ++count;
  return any ? std::max<int64_t>(count, 1) : 0;
}

int FRD_GetCsvField(int index, int length, const char* line, char* out) {
  if (out != nullptr) out[0] = 0;
  if (index < 0) return -1;
  // Byte by byte: behind a terminator before `length` nothing may be looked at.
  size_t line_length = 0;
  while (static_cast<int64_t>(line_length) < length && line[line_length] != 0 &&
         line[line_length] != '\r' && line[line_length] != '\n') {
    ++line_length;
  }
  const std::string_view text(line, line_length);
  size_t start = 0;
  for (int field = 0;; ++field) {
    const size_t end = std::min(text.find_first_of(",\t;", start), text.size());
    if (field == index) {
      std::string_view value = text.substr(start, end - start);
      if (!value.empty() && value.front() == '"') {
        value.remove_prefix(1);
        if (!value.empty() && value.back() == '"') value.remove_suffix(1);
      }
      if (out != nullptr) FRD_CopyText(out, kCsvFieldSize, FRD_CutText(value, kCsvFieldSize - 1));
      return static_cast<int>(start * 65536 + end);
    }
    if (end == text.size()) return -1;
    start = end + 1;
  }
}

uint32_t FRD_BitMask(uint32_t bit) { return bit <= 7 ? 128u >> bit : bit & ~255u; }

int64_t FRD_FindFirstByKey(double key, int64_t count, const KeyedRecord* table) {
  int64_t found = FindNarrowed(count, key, [table](int64_t i) { return table[i].key; });
  while (found > 0 && table[found - 1].key == key) --found;
  return found;
}

int FRD_SortByKey(int64_t count, KeyedRecord* table) {
  if (count >= 2) SortRecords(table, count, [](const KeyedRecord& r) { return r.key; });
  return 1;
}

int FRD_LogAndNotify(const NotifyContext* context, const char* message, const char* title,
                     unsigned flags) {
  const platform::DateTime now = platform::LocalTime();
  char line[kMessageSize];
  FRD_Format(line, sizeof line, "%04d%02d%02d %02d:%02d:%02d [%s] %s", now.year, now.month, now.day,
             now.hour, now.minute, now.second, title, message);
  FRD_WriteLog(kPerUser, kBuildTag, line, 0);
  if (context != nullptr && context->show_messages != 0) {
    platform::ShowMessageBox(nullptr, message, title, flags | platform::kTaskModal);
  }
  return 0;
}

}  // namespace zatlib
