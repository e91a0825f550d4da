#include "check/shapes.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "check/distance.h"
#include "check/source.h"
#include "input_zat/layouts.h"
#include "shape/shape_access.h"
#include "shape/shape_files.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

using Head = zatlib::zat::ShapeHead;
using Point = zatlib::zat::ShapePoint;

constexpr int64_t kPointBytes = sizeof(zatlib::ShapePoint);

// True for a field of digits alone.
bool IsWhole(std::string_view field) {
  while (!field.empty() && field.front() == ' ') field.remove_prefix(1);
  return !field.empty() &&
         std::all_of(field.begin(), field.end(), [](char c) { return c >= '0' && c <= '9'; });
}

// True for a field that cannot be a code but can be a coordinate.
bool LooksLikeCoordinate(std::string_view field) {
  return field.find('.') != std::string_view::npos && field.size() <= 32 &&
         std::all_of(field.begin(), field.end(), [](char c) {
           return (c >= '0' && c <= '9') || c == '.' || c == '-' || c == '+' || c == ' ';
         });
}

}  // namespace

void ShapeChecker::Begin(FeatureCode code, Place place) {
  code_ = code;
  place_ = place;
  points_ = 0;
  far_ = false;
  meets_ = false;
  exchanged_points_ = 0;
  length_ = 0;
  swapped_length_ = 0;
  ++shapes_;
}

void ShapeChecker::Point(Place here, int32_t x, int32_t y) {
  if (points_++ == 0) {
    first_x_ = x;
    first_y_ = y;
  } else {
    length_ += Metres(last_x_, last_y_, x, y);
    swapped_length_ += Metres(last_y_, last_x_, y, x);
  }
  last_x_ = x;
  last_y_ = y;
  if (!network_.CheckPoint(here, x, y)) {
    if (network_.IsNear(y, x)) {
      ++exchanged_points_;
    } else {
      far_ = true;
    }
  }
  const int64_t before = bytes_;
  bytes_ += kPointBytes;
  if (before <= limit_ && bytes_ > limit_) {
    network_.findings().Add(Kind::kShapeTotal, here, "more than %lld bytes",
                            static_cast<long long>(limit_));
  }
}

void ShapeChecker::CheckEnds(const CheckedLink& link) {
  if (meets_) {
    ++ends_.checked;
    return;
  }
  if (link.a < 0 || link.b < 0 || points_ < 2) return;
  const CheckedNode& a = network_.nodes[static_cast<size_t>(link.a)];
  const CheckedNode& b = network_.nodes[static_cast<size_t>(link.b)];
  if (!a.placed || !b.placed) return;
  ++ends_.checked;
  const auto meets = [&](int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    return (a.x == x1 && a.y == y1 && b.x == x2 && b.y == y2) ||
           (a.x == x2 && a.y == y2 && b.x == x1 && b.y == y1);
  };
  if (meets(first_x_, first_y_, last_x_, last_y_)) return;
  if (meets(first_y_, first_x_, last_y_, last_x_)) {
    if (ends_.swapped++ == 0) ends_.first_swapped = place_;
    return;
  }
  // The way round in which both ends together are nearer to their nodes.
  const auto between = [](const CheckedNode& node, int32_t x, int32_t y) {
    return std::hypot(double{1} * x - node.x, double{1} * y - node.y);
  };
  const bool begins_at_a = between(a, first_x_, first_y_) + between(b, last_x_, last_y_) <=
                           between(a, last_x_, last_y_) + between(b, first_x_, first_y_);
  ends_.AddMissed(
      place_, {(begins_at_a ? first_x_ : last_x_) - a.x, (begins_at_a ? first_y_ : last_y_) - a.y});
  network_.findings().Add(Kind::kShapeEnds, place_, "link %s", network_.TextOf(code_).c_str());
}

void ShapeChecker::End() {
  Findings& findings = network_.findings();
  if (points_ < 2) {
    findings.Add(Kind::kShapePoints, place_, "link %s has %lld", network_.TextOf(code_).c_str(),
                 static_cast<long long>(points_));
  } else if (points_ > zatlib::kMaxShapePoints) {
    findings.Add(Kind::kShapeLong, place_, "link %s has %lld", network_.TextOf(code_).c_str(),
                 static_cast<long long>(points_));
  }
  EndAt(network_.FindLink(code_));
}

