#include "check/shapes.h"

#include <algorithm>
#include <cstdlib>

#include "check/source.h"

namespace zatmap::check {
namespace {

using zatlib::FeatureCode;

constexpr int64_t kMostPoints = 2048;  // points of a shape that right-turn weights know
constexpr int64_t kPointBytes = 8;
constexpr Layout kHeadLayout = {2, 2, 2};
constexpr Layout kPointLayout = {2, 2, 2};

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
  reported_far_ = false;
  ++shapes_;
}

void ShapeChecker::Point(Place here, int32_t x, int32_t y) {
  if (points_++ == 0) {
    first_x_ = x;
    first_y_ = y;
  }
  last_x_ = x;
  last_y_ = y;
  network_.CheckPoint(here, x, y);
  const int64_t before = bytes_;
  bytes_ += kPointBytes;
  if (before <= limit_ && bytes_ > limit_) {
    network_.findings().Add(Kind::kShapeTotal, here, "more than %lld bytes",
                            static_cast<long long>(limit_));
  }
}

void ShapeChecker::CheckEnds(const CheckedLink& link) {
  if (link.a < 0 || link.b < 0 || points_ < 2) return;
  const CheckedNode& a = network_.nodes[static_cast<size_t>(link.a)];
  const CheckedNode& b = network_.nodes[static_cast<size_t>(link.b)];
  if (!a.placed || !b.placed) return;
  ++checked_ends_;
  const auto meets = [&](int32_t x1, int32_t y1, int32_t x2, int32_t y2) {
    return (a.x == x1 && a.y == y1 && b.x == x2 && b.y == y2) ||
           (a.x == x2 && a.y == y2 && b.x == x1 && b.y == y1);
  };
  if (meets(first_x_, first_y_, last_x_, last_y_)) return;
  if (meets(first_y_, first_x_, last_y_, last_x_)) {
    if (swapped_ends_++ == 0) first_swapped_ = place_;
    return;
  }
  network_.findings().Add(Kind::kShapeEnds, place_, "link %s", network_.TextOf(code_).c_str());
}

void ShapeChecker::End() {
  Findings& findings = network_.findings();
  if (points_ < 2) {
    findings.Add(Kind::kShapePoints, place_, "link %s has %lld", network_.TextOf(code_).c_str(),
                 static_cast<long long>(points_));
  } else if (points_ > kMostPoints) {
    findings.Add(Kind::kShapeLong, place_, "link %s has %lld", network_.TextOf(code_).c_str(),
                 static_cast<long long>(points_));
  }
  const int32_t found = network_.FindLink(code_);
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
  CheckEnds(link);
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
  if (swapped_ends_ > 0) {
    findings.Add(Kind::kCoordSwapped, first_swapped_,
                 "the ends of %lld of %lld shapes are their nodes with longitude and latitude "
                 "exchanged",
                 static_cast<long long>(swapped_ends_), static_cast<long long>(checked_ends_));
  }
  if (shapes_ == 0) return;
  for (const CheckedLink& link : network_.links) {
    if (link.code.IsEmpty() || (link.marks & kHasShape) != 0) continue;
    findings.Add(Kind::kShapeMissing, network_.PlaceOf(link, 0), "link %s",
                 network_.TextOf(link.code).c_str());
  }
}

void CheckShapeTexts(Control& control, ShapeChecker& shapes, int code_length) {
  Findings& findings = control.findings();
  const std::vector<std::string> files = control.Files("LINKSHAPE", false);
  for (size_t i = 0; i < files.size(); ++i) {
    Source source(findings);
    if (!control.Open(source, "LINKSHAPE", static_cast<int>(i + 1), files[i], false)) continue;
    int64_t record = 0;
    std::string_view line;
    Row row;
    bool held = false;     // `row` is a line that the block before it did not want
    bool surplus = false;  // points beyond a block's number have been reported
    while (held || source.Next(zatlib::kLineSize, &line)) {
      if (!held) Split(source, line, kHeadLayout, &row);
      held = false;
      if (record > 0 && LooksLikeCoordinate(row[1])) {
        if (!surplus) {
          findings.Add(Kind::kShapeShort, {source.file(), record, 2, source.line()},
                       "more points follow");
        }
        surplus = true;
        continue;
      }
      surplus = false;
      ++record;
      const Place head{source.file(), record, 0, source.line()};
      if (record == 1 && IsTitle(row[1])) {
        findings.Add(Kind::kHeaderLine, head, "%.*s", static_cast<int>(line.size()), line.data());
        continue;
      }
      const FeatureCode code = CheckedCode(source, row, 1, code_length);
      const int32_t count = CheckedNumber(source, row, 2, 0, INT32_MAX);
      shapes.Begin(code, head);
      for (int32_t item = 0; item < count; ++item) {
        if (!source.Next(zatlib::kLineSize, &line)) {
          findings.Add(Kind::kShapeShort, head.At(2), "%d points, %d lines to the end of the file",
                       count, item);
          break;
        }
        Split(source, line, kPointLayout, &row);
        const Place here{source.file(), record, 0, source.line()};
        // No coordinate has more than three digits before its point, but a code may have so few.
        if (IsWhole(row[1]) &&
            (row[1].size() > 3 ||
             (IsWhole(row[2]) && shapes.Knows(zatlib::ParseCode(row[1], code_length))))) {
          findings.Add(Kind::kShapeShort, head.At(2), "%d points, %d follow", count, item);
          held = true;
          break;
        }
        if (row.count < 2) {
          findings.Add(Kind::kColumnsMissing, here.At(2), "a point without latitude");
        }
        const int32_t x = CheckedCoordinate(findings, here.At(1), row[1], false);
        const int32_t y = CheckedCoordinate(findings, here.At(2), row[2], true);
        shapes.Point(here, x, y);
      }
      shapes.End();
    }
    if (record == 0) findings.Add(Kind::kNoRecords, {source.file(), 0, 0, 0}, "no shape");
    source.Close();
  }
}

}  // namespace zatmap::check
