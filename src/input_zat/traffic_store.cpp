#include "input_zat/traffic_store.h"

#include "frd/control.h"
#include "frd/log.h"
#include "input_zat/record_readers.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/work_stores.h"

namespace zatlib {
namespace {

constexpr int64_t kStatusInterval = 10000;  // records between two status texts

// What differs between the two steps.
template <typename Record>
struct TrafficStep {
  const char* title;
  const char* section;
  const char* store;
  int (*read)(Lines& lines, Record* record, int code_length);
  const char* store_error;  // with %s (store)
  const char* open_error;   // with %s (path)
  const char* progress;     // with %d (running number)
  const char* write_error;  // with %s (store) and %d (record)
  const char* end_line;     // with %s (result) and %d (count)
  const char* logic_title;
  const char* file_title;
};

template <typename Record>
int RunTrafficStep(WindowHandle owner, const char* control_file, const TrafficStep<Record>& step) {
  if (BRN_BeginStep(step.title) == 0) return 0;
  const int code_length = BRN_GetCodeLength(control_file);
  if (!IsValidCodeLength(code_length)) {
    ReportTaskModal(owner, step.logic_title, "The CodeLength = %d is invalid !", code_length);
    return 0;
  }
  const int files = ControlInt(control_file, step.section, "FILENUM", 0);
  if (files < 1) return 1;
  const PathText store_path = OutputPath(control_file, step.store);
  RecordWriter store;
  if (!store.Open(store_path.c_str(), sizeof(Record), false)) {
    ReportTaskModal(owner, step.file_title, step.store_error, store_path.c_str());
    return 0;
  }
  int result = 1;
  CopyProgress progress{step.progress, kStatusInterval, 0};
  for (int i = 1; i <= files && result != 0; ++i) {
    const PathText path = ControlFile(control_file, step.section, i);
    LineSource data;
    if (!data.Open(path.c_str())) {
      ReportTaskModal(owner, step.file_title, step.open_error, path.c_str());
      result = 0;
      break;
    }
    const CopyResult copied =
        CopyRecords<Record>(data, store, &progress, [&](Lines& lines, Record* record) {
          return step.read(lines, record, code_length) != 0 ? ReadResult::kRecord
                                                            : ReadResult::kEnd;
        });
    if (copied == CopyResult::kReadFailed || copied == CopyResult::kNoMemory) {
      ReportUnread(owner, step.file_title, path.c_str(), data.end());
    } else if (copied == CopyResult::kWriteFailed) {
      ReportTaskModal(owner, step.file_title, step.write_error, store_path.c_str(),
                      static_cast<int>(store.failed_record()));
    }
    if (copied != CopyResult::kDone) result = 0;
  }
  store.Close();
  LogBuild(step.end_line, ResultText(result), static_cast<int>(store.count()));
  return result;
}

}  // namespace

int BRN_ZAT_SetNodeTrfData(WindowHandle owner, const char* control_file) {
  static const TrafficStep<RuleStoreRecord> kStep = {
      "Setting Node Traffic Rules...",
      "NODETRF",
      kRuleStoreFile,
      BRN_ZAT_ReadNodeTrf,
      "Can't open the rule storage %s !",
      "Can't open NodeTrf(%s) !",
      "Reading NodeTrf Record (%d)...",
      "Can't write the RuleStorage (%s) at rec=%d !",
      "Setting Node Traffic Rules end %s : set count = %d",
      "Logic Error in BRN_ZAT_SetNodeTrfData",
      "File Error in BRN_ZAT_SetNodeTrfData"};
  return RunTrafficStep(owner, control_file, kStep);
}

int BRN_ZAT_SetLinkTrfData(WindowHandle owner, const char* control_file) {
  static const TrafficStep<OneWayStoreRecord> kStep = {
      "Setting Link Traffic Rules...",
      "LINKTRF",
      kOneWayStoreFile,
      BRN_ZAT_ReadLinkTrf,
      "Can't open the rule storage %s !",
      "Can't open LinkTrf(%s) !",
      "Reading LinkTrf Record (%d)...",
      "Can't write the OneWayStorage (%s) at rec=%d !",
      "Setting Link Traffic Rules end %s : set count = %d",
      "Logic Error in BRN_ZAT_SetLinkTrfData",
      "File Error in BRN_ZAT_SetLinkTrfData"};
  return RunTrafficStep(owner, control_file, kStep);
}

}  // namespace zatlib
