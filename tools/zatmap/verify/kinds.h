// The kinds of findings of `zatmap verify`.
#pragma once

#include <cstdint>

#include "shell/findings.h"

namespace zatmap::verify {

// In the order of the summary: errors, then warnings, each by their names.
enum class Kind : uint8_t {
  kAttribute,
  kChanged,
  kCity,
  kCodes,
  kCoordinate,
  kCost,
  kExtra,
  kFlags,
  kLength,
  kManifest,
  kMissing,
  kName,
  kOneWay,
  kOrder,
  kPacking,
  kPartnerLink,
  kReference,
  kWeight,
  kRoadKind,
  kShape,
  kSize,
  kText,
  kTurn,
  kZeroBytes,
  kCodesWarning,
  kCoordinateWarning,
  kLeftBehind,
  kNameWarning,
  kShapeWarning,
  kSizeWarning,
  kTextWarning,
  kUnconnected,
  kCount
};

inline constexpr KindInfo<Kind> kKinds[] = {
    {Kind::kAttribute, "attribute", Severity::kError},
    {Kind::kChanged, "changed file", Severity::kError},
    {Kind::kCity, "city", Severity::kError},
    {Kind::kCodes, "codes", Severity::kError},
    {Kind::kCoordinate, "coordinate", Severity::kError},
    {Kind::kCost, "cost", Severity::kError},
    {Kind::kExtra, "extra file", Severity::kError},
    {Kind::kFlags, "flags", Severity::kError},
    {Kind::kLength, "length", Severity::kError},
    {Kind::kManifest, "manifest", Severity::kError},
    {Kind::kMissing, "missing file", Severity::kError},
    {Kind::kName, "name", Severity::kError},
    {Kind::kOneWay, "one-way", Severity::kError},
    {Kind::kOrder, "order", Severity::kError},
    {Kind::kPacking, "packing", Severity::kError},
    {Kind::kPartnerLink, "partner link", Severity::kError},
    {Kind::kReference, "reference", Severity::kError},
    {Kind::kWeight, "right-turn weight", Severity::kError},
    {Kind::kRoadKind, "road kind", Severity::kError},
    {Kind::kShape, "shape", Severity::kError},
    {Kind::kSize, "size", Severity::kError},
    {Kind::kText, "text", Severity::kError},
    {Kind::kTurn, "turn table", Severity::kError},
    {Kind::kZeroBytes, "zero bytes", Severity::kError},
    {Kind::kCodesWarning, "codes", Severity::kWarning},
    {Kind::kCoordinateWarning, "coordinate", Severity::kWarning},
    {Kind::kLeftBehind, "left behind", Severity::kWarning},
    {Kind::kNameWarning, "name", Severity::kWarning},
    {Kind::kShapeWarning, "shape", Severity::kWarning},
    {Kind::kSizeWarning, "size", Severity::kWarning},
    {Kind::kTextWarning, "text", Severity::kWarning},
    {Kind::kUnconnected, "unconnected", Severity::kWarning},
};
static_assert(InOrder<Kind>(kKinds));

// Findings in the order of the map's files and records.
class Findings : public FindingList<Kind> {
 public:
  // At most `max_per_kind` findings of a kind are kept.
  explicit Findings(int64_t max_per_kind)
      : FindingList(kKinds, max_per_kind, Ties::kAsFound, kDetailSize) {}

 private:
  static constexpr size_t kDetailSize = 512;
};

}  // namespace zatmap::verify
