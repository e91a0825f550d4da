#include "input_zat/traffic_store.h"

#include "frd/step.h"
#include "input_zat/record_readers.h"
#include "network/workstore/code_length.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/work_stores.h"

namespace zatlib {
namespace {

constexpr int64_t kStatusInterval = 10000;  // records between two status texts

// What differs between the two steps.
template <typename Record>
struct TrafficKind {
  const char* step;
  const char* title;
  const char* section;
  const char* store;
  int (*read)(Lines& lines, Record* record, int code_length);
  MessageText<const char*> data_not_opened;
  MessageText<int> status;
  MessageText<const char*, int> not_written;  // store, record
  MessageText<const char*, int> end_line;     // result, records
};

// Appends one source file to the store, which is open.
template <typename Record>
Outcome AppendTraffic(const Step& step, const TrafficKind<Record>& kind, const PathText& path,
                      int code_length, RecordWriter& store, CopyProgress* progress) {
  LineSource data;
  if (!data.Open(path.c_str())) {
    return step.FailModal(kFileError, kind.data_not_opened, path.c_str());
  }
  const CopyResult copied =
      CopyRecords<Record>(data, store, progress, [&](Lines& lines, Record* record) {
        return AsReadResult(kind.read(lines, record, code_length));
      });
  if (IsUnread(copied)) {
    return FailUnread(step, path.c_str(), data.end());
  }
  if (copied == CopyResult::kWriteFailed) {
    return step.FailModal(kFileError, kind.not_written, step.Path(kind.store).c_str(),
                          static_cast<int>(store.failed_record()));
  }
  return OutcomeOf(copied);
}

template <typename Record>
int RunTrafficStep(WindowHandle owner, const char* control_file, const TrafficKind<Record>& kind) {
  const Step step(owner, control_file, kind.step);
  if (!IsDone(step.Begin(kind.title))) return 0;
  int code_length = 0;
  if (!IsDone(TakeCodeLengthModal(step, &code_length))) return 0;
  const int files = ControlInt(control_file, kind.section, "FILENUM", 0);
  if (files < 1) return 1;
  const PathText store_path = step.Path(kind.store);
  RecordWriter store;
  if (!store.Open(store_path.c_str(), sizeof(Record), false)) {
    return AsResult(
        step.FailModal(kFileError, "Can't open the rule storage %s !", store_path.c_str()));
  }
  Outcome outcome = Outcome::kDone;
  CopyProgress progress{kind.status, kStatusInterval, 0};
  for (int i = 1; i <= files && IsDone(outcome); ++i) {
    outcome = AppendTraffic(step, kind, ControlFile(control_file, kind.section, i), code_length,
                            store, &progress);
  }
  store.Close();
  const int result = AsResult(outcome);
  LogText(kind.end_line, ResultText(result), static_cast<int>(store.count()));
  return result;
}

}  // namespace

int BRN_ZAT_SetNodeTrfData(WindowHandle owner, const char* control_file) {
  static constexpr TrafficKind<RuleStoreRecord> kKind = {
      .step = "BRN_ZAT_SetNodeTrfData",
      .title = "Setting Node Traffic Rules...",
      .section = "NODETRF",
      .store = kRuleStoreFile,
      .read = BRN_ZAT_ReadNodeTrf,
      .data_not_opened = "Can't open NodeTrf(%s) !",
      .status = "Reading NodeTrf Record (%d)...",
      .not_written = "Can't write the RuleStorage (%s) at rec=%d !",
      .end_line = "Setting Node Traffic Rules end %s : set count = %d"};
  return RunTrafficStep(owner, control_file, kKind);
}

int BRN_ZAT_SetLinkTrfData(WindowHandle owner, const char* control_file) {
  static constexpr TrafficKind<OneWayStoreRecord> kKind = {
      .step = "BRN_ZAT_SetLinkTrfData",
      .title = "Setting Link Traffic Rules...",
      .section = "LINKTRF",
      .store = kOneWayStoreFile,
      .read = BRN_ZAT_ReadLinkTrf,
      .data_not_opened = "Can't open LinkTrf(%s) !",
      .status = "Reading LinkTrf Record (%d)...",
      .not_written = "Can't write the OneWayStorage (%s) at rec=%d !",
      .end_line = "Setting Link Traffic Rules end %s : set count = %d"};
  return RunTrafficStep(owner, control_file, kKind);
}

}  // namespace zatlib
