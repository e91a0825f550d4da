// The work stores: headerless files of fixed-size records, little-endian, that stage one writes
// and stage two reads. The record count is the file size divided by the record size; a partial
// record at the end is ignored. All files lie in the output folder.
#pragma once

#include <cstddef>
#include <cstdint>

#include "network/workstore/feature_code.h"

namespace zatlib {

inline constexpr char kRoadDefinitionFile[] = "linkdef.dat";
inline constexpr char kNodeStoreFile[] = "nodestr.~wk";
inline constexpr char kLinkStoreFile[] = "linkstr.~wk";
inline constexpr char kNodeNameStoreFile[] = "nnamestr.~wk";
inline constexpr char kLinkNameStoreFile[] = "lnamestr.~wk";
inline constexpr char kRuleStoreFile[] = "trafrule.~wk";
inline constexpr char kOneWayStoreFile[] = "onewayst.~wk";

inline constexpr int kSlots = 8;  // links that can meet at a node

// The kind of a turn rule and the flag of a one-way record that prohibit; no other value does
// anything.
inline constexpr uint16_t kProhibited = 2;

// What the links between partner nodes have; the road kind also tells them apart.
inline constexpr int16_t kDummyRoadKind = 99;
inline constexpr uint16_t kDummyValue4 = 99;
inline constexpr uint32_t kDummyCityCode = 99000;

// "nodestr.~wk"
struct NodeStoreRecord {
  FeatureCode NodeCode;              // empty = no record
  FeatureCode PartnerCode;           // node at the other end of a dummy link; empty = none
  uint16_t NodeAttrWord;             // handed on to nodename.dat
  uint16_t reserved;                 // zero
  uint32_t CityCode;                 // replaced by the city of the node's first link
  int32_t X;                         // longitude, millionths of a degree
  int32_t Y;                         // latitude, millionths of a degree
  FeatureCode ConnLinkCode[kSlots];  // links that meet here, in input order; empty slots hold 0
};
static_assert(sizeof(NodeStoreRecord) == 96);
static_assert(offsetof(NodeStoreRecord, PartnerCode) == 8);
static_assert(offsetof(NodeStoreRecord, NodeAttrWord) == 16);
static_assert(offsetof(NodeStoreRecord, CityCode) == 20);
static_assert(offsetof(NodeStoreRecord, X) == 24);
static_assert(offsetof(NodeStoreRecord, Y) == 28);
static_assert(offsetof(NodeStoreRecord, ConnLinkCode) == 32);

inline FeatureCode CodeOf(const NodeStoreRecord& node) { return node.NodeCode; }

// "linkstr.~wk"
struct LinkStoreRecord {
  FeatureCode LinkCode;  // empty = no record
  FeatureCode NodeA;     // first end
  FeatureCode NodeB;     // second end
  uint32_t CityCode;
  uint16_t SpeedFileValue;  // third number of a speed record; the network does not read it
  uint16_t SpeedA;          // km/h from A to B
  uint16_t SpeedB;          // km/h from B to A
  uint16_t Value3;          // length of the link as the cost counts it
  int16_t RoadKind;
  uint16_t Value4;
  int16_t Value6;
  uint16_t Value5;
  int16_t RoadFlag;
  uint16_t reserved;  // zero
};
static_assert(sizeof(LinkStoreRecord) == 48);
static_assert(offsetof(LinkStoreRecord, NodeA) == 8);
static_assert(offsetof(LinkStoreRecord, NodeB) == 16);
static_assert(offsetof(LinkStoreRecord, CityCode) == 24);
static_assert(offsetof(LinkStoreRecord, SpeedFileValue) == 28);
static_assert(offsetof(LinkStoreRecord, SpeedA) == 30);
static_assert(offsetof(LinkStoreRecord, SpeedB) == 32);
static_assert(offsetof(LinkStoreRecord, Value3) == 34);
static_assert(offsetof(LinkStoreRecord, RoadKind) == 36);
static_assert(offsetof(LinkStoreRecord, Value4) == 38);
static_assert(offsetof(LinkStoreRecord, Value6) == 40);
static_assert(offsetof(LinkStoreRecord, Value5) == 42);
static_assert(offsetof(LinkStoreRecord, RoadFlag) == 44);
static_assert(offsetof(LinkStoreRecord, reserved) == 46);

inline FeatureCode CodeOf(const LinkStoreRecord& link) { return link.LinkCode; }

// "nnamestr.~wk" and "lnamestr.~wk". Records with an empty name are not written.
struct NameStoreRecord {
  FeatureCode Code;  // the named node or link
  char Name[20];     // NUL-padded, cut on whole characters
  uint16_t reserved1;
  uint8_t LinkNumber;  // link names only
  uint8_t reserved2;
  uint16_t LinkValue;  // link names only
  uint16_t reserved3;
  uint16_t NodeValue;  // node names only
  uint16_t reserved4;
};
static_assert(sizeof(NameStoreRecord) == 40);
static_assert(offsetof(NameStoreRecord, Name) == 8);
static_assert(offsetof(NameStoreRecord, LinkNumber) == 30);
static_assert(offsetof(NameStoreRecord, LinkValue) == 32);
static_assert(offsetof(NameStoreRecord, NodeValue) == 36);

inline FeatureCode CodeOf(const NameStoreRecord& name) { return name.Code; }

// "trafrule.~wk", the rule storage: turns at a node.
struct RuleStoreRecord {
  FeatureCode NodeCode;
  FeatureCode InLink;   // link by which the vehicle arrives
  FeatureCode OutLink;  // link by which it leaves
  uint16_t reserved1;   // zero
  uint16_t Kind;        // kProhibited; other kinds are not applied
  uint32_t reserved2;   // zero
};
static_assert(sizeof(RuleStoreRecord) == 32);
static_assert(offsetof(RuleStoreRecord, InLink) == 8);
static_assert(offsetof(RuleStoreRecord, OutLink) == 16);
static_assert(offsetof(RuleStoreRecord, reserved1) == 24);
static_assert(offsetof(RuleStoreRecord, Kind) == 26);

// "onewayst.~wk", the one-way storage.
struct OneWayStoreRecord {
  FeatureCode LinkCode;
  FeatureCode FirstNode;   // empty = not given
  FeatureCode SecondNode;  // empty = not given
  uint16_t FirstFlag;      // kProhibited: no travel from the first node toward the second
  uint16_t SecondFlag;     // kProhibited: no travel from the second node toward the first
  uint32_t reserved;       // zero
};
static_assert(sizeof(OneWayStoreRecord) == 32);
static_assert(offsetof(OneWayStoreRecord, FirstNode) == 8);
static_assert(offsetof(OneWayStoreRecord, SecondNode) == 16);
static_assert(offsetof(OneWayStoreRecord, FirstFlag) == 24);
static_assert(offsetof(OneWayStoreRecord, SecondFlag) == 26);

}  // namespace zatlib
