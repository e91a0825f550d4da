// The columns of the ZAT source files; docs/control-file.md shows the same tables. The readers fill
// the records by them, and `zatmap check` looks at every number by its range: a new column is a row
// here.
#pragma once

#include <cstddef>
#include <cstdint>

#include "network/workstore/source_layout.h"
#include "network/workstore/work_stores.h"

namespace zatlib {

// A row of a node coordinate file.
struct NodeXYRecord {
  FeatureCode Code;
  int32_t X;  // millionths of a degree
  int32_t Y;
};

// A row of a link speed file.
struct LinkSpeedRecord {
  FeatureCode LinkCode;
  FeatureCode NodeA;
  FeatureCode NodeB;
  uint16_t SpeedA;
  uint16_t SpeedB;
  uint16_t Value;
};

namespace zat {

using enum FieldKind;
using enum Presence;

// Nodes. Files of text read names from the ".mid" beside them, by the same columns.
struct Node {
  enum : int {
    kCode = 1,
    kAttribute,
    kPartner,
    kLinkCount,
    kLinks,
    kName = kLinks + kSlots,
    kX1,
    kX2
  };
};
inline constexpr SourceColumn kNodeColumns[] = {
    {Node::kCode, "node code", kCode, kNeeded, kAnyText, offsetof(NodeStoreRecord, NodeCode),
     offsetof(NameStoreRecord, Code)},
    {Node::kAttribute, "attribute", kWord, kNeeded, kUnsigned16,
     offsetof(NodeStoreRecord, NodeAttrWord), offsetof(NameStoreRecord, NodeValue)},
    {Node::kPartner, "partner node", kCode, kNeeded, kAnyText,
     offsetof(NodeStoreRecord, PartnerCode)},
    {Node::kLinkCount, "number of links", kIgnored, kNeeded, kAnyText},
    {Node::kLinks, "links", kCode, kOptional, kAnyText, offsetof(NodeStoreRecord, ConnLinkCode),
     kNoField, kSlots},
    {Node::kName, "name", kName, kOptional, kAnyText, kNoField, offsetof(NameStoreRecord, Name)},
    // Both into X, the later one wins; Y has no column. It comes from a MIF point or a NodeXY row.
    {Node::kX1, "longitude", kCoordinate, kOptional, kLongitudes, offsetof(NodeStoreRecord, X)},
    {Node::kX2, "longitude again", kCoordinate, kOptional, kLongitudes,
     offsetof(NodeStoreRecord, X)},
};
inline constexpr SourceTable kNodes = {"NODE", kNodeColumns};

struct NodeName {
  enum : int { kCode = 1, kValue, kName };
};
inline constexpr SourceColumn kNodeNameColumns[] = {
    {NodeName::kCode, "node code", kCode, kNeeded, kAnyText, offsetof(NameStoreRecord, Code)},
    {NodeName::kValue, "value", kWord, kOptional, kUnsigned16,
     offsetof(NameStoreRecord, NodeValue)},
    {NodeName::kName, "name", kName, kOptional, kAnyText, offsetof(NameStoreRecord, Name)},
};
inline constexpr SourceTable kNodeNames = {"NODENAME", kNodeNameColumns};

struct NodeXY {
  enum : int { kCode = 1, kLongitude, kLatitude };
};
inline constexpr SourceColumn kNodeXYColumns[] = {
    {NodeXY::kCode, "node code", kCode, kNeeded, kAnyText, offsetof(NodeXYRecord, Code)},
    {NodeXY::kLongitude, "longitude", kCoordinate, kNeeded, kLongitudes, offsetof(NodeXYRecord, X)},
    {NodeXY::kLatitude, "latitude", kCoordinate, kNeeded, kLatitudes, offsetof(NodeXYRecord, Y)},
};
inline constexpr SourceTable kNodePlaces = {"NODEXY", kNodeXYColumns};

struct Link {
  enum : int {
    kCode = 1,
    kKind,
    kCity,
    kLength,
    kValue4,
    kValue5,
    kValue6,
    kNodeA,
    kNodeB,
    kSpeedA,
    kSpeedB,
    kFlag,
    kNameNumber,
    kName
  };
};
inline constexpr SourceColumn kLinkColumns[] = {
    {Link::kCode, "link code", kCode, kNeeded, kAnyText, offsetof(LinkStoreRecord, LinkCode),
     offsetof(NameStoreRecord, Code)},
    {Link::kKind, "road kind", kWord, kNeeded, kSigned16, offsetof(LinkStoreRecord, RoadKind)},
    {Link::kCity, "city code", kLong, kNeeded, kSigned32, offsetof(LinkStoreRecord, CityCode)},
    {Link::kLength, "length", kWord, kNeeded, kMetres, offsetof(LinkStoreRecord, Value3)},
    {Link::kValue4, "link value 4", kWord, kNeeded, kUnsigned16, offsetof(LinkStoreRecord, Value4)},
    {Link::kValue5, "link value 5", kWord, kNeeded, kUnsigned16, offsetof(LinkStoreRecord, Value5)},
    {Link::kValue6, "link value 6", kWord, kNeeded, kSigned16, offsetof(LinkStoreRecord, Value6)},
    {Link::kNodeA, "node A", kCode, kNeeded, kAnyText, offsetof(LinkStoreRecord, NodeA)},
    {Link::kNodeB, "node B", kCode, kNeeded, kAnyText, offsetof(LinkStoreRecord, NodeB)},
    {Link::kSpeedA, "speed A", kSpeedA, kOptional, kSpeeds, offsetof(LinkStoreRecord, SpeedA)},
    {Link::kSpeedB, "speed B", kSpeedB, kOptional, kSpeeds, offsetof(LinkStoreRecord, SpeedB)},
    {Link::kFlag, "road flag", kWord, kOptional, kSigned16, offsetof(LinkStoreRecord, RoadFlag)},
    {Link::kNameNumber, "number of the name", kByte, kOptional, kUnsigned8, kNoField,
     offsetof(NameStoreRecord, LinkNumber)},
    {Link::kName, "name", kName, kOptional, kAnyText, kNoField, offsetof(NameStoreRecord, Name)},
};
inline constexpr SourceTable kLinks = {"LINK", kLinkColumns};

struct LinkSpeed {
  enum : int { kCode = 1, kNodeA, kNodeB, kSpeedA, kSpeedB, kValue };
};
inline constexpr SourceColumn kLinkSpeedColumns[] = {
    {LinkSpeed::kCode, "link code", kCode, kNeeded, kAnyText, offsetof(LinkSpeedRecord, LinkCode)},
    {LinkSpeed::kNodeA, "node A", kCode, kNeeded, kAnyText, offsetof(LinkSpeedRecord, NodeA)},
    {LinkSpeed::kNodeB, "node B", kCode, kNeeded, kAnyText, offsetof(LinkSpeedRecord, NodeB)},
    {LinkSpeed::kSpeedA, "speed A", kSpeedA, kNeeded, kSpeeds, offsetof(LinkSpeedRecord, SpeedA)},
    {LinkSpeed::kSpeedB, "speed B", kSpeedB, kNeeded, kSpeeds, offsetof(LinkSpeedRecord, SpeedB)},
    {LinkSpeed::kValue, "value", kWord, kOptional, kUnsigned16, offsetof(LinkSpeedRecord, Value)},
};
inline constexpr SourceTable kLinkSpeeds = {"LINKSPEED", kLinkSpeedColumns};

struct LinkName {
  enum : int { kCode = 1, kUnused, kNameNumber, kName };
};
inline constexpr SourceColumn kLinkNameColumns[] = {
    {LinkName::kCode, "link code", kCode, kNeeded, kAnyText, offsetof(NameStoreRecord, Code)},
    {LinkName::kUnused, "unused", kIgnored, kOptional, kAnyText},
    {LinkName::kNameNumber, "number of the name", kByte, kOptional, kUnsigned8,
     offsetof(NameStoreRecord, LinkNumber)},
    {LinkName::kName, "name", kName, kOptional, kAnyText, offsetof(NameStoreRecord, Name)},
};
inline constexpr SourceTable kLinkNames = {"LINKNAME", kLinkNameColumns};

struct Turn {
  enum : int { kNode = 1, kInLink, kOutLink, kKind };
};
inline constexpr SourceColumn kTurnColumns[] = {
    {Turn::kNode, "node", kCode, kNeeded, kAnyText, offsetof(RuleStoreRecord, NodeCode)},
    {Turn::kInLink, "arriving link", kCode, kNeeded, kAnyText, offsetof(RuleStoreRecord, InLink)},
    {Turn::kOutLink, "leaving link", kCode, kNeeded, kAnyText, offsetof(RuleStoreRecord, OutLink)},
    {Turn::kKind, "rule kind", kWord, kNeeded, kUnsigned16, offsetof(RuleStoreRecord, Kind)},
};
inline constexpr SourceTable kTurns = {"NODETRF", kTurnColumns};

struct OneWay {
  enum : int { kLink = 1, kFirstNode, kSecondNode, kFirstFlag, kSecondFlag };
};
inline constexpr SourceColumn kOneWayColumns[] = {
    {OneWay::kLink, "link", kCode, kNeeded, kAnyText, offsetof(OneWayStoreRecord, LinkCode)},
    {OneWay::kFirstNode, "first node", kCode, kNeeded, kAnyText,
     offsetof(OneWayStoreRecord, FirstNode)},
    {OneWay::kSecondNode, "second node", kCode, kNeeded, kAnyText,
     offsetof(OneWayStoreRecord, SecondNode)},
    {OneWay::kFirstFlag, "flag of the first node", kWord, kNeeded, kUnsigned16,
     offsetof(OneWayStoreRecord, FirstFlag)},
    {OneWay::kSecondFlag, "flag of the second node", kWord, kOptional, kUnsigned16,
     offsetof(OneWayStoreRecord, SecondFlag)},
};
inline constexpr SourceTable kOneWays = {"LINKTRF", kOneWayColumns};

// Link shapes come in blocks: a line with the head of a shape, then a line for each of its points.
// The shape builder takes them in that order.
struct ShapeHead {
  enum : int { kLink = 1, kPointCount };
};
inline constexpr SourceColumn kShapeHeadColumns[] = {
    {ShapeHead::kLink, "link code", kCode, kNeeded, kAnyText},
    {ShapeHead::kPointCount, "number of points", kLong, kNeeded, {0, INT32_MAX}},
};
inline constexpr SourceTable kShapeHeads = {"LINKSHAPE", kShapeHeadColumns, kLineSize, false};

struct ShapePoint {
  enum : int { kLongitude = 1, kLatitude };
};
inline constexpr SourceColumn kShapePointColumns[] = {
    {ShapePoint::kLongitude, "longitude", kCoordinate, kNeeded, kLongitudes},
    {ShapePoint::kLatitude, "latitude", kCoordinate, kNeeded, kLatitudes},
};
inline constexpr SourceTable kShapePoints = {"LINKSHAPE", kShapePointColumns, kLineSize, false};

// All of them, in the order of the document.
inline constexpr const SourceTable* kTables[] = {
    &kNodes,     &kNodeNames, &kNodePlaces, &kLinks,      &kLinkSpeeds,
    &kLinkNames, &kTurns,     &kOneWays,    &kShapeHeads, &kShapePoints};

}  // namespace zat
}  // namespace zatlib
