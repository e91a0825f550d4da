#include "map/built_map.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace zatlib::map {
namespace {

// City codes out of an index, by record number.
std::vector<uint32_t> LoadCities(const MapFolder& folder, const char* index_file, int64_t count) {
  std::vector<uint32_t> cities(static_cast<size_t>(count));
  RecordReader<CodeIndexRecord> index;
  CodeIndexRecord record;
  index.Open(folder, index_file);
  while (index.Next(&record)) {
    if (record.Number >= 0 && record.Number < count) {
      cities[static_cast<size_t>(record.Number)] = record.CityCode;
    }
  }
  return cities;
}

// Loads a table that has `count` records.
template <typename Record>
Error LoadTable(const MapFolder& folder, const char* name, int64_t count,
                RecordTable<Record>* table) {
  const Error error = table->Load(folder, name);
  if (!error.ok() || table->size() == count) return error;
  return {ErrorKind::kSize, name};
}

// Steps between a point and a node, along the axes.
double Distance(const ShapePoint& point, const NodeLocation& node) {
  return std::abs(double{1} * point.X - node.X) + std::abs(double{1} * point.Y - node.Y);
}

}  // namespace

Error BuiltMap::Load(const MapFolder& folder) {
  code_length_ = folder.code_length;
  if (const Error error = graph_.Load(folder); !error.ok()) return error;
  if (const Error error = links_.Load(folder, kLinkNodeFile); !error.ok()) return error;
  for (const Error& error : {LoadTable(folder, kNodeLocationFile, nodes(), &locations_),
                             LoadTable(folder, kNodeNameFile, nodes(), &node_names_),
                             LoadTable(folder, kLinkNameFile, links(), &link_names_),
                             LoadTable(folder, kDrawingFile, links(), &drawings_)}) {
    if (!error.ok()) return error;
  }
  if (const Error error = CheckReferences(); !error.ok()) return error;
  cities_ = LoadCities(folder, kLinkIndexFile, links());
  node_cities_ = LoadCities(folder, kNodeIndexFile, nodes());
  node_index_.Open(folder, kNodeIndexFile);
  link_index_.Open(folder, kLinkIndexFile);
  // A map is whole without weights and shapes; what cannot be read of them is as good as absent.
  if (HasFile(folder, kRightTurnWeightFile)) (void)weights_.Load(folder, kRightTurnWeightFile);
  (void)shapes_.Load(folder);
  return {};
}

// The ends of every link, and the link of every used slot.
Error BuiltMap::CheckReferences() const {
  for (int64_t l = 0; l < links(); ++l) {
    if (!locations_.Holds(links_[l].NodeA) || !locations_.Holds(links_[l].NodeB)) {
      return {ErrorKind::kReference, kLinkNodeFile, l};
    }
  }
  for (int64_t n = 0; n < nodes(); ++n) {
    for (int s = 0; s < graph_.used(n); ++s) {
      if (!links_.Holds(graph_.link(n, s))) return {ErrorKind::kReference, kNodeLinkFile, n};
    }
  }
  return {};
}

int64_t BuiltMap::FindNode(FeatureCode code) const {
  const int64_t node = node_index_.Number(code);
  return locations_.Holds(node) ? node : -1;
}

int64_t BuiltMap::FindLink(FeatureCode code) const {
  const int64_t link = link_index_.Number(code);
  return links_.Holds(link) ? link : -1;
}

int64_t BuiltMap::NearestNode(double longitude, double latitude) const {
  const double scale = std::cos(latitude * 3.141592653589793 / 180.0);
  double least = INFINITY;
  int64_t nearest = -1;
  for (int64_t n = 0; n < nodes(); ++n) {
    const double dx = (locations_[n].X / 1000000.0 - longitude) * scale;
    const double dy = locations_[n].Y / 1000000.0 - latitude;
    if (dx * dx + dy * dy >= least) continue;
    least = dx * dx + dy * dy;
    nearest = n;
  }
  return nearest;
}

int BuiltMap::Cost(int64_t node, int64_t link) const {
  for (int s = 0; s < graph_.used(node); ++s) {
    if (graph_.link(node, s) == link) return graph_.node(node).Cost[s];
  }
  return -1;
}

void BuiltMap::LinkPoints(int64_t link, std::vector<ShapePoint>* points) const {
  const NodeLocation& a = locations_[links_[link].NodeA];
  const NodeLocation& b = locations_[links_[link].NodeB];
  if (!shapes_.Points(drawings_[link].LinkCode, points)) {
    *points = {{a.X, a.Y}, {b.X, b.Y}};
    return;
  }
  // A shape may have been drawn from node B to node A.
  if (Distance(points->front(), b) + Distance(points->back(), a) <
      Distance(points->front(), a) + Distance(points->back(), b)) {
    std::reverse(points->begin(), points->end());
  }
}

}  // namespace zatlib::map
