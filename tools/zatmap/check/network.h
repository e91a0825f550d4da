// Nodes and links of the sources in sorted arrays, and what they say of each other.
#pragma once

#include <cstdint>
#include <vector>

#include "check/findings.h"
#include "check/page_vector.h"
#include "frd/code_lookup.h"
#include "frd/keyed_table.h"
#include "network/workstore/feature_code.h"
#include "network/workstore/work_stores.h"

namespace zatmap::check {

// The columns of a format that findings about whole records name.
struct NetworkColumns {
  int node_code;
  int partner;
  int links;  // the first one of a node
  int link_code;
  int node_a;
  int node_b;
  int kind;
  int length;
  int speed_a;
  int speed_b;
};

struct CheckedNode {
  zatlib::FeatureCode code;
  zatlib::FeatureCode partner;
  zatlib::FeatureCode links[zatlib::kSlots];
  int32_t x = 0;  // millionths of a degree
  int32_t y = 0;
  uint32_t file = 0;
  uint32_t record = 0;
  uint32_t place_file = 0;  // where its coordinates stand
  uint32_t place_record = 0;
  bool placed = false;  // its coordinates are given
};

struct CheckedLink {
  zatlib::FeatureCode code;
  zatlib::FeatureCode node_a;
  zatlib::FeatureCode node_b;
  int32_t a = -1;  // places of the nodes in their array, -1 = missing
  int32_t b = -1;
  uint32_t file = 0;
  uint32_t record = 0;
  uint16_t length = 0;
  uint16_t speed_a = 0;
  uint16_t speed_b = 0;
  uint8_t marks = 0;
  float shape_length = 0;    // metres along its shape, 0 without one
  float swapped_length = 0;  // the same if longitude and latitude were exchanged
  float written_length = 0;  // as the source says it, fractions and all
};

// A row of prohibited turns whose node and links are there, of whatever kind.
struct CheckedTurn {
  int32_t node;  // places in the arrays
  int32_t in_link;
  int32_t out_link;
  int32_t kind;
  uint32_t file;
  uint32_t record;
};

// A row of one-way links whose link and nodes fit. It closes the link from A to B, from B to A, in
// both directions or in none.
struct CheckedOneWay {
  int32_t link;
  bool closes_a;
  bool closes_b;
  uint32_t file;
  uint32_t record;
};

inline constexpr uint8_t kListedAtA = 0x01;
inline constexpr uint8_t kListedAtB = 0x02;
inline constexpr uint8_t kHasShape = 0x04;
inline constexpr uint8_t kParallel = 0x08;   // another link joins the same two nodes
inline constexpr uint8_t kClosedOnA = 0x10;  // a speed below 0 from A to B
inline constexpr uint8_t kClosedOnB = 0x20;

// Where most nodes lie, with a wide margin; coordinates outside are suspicious.
struct Bounds {
  int64_t low_x = INT64_MIN;
  int64_t high_x = INT64_MAX;
  int64_t low_y = INT64_MIN;
  int64_t high_y = INT64_MAX;

  bool Holds(int64_t x, int64_t y) const {
    return x >= low_x && x <= high_x && y >= low_y && y <= high_y;
  }
};

class Network {
 public:
  Network(Findings& findings, int code_length, const NetworkColumns& columns)
      : findings_(findings), code_length_(code_length), columns_(columns) {}

  PageVector<CheckedNode> nodes;
  PageVector<CheckedLink> links;
  std::vector<CheckedTurn> turns;  // in the order of their files
  std::vector<CheckedOneWay> one_ways;
  bool nodes_whole = true;  // every node file could be read
  bool links_whole = true;

  // Sort the codes and report those that are there twice or reserved. False when there are none.
  bool IndexNodes();
  bool IndexLinks();

  // Place in the array of a code, -1 when it is empty or unknown.
  int32_t FindNode(zatlib::FeatureCode code) const;
  int32_t FindLink(zatlib::FeatureCode code) const;

  // What nodes and links say of each other, partners, loops, parallel links.
  void CheckReferences();

  // Costs beyond their limit and links without a speed, once the speeds are final.
  void CheckCosts();

  // Computes the bounds and reports the nodes outside of them.
  void CheckPlaces();

  // False, with a finding, when a point lies far from the nodes.
  bool CheckPoint(Place here, int32_t x, int32_t y) const;

  // True for a point where most nodes lie.
  bool IsNear(int32_t x, int32_t y) const { return bounds_.Holds(x, y); }

  int code_length() const { return code_length_; }
  Findings& findings() const { return findings_; }
  zatlib::CodeText TextOf(zatlib::FeatureCode code) const { return {code, code_length_}; }
  Place PlaceOf(const CheckedNode& node, int column) const {
    return {node.file, node.record, column, 0};
  }
  Place PlaceOf(const CheckedLink& link, int column) const {
    return {link.file, link.record, column, 0};
  }
  const NetworkColumns& columns() const { return columns_; }

 private:
  template <typename Item>
  void Index(PageVector<Item>& items, int code_column, std::vector<zatlib::KeyedRecord>* index,
             zatlib::CodeLookup* lookup);
  int32_t Find(const std::vector<zatlib::KeyedRecord>& index, const zatlib::CodeLookup& lookup,
               zatlib::FeatureCode code) const;

  // How many links end at a node, and how many of these it lists.
  struct Degree {
    uint32_t links = 0;
    uint32_t listed = 0;
  };
  // Whether a link names a node that is missing, or one that does not list it.
  struct Seen {
    bool missing;
    bool unlisted;
  };
  Seen FindEnds(std::vector<Degree>* degrees);

  // True when there is nothing to say about the links that a node lists; it may also be false then.
  bool IsInOrder(const CheckedNode& node, const Degree& degree) const;

  void MarkParallelLinks();
  void CheckSlots(CheckedNode& node, int32_t number);

  Findings& findings_;
  int code_length_;
  NetworkColumns columns_;
  Bounds bounds_;
  std::vector<zatlib::KeyedRecord> node_index_;
  std::vector<zatlib::KeyedRecord> link_index_;
  zatlib::CodeLookup node_lookup_;
  zatlib::CodeLookup link_lookup_;
};

}  // namespace zatmap::check
