#include "shape/shape_builder.h"

#include <algorithm>
#include <cinttypes>
#include <cstdarg>
#include <string>
#include <string_view>

#include "frd/cancellable.h"
#include "frd/cp932.h"
#include "frd/fields.h"
#include "frd/files.h"
#include "frd/keyed_table.h"
#include "frd/line_source.h"
#include "frd/mif_text.h"
#include "frd/record_stream.h"
#include "network/workstore/number_scan.h"
#include "platform/file.h"
#include "platform/profile.h"
#include "shape/shape_output.h"
#include "shape/shape_report.h"

namespace zatlib {
namespace {

constexpr uint32_t kMifLineSize = 1024;      // bytes of a MIF line, its CR included
constexpr int64_t kProgressRecords = 10000;  // records between two progress texts
constexpr size_t kInfoLineSize = 512;        // a value of shapedat.inf

constexpr char kInfoSection[] = "INFORMATION";
constexpr char kDefaultCharset[] = "Charset \"WindowsJapanese\"";
constexpr char kDefaultCoordSys[] = "CoordSys Earth Projection 1, 1015";

constexpr char kZatMifError[] = "File Error in SHAPE_CreateShapeFileFromZatMif";
constexpr char kMsrMifError[] = "File Error in SHAPE_CreateShapeFileFromMif";
constexpr char kZatTextError[] = "File Error in SHAPE_CreateShapeFileFromZatText";
constexpr char kFinishError[] = "File Error in SHAPE_FinishShapeIndex";

// How reading a source file ended.
enum class Outcome {
  kEnd,         // at the end of the file
  kBad,         // on an error, which the problem holds
  kNotWritten,  // on a failed write, which the output knows
  kCancelled
};

// "Memory Error in ..." for "File Error in ...".
std::string MemoryTitle(const char* file_title) {
  constexpr std::string_view kFile = "File Error";
  return "Memory Error" + std::string(file_title).substr(kFile.size());
}

// An error of the source, kept until all that came before it is written.
struct Problem {
  ShapeBox box = ShapeBox::kTaskModal;
  bool memory = false;  // for want of it
  char text[kMessageSize] = {};

