// zatmap verify: the shape files against each other and against the network.
#include <algorithm>
#include <cinttypes>
#include <cmath>
#include <cstddef>
#include <span>

#include "frd/files.h"
#include "rtweight/turn_rule.h"
#include "shape/shape_access.h"
#include "shell/terminal_progress.h"
#include "verify/verifier.h"

namespace zatmap::verify {
namespace {

using zatlib::ShapeIndexEntry;
using zatlib::ShapePoint;

constexpr double kMostOf = 0.99;  // share of a map's links that makes a property the map's own

// Links that have a property of which it is not known yet whether the map has it, and how many of
// the others there are.
struct Property {
  int64_t good = 0;
  std::vector<int32_t> bad;

  void Add(bool holds, int32_t link) {
    if (holds) {
      ++good;
    } else if (bad.size() < kKeptSuspects) {
      bad.push_back(link);
    }
  }

  // What holds for nearly all links of a map is taken for its rule.
  bool IsRule() const {
    return static_cast<double>(good) >=
           kMostOf * static_cast<double>(good + static_cast<int64_t>(bad.size()));
  }
};

struct Geometry {
  std::vector<Ends> ends;  // of every link
  Property placed;         // the shape joins the link's nodes
  Property even;           // it is as long as the link
  Property shaped;         // there is one
};

// Codes in order, and points that lie in the data file. Returns whether the codes are in order;
// `*longest` receives the position of the first of the longest shapes.
bool CheckEntries(Verifier& v, const RecordTable<ShapeIndexEntry>& index, int64_t data_size,
                  int64_t* longest) {
  const char* const file = zatlib::kShapeIndexFile;
  bool sorted = true;
  for (int64_t i = 0; i < index.size(); ++i) {
    const ShapeIndexEntry& entry = index[i];
    if (i > 0 && !(index[i - 1].Code < entry.Code)) {
      sorted = false;
      v.Add(Kind::kOrder, At<ShapeIndexEntry>(file, i, 0),
            "code %s is not greater than the one before it, %s", v.Code(entry.Code).c_str(),
            v.Code(index[i - 1].Code).c_str());
    }
    v.totals.points += entry.Count;
    if (entry.Count > index[*longest].Count) *longest = i;
    if (entry.Offset < 0 || entry.Offset % 8 != 0 ||
        entry.Offset + int64_t{8} * std::max(entry.Count, 0) > data_size) {
      v.Add(Kind::kShape, At<ShapeIndexEntry>(file, i, offsetof(ShapeIndexEntry, Offset)),
            "link %s: %d points from byte %d on; %s has %" PRId64 " bytes of points of 8",
            v.Code(entry.Code).c_str(), entry.Count, entry.Offset, zatlib::kShapeDataFile,
            data_size);
    }
  }
  return sorted;
}

// shapedat.inf against the index.
void CheckTotals(Verifier& v, const ShapeIndexEntry& longest) {
  if (!HasFile(v.map, zatlib::kShapeInfoFile)) return;
  CompareInformation(v, "NumRec", std::to_string(v.totals.shapes));
  CompareInformation(v, "NumShape", std::to_string(v.totals.points));
  CompareInformation(v, "MaxNumShape", std::to_string(longest.Count));
  CompareInformation(v, "MaxShapeLink",
                     zatlib::CodeText(longest.Code, zatlib::kDecimalCode).c_str());
}

// The shapes fill the data file without gaps and overlaps.
void CheckTiling(Verifier& v, const RecordTable<ShapeIndexEntry>& index, int64_t data_size) {
  struct Piece {
    int32_t offset;
    int32_t count;
    int32_t entry;
  };
  std::vector<Piece> pieces;
  pieces.reserve(static_cast<size_t>(index.size()));
  for (int64_t i = 0; i < index.size(); ++i) {
    pieces.push_back({index[i].Offset, std::max(index[i].Count, 0), static_cast<int32_t>(i)});
  }
  const auto before = [](const Piece& a, const Piece& b) {
    return a.offset != b.offset ? a.offset < b.offset : a.count < b.count;
  };
  if (!std::is_sorted(pieces.begin(), pieces.end(), before)) {
    std::sort(pieces.begin(), pieces.end(), before);
  }
  int64_t expected = 0;
  for (const Piece& piece : pieces) {
    if (piece.offset != expected) {
      v.Add(Kind::kShape,
            At<ShapeIndexEntry>(zatlib::kShapeIndexFile, piece.entry,
                                offsetof(ShapeIndexEntry, Offset)),
            "link %s: its points begin at byte %d, but those before it end at %" PRId64,
            v.Code(index[piece.entry].Code).c_str(), piece.offset, expected);
    }
    expected = piece.offset + int64_t{8} * piece.count;
  }
  if (expected != data_size) {
    v.Add(Kind::kShape, {zatlib::kShapeDataFile, data_size / 8, std::min(expected, data_size)},
          "the shapes end at byte %" PRId64 ", the file at %" PRId64, expected, data_size);
  }
}

bool JoinsNodes(const Verifier& v, const LinkFacts& link, const ShapePoint& first,
                const ShapePoint& last) {
  if (!v.locations.Holds(link.node_a) || !v.locations.Holds(link.node_b)) {
    return true;  // reported already
  }
  const NodeLocation& a = v.locations[link.node_a];
  const NodeLocation& b = v.locations[link.node_b];
  const auto same = [](const NodeLocation& node, const ShapePoint& point) {
    return node.X == point.X && node.Y == point.Y;
  };
  return (same(a, first) && same(b, last)) || (same(b, first) && same(a, last));
}

bool HasLength(const LinkFacts& link, std::span<const ShapePoint> shape) {
  constexpr double kMetresPerUnit = 0.111195;  // a millionth of a degree of latitude
  if (link.length == UINT16_MAX) return true;
  const double scale = std::cos(shape[0].Y * (3.141592653589793 / 180000000.0));
  double length = 0;
  for (size_t i = 1; i < shape.size(); ++i) {
    const double dx = (static_cast<double>(shape[i].X) - shape[i - 1].X) * scale;
    const double dy = static_cast<double>(shape[i].Y) - shape[i - 1].Y;
    length += std::sqrt(dx * dx + dy * dy);
  }
  const double metres = length * kMetresPerUnit;
  return std::fabs(metres - link.length) <= std::max(3.0, 0.02 * metres);
}

// A link's shape.
void LookAtShape(const Verifier& v, const CodeIndexRecord& link, std::span<const ShapePoint> shape,
                 Geometry* geometry) {
  const LinkFacts& facts = v.links[static_cast<size_t>(link.Number)];
  const size_t cut = std::min(shape.size(), static_cast<size_t>(zatlib::kMaxShapePoints));
  geometry->ends[static_cast<size_t>(link.Number)] = {
      shape[0], shape[1], shape[cut - 2], shape[cut - 1],
      link.Code.AsDouble() < zatlib::kFirstCodeWithoutShape};
  geometry->placed.Add(JoinsNodes(v, facts, shape.front(), shape.back()), link.Number);
  geometry->even.Add(HasLength(facts, shape), link.Number);
}

// Meets the links and the shapes in the order of their codes. False when a file cannot be read.
bool LookAtShapes(Verifier& v, const RecordTable<ShapeIndexEntry>& index, Geometry* geometry) {
  RecordTable<ShapePoint> points;
  RecordReader<CodeIndexRecord> link_index;
  if (!points.Load(v.map, zatlib::kShapeDataFile).ok()) return false;
  if (!link_index.Open(v.map, zatlib::kLinkIndexFile)) return false;
  TerminalProgress progress("verify: shapes");
  CodeIndexRecord link;
  int64_t i = 0;
  for (int64_t r = 0; link_index.Next(&link); ++r) {
    progress.At(r, v.map.links);
    while (i < index.size() && index[i].Code < link.Code) {
      ++i;
      ++v.totals.shapes_without_link;
    }
    if (!v.HasLink(link.Number)) continue;
    if (i >= index.size() || !(index[i].Code == link.Code)) {
      if (v.link(link.Number).kind < zatlib::kDummyRoadKind) {
        ++v.totals.links_without_shape;
        geometry->shaped.Add(false, link.Number);
      }
      continue;
    }
    const ShapeIndexEntry& entry = index[i++];
    const int64_t first = entry.Offset / 8;
    if (entry.Offset < 0 || entry.Count < 2 || first + entry.Count > points.size()) continue;
    LookAtShape(v, link, {points.begin() + first, static_cast<size_t>(entry.Count)}, geometry);
  }
  v.totals.shapes_without_link += index.size() - i;
  geometry->shaped.good = v.map.links - v.totals.links_without_shape;
  return true;
}

void WarnOf(Verifier& v, const Property& property, const char* what) {
  if (!property.IsRule()) return;
  for (const int32_t l : property.bad) {
    v.Add(Kind::kShapeWarning, At<DrawingRecord>(zatlib::kDrawingFile, l, 0), "link %s: %s",
          v.LinkCode(l).c_str(), what);
  }
}

// What shapes say against what the network says, and the right-turn weights anew.
void CheckGeometry(Verifier& v, const RecordTable<ShapeIndexEntry>& index) {
  Geometry geometry;
  geometry.ends.resize(v.links.size());
  if (!LookAtShapes(v, index, &geometry)) return;
  WarnOf(v, geometry.placed, "its shape does not begin and end at its nodes");
  WarnOf(v, geometry.even, "its shape is not as long as link value 3 says");
  WarnOf(v, geometry.shaped, "it has no shape, though nearly all links have");
  CheckWeights(v, geometry.ends);
}

}  // namespace

void CheckShapes(Verifier& v) {
  RecordTable<ShapeIndexEntry> index;
  if (!HasFile(v.map, zatlib::kShapeIndexFile) ||
      !index.Load(v.map, zatlib::kShapeIndexFile).ok()) {
    return;
  }
  const auto data_size =
      static_cast<int64_t>(zatlib::FileSize(PathOf(v.map, zatlib::kShapeDataFile).c_str()));
  int64_t longest = 0;
  v.totals.shapes = index.size();
  const bool sorted = CheckEntries(v, index, data_size, &longest);
  CheckTiling(v, index, data_size);
  if (index.size() > 0) CheckTotals(v, index[longest]);
  if (sorted) CheckGeometry(v, index);
}

}  // namespace zatmap::verify
