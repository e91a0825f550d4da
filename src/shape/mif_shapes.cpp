// The shapes of a MIF file, by the codes in its MID file (shape/shape_builder.h).
#include <algorithm>
#include <string_view>

#include "frd/cancellable.h"
#include "frd/fields.h"
#include "frd/mif_text.h"
#include "frd/record_stream.h"
#include "frd/source_report.h"
#include "network/workstore/number_scan.h"
#include "shape/shape_copy.h"

namespace zatlib {
namespace {

constexpr uint32_t kMifLineSize = 1024;  // bytes of a MIF line, its CR included

// The two ways in which MID records give a code.
struct CodeFields {
  std::string_view number;
  std::string_view area;
};
using CodeReader = FeatureCode (*)(const CodeFields& fields, int code_length);

FeatureCode WholeCode(const CodeFields& fields, int code_length) {
  return ParseCode(fields.number, code_length);
}

FeatureCode CodeInArea(const CodeFields& fields, int code_length) {
  const int64_t low = FRD_ParseInt64(fields.number);
  const int high = FRD_ParseInt(fields.area);
  if (code_length != kIntegerCode) {
    return ComposeCode(high, static_cast<double>(low), kDecimalCode);
  }
  // The number is an integer here, so that all of its 16 digits count.
  return {ComposeCode(high, 0.0, kIntegerCode).bits + static_cast<uint64_t>(low)};
}

// Takes the fields of a code from a line of the MID. Columns behind them are not looked at.
CodeFields TakeCodeFields(std::string_view line, Lines& mid, const ShapeColumns& columns) {
  CodeFields taken;
  FieldCursor fields(line, &mid);
  for (int column = 1; column <= std::max(columns.Code, columns.Area); ++column) {
    std::string_view field;
    fields.Next(&field);
    if (column == columns.Code) taken.number = field;
    if (column == columns.Area) taken.area = field;
  }
  return taken;
}

// Reads the code of a line of the MID file.
struct ReadCode {
  int code_length;
  ShapeColumns columns;
  CodeReader code_of;

  ReadResult operator()(Lines& lines, FeatureCode* code) const {
    std::string_view line;
    if (lines.Next(kLineSize, &line) != LineResult::kLine) return ReadResult::kEnd;
    *code = code_of(TakeCodeFields(line, lines, columns), code_length);
    return lines.result() == LineResult::kLongField ? ReadResult::kEnd : ReadResult::kRecord;
  }
};

// A line of a MIF file: a point of a Pline object, or whatever else its text says.
struct MifLine {
  ShapePoint point;
  bool is_point;
  uint32_t length;
  const char* begin;

  std::string_view text() const { return {begin, length}; }
};

ReadResult ReadMifLine(Lines& lines, MifLine* line) {
  std::string_view text;
  if (lines.Next(kMifLineSize, &text) != LineResult::kLine) return ReadResult::kEnd;
  line->begin = text.data();
  line->length = static_cast<uint32_t>(text.size());
  const char* p = TakeCoordinate(text.data(), &line->point.X);
  line->is_point = false;
  if (p != nullptr && *p == ' ') {
    p = TakeCoordinate(p + 1, &line->point.Y);
    line->is_point = p != nullptr && (p == text.data() + text.size() || *p == ' ');
  }
  return ReadResult::kRecord;
}

ShapePoint PointOf(const MifLine& line) {
  if (line.is_point) return line.point;
  std::string_view text = line.text();
  text = text.substr(0, text.find('\0'));
  const size_t blank = text.find(' ');
  std::string_view x = text;
  std::string_view y;
  if (blank != std::string_view::npos) {
    x = text.substr(0, blank);
    y = text.substr(blank + 1);
    y = y.substr(0, y.find(' '));
  }
  return {FRD_ParseFixed6(x), FRD_ParseFixed6(y)};
}

// The next field of a Line object, which blanks separate like commas; empty behind the last one.
std::string_view NextLineField(std::string_view* rest) {
  const size_t end = std::min(rest->find_first_of(" ,\t;"), rest->size());
  std::string_view field = rest->substr(0, end);
  rest->remove_prefix(std::min(end + 1, rest->size()));
  if (!field.empty() && field.front() == '"') field.remove_prefix(1);
  return field;
}

// The records of a MID file with the objects of its MIF file.
class MifCopy {
 public:
  MifCopy(ShapeCopy& copy, LineSource& mif, LineSource& mid, CodeReader code_of)
      : copy_(copy),
        mif_(mif),
        mid_(mid),
        lines_(mif, ReadMifLine),
        codes_(mid, ReadCode{copy.code_length(), copy.context().Columns, code_of}) {}

