// The network files of the calc map: headerless files of fixed-size records, little-endian.
// Per-node files are in node record order, per-link files in link record order; a record number of
// -1 means none. The two code indexes are sorted by code.
#pragma once

#include <cstddef>
#include <cstdint>

#include "network/workstore/work_stores.h"

namespace zatlib {

inline constexpr char kNodeLocationFile[] = "maploc.dat";
inline constexpr char kCalcNodeFile[] = "mapcalc.dat";
inline constexpr char kTurnTableFile[] = "maprule.dat";
inline constexpr char kDrawingFile[] = "mapdraw.dat";
inline constexpr char kNodeIndexFile[] = "node.idx";
inline constexpr char kLinkIndexFile[] = "link.idx";
inline constexpr char kNodeLinkFile[] = "nodelink.idx";
inline constexpr char kLinkNodeFile[] = "linknode.idx";
inline constexpr char kNodeNameFile[] = "nodename.dat";
inline constexpr char kNodeAttributeFile[] = "nodeattr.dat";
inline constexpr char kLinkNameFile[] = "linkname.dat";
inline constexpr char kConnectionAttributeFile[] = "mapattr.dat";
inline constexpr char kRightTurnWeightFile[] = "rtweight.dat";

inline constexpr uint16_t kClosedCost = 65535;  // cost of a connection nobody can take

// maploc.dat
struct NodeLocation {
  FeatureCode NodeCode;
  int32_t X;  // longitude, millionths of a degree
  int32_t Y;  // latitude, millionths of a degree
};
static_assert(sizeof(NodeLocation) == 16);

// node.idx and link.idx
struct CodeIndexRecord {
  FeatureCode Code;
  int32_t Number;  // record number
  uint32_t CityCode;
};
static_assert(sizeof(CodeIndexRecord) == 16);
static_assert(offsetof(CodeIndexRecord, Number) == 8);
static_assert(offsetof(CodeIndexRecord, CityCode) == 12);

inline FeatureCode CodeOf(const CodeIndexRecord& entry) { return entry.Code; }

// mapcalc.dat. Used slots come first.
struct CalcNode {
  int32_t OtherNode[kSlots];  // node at the other end; -1 = empty slot
  uint16_t Cost[kSlots];      // hundredths of a second to leave along the slot's link
  uint16_t Length[kSlots];    // link value 3 of the slot's link
};
static_assert(sizeof(CalcNode) == 64);
static_assert(offsetof(CalcNode, Cost) == 32);
static_assert(offsetof(CalcNode, Length) == 48);

// nodelink.idx, in the slot order of mapcalc.dat
struct NodeLinks {
  int32_t Link[kSlots];  // -1 = empty slot
};
static_assert(sizeof(NodeLinks) == 32);

// linknode.idx
struct LinkNodes {
  int32_t NodeA;
  int32_t NodeB;
  uint16_t SpeedA;  // km/h from A to B; 0 = closed
  uint16_t SpeedB;  // km/h from B to A; 0 = closed
  uint16_t Value3;
  uint16_t reserved;  // zero
};
static_assert(sizeof(LinkNodes) == 16);
static_assert(offsetof(LinkNodes, SpeedA) == 8);
static_assert(offsetof(LinkNodes, Value3) == 12);

// mapdraw.dat
struct DrawingRecord {
  FeatureCode LinkCode;
  int32_t Link;  // record number
  int16_t RoadKind;
  uint16_t Value4;
  int32_t XA, XB, YA, YB;  // millionths of a degree
};
static_assert(sizeof(DrawingRecord) == 32);
static_assert(offsetof(DrawingRecord, Link) == 8);
static_assert(offsetof(DrawingRecord, RoadKind) == 12);
static_assert(offsetof(DrawingRecord, Value4) == 14);
static_assert(offsetof(DrawingRecord, XA) == 16);
static_assert(offsetof(DrawingRecord, YB) == 28);

inline FeatureCode CodeOf(const DrawingRecord& link) { return link.LinkCode; }

// nodename.dat
struct NodeNameRecord {
  char Name[20];
  uint8_t reserved1[8];  // zero
  uint16_t NodeAttrWord;
  uint8_t Attribute;  // the same as in nodeattr.dat
  uint8_t reserved2;  // zero
};
static_assert(sizeof(NodeNameRecord) == 32);
static_assert(offsetof(NodeNameRecord, NodeAttrWord) == 28);
static_assert(offsetof(NodeNameRecord, Attribute) == 30);

// linkname.dat
struct LinkNameRecord {
  char Name[20];
  uint16_t reserved;   // zero
  uint8_t NameNumber;  // from the link name store
  uint8_t Flags;       // kFlag...
  uint16_t NameValue;  // from the link name store
  int16_t RoadKind;
  int16_t Value6;
};
static_assert(sizeof(LinkNameRecord) == 30);
static_assert(offsetof(LinkNameRecord, NameNumber) == 22);
static_assert(offsetof(LinkNameRecord, Flags) == 23);
static_assert(offsetof(LinkNameRecord, NameValue) == 24);
static_assert(offsetof(LinkNameRecord, RoadKind) == 26);
static_assert(offsetof(LinkNameRecord, Value6) == 28);

// Link flags; bit 7 is always 0.
inline constexpr uint8_t kFlagTollOrHighway = 0x01;
inline constexpr uint8_t kFlagPayRoad = 0x02;
inline constexpr uint8_t kFlagFerry = 0x04;
inline constexpr uint8_t kFlagRailroad = 0x08;
inline constexpr uint8_t kFlagParkingOrAir = 0x10;
inline constexpr uint8_t kFlagTollGate = 0x20;  // also set for interchange links
inline constexpr uint8_t kFlagPedestrianOrShip = 0x40;

// maprule.dat and rtweight.dat: 8 bytes a node, byte = arrival slot, bit 0x80 >> leaving slot.
// mapattr.dat: 8 bytes a node, the flag byte of each slot's link. nodeattr.dat: 1 byte a node.
struct SlotBytes {
  uint8_t Slot[kSlots];
};
static_assert(sizeof(SlotBytes) == 8);

}  // namespace zatlib
