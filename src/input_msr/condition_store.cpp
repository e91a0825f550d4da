#include "input_msr/condition_store.h"

#include "frd/control.h"
#include "input_msr/record_readers.h"
#include "network/workstore/record_copy.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr int64_t kStatusInterval = 10000;  // records between two status texts

}  // namespace

int BRN_MSR_SetTukoujData(WindowHandle owner, const char* control_file) {
  constexpr char kTitle[] = "File Error in BRN_MSR_SetTukoujData";
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) {
    ReportTaskModal(owner, "Logic Error in BRN_MSR_SetTukoujData",
                    "The CodeLength = %d is invalid !", code_length);
    return 0;
  }
  const PathText store_path = OutputPath(control_file, kRuleStoreFile);
  platform::RemoveFile(store_path.c_str());
  const int files = ControlInt(control_file, "TUKOUJ", "FILENUM", 0);
  if (files < 1) return 1;
  RecordWriter store;
  if (!store.Open(store_path.c_str(), sizeof(RuleStoreRecord), false)) {
    ReportTaskModal(owner, kTitle, "Can't open the rule storage %s !", store_path.c_str());
    return 0;
  }
  for (int i = 1; i <= files; ++i) {
    const PathText path = ControlFile(control_file, "TUKOUJ", i);
    LineSource data;
    if (!data.Open(path.c_str())) {
      ReportTaskModal(owner, kTitle, "Can't open TUKOUJ(%s) !", path.c_str());
      return 0;
    }
    const int64_t before = store.count();
    CopyProgress progress{"Reading Tukouj Record (%d)...", kStatusInterval, 0};
    const CopyResult copied = CopyRecords<RuleStoreRecord>(
        data, store, &progress, [&](Lines& lines, RuleStoreRecord* record) {
          return BRN_MSR_ReadTukoujRecord(lines, record, code_length) != 0 ? ReadResult::kRecord
                                                                           : ReadResult::kEnd;
        });
    if (copied == CopyResult::kReadFailed || copied == CopyResult::kNoMemory) {
      ReportUnread(owner, kTitle, path.c_str(), data.end());
    } else if (copied == CopyResult::kWriteFailed) {
      ReportTaskModal(owner, kTitle, "Can't write the RuleStorage (%s) at rec=%d !",
                      store_path.c_str(), static_cast<int>(store.failed_record() - before + 1));
    }
    if (copied != CopyResult::kDone) return 0;
  }
  store.Close();
  return 1;
}

int BRN_MSR_RemoveOneWayStore(const char* control_file) {
  platform::RemoveFile(OutputPath(control_file, kOneWayStoreFile).c_str());
  return 1;
}

}  // namespace zatlib
