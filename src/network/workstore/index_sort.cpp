#include "network/workstore/index_sort.h"

#include "frd/cancellable.h"
#include "frd/control.h"

namespace zatlib {
namespace {

// Two keys in the wrong order, each with the number of its record.
using SortText = MessageText<double, long, double, long>;

template <typename Record, typename KeyOf>
int SortAndVerify(WindowHandle owner, const char* title, SortText text, int64_t count,
                  Record* records, KeyOf key_of) {
  if (count < 2) return 1;
  if (SortUnlessCancelled(records, count, key_of) == 0) return 0;
  for (int64_t i = 1; i < count; ++i) {
    if (key_of(records[i - 1]) > key_of(records[i])) {
      char message[kMessageSize];
      FormatText(message, sizeof message, text, key_of(records[i - 1]), static_cast<long>(i - 1),
                 key_of(records[i]), static_cast<long>(i));
      BRN_ShowError(owner, message, title, platform::kErrorIcon);
    }
  }
  return 1;
}

}  // namespace

int BRN_SortIndex(WindowHandle owner, int64_t count, FeatureCode* codes) {
  if (BRN_SetStatus("Sorting The Index") == 0) return 0;
  return SortAndVerify(owner, "Sort Error", "%.20e(Rec=%ld) > %.20e(Rec=%ld)", count, codes,
                       [](FeatureCode code) { return code.AsDouble(); });
}

int BRN_SortCommonIndex(int64_t count, CodeIndexRecord* records) {
  if (BRN_SetStatus("Sorting The Common Index") == 0) return 0;
  return SortAndVerify(nullptr, "Common Index Sort Error!", "%.20e(Rec=%ld) > %.20e(Rec=%ld) !",
                       count, records,
                       [](const CodeIndexRecord& record) { return CodeOf(record).AsDouble(); });
}

}  // namespace zatlib
