// Where findings lie on the map.
#pragma once

#include <cstdint>
#include <map>
#include <string_view>
#include <tuple>
#include <vector>

#include "check/control.h"
#include "check/network.h"
#include "check/report_rows.h"
#include "shape/shape_files.h"

namespace zatmap::check {

class Places {
 public:
  // Looks the findings up: the node of a row, or its link from node to node, or the coordinates
  // that the row itself holds.
  void Find(const Control& control, const Network& network, const std::vector<Finding>& wanted,
            const RowTexts& rows);

  // One point, or the points of a line; none for findings without a place.
  std::vector<zatlib::ShapePoint> Of(const Finding& finding) const;

 private:
  using Points = std::vector<zatlib::ShapePoint>;
  using Key = std::tuple<uint32_t, int64_t, int64_t>;  // file, record, line

  static Key KeyOf(const Finding& finding) {
    return {finding.place.file, finding.place.record, finding.place.line};
  }
  static Key BesideMif(Findings& findings, const Finding& finding);
  void FindRecords(const Network& network);
  void FindByCode(const Control& control, const Network& network, const Finding& finding,
                  std::string_view row);
  void Give(uint32_t file, uint32_t record, const Points& points);

  std::map<Key, Points> places_;
};

}  // namespace zatmap::check