  Outcome Set(const char* format, ...) ZATLIB_PRINTF(2, 3) {
    va_list arguments;
    va_start(arguments, format);
    FRD_FormatV(text, sizeof text, format, arguments);
    va_end(arguments);
    return Outcome::kBad;
  }
  Outcome SetMemory(const char* path) {
    memory = true;
    return Set("Can't allocate memory for %s !", path);
  }
};

// A source file being read.
struct Source {
  const ShapeContext* cs;
  const char* title;  // of its error reports
  const char* path;
  const char* mid_path;     // of a MIF file
  const LineSource* mif;    // the MIF file
  const LineSource* split;  // whose lines are split into fields: the MID or text file
  int64_t line_count = -1;  // of the MID file; counted when somebody looks
  Problem problem;
  ShapeOutput output;
};

int CodeTextLength(const ShapeContext& cs) {
  return cs.CodeLength == kIntegerCode ? kIntegerCode : kDecimalCode;
}

// Shows that a file is begun. Returns 0 when the user has cancelled.
int ShowFileStart(const ShapeContext& cs, const char* format) {
  if (cs.ShowProgress == 0) return 1;
  char text[128];
  FRD_Format(text, sizeof text, format, static_cast<int>(cs.FileIndex + 1),
             static_cast<int>(cs.FileCount));
  return BRN_SetStatus(text) != 0 && FRD_SetProgress(cs.ProgressStart) != 0 ? 1 : 0;
}

// Opens the outputs, reads the source with `read` and closes the outputs. Whatever comes first in
// the order of the records is reported: a write that failed before a bad record goes before it.
template <typename Read>
int RunSource(Source& source, Read read) {
  const ShapeContext& cs = *source.cs;
  const PathText data_path = PathIn(cs.Folder, kShapeDataFile);
  const PathText index_path = PathIn(cs.Folder, kShapeIndexFile);
  switch (source.output.Open(data_path.c_str(), index_path.c_str(), cs.FileIndex > 0)) {
    case ShapeOutput::Opened::kBoth:
      break;
    case ShapeOutput::Opened::kNoData:
      return ReportShapeError(nullptr, ShapeBox::kTaskModal, source.title,
                              "Can't open the Shape File (%s) !", data_path.c_str());
    case ShapeOutput::Opened::kNoIndex:
      return ReportShapeError(nullptr, ShapeBox::kTaskModal, source.title,
                              "Can't open the shape index DBL file (%s) !", index_path.c_str());
  }
  const Outcome outcome = read(source);
  if (!source.output.Finish()) {
    const FailedShapeWrite& failure = source.output.failure();
    const int record = static_cast<int>(failure.record);
    switch (failure.part) {
      case FailedShapeWrite::Part::kEntry:
        return ReportShapeError(nullptr, ShapeBox::kTaskModal, source.title,
                                "Can't write the shape index DBL file (%s) at rec=%d",
                                index_path.c_str(), record);
      case FailedShapeWrite::Part::kTooLarge:
        return ReportShapeError(nullptr, ShapeBox::kTaskModal, source.title,
                                "The shape data exceeds 2 GiB, at rec=%d", record);
      default:
        break;
    }
    if (source.mid_path == nullptr) {
      return ReportShapeError(nullptr, ShapeBox::kTaskModal, source.title,
                              "Can't write the Shape File at rec=%d in Line ITEM section item=%d",
                              record, static_cast<int>(failure.item));
    }
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, source.title,
                            failure.line_object
                                ? "Can't write the Shape File at rec=%d in Line ITEM section"
                                : "Can't write the Shape File at rec=%d in Poly ITEM section",
                            record);
  }
  if (outcome == Outcome::kBad) {
    const std::string title =
        source.problem.memory ? MemoryTitle(source.title) : std::string(source.title);
    return ReportShapeError(nullptr, source.problem.box, title.c_str(), "%s", source.problem.text);
  }
  // What came before a field that is too long is in the files now.
  if (outcome == Outcome::kEnd) source.split->TakeEnd();
  return outcome == Outcome::kEnd ? 1 : 0;
}

// The two ways in which MID records give a code.
using CodeReader = FeatureCode (*)(std::string_view line, Lines& mid, int code_length);

FeatureCode ReadZatCode(std::string_view line, Lines& mid, int code_length) {
  std::string_view field;
  FieldCursor fields(line, &mid);
  fields.Next(&field);
  return ParseCode(field, code_length);
}

FeatureCode ReadMsrCode(std::string_view line, Lines& mid, int code_length) {
  std::string_view number;
  std::string_view unused;
  std::string_view area;
  FieldCursor fields(line, &mid);
  fields.Next(&number);
  fields.Next(&unused);
  fields.Next(&area);
  const int64_t low = FRD_ParseInt64(number);
  const int high = FRD_ParseInt(area);
  if (code_length != kIntegerCode) {
    return ComposeCode(high, static_cast<double>(low), kDecimalCode);
  }
  // The number is an integer here, so that all of its 16 digits count.
  return {ComposeCode(high, 0.0, kIntegerCode).bits + static_cast<uint64_t>(low)};
}

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

using MifLines = RecordCursor<MifLine, ReadResult (*)(Lines&, MifLine*)>;

Outcome CopyPline(Source& source, MifLines& mif, int32_t count, int record) {
  for (int32_t item = 0; item < count;) {
    if (!mif.More()) {
      if (source.mif->end() == SourceEnd::kNoMemory) return source.problem.SetMemory(source.path);
      return source.problem.Set("Can't read the MIF file (%s) at rec=%d in ITEM section",
                                source.path, record);
    }
    ShapePoint points[64];
    const auto part =
        static_cast<int32_t>(std::min({int64_t{count} - item, mif.ready(), std::ssize(points)}));
    int32_t good = 0;
    for (; good < part; ++good) {
      points[good] = PointOf(mif.here()[good]);
      // Also what the style lines behind an object give that has fewer points than it says.
      if (points[good].X == 0 && points[good].Y == 0) break;
    }
    if (!source.output.AddPoints(points, good)) return Outcome::kNotWritten;
    if (good < part) {
      return source.problem.Set("The Record of MIF file is invalid, at rec=%d in ITEM section",
                                record);
    }
    mif.Pass(part);
    item += part;
  }
  return Outcome::kEnd;
}

// The next field of a Line object, which blanks separate like commas; empty behind the last one.
std::string_view NextLineField(std::string_view* rest) {
  const size_t end = std::min(rest->find_first_of(" ,\t;"), rest->size());
  std::string_view field = rest->substr(0, end);
  rest->remove_prefix(std::min(end + 1, rest->size()));
  if (!field.empty() && field.front() == '"') field.remove_prefix(1);
  return field;
}

Outcome CopyLine(Source& source, std::string_view line, int record) {
  line = line.substr(0, line.find('\0'));
  NextLineField(&line);  // the word itself
  for (int i = 0; i < 2; ++i) {
    ShapePoint point;
    point.X = FRD_ParseFixed6(NextLineField(&line));
    point.Y = FRD_ParseFixed6(NextLineField(&line));
    if (point.X == 0 || point.Y == 0) {
      source.problem.box = ShapeBox::kPlain;
      return source.problem.Set("The MIF record value is Invalid, at rec=%d in Line shape !",
                                record);
    }
    if (!source.output.AddPoint(point)) return Outcome::kNotWritten;
  }
  return Outcome::kEnd;
}

// Counts the records of the MID, 0 when it cannot be opened. Returns 0 when the user has cancelled.
int CountRecords(Source& source) {
  LineSource mid;
  std::string_view line;
  int64_t count = 0;
  if (mid.Open(source.mid_path)) {
    while (FRD_ReadLine(mid, kLineSize, &line) != 0) {
      if (CancelledAt(count++)) return 0;
    }
  }
  source.line_count = count;
  return 1;
}

// Shows how far the file is. Returns 0 when the user has cancelled.
int ShowRecord(Source& source, int64_t record) {
  const ShapeContext& cs = *source.cs;
  if (!FRD_IsDialogOpen()) return BRN_SetStatus(nullptr);
  if (source.line_count < 0 && CountRecords(source) == 0) return 0;
  const ShapeIndexEntry& entry = source.output.last_entry();
  char text[512];
  FRD_Format(text, sizeof text, "Reading Shape=%d / %d\r\n[%s %ld %ld]", ShownAs<int>(record),
             ShownAs<int>(source.line_count), CodeText(entry.Code, CodeTextLength(cs)).c_str(),
             static_cast<long>(entry.Offset), static_cast<long>(entry.Count));
  if (BRN_SetStatus(text) == 0) return 0;
  const double share = source.line_count > record
                           ? static_cast<double>(record) / static_cast<double>(source.line_count)
                           : 1.0;
  return FRD_SetProgress(static_cast<float>(cs.ProgressStart + share * cs.ProgressStep));
}

Outcome ReadMifRecords(Source& source, LineSource& mif_file, LineSource& mid_file,
                       CodeReader code_of) {
  const ShapeContext& cs = *source.cs;
  ShapeOutput& output = source.output;
  MifLines mif(mif_file, ReadMifLine);
  const auto read_code = [&cs, code_of](Lines& lines, FeatureCode* code) {
    std::string_view line;
    if (lines.Next(kLineSize, &line) != LineResult::kLine) return ReadResult::kEnd;
    *code = code_of(line, lines, cs.CodeLength);
    return lines.result() == LineResult::kLongField ? ReadResult::kEnd : ReadResult::kRecord;
  };
  RecordCursor<FeatureCode, decltype(read_code)> mid(mid_file, read_code);
  std::string_view line;
  for (int64_t number = 1;; ++number) {
    const int record = static_cast<int>(number);
    if (!mid.More()) {
      const SourceEnd end = mid_file.end();
      if (end == SourceEnd::kEnd || end == SourceEnd::kLongField) return Outcome::kEnd;
      if (end == SourceEnd::kNoMemory) return source.problem.SetMemory(source.mid_path);
      return source.problem.Set("Can't read the Mid File (%s) at rec=%d", source.mid_path, record);
    }
    const FeatureCode code = *mid.here();
    mid.Pass(1);
    bool is_line = false;
    for (bool found = false; !found; mif.Pass(1)) {
      if (!mif.More()) {
        if (mif_file.end() == SourceEnd::kNoMemory) return source.problem.SetMemory(source.path);
        return source.problem.Set("Can't read the MIF file (%s) at rec=%d", source.path, record);
      }
      if (mif.here()->is_point) continue;
      is_line = mif.here()->text().starts_with("Line");
      found = is_line || mif.here()->text().starts_with("Pline");
      // The object's first line is good until the line behind it is asked for.
      line = mif.here()->text();
    }
    if (!output.BeginRecord(code, is_line)) return Outcome::kNotWritten;
    int32_t count = 2;
    Outcome outcome = Outcome::kEnd;
    if (is_line) {
      outcome = CopyLine(source, line, record);
    } else {
      constexpr size_t kBehindPline = 6;  // the word and one blank
      count = line.size() > kBehindPline ? FRD_ParseInt(line.substr(kBehindPline)) : 0;
      outcome = CopyPline(source, mif, count, record);
    }
    if (outcome != Outcome::kEnd) return outcome;
    output.EndRecord(count);
    if (cs.ShowProgress != 0 && number % kProgressRecords == 0 && ShowRecord(source, number) == 0) {
      return Outcome::kCancelled;
    }
  }
}

int BuildFromMif(const ShapeContext& cs, const char* title, CodeReader code_of) {
  if (ShowFileStart(cs, "Initializing...\r\n%d/%d") == 0) return 0;
  Source source{};
  source.cs = &cs;
  source.title = title;
  source.path = cs.Paths[cs.FileIndex].c_str();
  LineSource mif;
  if (!mif.Open(source.path)) {
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, title, "Can't open the MIF file (%s) !",
                            source.path);
  }
  if (ReadMifHeader(mif, kMifLineSize, PathIn(cs.Folder, kShapeInfoFile).c_str()) == 0) {
    if (mif.end() == SourceEnd::kNoMemory) {
      return ReportShapeError(nullptr, ShapeBox::kTaskModal, MemoryTitle(title).c_str(),
                              "Can't allocate memory for %s !", source.path);
    }
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, title,
                            "Can't read the MIF file header (%s) !", source.path);
  }
  PathText mid_path;
  FRD_MakeMidPath(source.path, mid_path.text);
  source.mid_path = mid_path.c_str();
  LineSource mid;
  if (!mid.Open(source.mid_path)) {
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, title, "Can't open the MID file (%s) !",
                            source.mid_path);
  }
  source.mif = &mif;
  source.split = &mid;
  return RunSource(source, [&](Source& s) { return ReadMifRecords(s, mif, mid, code_of); });
}

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

