// The shapes of a text file (shape/shape_builder.h).
#include <algorithm>
#include <string_view>

#include "frd/fields.h"
#include "frd/record_stream.h"
#include "network/workstore/number_scan.h"
#include "platform/profile.h"
#include "shape/shape_copy.h"

namespace zatlib {
namespace {

constexpr size_t kInfoLineSize = 512;  // a value of shapedat.inf
constexpr char kDefaultCharset[] = "Charset \"WindowsJapanese\"";
constexpr char kDefaultCoordSys[] = "CoordSys Earth Projection 1, 1015";

// A line of a shape text. Whether it is a point or the head of a block tells the block before it,
// so it is read as what it looks like, and once more where that was wrong.
struct ShapeLine {
  enum class Kind : uint8_t { kText, kPoint, kHead };
  ShapePoint point;  // of kPoint
  FeatureCode code;  // of kHead
  int32_t count;     // of kHead
  Kind kind;
  uint32_t length;
  const char* begin;

  std::string_view text() const { return {begin, length}; }
};

// Takes two plain numbers of degrees.
bool TakePoint(const char* p, ShapePoint* point) {
  p = TakeCoordinate(p, &point->X);
  if (p == nullptr || (*p != ',' && *p != '\t')) return false;
  p = TakeCoordinate(p + 1, &point->Y);
  return p != nullptr && IsDelimiter(*p);
}

// Takes a plain code and a plain number of points.
bool TakeHead(const char* p, int code_length, ShapeLine* line) {
  const bool decimal = code_length == kDecimalCode;
  const DigitRun code = TakeDigits(p);
  if (code.end == p || code.end - p > (decimal ? 15 : 18)) return false;
  if (*code.end != ',' && *code.end != '\t') return false;
  const DigitRun count = TakeDigits(code.end + 1);
  if (count.end - code.end > 10 || !IsDelimiter(*count.end)) return false;
  const auto number = static_cast<int64_t>(code.value);
  line->code = decimal ? FeatureCode::FromDouble(static_cast<double>(number))
                       : FeatureCode::FromInteger(number);
  line->count = static_cast<int32_t>(count.value);
  return true;
}

// The first two fields of a line.
struct FieldPair {
  std::string_view first;
  std::string_view second;
};

FieldPair FirstFields(std::string_view line, Lines* lines) {
  FieldPair pair;
  FieldCursor fields(line, lines);
  fields.Next(&pair.first);
  fields.Next(&pair.second);
  return pair;
}

// Reads a line of a text file by the code length.
struct ReadShapeLine {
  int code_length;

  ReadResult operator()(Lines& lines, ShapeLine* line) const {
    std::string_view text;
    if (lines.Next(kLineSize, &text) != LineResult::kLine) return ReadResult::kEnd;
    line->begin = text.data();
    line->length = static_cast<uint32_t>(text.size());
    if (TakePoint(line->begin, &line->point)) {
      line->kind = ShapeLine::Kind::kPoint;
    } else if (TakeHead(line->begin, code_length, line)) {
      line->kind = ShapeLine::Kind::kHead;
    } else {
      line->kind = ShapeLine::Kind::kText;
      FirstFields(text, &lines);
      if (lines.result() == LineResult::kLongField) return ReadResult::kEnd;
    }
    return ReadResult::kRecord;
  }
};

ShapePoint PointOf(const ShapeLine& line) {
  if (line.kind == ShapeLine::Kind::kPoint) return line.point;
  const FieldPair fields = FirstFields(line.text(), nullptr);
  return {FRD_ParseFixed6(fields.first), FRD_ParseFixed6(fields.second)};
}

// The blocks of a text file.
class TextCopy {
 public:
  TextCopy(ShapeCopy& copy, LineSource& text)
      : copy_(copy), text_(text), lines_(text, ReadShapeLine{copy.code_length()}) {}

  Reading Run();

 private:
  Reading CopyBlock(ShapeLine head);

