// The index of the shapes, finished: sorted, checked and added up (shape/shape_builder.h).
#include <cinttypes>

#include "frd/cancellable.h"
#include "frd/cp932.h"
#include "frd/record_file.h"
#include "platform/profile.h"
#include "shape/shape_copy.h"
#include "shape/shape_report.h"

namespace zatlib {
namespace {

Outcome LoadIndex(const Step& step, WholeFile* index) {
  const PathText path = step.Path(kShapeIndexFile);
  LoadSeen seen;
  switch (LoadFile(path.c_str(), index, {}, &seen)) {
    case FileResult::kDone:
      return Outcome::kDone;
    case FileResult::kNotOpened:
      return FailInPlainBox(step, "Can't open the shape index DBL file for input (%s) !",
                            path.c_str());
    case FileResult::kNoMemory:
      return step.FailModal(kMemoryError, "Can't allocate the memory for the Index size=%lld",
                            static_cast<long long>(seen.size));
    default:
      return step.FailModal(kFileError, "Can't read the index DBL file dwIO=%lld (%s)",
                            static_cast<long long>(seen.read), path.c_str());
  }
}

// What the sorted entries add up to.
struct ShapeTotals {
  int64_t points = 0;
  int32_t most_points = 0;
  FeatureCode link_with_most;
};

constexpr MessageText<const char*> kDuplicate =
    kCp932<u8"道路区間 %s が重複しています。重複を取り除いてください。">;

// Adds the entries up and makes sure that codes ascend.
Outcome AddUpEntries(const Step& step, const ShapeIndexEntry* entries, int64_t count,
                     int code_length, ShapeTotals* totals) {
  for (int64_t i = 0; i < count; ++i) {
    const ShapeIndexEntry& entry = entries[i];
    totals->points += entry.Count;
    if (i == 0 || entry.Count > totals->most_points) {
      totals->most_points = entry.Count;
      totals->link_with_most = entry.Code;
    }
    if (i == 0 || entries[i - 1].Code < entry.Code) continue;
    const FeatureCode before = entries[i - 1].Code;
    if (before == entry.Code) {
      return step.FailModalAs(kCp932<u8"道路区間データの重複エラー">, kDuplicate,
                              CodeText(entry.Code, code_length).c_str());
    }
    return step.FailModal(kLogicError, "Sort Error : [%d] %s / %s >= [%d] %s / %s",
                          static_cast<int>(i - 1), CodeText(before, kDecimalCode).c_str(),
                          CodeText(before, kIntegerCode).c_str(), static_cast<int>(i),
                          CodeText(entry.Code, kDecimalCode).c_str(),
                          CodeText(entry.Code, kIntegerCode).c_str());
  }
  return Outcome::kDone;
}

Outcome SaveIndex(const Step& step, const ShapeIndexEntry* entries, int64_t count) {
  const PathText path = step.Path(kShapeIndexFile);
  const FileResult saved = SaveRecords(path.c_str(), entries, count);
  if (saved == FileResult::kDone) return Outcome::kDone;
  if (saved == FileResult::kNotCreated) {
    return step.FailModal(kFileError, "Can't open the index DBL file for output (%s)",
                          path.c_str());
  }
  return step.FailModal(kFileError, "Can't write the index DBL file (%s)", path.c_str());
}

void SaveTotal(const char* info_path, const char* key, int64_t value) {
  char text[32];
  FRD_Format(text, sizeof text, "%" PRId64, value);
  platform::SaveProfileString(kShapeInfoSection, key, text, info_path);
}

void SaveTotals(const char* info_path, int64_t count, const ShapeTotals& totals) {
  SaveTotal(info_path, "NumRec", count);
  SaveTotal(info_path, "NumShape", totals.points);
  // In the decimal form whatever the code length: readers of the file never expected another.
  platform::SaveProfileString(kShapeInfoSection, "MaxShapeLink",
                              CodeText(totals.link_with_most, kDecimalCode).c_str(), info_path);
  SaveTotal(info_path, "MaxNumShape", totals.most_points);
}

Outcome FinishIndex(const ShapeContext& context) {
  const Step step = Step::InFolder(nullptr, context.Folder, "SHAPE_FinishShapeIndex");
  if (context.ShowProgress != 0) {
    if (BRN_SetStatus("Finishing Shape Index...") == 0) return Outcome::kCancelled;
    if (FRD_SetProgress(context.ProgressStart) == 0) return Outcome::kCancelled;
  }
  WholeFile index;
  Outcome outcome = LoadIndex(step, &index);
  if (!IsDone(outcome)) return outcome;
  auto* const entries = index.records<ShapeIndexEntry>();
  const int64_t count = index.count<ShapeIndexEntry>();
  const auto code_of = [](const ShapeIndexEntry& entry) { return entry.Code.AsDouble(); };
  if (SortUnlessCancelled(entries, count, code_of) == 0) return Outcome::kCancelled;
  ShapeTotals totals;
  outcome = AddUpEntries(step, entries, count, CodeTextLength(context), &totals);
  if (IsDone(outcome)) outcome = SaveIndex(step, entries, count);
  if (IsDone(outcome)) SaveTotals(step.Path(kShapeInfoFile).c_str(), count, totals);
  return outcome;
}

}  // namespace

int SHAPE_FinishShapeIndex(ShapeContext* cs) { return AsResult(FinishIndex(*cs)); }

}  // namespace zatlib