ReadResult ReadShapeLine(Lines& lines, int code_length, ShapeLine* line) {
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

ShapePoint PointOf(const ShapeLine& line) {
  if (line.kind == ShapeLine::Kind::kPoint) return line.point;
  const FieldPair fields = FirstFields(line.text(), nullptr);
  return {FRD_ParseFixed6(fields.first), FRD_ParseFixed6(fields.second)};
}

Outcome ReadTextBlocks(Source& source, LineSource& text) {
  const ShapeContext& cs = *source.cs;
  ShapeOutput& output = source.output;
  const auto read_line = [&cs](Lines& piece, ShapeLine* line) {
    return ReadShapeLine(piece, cs.CodeLength, line);
  };
  RecordCursor<ShapeLine, decltype(read_line)> lines(text, read_line);
  for (int64_t number = 1;; ++number) {
    const int record = ShownAs<int>(number);
    if (!lines.More()) {
      if (text.end() == SourceEnd::kNoMemory) return source.problem.SetMemory(source.path);
      if (text.end() == SourceEnd::kNotRead) {
        return source.problem.Set("Can't read the file (%s) !", source.path);
      }
      return Outcome::kEnd;
    }
    ShapeLine head = *lines.here();
    lines.Pass(1);
    if (head.kind != ShapeLine::Kind::kHead) {
      const FieldPair fields = FirstFields(head.text(), nullptr);
      head.code = ParseCode(fields.first, cs.CodeLength);
      head.count = FRD_ParseInt(fields.second);
    }
    const int32_t count = head.count;
    if (!output.BeginRecord(head.code, false)) return Outcome::kNotWritten;
    for (int32_t item = 0; item < count;) {
      if (!lines.More()) {
        if (text.end() == SourceEnd::kLongField) return Outcome::kEnd;
        if (text.end() == SourceEnd::kNoMemory) return source.problem.SetMemory(source.path);
        return source.problem.Set("Can't read the Item Data (%s) at rec=%d item=%d", source.path,
                                  record, static_cast<int>(item + 1));
      }
      ShapePoint points[64];
      const auto part = static_cast<int32_t>(
          std::min({int64_t{count} - item, lines.ready(), std::ssize(points)}));
      for (int32_t i = 0; i < part; ++i) points[i] = PointOf(lines.here()[i]);
      if (!output.AddPoints(points, part)) return Outcome::kNotWritten;
      lines.Pass(part);
      item += part;
    }
    output.EndRecord(count);
    if (cs.ShowProgress != 0 && number % kProgressRecords == 0 && BRN_SetStatus(nullptr) == 0) {
      return Outcome::kCancelled;
    }
  }
}

// The header lines of shapedat.inf, or the defaults, written back.
void KeepInfoLine(const char* info_path, const char* key, const char* default_line) {
  char line[kInfoLineSize];
  platform::ReadProfileString(kInfoSection, key, default_line, line, sizeof line, info_path);
  platform::SaveProfileString(kInfoSection, key, line, info_path);
}

// What the sorted entries add up to.
struct ShapeTotals {
  int64_t points = 0;
  int32_t most_points = 0;
  FeatureCode link_with_most;
};

// Adds the entries up and makes sure that codes ascend. Returns 1, or 0 after reporting.
int AddUpEntries(const ShapeIndexEntry* entries, int64_t count, int code_length,
                 ShapeTotals* totals) {
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
      return ReportShapeError(nullptr, ShapeBox::kTaskModal, kCp932<u8"道路区間データの重複エラー">,
                              kCp932<u8"道路区間 %s が重複しています。重複を取り除いてください。">,
                              CodeText(entry.Code, code_length).c_str());
    }
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, "Logic Error in SHAPE_FinishShapeIndex",
                            "Sort Error : [%d] %s / %s >= [%d] %s / %s", static_cast<int>(i - 1),
                            CodeText(before, kDecimalCode).c_str(),
                            CodeText(before, kIntegerCode).c_str(), static_cast<int>(i),
                            CodeText(entry.Code, kDecimalCode).c_str(),
                            CodeText(entry.Code, kIntegerCode).c_str());
  }
  return 1;
}

