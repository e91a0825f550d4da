// Coordinates that are no decimal degrees, in a whole file.
#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "check/causes.h"
#include "shell/text.h"

namespace zatmap::check {
namespace {

constexpr size_t kEnough = 5;  // points that say something about all of them

struct PointText {
  std::string_view x;
  std::string_view y;
  int64_t line;
};

// What the coordinates of a point seem to be.
enum class Notation {
  kDegrees,
  kComma,       // 7,42
  kLetters,     // 7.42E
  kMinutes,     // 7:25:15, 7 25 15
  kUnrounded,   // more than 6 decimals
  kExchanged,   // the second one is above 90 and the first one is not
  kMillionths,  // 7420000
  kMetres,      // 543210.12
  kOther
};
constexpr size_t kNotations = static_cast<size_t>(Notation::kOther) + 1;

bool IsWhole(std::string_view text) {
  if (!text.empty() && (text.front() == '-' || text.front() == '+')) text.remove_prefix(1);
  return IsDigits(text);
}

bool Parse(std::string_view text, double* value) {
  const auto result = std::from_chars(text.data(), text.data() + text.size(), *value);
  return result.ec == std::errc() && result.ptr == text.data() + text.size() &&
         std::isfinite(*value);
}

// "15,625148"
bool HasDecimalComma(std::string_view text) {
  const size_t comma = text.find(',');
  return comma != std::string_view::npos && IsWhole(text.substr(0, comma)) &&
         IsDigits(text.substr(comma + 1));
}

bool HasLetter(std::string_view text) {
  return !text.empty() &&
         (std::string_view("EWNSewns").find(text.front()) != std::string_view::npos ||
          std::string_view("EWNSewns").find(text.back()) != std::string_view::npos);
}

// Degrees, minutes and seconds: two numbers or more, with signs between them that no number has.
bool HasMinutes(std::string_view text) {
  const size_t sign = text.find_first_of(":'\" \xb0\xc2\x81", 1);
  return sign != std::string_view::npos && sign + 1 < text.size() &&
         text.find_first_of("0123456789") < sign &&
         text.find_first_of("0123456789", sign) != std::string_view::npos;
}

// Metres of a projection may look like millionths when they are whole numbers.
bool LooksLikeMetres(double x, double y) {
  return x >= 100000 && x < 900000 && y >= 0 && y < 10000000;
}

Notation NotationOf(const PointText& point) {
  if (HasDecimalComma(point.x) || HasDecimalComma(point.y)) return Notation::kComma;
  if (HasMinutes(point.x) || HasMinutes(point.y)) return Notation::kMinutes;
  if (HasLetter(point.x) || HasLetter(point.y)) return Notation::kLetters;
  double x = 0;
  double y = 0;
  if (!Parse(point.x, &x) || !Parse(point.y, &y)) return Notation::kOther;
  const auto decimals = [](std::string_view text) {
    const size_t dot = text.find('.');
    return dot == std::string_view::npos ? 0 : text.size() - dot - 1;
  };
  x = std::fabs(x);
  y = std::fabs(y);
  if (x <= 180 && y <= 90) {
    return decimals(point.x) > 6 || decimals(point.y) > 6 ? Notation::kUnrounded
                                                          : Notation::kDegrees;
  }
  if (x <= 90 && y <= 180) return Notation::kExchanged;
  const bool whole = IsWhole(point.x) && IsWhole(point.y);
  if (whole && x <= 180e6 && y <= 90e6 && x >= 1e4 && y >= 1e4 && !LooksLikeMetres(x, y)) {
    return Notation::kMillionths;
  }
  return x > 180 && x < 3e7 && y < 3e7 ? Notation::kMetres : Notation::kOther;
}

// The points of a text file of coordinates.
std::vector<PointText> PlacesOf(const FileSample& sample) {
  std::vector<PointText> points;
  int64_t number = 0;
  for (const std::string_view line : sample.lines()) {
    ++number;
    if (!IsDataLine(line)) continue;
    const std::vector<std::string_view> fields = FieldsOf(line);
    if (fields.size() >= 5 && IsWhole(fields[1]) && IsDigits(fields[2]) && IsWhole(fields[3]) &&
        IsDigits(fields[4])) {
      // Two numbers with decimals behind a comma are four fields.
      const char* const end = fields[2].data() + fields[2].size();
      const char* const last = fields[4].data() + fields[4].size();
      points.push_back({{fields[1].data(), static_cast<size_t>(end - fields[1].data())},
                        {fields[3].data(), static_cast<size_t>(last - fields[3].data())},
                        number});
    } else if (fields.size() >= 3) {
      points.push_back({fields[1], fields[2], number});
    }
  }
  return points;
}

// Those of a file of link shapes, as long as its blocks are whole.
std::vector<PointText> ShapePointsOf(const FileSample& sample) {
  std::vector<PointText> points;
  int64_t left = 0;  // points of the block that are still to come
  for (size_t i = 0; i < sample.lines().size(); ++i) {
    const std::string_view line = sample.lines()[i];
    if (i == 0 && !IsDataLine(line)) continue;
    const std::vector<std::string_view> fields = FieldsOf(line);
    if (left == 0) {
      const auto count = fields.size() > 1 ? fields[1] : std::string_view{};
      if (!IsDigits(count) || count.size() > 6) break;
      for (const char c : count) left = left * 10 + (c - '0');
      continue;
    }
    --left;
    const auto number = static_cast<int64_t>(i + 1);
    if (fields.size() == 4 && IsWhole(fields[0]) && IsDigits(fields[1]) && IsWhole(fields[2]) &&
        IsDigits(fields[3])) {
      const size_t x_size = static_cast<size_t>(fields[1].data() + fields[1].size() - line.data());
      const auto y_at = static_cast<size_t>(fields[2].data() - line.data());
      points.push_back({line.substr(0, x_size), line.substr(y_at), number});
    } else if (fields.size() >= 2) {
      points.push_back({fields[0], fields[1], number});
    }
  }
  return points;
}

// Those of a MIF file; `*projection` receives its CoordSys line and `*line` the line's number.
std::vector<PointText> ObjectPointsOf(const FileSample& sample, std::string_view* coord_sys,
                                      int64_t* line_number) {
  std::vector<PointText> points;
  bool objects = false;
  int64_t number = 0;
  for (const std::string_view line : sample.lines()) {
    ++number;
    std::string_view text = Trim(line, kSpacesAndTabs);
    const std::string lower = LowerCase(text);
    if (lower.starts_with("coordsys")) {
      *coord_sys = text;
      *line_number = number;
    }
    objects = objects || lower == "data";
    if (!objects) continue;
    if (lower.starts_with("point ")) text = Trim(text.substr(6), kSpaces);
    if (lower.starts_with("line ")) text = Trim(text.substr(5), kSpaces);
    const size_t blank = text.find(' ');
    if (blank == std::string_view::npos || !IsDigits(text.substr(text[0] == '-' ? 1 : 0, 1))) {
      continue;
    }
    std::string_view y = Trim(text.substr(blank + 1), kSpaces);
    points.push_back({text.substr(0, blank), y.substr(0, y.find(' ')), number});
  }
  return points;
}

// True when a CoordSys line tells of a projection.
bool IsProjected(std::string_view coord_sys) {
  const std::string text = LowerCase(coord_sys);
  const size_t at = text.find("projection");
  if (text.empty()) return false;
  return at == std::string::npos ||
         zatlib::FRD_ParseInt(std::string_view(text).substr(at + 10)) != 1;
}

// What a notation is reported as; kCount for those that are no finding.
Kind KindOf(Notation notation) {
  switch (notation) {
    case Notation::kComma:
      return Kind::kDecimalComma;
    case Notation::kLetters:
      return Kind::kCoordLetters;
    case Notation::kMinutes:
      return Kind::kCoordMinutes;
    case Notation::kUnrounded:
      return Kind::kCoordUnrounded;
    case Notation::kExchanged:
      return Kind::kCoordExchanged;
    case Notation::kMillionths:
      return Kind::kCoordMillionths;
    case Notation::kMetres:
      return Kind::kCoordMetres;
    default:
      return Kind::kCount;
  }
}

}  // namespace

bool LookAtCoordinates(Findings& findings, const FileSample& sample, const SourceFile& source) {
  std::vector<PointText> points;
  std::string_view coord_sys;
  int64_t coord_sys_line = 0;
  if (source.role == FileRole::kMif) {
    points = ObjectPointsOf(sample, &coord_sys, &coord_sys_line);
  } else if (source.section == "NODEXY") {
    points = PlacesOf(sample);
  } else if (source.HoldsShapes()) {
    points = ShapePointsOf(sample);
  }
  if (points.size() < kEnough) return true;
  std::array<size_t, kNotations> counts = {};
  std::array<const PointText*, kNotations> first = {};
  for (const PointText& point : points) {
    const auto notation = static_cast<size_t>(NotationOf(point));
    if (counts[notation]++ == 0) first[notation] = &point;
  }
  const uint32_t file = findings.File(source.path);
  for (size_t i = 0; i < kNotations; ++i) {
    const Kind kind = KindOf(static_cast<Notation>(i));
    if (kind == Kind::kCount || counts[i] * 10 < points.size() * 8) continue;
    const PointText& point = *first[i];
    // The header of a MIF file says it already.
    if (kind == Kind::kCoordMetres && IsProjected(coord_sys)) {
      findings.Add(Kind::kMifCoordSys, {file, 0, 0, coord_sys_line}, "%.*s",
                   static_cast<int>(std::min<size_t>(coord_sys.size(), 80)), coord_sys.data());
      return false;
    }
    findings.Add(kind, {file, 0, 0, point.line}, "%.*s, %.*s: %s",
                 static_cast<int>(std::min<size_t>(point.x.size(), 40)), point.x.data(),
                 static_cast<int>(std::min<size_t>(point.y.size(), 40)), point.y.data(),
                 ShareText(sample, counts[i], points.size(), "points").c_str());
    if (kind != Kind::kCoordUnrounded) return false;
    findings.Hide(file, {Kind::kCoordDecimals});
  }
  return true;
}

}  // namespace zatmap::check
