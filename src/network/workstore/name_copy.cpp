#include "network/workstore/name_copy.h"

#include "network/workstore/feature_code.h"
#include "network/workstore/record_copy.h"
#include "network/workstore/source_fields.h"

namespace zatlib {

Outcome NameStore::Open() {
  const PathText path = step_.Path(texts_.file);
  if (store_.Open(path.c_str(), sizeof(NameStoreRecord), false)) return Outcome::kDone;
  return step_.FailModal(kFileError, texts_.not_opened, path.c_str());
}

Outcome NameStore::Append(const NameSource& source, int64_t* count) {
  const int code_length = BRN_GetCodeLength(step_.control_file());
  const int files = ControlInt(step_.control_file(), source.section, "FILENUM", 0);
  const int64_t before = store_.count();
  Outcome outcome = Outcome::kDone;
  for (int i = 1; i <= files && IsDone(outcome); ++i) {
    outcome = AppendFile(source, i, code_length);
  }
  *count = store_.count() - before;
  return outcome;
}

Outcome NameStore::AppendFile(const NameSource& source, int number, int code_length) {
  PathText path = ControlFile(step_.control_file(), source.section, number);
  if (source.derive_mid) FRD_MakeMidPath(path.c_str(), path.text);
  LineSource data;
  if (!data.Open(path.c_str())) {
    return source.title_names_step
               ? step_.FailModal(kFileError, source.not_opened, number, path.c_str())
               : step_.FailModalAs(kFileError, source.not_opened, number, path.c_str());
  }
  CopyProgress progress;
  const CopyResult copied = CopyRecords<NameStoreRecord>(
      data, store_, &progress, [&](Lines& lines, NameStoreRecord* record) {
        if (lines.SkipIf(
                [&](std::string_view line) { return IsNarrow(line, source.name_column); })) {
          return ReadResult::kUnwanted;
        }
        if (source.read(lines, record, code_length) == 0) return ReadResult::kEnd;
        return record->Name[0] != 0 ? ReadResult::kRecord : ReadResult::kUnwanted;
      });
  if (IsUnread(copied)) {
    return FailUnread(step_, path.c_str(), data.end());
  }
  if (copied == CopyResult::kWriteFailed) {
    return step_.FailModal(kFileError, texts_.not_written, step_.Path(texts_.file).c_str(), number);
  }
  return OutcomeOf(copied);
}

Outcome MakeNameStore(const Step& step, const NameStoreTexts& texts, const NameSource& source) {
  NameStore store(step, texts);
  Outcome outcome = store.Open();
  if (!IsDone(outcome)) return outcome;
  int64_t count = 0;
  outcome = store.Append(source, &count);
  store.Close();
  return outcome;
}

}  // namespace zatlib
