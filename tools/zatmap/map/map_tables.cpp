#include "map/map_tables.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace zatmap {
namespace {

constexpr int32_t kMostPoints = 10000000;  // of a shape that is drawn

// City codes out of an index, by record number.
std::vector<uint32_t> LoadCities(const MapFolder& map, const char* index_file, int64_t count) {
  std::vector<uint32_t> cities(static_cast<size_t>(count));
  RecordStream<zatlib::CodeIndexRecord> index;
  zatlib::CodeIndexRecord record;
  index.Open(map, index_file);
  while (index.Next(&record)) {
    if (record.Number >= 0 && record.Number < count) {
      cities[static_cast<size_t>(record.Number)] = record.CityCode;
    }
  }
  return cities;
}

}  // namespace

bool MapTables::Load(const MapFolder& map) {
  code_length_ = map.code_length;
  if (!graph_.Load(map)) return false;
  bool good =
      locations_.Load(map, zatlib::kNodeLocationFile) &&
      node_names_.Load(map, zatlib::kNodeNameFile) && links_.Load(map, zatlib::kLinkNodeFile) &&
      link_names_.Load(map, zatlib::kLinkNameFile) && drawings_.Load(map, zatlib::kDrawingFile);
  const int64_t nodes = graph_.nodes();
  good = good && locations_.size() == nodes && node_names_.size() == nodes &&
         link_names_.size() == links_.size() && drawings_.size() == links_.size();
  for (int64_t l = 0; good && l < links_.size(); ++l) {
    const zatlib::LinkNodes& link = links_[l];
    good = link.NodeA >= 0 && link.NodeA < nodes && link.NodeB >= 0 && link.NodeB < nodes;
  }
  for (int64_t n = 0; good && n < nodes; ++n) {
    for (int s = 0; s < graph_.used(n); ++s) {
      good = good && graph_.link(n, s) >= 0 && graph_.link(n, s) < links_.size();
    }
  }
  if (!good) {
    std::fprintf(stderr, "zatmap: the files in %s do not fit together; zatmap verify tells more.\n",
                 map.path.c_str());
    return false;
  }
  if (Exists(map, zatlib::kRightTurnWeightFile)) weights_.Load(map, zatlib::kRightTurnWeightFile);
  cities_ = LoadCities(map, zatlib::kLinkIndexFile, links_.size());
  node_cities_ = LoadCities(map, zatlib::kNodeIndexFile, nodes);
  if (Exists(map, zatlib::kShapeIndexFile) && Exists(map, zatlib::kShapeDataFile)) {
    shapes_.Load(map, zatlib::kShapeIndexFile);
    points_ = zatlib::platform::File::Open(
        PathOf(map, zatlib::kShapeDataFile).c_str(), zatlib::platform::Access::kRead,
        zatlib::platform::Share::kRead, zatlib::platform::Disposition::kOpenExisting);
  }
  return true;
}

int MapTables::Cost(int64_t node, int64_t link) const {
  for (int s = 0; s < graph_.used(node); ++s) {
    if (graph_.link(node, s) == link) return graph_.node(node).Cost[s];
  }
  return -1;
}

std::vector<zatlib::ShapePoint> MapTables::Points(int64_t link) {
  const zatlib::NodeLocation& a = locations_[links_[link].NodeA];
  const zatlib::NodeLocation& b = locations_[links_[link].NodeB];
  std::vector<zatlib::ShapePoint> points = {{a.X, a.Y}, {b.X, b.Y}};
  const zatlib::FeatureCode code = drawings_[link].LinkCode;
  if (shapes_.size() == 0 || !points_.IsOpen()) return points;
  const auto* entry = std::lower_bound(
      shapes_.begin(), shapes_.end(), code,
      [](const zatlib::ShapeIndexEntry& x, zatlib::FeatureCode wanted) { return x.Code < wanted; });
  if (entry == shapes_.end() || !(entry->Code == code) || entry->Count < 2 ||
      entry->Count > kMostPoints || entry->Offset < 0) {
    return points;
  }
  std::vector<zatlib::ShapePoint> shape(static_cast<size_t>(entry->Count));
  if (points_.Seek(entry->Offset, zatlib::platform::SeekFrom::kBegin) != entry->Offset ||
      !zatlib::ReadExactly(points_, shape.data(), shape.size() * sizeof shape[0])) {
    return points;
  }
  // A shape may have been drawn from node B to node A.
  const auto distance = [](const zatlib::ShapePoint& p, const zatlib::NodeLocation& n) {
    return std::abs(double{1} * p.X - n.X) + std::abs(double{1} * p.Y - n.Y);
  };
  if (distance(shape.front(), b) + distance(shape.back(), a) <
      distance(shape.front(), a) + distance(shape.back(), b)) {
    std::reverse(shape.begin(), shape.end());
  }
  return shape;
}

}  // namespace zatmap