// What the link's place tells.
void ShapeChecker::EndAt(int32_t found) {
  Findings& findings = network_.findings();
  if (found < 0) {
    unknown_.push_back({code_, place_});
    if (network_.links_whole) {
      findings.Add(Kind::kShapeUnknown, place_.At(1), "link %s",
                   code_.IsEmpty() ? "0" : network_.TextOf(code_).c_str());
    }
    return;
  }
  CheckedLink& link = network_.links[static_cast<size_t>(found)];
  if ((link.marks & kHasShape) != 0) {
    findings.Add(Kind::kShapeTwice, place_.At(1), "link %s", network_.TextOf(code_).c_str());
  }
  link.marks |= kHasShape;
  // A shape that is exchanged as a whole has a length all the same.
  if (!far_ && (exchanged_points_ == 0 || exchanged_points_ == points_)) {
    link.shape_length = static_cast<float>(length_);
    link.swapped_length = static_cast<float>(swapped_length_);
  }
  CheckEnds(link);
}

bool ShapeChecker::Take(const PlainShape& shape, Place place) {
  const int64_t bytes = shape.points * kPointBytes;
  if (bytes_ + bytes > limit_) return false;
  bytes_ += bytes;
  Begin(shape.code, place);
  points_ = shape.points;
  first_x_ = shape.first_x;
  first_y_ = shape.first_y;
  last_x_ = shape.last_x;
  last_y_ = shape.last_y;
  length_ = double{shape.length};
  swapped_length_ = double{shape.swapped_length};
  meets_ = shape.meets;
  EndAt(shape.link);
  return true;
}

void ShapeChecker::Finish() {
  Findings& findings = network_.findings();
  std::stable_sort(unknown_.begin(), unknown_.end(),
                   [](const UnknownShape& a, const UnknownShape& b) { return a.code < b.code; });
  for (size_t i = 1; i < unknown_.size(); ++i) {
    if (unknown_[i].code == unknown_[i - 1].code) {
      findings.Add(Kind::kShapeTwice, unknown_[i].place.At(1), "link %s",
                   network_.TextOf(unknown_[i].code).c_str());
    }
  }
  LookAtEnds(network_, ends_);
  if (shapes_ == 0) return;
  LookAtMissingShapes(network_);
  for (const CheckedLink& link : network_.links) {
    if (link.code.IsEmpty() || (link.marks & kHasShape) != 0) continue;
    findings.Add(Kind::kShapeMissing, network_.PlaceOf(link, 0), "link %s",
                 network_.TextOf(link.code).c_str());
  }
}

namespace {

// The blocks of one file.
class ShapeText {
 public:
  ShapeText(Source& source, ShapeChecker& shapes, int code_length)
      : source_(source), findings_(source.findings()), shapes_(shapes), code_length_(code_length) {}

  void Check() {
    ForEachPiece<RowWork<PlainShape>>(
        source_, kAtShapes, [] {},
        [this](const Piece& piece, RowWork<PlainShape>* work) {
          LookAtShapes(piece, shapes_.network(), work);
        },
        [this](const Piece& piece, RowWork<PlainShape>* work) { return Take(piece, work); });
    CheckBlocks();
    if (record_ == 0) findings_.Add(Kind::kNoRecords, {source_.file(), 0, 0, 0}, "no shape");
  }

 private:
  bool Next(const Layout& layout) {
    if (!source_.Next(layout.line_size, &line_)) return false;
    Split(source_, line_, layout, &row_);
    return true;
  }

  // The blocks of the lines that follow.
  void CheckBlocks() {
    while (held_ || Next(zatlib::zat::kShapeHeads)) {
      held_ = false;
      CheckBlock();
    }
  }

