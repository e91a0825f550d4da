#include "check/plain_shapes.h"

#include <cstring>

#include "check/distance.h"
#include "shape/shape_access.h"

namespace zatmap::check {
namespace {

constexpr int kLongestWhole = 3;  // digits of a coordinate before its point

// True for a line that begins with more digits than a coordinate has.
bool IsSureHead(const char* line, const char* end) {
  if (line < end && *line == '"') ++line;
  int digits = 0;
  while (line < end && *line >= '0' && *line <= '9') ++line, ++digits;
  return digits > kLongestWhole && line < end && (*line == ',' || *line == '\t' || *line == '"');
}

char* LastHead(char* from, char* end) {
  for (char* p = end; p > from;) {
    char* line = p - 1;
    while (line > from && line[-1] != '\n') --line;
    if (line > from && IsSureHead(line, end)) return line;
    p = line;
  }
  return nullptr;
}

char* FirstHead(char* from, char* end) {
  for (char* p = from; p < end;) {
    auto* const lf = static_cast<char*>(std::memchr(p, '\n', static_cast<size_t>(end - p)));
    if (lf == nullptr) return nullptr;
    p = lf + 1;
    if (IsSureHead(p, end)) return p;
  }
  return nullptr;
}

// What the look at a block comes to.
enum class Look { kPlain, kOther, kNotWhole };

// Whether the shape goes from one node of its link to the other.
bool Meets(const Network& network, const PlainShape& shape) {
  const CheckedLink& link = network.links[static_cast<size_t>(shape.link)];
  if (link.a < 0 || link.b < 0) return false;
  const CheckedNode& a = network.nodes[static_cast<size_t>(link.a)];
  const CheckedNode& b = network.nodes[static_cast<size_t>(link.b)];
  const auto is_first = [&](const CheckedNode& node) {
    return node.placed && node.x == shape.first_x && node.y == shape.first_y;
  };
  const auto is_last = [&](const CheckedNode& node) {
    return node.placed && node.x == shape.last_x && node.y == shape.last_y;
  };
  return (is_first(a) && is_last(b)) || (is_last(a) && is_first(b));
}

bool EndsLine(PlainRow& row, const char* line, const char* end) {
  row.PassRest();
  return row.good() && row.end() - line < int64_t{zatlib::kLineSize} && row.end() + 2 <= end;
}

// Takes the points of a block from `p` on.
Look TakePoints(const char* p, const char* end, const Network& network, PlainShape* shape) {
  constexpr int32_t kDegree = 1000000;
  bool near = true;
  double length = 0;
  double swapped_length = 0;
  for (int32_t i = 0; i < shape->points; ++i) {
    PlainRow row(p);
    const int32_t x = row.Coordinate(zatlib::kLongitudes);
    const int32_t y = row.Coordinate(zatlib::kLatitudes);
    // Two whole numbers might be the head of the next block.
    if (!EndsLine(row, p, end) || (x % kDegree == 0 && y % kDegree == 0)) return Look::kNotWhole;
    if (x % kDegree == 0 && IsSureHead(p, end)) return Look::kNotWhole;
    near = near && network.IsNear(x, y);
    if (i == 0) {
      shape->first_x = x;
      shape->first_y = y;
    } else {
      length += Metres(shape->last_x, shape->last_y, x, y);
      swapped_length += Metres(shape->last_y, shape->last_x, y, x);
    }
    shape->last_x = x;
    shape->last_y = y;
    p = row.end() + 2;
  }
  shape->length = static_cast<float>(length);
  shape->swapped_length = static_cast<float>(swapped_length);
  shape->end = shape->begin + (p - shape->begin);
  return near && shape->points >= 2 && shape->points <= zatlib::kMaxShapePoints ? Look::kPlain
                                                                                : Look::kOther;
}

Look TakeShape(char* begin, const char* end, const Network& network, PlainShape* shape) {
  PlainRow head(begin);
  shape->code = head.Code(network.code_length());
  shape->points = head.Number({0, INT32_MAX});
  shape->begin = begin;
  if (!EndsLine(head, begin, end) || head.columns() < 2 || shape->code.IsEmpty()) {
    return Look::kNotWhole;
  }
  const Look look = TakePoints(head.end() + 2, end, network, shape);
  if (look != Look::kPlain) return look;
  shape->link = network.FindLink(shape->code);
  shape->meets = shape->link >= 0 && Meets(network, *shape);
  return look;
}

}  // namespace

constinit const CutRule kAtShapes = {LastHead, FirstHead};

void LookAtShapes(const Piece& piece, const Network& network, RowWork<PlainShape>* work) {
  char* p = work->next != nullptr ? work->next : piece.begin;
  work->record_count = 0;
  work->other_count = 0;
  work->stopped = false;
  while (p < piece.end && work->record_count < RowWork<PlainShape>::kRecords &&
         work->other_count < RowWork<PlainShape>::kOthers) {
    PlainShape& shape = work->records[work->record_count];
    const Look look = TakeShape(p, piece.end, network, &shape);
    if (look == Look::kNotWhole) {
      work->stopped = true;
      break;
    }
    if (look == Look::kPlain) {
      ++work->record_count;
    } else {
      work->others[work->other_count++] = {work->record_count, p, shape.end};
    }
    p = shape.end;
  }
  work->next = p;
}

}  // namespace zatmap::check
