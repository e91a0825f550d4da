#include "map/graph.h"

namespace zatlib::map {

Error Graph::Load(const MapFolder& folder) {
  for (const Error& error : {nodes_.Load(folder, kCalcNodeFile), links_.Load(folder, kNodeLinkFile),
                             turns_.Load(folder, kTurnTableFile)}) {
    if (!error.ok()) return error;
  }
  if (links_.size() != nodes_.size()) return {ErrorKind::kSize, kNodeLinkFile};
  if (turns_.size() != nodes_.size()) return {ErrorKind::kSize, kTurnTableFile};
  for (int64_t n = 0; n < nodes_.size(); ++n) {
    for (const int32_t other : nodes_[n].OtherNode) {
      if (other >= nodes_.size()) return {ErrorKind::kReference, kCalcNodeFile, n};
    }
  }
  return {};
}

int Graph::ArrivalSlot(int64_t n, int slot) const {
  const int64_t other = nodes_[n].OtherNode[slot];
  const int32_t number = links_[n].Link[slot];
  const int count = used(other);
  for (int s = 0; s < count; ++s) {
    if (links_[other].Link[s] == number && nodes_[other].OtherNode[s] == n) return s;
  }
  for (int s = 0; s < count; ++s) {
    if (nodes_[other].OtherNode[s] == n) return s;
  }
  return -1;
}

}  // namespace zatlib::map
