// Nodes whose places stand in a MIF file, a point for each record of the MID file beside it.
#pragma once

#include <cstdint>

#include "frd/mif_text.h"
#include "frd/step.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// In what the two formats differ.
struct PointRules {
  MifPointTest test;
  bool may_end;             // the end of the MIF ends the nodes as the end of the MID does
  const char* unfit_title;  // of the report for a node without a place
};

// The points of one MIF file, put onto the records of its MID file (AppendedStore::AppendAmended).
class NodePoints {
 public:
  // `mif` is open; its header has been read when the first record is amended.
  NodePoints(const Step& step, const PointRules& rules, LineSource& mif, const char* mid_path)
      : step_(step), rules_(rules), mif_(mif), mid_path_(mid_path), points_(mif, rules.test) {}

  // Sets the place of a node. kUnfit for one without: a point at 0, 0, or none left.
  ReadResult Amend(NodeStoreRecord* node);

  // Reports that the node of that number (from 1) has no place, or why the MIF ended too early.
  Outcome FailUnfit(int64_t number) const;

 private:
  const Step& step_;
  const PointRules& rules_;
  LineSource& mif_;
  const char* mid_path_;
  MifPoints points_;
};

}  // namespace zatlib
