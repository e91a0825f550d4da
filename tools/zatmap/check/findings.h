// Findings of `zatmap check`.
#pragma once

#include "check/kinds.h"
#include "shell/findings.h"

namespace zatmap::check {

class Findings : public FindingList<Kind> {
 public:
  // At most `max_per_kind` findings of a kind are kept (0: all).
  explicit Findings(int64_t max_per_kind)
      : FindingList(Kinds(), max_per_kind, Ties::kByKind, zatlib::kMessageSize) {}

  // False when memory ran out before everything was looked at.
  bool complete() const { return complete_; }
  void SetIncomplete() { complete_ = false; }

 private:
  bool complete_ = true;
};
using Finding = Findings::Finding;

}  // namespace zatmap::check
