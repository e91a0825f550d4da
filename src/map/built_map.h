// A map that was built, open for questions: everything that a program that shows or uses it asks.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "map/code_index.h"
#include "map/graph.h"
#include "map/record_files.h"
#include "map/shape_table.h"

namespace zatlib::map {

// About 170 bytes a node and 110 a link; the points of the shapes stay in the file. Nothing changes
// after Load, so several threads may ask at once.
class BuiltMap {
 public:
  // Loads the tables. An error when one is missing, differs in its number of records, or leads to
  // records that do not exist: record numbers from the map need no doubt after that.
  Error Load(const MapFolder& folder);

  int code_length() const { return code_length_; }
  const Graph& graph() const { return graph_; }
  int64_t nodes() const { return graph_.nodes(); }
  int64_t links() const { return links_.size(); }

  // Records, by node or link number.
  const NodeLocation& location(int64_t node) const { return locations_[node]; }
  const NodeNameRecord& node_name(int64_t node) const { return node_names_[node]; }
  const LinkNodes& link(int64_t link) const { return links_[link]; }
  const LinkNameRecord& link_name(int64_t link) const { return link_names_[link]; }
  const DrawingRecord& drawing(int64_t link) const { return drawings_[link]; }
  // Null when the map has no right-turn weights.
  const SlotBytes* weights(int64_t node) const {
    return weights_.Holds(node) ? weights_.begin() + node : nullptr;
  }
  uint32_t node_city(int64_t node) const { return node_cities_[static_cast<size_t>(node)]; }
  uint32_t city(int64_t link) const { return cities_[static_cast<size_t>(link)]; }

  // Codes as people read them.
  std::string node_code(int64_t node) const {
    return CodeDigits(locations_[node].NodeCode, code_length_);
  }
  std::string link_code(int64_t link) const {
    return CodeDigits(drawings_[link].LinkCode, code_length_);
  }

  // The number of the node or link with a code, -1 when there is none.
  int64_t FindNode(FeatureCode code) const;
  int64_t FindLink(FeatureCode code) const;

  // The node that lies nearest to a place in degrees, the first of several; -1 in a map without
  // nodes. Looks at every node.
  int64_t NearestNode(double longitude, double latitude) const;

  // Cost of the link leaving through node A or B; -1 when that node does not list the link.
  int CostFromA(int64_t link) const { return Cost(links_[link].NodeA, link); }
  int CostFromB(int64_t link) const { return Cost(links_[link].NodeB, link); }

  // The points of a link from node A to node B: its shape, or a straight line.
  void LinkPoints(int64_t link, std::vector<ShapePoint>* points) const;

 private:
  Error CheckReferences() const;
  int Cost(int64_t node, int64_t link) const;

  int code_length_ = 14;
  Graph graph_;
  RecordTable<NodeLocation> locations_;
  RecordTable<NodeNameRecord> node_names_;
  RecordTable<LinkNodes> links_;
  RecordTable<LinkNameRecord> link_names_;
  RecordTable<DrawingRecord> drawings_;
  RecordTable<SlotBytes> weights_;
  ShapeTable shapes_;
  CodeIndex node_index_;
  CodeIndex link_index_;
  std::vector<uint32_t> cities_;
  std::vector<uint32_t> node_cities_;
};

}  // namespace zatlib::map
