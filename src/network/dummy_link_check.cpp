#include "network/dummy_link_check.h"

#include <algorithm>

#include "frd/cancellable.h"
#include "frd/step.h"
#include "network/network_data.h"
#include "network/workstore/code_length.h"

namespace zatlib {
namespace {

constexpr char kLogicFound[] = "Internal Logic Error Found";

// The texts in which the two ways of checking dummy links differ.
struct DummyCheckTexts {
  const char* step;
  const char* status;
  MessageText<int> progress = "";  // links; empty = no progress
  const char* code_length_title;
  const char* file_title;
};

constexpr DummyCheckTexts kInMemory = {
    .step = "BRN_CheckDummyLinkNodes",
    .status = "Checking the dummy link nodes(M)...",
    .code_length_title = "Internal Logic Error Found in BRN_CheckDummyLinkNodes",
    .file_title = "Internal Logic Error Found in BRN_CheckDummyLinkNodes"};
constexpr DummyCheckTexts kThroughFiles = {
    .step = "BRN450_CheckDummyLinkNodes",
    .status = "Checking the dummy link nodes(F)...",
    .progress = "Checking the dummy link nodes(F)...\n%d",
    .code_length_title = "Internal Logic Error Found in BRN450_CheckDummyLinkNodes",
    .file_title = "File Error in BRN450_CheckDummyLinkNode"};

// Lets the ends of dummy links list them.
template <typename Nodes, typename Links>
class DummyLinkCheck {
 public:
  DummyLinkCheck(const Step& step, const DummyCheckTexts& texts, Nodes& nodes,
                 const CodeIndexRecord* node_index, Links& links)
      : step_(step), texts_(texts), nodes_(nodes), node_index_(node_index), links_(links) {}

  Outcome Run() {
    Outcome outcome = TakeCodeLength(step_, texts_.code_length_title, &code_length_);
    if (!IsDone(outcome) || links_.count < 1) return outcome;
    const PathText node_path = step_.Path(kNodeStoreFile);
    const PathText link_path = step_.Path(kLinkStoreFile);
    if (!nodes_.Open(node_path.c_str(), platform::Access::kReadWrite) ||
        !links_.Open(link_path.c_str(), platform::Access::kRead)) {
      return step_.FailAs(texts_.file_title,
                          "Can't open the node store (%s) or the link store (%s) !",
                          node_path.c_str(), link_path.c_str());
    }
    for (int32_t i = 0; i < links_.count && IsDone(outcome); ++i) {
      if (IsCancelledAt(i)) return Outcome::kCancelled;
      const LinkStoreRecord* const link = links_.At(i);
      if (link == nullptr) return FailUnreadRecord(step_, kLogicFound, links_, i);
      if (link->RoadKind != kDummyRoadKind) continue;
      outcome = List(CodeOf(*link), link->NodeA, "A");
      if (IsDone(outcome)) outcome = List(CodeOf(*link), link->NodeB, "B");
    }
    return outcome;
  }

 private:
  bool IsCancelledAt(int32_t i) const {
    if (texts_.progress.empty()) return CancelledAt(i);
    return i % kStatusInterval == 0 && SetStatusNumber(texts_.progress, i) == 0;
  }

  // Makes the end `end` ("A" or "B") of a dummy link list it.
  Outcome List(FeatureCode link, FeatureCode node_code, const char* end) {
    const int32_t number = BRN_FindIndexRecord(node_code, nodes_.count, node_index_);
    if (number < 0) {
      return step_.Fail(kLogicFound, "No edging node %s (%s) in the Dummy Link (%s)!", end,
                        CodeText(node_code, code_length_).c_str(),
                        CodeText(link, code_length_).c_str());
    }
    NodeStoreRecord* const node = nodes_.At(number);
    if (node == nullptr) return FailUnreadRecord(step_, kLogicFound, nodes_, number);
    FeatureCode* const slots = node->ConnLinkCode;
    if (std::find(slots, slots + kSlots, link) != slots + kSlots) return Outcome::kDone;
    FeatureCode* const free_slot =
        std::find_if(slots, slots + kSlots, [](FeatureCode slot) { return slot.IsEmpty(); });
    if (free_slot == slots + kSlots) return Outcome::kDone;
    *free_slot = link;
    if (nodes_.Write(number)) return Outcome::kDone;
    return step_.Fail(kLogicFound, "Can't seek / write the node storage file at %ld !",
                      static_cast<long>(number));
  }

  const Step& step_;
  const DummyCheckTexts& texts_;
  Nodes& nodes_;
  const CodeIndexRecord* node_index_;
  Links& links_;
  int code_length_ = 0;
};

template <typename Nodes, typename Links>
int CheckDummyLinkNodes(const Step& step, const DummyCheckTexts& texts, Nodes& nodes,
                        const CodeIndexRecord* node_index, Links& links) {
  if (!IsDone(step.Begin(texts.status))) return 0;
  DummyLinkCheck<Nodes, Links> check(step, texts, nodes, node_index, links);
  return AsResult(check.Run());
}

}  // namespace

int BRN_CheckDummyLinkNodes(WindowHandle owner, NodeArray& nodes, const CodeIndexRecord* node_index,
                            LinkArray& links, const char* control_file) {
  const Step step(owner, control_file, kInMemory.step);
  return CheckDummyLinkNodes(step, kInMemory, nodes, node_index, links);
}

int BRN450_CheckDummyLinkNodes(WindowHandle owner, NodePositions& nodes,
                               const CodeIndexRecord* node_index, LinkPositions& links,
                               const char* control_file) {
  const Step step(owner, control_file, kThroughFiles.step);
  const int result = CheckDummyLinkNodes(step, kThroughFiles, nodes, node_index, links);
  nodes.Close();
  links.Close();
  return result;
}

}  // namespace zatlib
