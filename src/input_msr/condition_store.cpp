#include "input_msr/condition_store.h"

#include "frd/step.h"
#include "input_msr/record_readers.h"
#include "network/workstore/code_length.h"
#include "network/workstore/record_copy.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr int64_t kStatusInterval = 10000;  // records between two status texts

// Appends one source file to the store, which is open.
Outcome AppendConditions(const Step& step, int number, int code_length, RecordWriter& store) {
  const PathText path = ControlFile(step.control_file(), "TUKOUJ", number);
  LineSource data;
  if (!data.Open(path.c_str())) {
    return step.FailModal(kFileError, "Can't open TUKOUJ(%s) !", path.c_str());
  }
  const int64_t before = store.count();
  CopyProgress progress{"Reading Tukouj Record (%d)...", kStatusInterval, 0};
  const CopyResult copied = CopyRecords<RuleStoreRecord>(
      data, store, &progress, [code_length](Lines& lines, RuleStoreRecord* record) {
        return AsReadResult(BRN_MSR_ReadTukoujRecord(lines, record, code_length));
      });
  if (IsUnread(copied)) {
    return FailUnread(step, path.c_str(), data.end());
  }
  if (copied == CopyResult::kWriteFailed) {
    return step.FailModal(kFileError, "Can't write the RuleStorage (%s) at rec=%d !",
                          step.Path(kRuleStoreFile).c_str(),
                          static_cast<int>(store.failed_record() - before + 1));
  }
  return OutcomeOf(copied);
}

}  // namespace

int BRN_MSR_SetTukoujData(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "BRN_MSR_SetTukoujData");
  int code_length = 0;
  if (!IsDone(TakeCodeLengthModal(step, &code_length))) return 0;
  const PathText store_path = step.Path(kRuleStoreFile);
  platform::RemoveFile(store_path.c_str());
  const int files = ControlInt(control_file, "TUKOUJ", "FILENUM", 0);
  if (files < 1) return 1;
  RecordWriter store;
  if (!store.Open(store_path.c_str(), sizeof(RuleStoreRecord), false)) {
    return AsResult(
        step.FailModal(kFileError, "Can't open the rule storage %s !", store_path.c_str()));
  }
  for (int i = 1; i <= files; ++i) {
    if (!IsDone(AppendConditions(step, i, code_length, store))) return 0;
  }
  store.Close();
  return 1;
}

int BRN_MSR_RemoveOneWayStore(const char* control_file) {
  platform::RemoveFile(OutputPath(control_file, kOneWayStoreFile).c_str());
  return 1;
}

}  // namespace zatlib
