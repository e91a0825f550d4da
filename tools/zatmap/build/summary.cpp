#include "build/summary.h"

namespace zatmap {
namespace {

using check::Kind;

struct Note {
  Kind kind;
  const char* text;
};

constexpr Note kNotes[] = {
    // Left out.
    {Kind::kLinkNodeMissing, "links left out: a node does not exist"},
    {Kind::kNodeUnused, "nodes left out: no link names them"},
    {Kind::kCodeZero, "records lost: their code is 0"},
    {Kind::kHeaderLine, "header lines taken for empty records"},
    {Kind::kFileEmpty, "files without a row"},
    {Kind::kLinkNotListed, "links not connected at a node that does not list them"},
    {Kind::kNodeLinkMissing, "links in the lists of nodes that do not exist"},
    {Kind::kPartnerMissing, "nodes not joined: their partner does not exist"},
    {Kind::kPartnerFull, "nodes not joined: there is no free place among their links"},
    {Kind::kMifSkipped, "objects skipped"},
    // Rows skipped.
    {Kind::kRowUnknown, "rows skipped: their code is unknown"},
    {Kind::kSpeedNodes, "speed rows skipped: their nodes are not those of the link"},
    {Kind::kOneWayNodes, "one-way rows skipped: their nodes are not those of the link"},
    {Kind::kOneWayFlag, "one-way flags without effect"},
    {Kind::kRuleUnknown, "rules skipped: their node or link does not exist"},
    {Kind::kRuleNotAtNode, "rules skipped: their link does not end at their node"},
    {Kind::kRuleKind, "rules skipped: their kind is not 2"},
    {Kind::kShapeUnknown, "shapes of links that do not exist"},
    {Kind::kTukoujEnds, "lines that end their file of rules"},
    // Not told apart, closed.
    {Kind::kRuleParallel, "rules at parallel links that cannot be told apart"},
    {Kind::kOneWayBoth, "one-way rows that close the link altogether"},
    {Kind::kOneWayLoop, "one-way rows that close a link from a node to itself"},
    {Kind::kSpeedZero, "directions closed: their speed is 0"},
    {Kind::kSpeedNegative, "files with speeds below 0, which close the directions"},
    {Kind::kCostSaturated, "links that cost as much as closed ones: they take over 655 seconds"},
    {Kind::kOneWayAgainst, "pairs of one-way rows that together close their link"},
    {Kind::kRuleTwice, "rows that contradict others: the more strict one holds"},
    {Kind::kIsland, "parts of the network that no road joins with the largest"},
    {Kind::kNotReached, "groups of nodes that no route leads to"},
    {Kind::kNotLeft, "groups of nodes that no route leads away from"},
    // Cut, altered.
    {Kind::kNameLong, "names cut to 20 bytes"},
    {Kind::kCommaInName, "names cut at a comma"},
    {Kind::kNameCodePage, "names that are no text of the code page"},
    {Kind::kNameUtf8, "names that seem to be UTF-8"},
    {Kind::kNumberRange, "numbers cut to their column's width"},
    {Kind::kNumberText, "numbers cut behind their digits"},
    {Kind::kColumnsMissing, "records with columns missing, which count as 0"},
    {Kind::kColumnFractions, "columns whose decimals are dropped"},
    {Kind::kLengthRange, "lengths cut to 16 bits"},
    {Kind::kLengthNegative, "lengths below 0, which count as 65536 less"},
    {Kind::kLengthEmpty, "files with empty lengths, which count as 0"},
    {Kind::kSpeedReversed, "speed rows with exchanged nodes: both directions get speed B"},
    {Kind::kKindReserved, "links without attributes: their road kind is 99 or more"},
    {Kind::kCoordZero, "nodes at 0, 0"},
    {Kind::kCoordMissing, "nodes without coordinates"},
    {Kind::kShapeMissing, "links without a shape: no right-turn weights there"},
    {Kind::kShapePoints, "shapes of fewer than two points"},
    {Kind::kMifMultiple, "objects of several lines: shapes without points"},
    {Kind::kShapeLong, "shapes of which the right-turn weights know 2048 points only"},
    {Kind::kShapeEnds, "shapes that do not end at their link's nodes"},
    {Kind::kFareIncomplete, "toll fare data that are not complete: no interchange is marked"},
};

}  // namespace

std::vector<DataNote> DataNotes(const check::Findings& findings) {
  std::vector<DataNote> notes;
  for (const Note& note : kNotes) {
    const int64_t count = findings.count(note.kind);
    if (count > 0) notes.push_back({check::InfoOf(note.kind).id, count, note.text});
  }
  return notes;
}

int64_t OtherFindings(const check::Findings& findings) {
  int64_t count = findings.count(Severity::kError) + findings.count(Severity::kWarning);
  for (const DataNote& note : DataNotes(findings)) count -= note.count;
  return count;
}

}  // namespace zatmap
