#include "network/workstore/point_copy.h"

#include "frd/cp932.h"
#include "frd/source_report.h"

namespace zatlib {
namespace {

constexpr MessageText<const char*, int> kNoPlace =
    kCp932<u8"道路点オブジェクトがありません！\r\n%s (rec=%d)">;

}  // namespace

ReadResult NodePoints::Amend(NodeStoreRecord* node) {
  if (points_.Next(&node->X, &node->Y) == MifPoint::kEnd) {
    return rules_.may_end && !IsCutShort(mif_.end()) ? ReadResult::kEnd : ReadResult::kUnfit;
  }
  return node->X == 0 && node->Y == 0 ? ReadResult::kUnfit : ReadResult::kRecord;
}

Outcome NodePoints::FailUnfit(int64_t number) const {
  if (IsCutShort(mif_.end())) return FailUnread(step_, mif_.path().c_str(), mif_.end());
  return step_.FailModalAs(rules_.unfit_title, kNoPlace, mid_path_, static_cast<int>(number));
}

}  // namespace zatlib