  // Uses up what a thread has made of a piece. Returns where the lines have to be read one by one
  // from now on, null when the piece is done.
  char* Take(const Piece& piece, RowWork<PlainShape>* work) {
    while (true) {
      int64_t taken = 0;
      const auto take_to = [&](int64_t end) {
        for (; taken < end; ++taken) TakeShape(work->records[taken]);
      };
      for (size_t i = 0; i < work->other_count; ++i) {
        const auto& other = work->others[i];
        take_to(other.records);
        source_.Reread(other.begin, other.end);
        CheckBlocks();
      }
      take_to(work->record_count);
      if (work->stopped) return work->next;
      if (work->next == piece.end) return nullptr;
      LookAtShapes(piece, shapes_.network(), work);
    }
  }

  void TakeShape(const PlainShape& shape) {
    if (shapes_.Take(shape, {source_.file(), record_ + 1, 0, source_.line() + 1})) {
      surplus_ = false;
      ++record_;
      source_.Pass(1 + shape.points);
    } else {
      source_.Reread(shape.begin, shape.end);
      CheckBlocks();
    }
  }

  // The block whose head is the row, unless the row is a point too many of the block before.
  void CheckBlock() {
    if (record_ > 0 && LooksLikeCoordinate(row_[Point::kLongitude])) {
      if (!surplus_) {
        findings_.Add(Kind::kShapeShort,
                      {source_.file(), record_, Head::kPointCount, source_.line()},
                      "more points follow");
      }
      surplus_ = true;
      return;
    }
    surplus_ = false;
    ++record_;
    const Place head{source_.file(), record_, 0, source_.line()};
    if (record_ == 1 && IsTitle(row_[Head::kLink])) {
      findings_.Add(Kind::kHeaderLine, head, "%.*s", static_cast<int>(line_.size()), line_.data());
      return;
    }
    const FeatureCode code = CheckedCode(source_, row_, Head::kLink, code_length_);
    const int32_t count = CheckedNumber(source_, row_, zatlib::zat::kShapeHeads[Head::kPointCount]);
    shapes_.Begin(code, head);
    for (int32_t item = 0; item < count; ++item) {
      if (!Next(zatlib::zat::kShapePoints)) {
        findings_.Add(Kind::kShapeShort, head.At(Head::kPointCount),
                      "%d points, %d lines to the end of the file", count, item);
        break;
      }
      if (IsHead()) {
        findings_.Add(Kind::kShapeShort, head.At(Head::kPointCount), "%d points, %d follow", count,
                      item);
        held_ = true;
        break;
      }
      CheckPoint();
    }
    shapes_.End();
  }

  // Whether the row can be no point but the head of the next block. No coordinate has more than
  // three digits before its point, but a code may have so few.
  bool IsHead() const {
    const std::string_view code = row_[Head::kLink];
    if (!IsWhole(code)) return false;
    return code.size() > 3 || (IsWhole(row_[Head::kPointCount]) &&
                               shapes_.Knows(zatlib::ParseCode(code, code_length_)));
  }

  void CheckPoint() {
    const Place here{source_.file(), record_, 0, source_.line()};
    if (row_.count < Point::kLatitude) {
      findings_.Add(Kind::kColumnsMissing, here.At(Point::kLatitude), "a point without latitude");
    }
    const int32_t x =
        CheckedCoordinate(findings_, here.At(Point::kLongitude), row_[Point::kLongitude], false);
    const int32_t y =
        CheckedCoordinate(findings_, here.At(Point::kLatitude), row_[Point::kLatitude], true);
    shapes_.Point(here, x, y);
  }

  Source& source_;
  Findings& findings_;
  ShapeChecker& shapes_;
  int code_length_;
  int64_t record_ = 0;
  std::string_view line_;
  Row row_;
  bool held_ = false;     // the row is a line that the block before it did not want
  bool surplus_ = false;  // points beyond a block's number have been reported
};

}  // namespace

void CheckShapeTexts(Control& control, ShapeChecker& shapes, int code_length) {
  const char* const section = zatlib::zat::kShapeHeads.section;
  const std::vector<std::string> files = control.Files(section, false);
  for (size_t i = 0; i < files.size(); ++i) {
    Source source(control.findings());
    if (!control.Open(source, section, static_cast<int>(i + 1), files[i], false)) continue;
    ShapeText(source, shapes, code_length).Check();
    source.Close();
  }
}

}  // namespace zatmap::check