// Reads the whole index. Returns 1, or 0 after reporting.
int LoadIndex(const char* path, PageArray<ShapeIndexEntry>* entries, int64_t* count) {
  platform::File file = platform::File::Open(path, platform::Access::kRead, platform::Share::kRead,
                                             platform::Disposition::kOpenExisting);
  if (!file.IsOpen()) {
    return ReportShapeError(nullptr, ShapeBox::kPlain, kFinishError,
                            "Can't open the shape index DBL file for input (%s) !", path);
  }
  const int64_t size = file.Size();
  *count = size < 0 ? 0 : size / static_cast<int64_t>(sizeof(ShapeIndexEntry));
  if (!entries->Allocate(*count)) {
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, "Memory Error in SHAPE_FinishShapeIndex",
                            "Can't allocate the memory for the Index size=%lld",
                            static_cast<long long>(size));
  }
  constexpr uint64_t kReadAtOnce = uint64_t{1} << 30;
  const uint64_t wanted = static_cast<uint64_t>(*count) * sizeof(ShapeIndexEntry);
  auto* const bytes = reinterpret_cast<unsigned char*>(entries->data());
  uint64_t done = 0;
  bool good = size >= 0;
  while (good && done < wanted) {
    const auto part = static_cast<uint32_t>(std::min(wanted - done, kReadAtOnce));
    uint32_t read = 0;
    good = file.Read(bytes + done, part, &read) && read == part;
    done += read;
  }
  if (!good) {
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, kFinishError,
                            "Can't read the index DBL file dwIO=%lld (%s)",
                            static_cast<long long>(done), path);
  }
  return 1;
}

