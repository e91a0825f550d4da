// Checks and repairs of the node and link stores before any network file is made. Records are
// killed by setting their code to 0; dummy links between partner nodes are appended.
#pragma once

#include <cstdint>

#include "frd/memory.h"
#include "frd/progress.h"
#include "network/workstore/feature_code.h"

namespace zatlib {

// Codes in ascending order.
struct SortedCodes {
  PageArray<FeatureCode> codes;
  int64_t count = 0;
};

// What the checks of one build know already and hand on from one to the next, so that the stores
// are read once. Where memory is short it stays empty, and each check reads for itself.
struct CheckedStores {
  bool filled = false;
  bool has_partners = false;        // some node names a partner
  SortedCodes nodes;                // codes of all node records, no two equal
  PageArray<uint8_t> ends;          // per code: not 0 = some link's end
  int64_t links = 0;                // link records
  PageArray<uint64_t> loose_links;  // a bit a link record: an end is no node
};

// Reports every code that two node records or two link records share. Returns 1 when there is
// none; 0 on a duplicate, an empty store, cancel or failure. Fills `known`, memory permitting.
int BRN_CheckNodeLinkDuplication(WindowHandle owner, const char* control_file,
                                 CheckedStores* known = nullptr);

// Kills the nodes that no link names as an end. Returns 1; 0 on cancel or failure (reported).
int BRN_CheckNodeStoreFromLinkStore(WindowHandle owner, const char* control_file,
                                    const CheckedStores* known = nullptr);

// Fills the list with the node codes that are not empty; takes the memory of `known`'s list.
// Returns 1; 0 on cancel or failure (reported), the list is then empty.
int BRN_MakeDrotenNodeIndex(WindowHandle owner, SortedCodes* list, const char* control_file,
                            CheckedStores* known = nullptr);

// 1 when the code is in the sorted list, else 0.
int BRN_CodeExists(FeatureCode code, int64_t count, const FeatureCode* codes);

// Kills the links of which an end is not in the list. Returns 1; 0 on cancel or failure (reported).
int BRN_CheckLinkStore(WindowHandle owner, const SortedCodes& nodes, const char* control_file,
                       const CheckedStores* known = nullptr);

// Joins nodes that name a partner by one dummy link each pair and puts it into the node's first
// empty slot. Returns 1; 0 on cancel or failure (reported).
int BRN_MakeDummyLinks(WindowHandle owner, const SortedCodes& nodes, const char* control_file,
                       const CheckedStores* known = nullptr);

}  // namespace zatlib
