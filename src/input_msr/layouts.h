// The columns of the MSR source files; docs/msr-layout.md shows the same tables. The readers fill
// the records by them, and `zatmap check` looks at every number by its range: a new column is a row
// here.
#pragma once

#include <cstddef>
#include <cstdint>

#include "network/workstore/source_layout.h"
#include "network/workstore/work_stores.h"

namespace zatlib::msr {

using enum FieldKind;
using enum Presence;

// An area's codes are area x 10^12 (10^16) + number, the last area's are those of dummy links. A
// city's code is area x kCitiesOfArea + number.
inline constexpr int32_t kCitiesOfArea = 1000;
inline constexpr ValueRange kAreas = {1, kDummyArea - 1};
inline constexpr ValueRange kAreasOrNone = {0, kDummyArea - 1};
inline constexpr ValueRange kCities = {INT32_MIN, kCitiesOfArea - 1};

// Road points.
struct Droten {
  enum : int {
    kArea = 1,
    kCode,
    kAttribute,
    kPartnerArea,
    kPartner,
    kName,
    kSectionCount,
    kSections
  };
};
inline constexpr SourceColumn kDrotenColumns[] = {
    {Droten::kArea, "area", kArea, kNeeded, kAreas, kIntoCodes, kIntoCodes},
    {Droten::kCode, "point number", kAreaCode, kNeeded, kAnyText,
     offsetof(NodeStoreRecord, NodeCode), offsetof(NameStoreRecord, Code)},
    {Droten::kAttribute, "attribute", kWord, kNeeded, kUnsigned16,
     offsetof(NodeStoreRecord, NodeAttrWord), offsetof(NameStoreRecord, NodeValue)},
    {Droten::kPartnerArea, "partner's area", kPartnerArea, kNeeded, kAreasOrNone, kIntoCodes},
    {Droten::kPartner, "partner's number", kPartnerCode, kNeeded, kAnyText,
     offsetof(NodeStoreRecord, PartnerCode)},
    {Droten::kName, "name", kName, kNeeded, kAnyText, kNoField, offsetof(NameStoreRecord, Name)},
    {Droten::kSectionCount, "number of sections", kIgnored, kNeeded, kAnyText},
    {Droten::kSections, "sections", kAreaCode, kNeeded, kAnyText,
     offsetof(NodeStoreRecord, ConnLinkCode), kNoField, kSlots},
};
inline constexpr SourceTable kPoints = {"DROTEN", kDrotenColumns};

// Road sections. Further columns are not looked at, so they may be longer than a field.
struct Dkukan {
  enum : int {
    kCode = 1,
    kKind,
    kArea,
    kCity,
    kLength,
    kValue4,
    kValue5,
    kNodeA,
    kNodeB,
    kValue6,
    kSpeedA,
    kSpeedB,
    kFlag
  };
};
inline constexpr SourceColumn kDkukanColumns[] = {
    {Dkukan::kCode, "section number", kAreaCode, kNeeded, kAnyText,
     offsetof(LinkStoreRecord, LinkCode)},
    {Dkukan::kKind, "road kind", kWord, kNeeded, kSigned16, offsetof(LinkStoreRecord, RoadKind)},
    {Dkukan::kArea, "area", kArea, kNeeded, kAreas, kIntoCodes},
    {Dkukan::kCity, "city", kLong, kNeeded, kCities, offsetof(LinkStoreRecord, CityCode)},
    {Dkukan::kLength, "length", kWord, kNeeded, kMetres, offsetof(LinkStoreRecord, Value3)},
    {Dkukan::kValue4, "link value 4", kWord, kNeeded, kUnsigned16,
     offsetof(LinkStoreRecord, Value4)},
    {Dkukan::kValue5, "link value 5", kWord, kNeeded, kUnsigned16,
     offsetof(LinkStoreRecord, Value5)},
    {Dkukan::kNodeA, "point A", kAreaCode, kNeeded, kAnyText, offsetof(LinkStoreRecord, NodeA)},
    {Dkukan::kNodeB, "point B", kAreaCode, kNeeded, kAnyText, offsetof(LinkStoreRecord, NodeB)},
    {Dkukan::kValue6, "link value 6", kWord, kOptional, kSigned16,
     offsetof(LinkStoreRecord, Value6)},
    {Dkukan::kSpeedA, "speed A", kSpeedA, kOptional, kSpeeds, offsetof(LinkStoreRecord, SpeedA)},
    {Dkukan::kSpeedB, "speed B", kSpeedB, kOptional, kSpeeds, offsetof(LinkStoreRecord, SpeedB)},
    {Dkukan::kFlag, "road flag", kWord, kOptional, kSigned16, offsetof(LinkStoreRecord, RoadFlag)},
};
inline constexpr SourceTable kSections = {"DKUKAN", kDkukanColumns, kLineSize, false};

// Names of sections. Unlike a section's own code, a number of 0 is composed with the area too.
struct Kukanz {
  enum : int { kArea = 1, kCode, kNameNumber, kName, kValue };
};
inline constexpr SourceColumn kKukanzColumns[] = {
    {Kukanz::kArea, "area", kArea, kNeeded, kAreas, kIntoCodes},
    {Kukanz::kCode, "section number", kFullCode, kNeeded, kAnyText,
     offsetof(NameStoreRecord, Code)},
    {Kukanz::kNameNumber, "number of the name", kByte, kOptional, kUnsigned8,
     offsetof(NameStoreRecord, LinkNumber)},
    {Kukanz::kName, "name", kName, kOptional, kAnyText, offsetof(NameStoreRecord, Name)},
    {Kukanz::kValue, "value", kWord, kOptional, kUnsigned16, offsetof(NameStoreRecord, LinkValue)},
};
inline constexpr SourceTable kSectionNames = {"KUKANZ", kKukanzColumns};

// Traffic conditions, in shorter lines than all others.
struct Tukouj {
  enum : int { kArea = 1, kNode, kInLink, kOutLink, kKind };
};
inline constexpr SourceColumn kTukoujColumns[] = {
    {Tukouj::kArea, "area", kArea, kNeeded, kAreas, kIntoCodes},
    {Tukouj::kNode, "point", kAreaCode, kNeeded, kAnyText, offsetof(RuleStoreRecord, NodeCode)},
    {Tukouj::kInLink, "arriving section", kAreaCode, kNeeded, kAnyText,
     offsetof(RuleStoreRecord, InLink)},
    {Tukouj::kOutLink, "leaving section", kAreaCode, kNeeded, kAnyText,
     offsetof(RuleStoreRecord, OutLink)},
    {Tukouj::kKind, "rule kind", kWord, kNeeded, kUnsigned16, offsetof(RuleStoreRecord, Kind)},
};
inline constexpr SourceTable kConditions = {"TUKOUJ", kTukoujColumns, 512};

// All of them, in the order of the document.
inline constexpr const SourceTable* kTables[] = {&kPoints, &kSections, &kSectionNames,
                                                 &kConditions};

}  // namespace zatlib::msr