void SaveTotal(const char* info_path, const char* key, int64_t value) {
  char text[32];
  FRD_Format(text, sizeof text, "%" PRId64, value);
  platform::SaveProfileString(kInfoSection, key, text, info_path);
}

}  // namespace

int SHAPE_CreateShapeFileFromZatMif(ShapeContext* cs) {
  return BuildFromMif(*cs, kZatMifError, ReadZatCode);
}

int SHAPE_CreateShapeFileFromMif(ShapeContext* cs) {
  return BuildFromMif(*cs, kMsrMifError, ReadMsrCode);
}

int SHAPE_CreateShapeFileFromZatText(ShapeContext* cs) {
  if (ShowFileStart(*cs, "Creating Shape Data...\r\n%d/%d") == 0) return 0;
  const PathText info_path = PathIn(cs->Folder, kShapeInfoFile);
  KeepInfoLine(info_path.c_str(), "Charset", kDefaultCharset);
  KeepInfoLine(info_path.c_str(), "CoordSys", kDefaultCoordSys);
  Source source{};
  source.cs = cs;
  source.title = kZatTextError;
  source.path = cs->Paths[cs->FileIndex].c_str();
  LineSource text;
  if (!text.Open(source.path)) {
    return ReportShapeError(nullptr, ShapeBox::kTaskModal, kZatTextError,
                            "Can't open the MIF file (%s) !", source.path);
  }
  source.split = &text;
  return RunSource(source, [&](Source& s) { return ReadTextBlocks(s, text); });
}