  Reading Run();

 private:
  Reading CopyObject(FeatureCode code);
  Reading CopyPline(int32_t count);
  Reading CopyLine(std::string_view line);
  Outcome ShowRecord();
  Outcome CountMidRecords();

  // The record as messages name it.
  int record() const { return static_cast<int>(record_); }

  ShapeCopy& copy_;
  LineSource& mif_;
  LineSource& mid_;
  RecordCursor<MifLine, ReadResult (*)(Lines&, MifLine*)> lines_;
  RecordCursor<FeatureCode, ReadCode> codes_;
  int64_t record_ = 0;        // the one being copied, from 1
  int64_t mid_records_ = -1;  // of the whole MID file; counted when somebody looks
};

Reading MifCopy::Run() {
  while (true) {
    ++record_;
    if (!codes_.More()) {
      const SourceEnd end = mid_.end();
      if (end == SourceEnd::kEnd || end == SourceEnd::kLongField) return Reading::kAtEnd;
      if (end == SourceEnd::kNoMemory) return copy_.problem().SetNoMemory(copy_.mid_path());
      return copy_.problem().Set("Can't read the Mid File (%s) at rec=%d", copy_.mid_path(),
                                 record());
    }
    const FeatureCode code = *codes_.here();
    codes_.Pass(1);
    const Reading reading = CopyObject(code);
    if (reading != Reading::kAtEnd) return reading;
    if (copy_.IsTimeToShow(record_) && !IsDone(ShowRecord())) return Reading::kCancelled;
  }
}

// Copies the next object of the MIF as the shape of a link; kAtEnd when it is whole.
Reading MifCopy::CopyObject(FeatureCode code) {
  std::string_view line;
  bool is_line = false;
  for (bool found = false; !found; lines_.Pass(1)) {
    if (!lines_.More()) {
      if (mif_.end() == SourceEnd::kNoMemory) return copy_.problem().SetNoMemory(copy_.path());
      return copy_.problem().Set("Can't read the MIF file (%s) at rec=%d", copy_.path(), record());
    }
    if (lines_.here()->is_point) continue;
    is_line = lines_.here()->text().starts_with("Line");
    found = is_line || lines_.here()->text().starts_with("Pline");
    // The object's first line is good until the line behind it is asked for.
    line = lines_.here()->text();
  }
  if (!copy_.output().BeginRecord(code, is_line)) return Reading::kNotWritten;
  int32_t count = 2;
  if (!is_line) {
    constexpr size_t kBehindPline = 6;  // the word and one blank
    count = line.size() > kBehindPline ? FRD_ParseInt(line.substr(kBehindPline)) : 0;
  }
  const Reading reading = is_line ? CopyLine(line) : CopyPline(count);
  if (reading == Reading::kAtEnd) copy_.output().EndRecord(count);
  return reading;
}

Reading MifCopy::CopyPline(int32_t count) {
  for (int32_t item = 0; item < count;) {
    if (!lines_.More()) {
      if (mif_.end() == SourceEnd::kNoMemory) return copy_.problem().SetNoMemory(copy_.path());
      return copy_.problem().Set("Can't read the MIF file (%s) at rec=%d in ITEM section",
                                 copy_.path(), record());
    }
    ShapePoint points[64];
    const auto part =
        static_cast<int32_t>(std::min({int64_t{count} - item, lines_.ready(), std::ssize(points)}));
    int32_t good = 0;
    for (; good < part; ++good) {
      points[good] = PointOf(lines_.here()[good]);
      // Also what the style lines behind an object give that has fewer points than it says.
      if (points[good].X == 0 && points[good].Y == 0) break;
    }
    if (!copy_.output().AddPoints(points, good)) return Reading::kNotWritten;
    if (good < part) {
      return copy_.problem().Set("The Record of MIF file is invalid, at rec=%d in ITEM section",
                                 record());
    }
    lines_.Pass(part);
    item += part;
  }
  return Reading::kAtEnd;
}

Reading MifCopy::CopyLine(std::string_view line) {
  line = line.substr(0, line.find_first_of(std::string_view("\0\r\n", 3)));
  NextLineField(&line);  // the word itself
  for (int i = 0; i < 2; ++i) {
    ShapePoint point;
    point.X = FRD_ParseFixed6(NextLineField(&line));
    point.Y = FRD_ParseFixed6(NextLineField(&line));
    if (point.X == 0 || point.Y == 0) {
      copy_.problem().plain_box = true;
      return copy_.problem().Set("The MIF record value is Invalid, at rec=%d in Line shape !",
                                 record());
    }
    if (!copy_.output().AddPoint(point)) return Reading::kNotWritten;
  }
  return Reading::kAtEnd;
}

// Counts the records of the MID, 0 when it cannot be opened.
Outcome MifCopy::CountMidRecords() {
  LineSource mid;
  std::string_view line;
  int64_t count = 0;
  if (mid.Open(copy_.mid_path())) {
    while (FRD_ReadLine(mid, kLineSize, &line) != 0) {
      if (CancelledAt(count++)) return Outcome::kCancelled;
    }
  }
  mid_records_ = count;
  return Outcome::kDone;
}

// Shows how far the file is.
Outcome MifCopy::ShowRecord() {
  if (!FRD_IsDialogOpen()) return CancelledIf(BRN_SetStatus(nullptr) == 0);
  if (mid_records_ < 0 && !IsDone(CountMidRecords())) return Outcome::kCancelled;
  const ShapeContext& context = copy_.context();
  const ShapeIndexEntry& entry = copy_.output().last_entry();
  char text[512];
  FRD_Format(text, sizeof text, "Reading Shape=%d / %d\r\n[%s %ld %ld]", ShownAs<int>(record_),
             ShownAs<int>(mid_records_), CodeText(entry.Code, CodeTextLength(context)).c_str(),
             static_cast<long>(entry.Offset), static_cast<long>(entry.Count));
  if (BRN_SetStatus(text) == 0) return Outcome::kCancelled;
  const double share = mid_records_ > record_
                           ? static_cast<double>(record_) / static_cast<double>(mid_records_)
                           : 1.0;
  const double fraction = context.ProgressStart + share * context.ProgressStep;
  return CancelledIf(FRD_SetProgress(static_cast<float>(fraction)) == 0);
}

Outcome BuildFromMif(const ShapeContext& context, const char* name, CodeReader code_of) {
  ShapeCopy copy(context, name, ShapeCopy::Source::kMif);
  const Step& step = copy.step();
  const Outcome shown = copy.ShowStart("Initializing...\r\n%d/%d");
  if (!IsDone(shown)) return shown;
  LineSource mif;
  if (!mif.Open(copy.path())) {
    return step.FailModal(kFileError, "Can't open the MIF file (%s) !", copy.path());
  }
  if (ReadMifHeader(mif, kMifLineSize, step.Path(kShapeInfoFile).c_str()) == 0) {
    if (mif.end() == SourceEnd::kNoMemory) return FailUnread(step, copy.path(), mif.end());
    return step.FailModal(kFileError, "Can't read the MIF file header (%s) !", copy.path());
  }
  LineSource mid;
  if (!mid.Open(copy.mid_path())) {
    return step.FailModal(kFileError, "Can't open the MID file (%s) !", copy.mid_path());
  }
  const Outcome opened = copy.Open();
  if (!IsDone(opened)) return opened;
  return copy.Close(MifCopy(copy, mif, mid, code_of).Run(), mid);
}

}  // namespace

int SHAPE_CreateShapeFileFromZatMif(ShapeContext* cs) {
  return AsResult(BuildFromMif(*cs, "SHAPE_CreateShapeFileFromZatMif", WholeCode));
}

int SHAPE_CreateShapeFileFromMif(ShapeContext* cs) {
  return AsResult(BuildFromMif(*cs, "SHAPE_CreateShapeFileFromMif", CodeInArea));
}

}  // namespace zatlib
