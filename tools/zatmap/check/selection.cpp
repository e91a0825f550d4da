#include "check/selection.h"

#include <algorithm>

#include "shell/likely.h"

namespace zatmap::check {
namespace {

using Numbers = std::array<int64_t, kKindCount>;

bool Holds(const std::vector<Kind>& kinds, Kind kind) {
  return std::find(kinds.begin(), kinds.end(), kind) != kinds.end();
}

// How many findings of each kind are shown when there is room for `max`.
Numbers Shares(const Numbers& wanted, int64_t max) {
  Numbers shares{};
  int64_t left = max;
  for (bool any = true; any && left > 0;) {
    any = false;
    for (const Severity severity : {Severity::kError, Severity::kWarning}) {
      for (size_t kind = 0; kind < kKindCount; ++kind) {
        if (Kinds()[kind].severity != severity || shares[kind] == wanted[kind] || left == 0) {
          continue;
        }
        ++shares[kind];
        --left;
        any = true;
      }
    }
  }
  return shares;
}

const KindInfo* FindKind(const std::string& id) {
  const auto found = std::find_if(Kinds().begin(), Kinds().end(),
                                  [&](const KindInfo& info) { return id == info.id; });
  return found == Kinds().end() ? nullptr : &*found;
}

}  // namespace

bool Selection::Counts(Kind kind) const {
  return (only.empty() || Holds(only, kind)) && !Holds(ignored, kind);
}

bool ParseKinds(const std::vector<std::string>& ids, std::vector<Kind>* kinds,
                std::string* problem) {
  for (const std::string& id : ids) {
    if (const KindInfo* const info = FindKind(id)) {
      kinds->push_back(info->kind);
      continue;
    }
    std::vector<std::string> all;
    for (const KindInfo& info : Kinds()) all.emplace_back(info.id);
    const std::string likely = Likely(id, all);
    *problem = "there is no kind \"" + id + "\"" + (likely.empty() ? "" : ", probably " + likely) +
               "; --kinds lists all";
    return false;
  }
  return true;
}

Chosen Choose(const Findings& findings, const Selection& selection) {
  Chosen chosen;
  chosen.hidden = findings.hidden();
  Numbers wanted{};
  for (const KindInfo& info : Kinds()) {
    const int64_t count = findings.count(info.kind);
    if (!selection.Counts(info.kind)) {
      chosen.left_out += count;
      continue;
    }
    const auto kind = static_cast<size_t>(info.kind);
    chosen.counts[kind] = count;
    const bool error = info.severity == Severity::kError;
    (error ? chosen.errors : chosen.warnings) += count;
    if (error || !selection.errors_only) wanted[kind] = count;
  }
  const Numbers shares = selection.max > 0 ? Shares(wanted, selection.max) : wanted;
  for (const Finding& finding : findings.Sorted()) {
    const auto kind = static_cast<size_t>(finding.kind);
    if (chosen.shown[kind] == shares[kind]) continue;
    ++chosen.shown[kind];
    chosen.findings.push_back(finding);
  }
  for (size_t kind = 0; kind < kKindCount; ++kind) chosen.more += wanted[kind] - chosen.shown[kind];
  return chosen;
}

}  // namespace zatmap::check