int SHAPE_FinishShapeIndex(ShapeContext* cs) {
  if (cs->ShowProgress != 0) {
    if (BRN_SetStatus("Finishing Shape Index...") == 0) return 0;
    if (FRD_SetProgress(cs->ProgressStart) == 0) return 0;
  }
  const PathText path = PathIn(cs->Folder, kShapeIndexFile);
  PageArray<ShapeIndexEntry> entries;
  int64_t count = 0;
  if (LoadIndex(path.c_str(), &entries, &count) == 0) return 0;
  if (SortUnlessCancelled(entries.data(), count, [](const ShapeIndexEntry& entry) {
        return entry.Code.AsDouble();
      }) == 0) {
    return 0;
  }
  ShapeTotals totals;
  if (AddUpEntries(entries.data(), count, CodeTextLength(*cs), &totals) == 0) return 0;
  switch (SaveFile(path.c_str(), entries.data(),
                   static_cast<uint64_t>(count) * sizeof(ShapeIndexEntry))) {
    case SaveResult::kSaved:
      break;
    case SaveResult::kNotOpened:
      return ReportShapeError(nullptr, ShapeBox::kTaskModal, kFinishError,
                              "Can't open the index DBL file for output (%s)", path.c_str());
    case SaveResult::kNotWritten:
      return ReportShapeError(nullptr, ShapeBox::kTaskModal, kFinishError,
                              "Can't write the index DBL file (%s)", path.c_str());
  }
  const PathText info_path = PathIn(cs->Folder, kShapeInfoFile);
  SaveTotal(info_path.c_str(), "NumRec", count);
  SaveTotal(info_path.c_str(), "NumShape", totals.points);
  // In the decimal form whatever the code length: readers of the file never expected another.
  platform::SaveProfileString(kInfoSection, "MaxShapeLink",
                              CodeText(totals.link_with_most, kDecimalCode).c_str(),
                              info_path.c_str());
  SaveTotal(info_path.c_str(), "MaxNumShape", totals.most_points);
  return 1;
}

}  // namespace zatlib
