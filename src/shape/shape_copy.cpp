#include "shape/shape_copy.h"

#include "frd/source_report.h"
#include "shape/shape_report.h"

namespace zatlib {
namespace {

constexpr int64_t kProgressRecords = 10000;  // records between two looks at the user

}  // namespace

Reading SourceProblem::SetNoMemory(const char* path) {
  kind = kMemoryError;
  return Set(kNoLineMemory, path);
}

ShapeCopy::ShapeCopy(const ShapeContext& context, const char* name, Source source)
    : context_(context), step_(Step::InFolder(nullptr, context.Folder, name)), source_(source) {
  if (source == Source::kMif) FRD_MakeMidPath(path(), mid_path_.text);
}

Outcome ShapeCopy::ShowStart(MessageText<int, int> text) const {
  if (context_.ShowProgress == 0) return Outcome::kDone;
  char status[128];
  FormatText<int, int>(status, sizeof status, text, context_.FileIndex + 1, context_.FileCount);
  return CancelledIf(BRN_SetStatus(status) == 0 || FRD_SetProgress(context_.ProgressStart) == 0);
}

bool ShapeCopy::IsTimeToShow(int64_t record) const {
  return context_.ShowProgress != 0 && record % kProgressRecords == 0;
}

Outcome ShapeCopy::Open() {
  const PathText data_path = step_.Path(kShapeDataFile);
  const PathText index_path = step_.Path(kShapeIndexFile);
  switch (output_.Open(data_path.c_str(), index_path.c_str(), context_.FileIndex > 0)) {
    case ShapeOutput::Opened::kNoData:
      return step_.FailModal(kFileError, "Can't open the Shape File (%s) !", data_path.c_str());
    case ShapeOutput::Opened::kNoIndex:
      return step_.FailModal(kFileError, "Can't open the shape index DBL file (%s) !",
                             index_path.c_str());
    case ShapeOutput::Opened::kBoth:
      break;
  }
  return Outcome::kDone;
}

Outcome ShapeCopy::FailWrite() const {
  using Part = FailedShapeWrite::Part;
  const FailedShapeWrite& failure = output_.failure();
  const int record = static_cast<int>(failure.record);
  if (failure.part == Part::kEntry) {
    return step_.FailModal(kFileError, "Can't write the shape index DBL file (%s) at rec=%d",
                           step_.Path(kShapeIndexFile).c_str(), record);
  }
  if (failure.part == Part::kTooLarge) {
    return step_.FailModal(kFileError, "The shape data exceeds 2 GiB, at rec=%d", record);
  }
  if (source_ == Source::kText) {
    return step_.FailModal(kFileError,
                           "Can't write the Shape File at rec=%d in Line ITEM section item=%d",
                           record, static_cast<int>(failure.item));
  }
  if (failure.line_object) {
    return step_.FailModal(kFileError, "Can't write the Shape File at rec=%d in Line ITEM section",
                           record);
  }
  return step_.FailModal(kFileError, "Can't write the Shape File at rec=%d in Poly ITEM section",
                         record);
}

Outcome ShapeCopy::Close(Reading reading, const LineSource& fields) {
  if (!output_.Finish()) return FailWrite();
  switch (reading) {
    case Reading::kBad: {
      const char* const text = problem_.text;
      return problem_.plain_box ? FailInPlainBox(step_, "%s", text)
                                : step_.FailModal(problem_.kind, "%s", text);
    }
    case Reading::kAtEnd:
      // What came before a field that is too long is in the files now.
      fields.TakeEnd();
      return Outcome::kDone;
    case Reading::kCancelled:
      return Outcome::kCancelled;
    case Reading::kNotWritten:
      break;
  }
  return Outcome::kFailed;  // a failed write has been reported above
}

int CodeTextLength(const ShapeContext& context) {
  return context.CodeLength == kIntegerCode ? kIntegerCode : kDecimalCode;
}

}  // namespace zatlib
