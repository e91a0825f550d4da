// The kinds of findings of `zatmap check`: docs/zatmap-check.md lists the same ones.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

#include "shell/findings.h"

namespace zatmap::check {

// In the order of the table; what each one means stands there. An error ends the build or makes a
// map that does not say what the sources say. A warning is something that the build passes over or
// alters in silence and that may be meant so.
enum class Kind : uint8_t {
  // The control file and the files that it names.
  kControlMissing,
  kControlLine,
  kSectionMisspelt,
  kSectionUnknown,
  kSectionOtherFormat,
  kSectionTwice,
  kSectionMissing,
  kKeyMisspelt,
  kKeyUnknown,
  kKeyTwice,
  kKeyMissing,
  kFileNumber,
  kNodeXYFiles,
  kValueComment,
  kValueNumber,
  kValueUnknown,
  kCodeLength,
  kFlagClash,
  kFolderMissing,
  kFolderDefault,
  kFolderLeftover,
  kPathLong,
  kFileMissing,
  kFileCase,
  kMidMissing,
  kMidPath,
  kFileRead,
  kFareIncomplete,
  // Lines and fields.
  kByteOrderMark,
  kByteOrderMarkMif,
  kWideText,
  kLfLineEnd,
  kCrLineEnd,
  kLineLong,
  kFieldLong,
  kCommaInQuotes,
  kCommaInName,
  kQuoteInField,
  kQuoteOpen,
  kBreakInQuotes,
  kNulByte,
  kNoRecords,
  kHeaderLine,
  kHeaderLineTwice,
  kColumnsMissing,
  kNumberText,
  kNumberRange,
  // Codes.
  kCodeText,
  kCodeLong,
  kCodeReserved,
  kCodeZero,
  kCodeZeroTwice,
  kCodeTwice,
  kAreaRange,
  kNumberLong,
  kCityRange,
  // References between nodes and links.
  kLinkNodeMissing,
  kLinkNotListed,
  kNodeLinkMissing,
  kNodeLinkOther,
  kNodeLinkTwice,
  kNodeLinksMany,
  kNodeUnused,
  kPartnerMissing,
  kPartnerFull,
  // Coordinates.
  kCoordDecimals,
  kCoordExponent,
  kCoordText,
  kCoordRange,
  kCoordZero,
  kCoordMissing,
  kCoordSwapped,
  kCoordFar,
  kColumnsToX,
  // Names.
  kNameLong,
  kNameCodePage,
  kNameUtf8,
  kRowUnknown,
  // Links.
  kLengthRange,
  kCostSaturated,
  kSpeedZero,
  kSpeedNodes,
  kSpeedReversed,
  kKindReserved,
  // MIF files.
  kMifNoData,
  kMifDataColumn,
  kMifPointColumn,
  kMifSkipped,
  kMifMultiple,
  kMifNone,
  kMifPointZero,
  kMifZeroAxis,
  kMifPoints,
  kMifBlank,
  kMifCount,
  kMifCoordSys,
  kMifNoCoordSys,
  kMifCharset,
  kMifDelimiter,
  kMifHeaders,
  // Rules.
  kRuleUnknown,
  kRuleNotAtNode,
  kRuleKind,
  kRuleParallel,
  kOneWayNodes,
  kOneWayFlag,
  kOneWayBoth,
  kOneWayLoop,
  kTukoujEnds,
  // Shapes.
  kShapeTwice,
  kShapePoints,
  kShapeLong,
  kShapeTotal,
  kShapeShort,
  kShapeUnknown,
  kShapeMissing,
  kShapeEnds,
  // The whole set.
  kLengthUnit,
  kLengthOdd,
  kLengthsMixed,
  kSpeedUnit,
  kSpeedHigh,
  kSpeedsLow,
  kSpeedsEqual,
  kOneWayShare,
  kOneWayAgainst,
  kRuleTwice,
  kIsland,
  kNotReached,
  kNotLeft,
  kCount
};

inline constexpr size_t kKindCount = static_cast<size_t>(Kind::kCount);

using KindInfo = zatmap::KindInfo<Kind>;

// One entry for each kind, in the order of Kind.
std::span<const KindInfo> Kinds();
const KindInfo& InfoOf(Kind kind);

}  // namespace zatmap::check
