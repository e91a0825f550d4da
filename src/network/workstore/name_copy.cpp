#include "network/workstore/name_copy.h"

#include "frd/control.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/source_fields.h"

namespace zatlib {

bool OpenNameStore(WindowHandle owner, const char* control_file, const NameStoreTexts& texts,
                   RecordWriter* store) {
  const PathText path = OutputPath(control_file, texts.file);
  if (store->Open(path.c_str(), sizeof(NameStoreRecord), false)) return true;
  ReportTaskModal(owner, texts.title, texts.store_error, path.c_str());
  return false;
}

int CopyNames(WindowHandle owner, const char* control_file, const NameStoreTexts& texts,
              const NameSource& source, RecordWriter& store, int64_t* count) {
  const int code_length = BRN_GetCodeLength(control_file);
  const int files = ControlInt(control_file, source.section, "FILENUM", 0);
  const int64_t before = store.count();
  int result = 1;
  for (int i = 1; i <= files && result != 0; ++i) {
    PathText path = ControlFile(control_file, source.section, i);
    if (source.derive_mid) FRD_MakeMidPath(path.c_str(), path.text);
    LineSource data;
    if (!data.Open(path.c_str())) {
      ReportTaskModal(owner, source.data_title, source.data_error, i, path.c_str());
      result = 0;
      break;
    }
    CopyProgress progress;
    const CopyResult copied = CopyRecords<NameStoreRecord>(
        data, store, &progress, [&](Lines& lines, NameStoreRecord* record) {
          if (lines.SkipIf(
                  [&](std::string_view line) { return IsNarrow(line, source.name_column); })) {
            return ReadResult::kUnwanted;
          }
          if (source.read(lines, record, code_length) == 0) return ReadResult::kEnd;
          return record->Name[0] != 0 ? ReadResult::kRecord : ReadResult::kUnwanted;
        });
    if (copied == CopyResult::kReadFailed || copied == CopyResult::kNoMemory) {
      ReportUnread(owner, texts.title, path.c_str(), data.end());
    } else if (copied == CopyResult::kWriteFailed) {
      ReportTaskModal(owner, texts.title, texts.write_error,
                      OutputPath(control_file, texts.file).c_str(), i);
    }
    if (copied != CopyResult::kDone) result = 0;
  }
  *count = store.count() - before;
  return result;
}

}  // namespace zatlib
