// The tables of a map in memory, for the subcommands that draw links and name nodes.
#pragma once

#include <string>
#include <vector>

#include "map/map_files.h"
#include "map/map_graph.h"

namespace zatmap {

// About 170 bytes a node and 110 a link; the points of the shapes stay in the file.
class MapTables {
 public:
  // Loads the tables. False, with a message on standard error, when one is missing or damaged.
  bool Load(const MapFolder& map);

  const MapGraph& graph() const { return graph_; }
  const zatlib::NodeLocation& location(int64_t node) const { return locations_[node]; }
  const zatlib::NodeNameRecord& node_name(int64_t node) const { return node_names_[node]; }
  const zatlib::LinkNodes& link(int64_t link) const { return links_[link]; }
  const zatlib::LinkNameRecord& link_name(int64_t link) const { return link_names_[link]; }
  const zatlib::DrawingRecord& drawing(int64_t link) const { return drawings_[link]; }
  const zatlib::SlotBytes* weights(int64_t node) const {
    return node < weights_.size() ? weights_.begin() + node : nullptr;
  }
  uint32_t city(int64_t link) const { return cities_[static_cast<size_t>(link)]; }
  uint32_t node_city(int64_t node) const { return node_cities_[static_cast<size_t>(node)]; }
  int64_t links() const { return links_.size(); }
  std::string node_code(int64_t node) const {
    return CodeDigits(locations_[node].NodeCode, code_length_);
  }
  std::string link_code(int64_t link) const {
    return CodeDigits(drawings_[link].LinkCode, code_length_);
  }

  // Cost of the link leaving through node A or B; -1 when that node does not list the link.
  int CostFromA(int64_t link) const { return Cost(links_[link].NodeA, link); }
  int CostFromB(int64_t link) const { return Cost(links_[link].NodeB, link); }

  // The points of a link from node A to node B: its shape, or a straight line.
  std::vector<zatlib::ShapePoint> Points(int64_t link);

 private:
  int Cost(int64_t node, int64_t link) const;

  int code_length_ = 14;
  MapGraph graph_;
  RecordTable<zatlib::NodeLocation> locations_;
  RecordTable<zatlib::NodeNameRecord> node_names_;
  RecordTable<zatlib::LinkNodes> links_;
  RecordTable<zatlib::LinkNameRecord> link_names_;
  RecordTable<zatlib::DrawingRecord> drawings_;
  RecordTable<zatlib::SlotBytes> weights_;
  RecordTable<zatlib::ShapeIndexEntry> shapes_;
  std::vector<uint32_t> cities_;
  std::vector<uint32_t> node_cities_;
  zatlib::platform::File points_;
};

}  // namespace zatmap