  ShapeCopy& copy_;
  LineSource& text_;
  RecordCursor<ShapeLine, ReadShapeLine> lines_;
  int64_t record_ = 0;  // the one being copied, from 1
};

Reading TextCopy::Run() {
  while (true) {
    ++record_;
    if (!lines_.More()) {
      if (text_.end() == SourceEnd::kNoMemory) return copy_.problem().SetNoMemory(copy_.path());
      if (text_.end() == SourceEnd::kNotRead) {
        return copy_.problem().Set("Can't read the file (%s) !", copy_.path());
      }
      return Reading::kAtEnd;
    }
    const ShapeLine head = *lines_.here();
    lines_.Pass(1);
    const Reading reading = CopyBlock(head);
    // A field that is too long leaves its block without an end.
    if (reading != Reading::kAtEnd || text_.end() == SourceEnd::kLongField) return reading;
    if (copy_.IsTimeToShow(record_) && BRN_SetStatus(nullptr) == 0) return Reading::kCancelled;
  }
}

// Copies the points behind a head as the shape of a link; kAtEnd when the block is whole.
Reading TextCopy::CopyBlock(ShapeLine head) {
  if (head.kind != ShapeLine::Kind::kHead) {
    const FieldPair fields = FirstFields(head.text(), nullptr);
    head.code = ParseCode(fields.first, copy_.code_length());
    head.count = FRD_ParseInt(fields.second);
  }
  ShapeOutput& output = copy_.output();
  if (!output.BeginRecord(head.code, false)) return Reading::kNotWritten;
  for (int32_t item = 0; item < head.count;) {
    if (!lines_.More()) {
      if (text_.end() == SourceEnd::kLongField) return Reading::kAtEnd;
      if (text_.end() == SourceEnd::kNoMemory) return copy_.problem().SetNoMemory(copy_.path());
      return copy_.problem().Set("Can't read the Item Data (%s) at rec=%d item=%d", copy_.path(),
                                 ShownAs<int>(record_), static_cast<int>(item + 1));
    }
    ShapePoint points[64];
    const auto part = static_cast<int32_t>(
        std::min({int64_t{head.count} - item, lines_.ready(), std::ssize(points)}));
    for (int32_t i = 0; i < part; ++i) points[i] = PointOf(lines_.here()[i]);
    if (!output.AddPoints(points, part)) return Reading::kNotWritten;
    lines_.Pass(part);
    item += part;
  }
  output.EndRecord(head.count);
  return Reading::kAtEnd;
}

// A header line of shapedat.inf, or the default, written back.
void KeepInfoLine(const char* info_path, const char* key, const char* default_line) {
  char line[kInfoLineSize];
  platform::ReadProfileString(kShapeInfoSection, key, default_line, line, sizeof line, info_path);
  platform::SaveProfileString(kShapeInfoSection, key, line, info_path);
}

Outcome BuildFromText(const ShapeContext& context) {
  ShapeCopy copy(context, "SHAPE_CreateShapeFileFromZatText", ShapeCopy::Source::kText);
  const Outcome shown = copy.ShowStart("Creating Shape Data...\r\n%d/%d");
  if (!IsDone(shown)) return shown;
  const PathText info_path = copy.step().Path(kShapeInfoFile);
  KeepInfoLine(info_path.c_str(), "Charset", kDefaultCharset);
  KeepInfoLine(info_path.c_str(), "CoordSys", kDefaultCoordSys);
  LineSource text;
  if (!text.Open(copy.path())) {
    return copy.step().FailModal(kFileError, "Can't open the MIF file (%s) !", copy.path());
  }
  const Outcome opened = copy.Open();
  if (!IsDone(opened)) return opened;
  return copy.Close(TextCopy(copy, text).Run(), text);
}

}  // namespace

int SHAPE_CreateShapeFileFromZatText(ShapeContext* cs) { return AsResult(BuildFromText(*cs)); }

}  // namespace zatlib
