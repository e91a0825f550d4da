#include "map/record_fields.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <type_traits>

#include "network/network_files.h"
#include "shape/shape_files.h"
#include "toll/fare_files.h"

namespace zatlib::map {
namespace {

// The type of a member as people see it, unless the table says something else.
template <typename Value>
constexpr FieldType TypeOf() {
  if (std::is_same_v<Value, FeatureCode>) return FieldType::kCode;
  if (std::is_same_v<Value, char>) return FieldType::kText;
  if (std::is_same_v<Value, int16_t>) return FieldType::kI16;
  if (std::is_same_v<Value, int32_t>) return FieldType::kI32;
  if (std::is_same_v<Value, uint8_t>) return FieldType::kU8;
  if (std::is_same_v<Value, uint16_t>) return FieldType::kU16;
  return FieldType::kU32;
}

// A member that is one value, an array of values, or a name.
template <typename Member>
constexpr Field MakeField(const char* name, size_t offset, FieldType type) {
  using Value = std::remove_extent_t<Member>;
  const bool whole = type == FieldType::kText || type == FieldType::kZero;
  const size_t width = whole ? sizeof(Member) : sizeof(Value);
  return {name, static_cast<uint32_t>(offset), static_cast<uint32_t>(width), type,
          static_cast<uint32_t>(sizeof(Member) / width)};
}

// A field under its member's name: of the type that the member has, or as another one; and bytes
// that are zero or unused.
#define MEMBER_TYPE(Record, member) decltype(Record::member)
#define FIELD(Record, member)             \
  MakeField<MEMBER_TYPE(Record, member)>( \
      #member, offsetof(Record, member),  \
      TypeOf<std::remove_extent_t<MEMBER_TYPE(Record, member)>>())
#define FIELD_AS(Record, member, type) \
  MakeField<MEMBER_TYPE(Record, member)>(#member, offsetof(Record, member), FieldType::type)
#define ZERO(Record, member) \
  MakeField<MEMBER_TYPE(Record, member)>("zero", offsetof(Record, member), FieldType::kZero)
#define UNUSED(Record, member) \
  MakeField<MEMBER_TYPE(Record, member)>("unused", offsetof(Record, member), FieldType::kZero)

constexpr Field kNodeLocation[] = {
    FIELD(NodeLocation, NodeCode),
    FIELD_AS(NodeLocation, X, kDegrees),
    FIELD_AS(NodeLocation, Y, kDegrees),
};
constexpr Field kCalcNode[] = {
    FIELD(CalcNode, OtherNode),
    FIELD(CalcNode, Cost),
    FIELD(CalcNode, Length),
};
constexpr Field kTurnBytes[] = {FIELD_AS(SlotBytes, Slot, kBits)};
constexpr Field kDrawing[] = {
    FIELD(DrawingRecord, LinkCode),        FIELD(DrawingRecord, Link),
    FIELD(DrawingRecord, RoadKind),        FIELD(DrawingRecord, Value4),
    FIELD_AS(DrawingRecord, XA, kDegrees), FIELD_AS(DrawingRecord, XB, kDegrees),
    FIELD_AS(DrawingRecord, YA, kDegrees), FIELD_AS(DrawingRecord, YB, kDegrees),
};
constexpr Field kCodeIndex[] = {
    FIELD(CodeIndexRecord, Code),
    FIELD(CodeIndexRecord, Number),
    FIELD(CodeIndexRecord, CityCode),
};
constexpr Field kNodeLinks[] = {FIELD(NodeLinks, Link)};
constexpr Field kLinkNodes[] = {
    FIELD(LinkNodes, NodeA),  FIELD(LinkNodes, NodeB),  FIELD(LinkNodes, SpeedA),
    FIELD(LinkNodes, SpeedB), FIELD(LinkNodes, Value3), ZERO(LinkNodes, reserved),
};
constexpr Field kNodeName[] = {
    FIELD(NodeNameRecord, Name),         ZERO(NodeNameRecord, reserved1),
    FIELD(NodeNameRecord, NodeAttrWord), FIELD(NodeNameRecord, Attribute),
    ZERO(NodeNameRecord, reserved2),
};
constexpr Field kNodeAttribute[] = {MakeField<uint8_t>("Attribute", 0, FieldType::kU8)};
constexpr Field kLinkName[] = {
    FIELD(LinkNameRecord, Name),       ZERO(LinkNameRecord, reserved),
    FIELD(LinkNameRecord, NameNumber), FIELD(LinkNameRecord, Flags),
    FIELD(LinkNameRecord, NameValue),  FIELD(LinkNameRecord, RoadKind),
    FIELD(LinkNameRecord, Value6),
};
constexpr Field kConnectionAttribute[] = {FIELD(SlotBytes, Slot)};
constexpr Field kShapePoint[] = {
    FIELD_AS(ShapePoint, X, kDegrees),
    FIELD_AS(ShapePoint, Y, kDegrees),
};
constexpr Field kShapeIndex[] = {
    FIELD(ShapeIndexEntry, Code),
    FIELD(ShapeIndexEntry, Offset),
    FIELD(ShapeIndexEntry, Count),
};
constexpr Field kNodeStore[] = {
    FIELD(NodeStoreRecord, NodeCode),       FIELD(NodeStoreRecord, PartnerCode),
    FIELD(NodeStoreRecord, NodeAttrWord),   ZERO(NodeStoreRecord, reserved),
    FIELD(NodeStoreRecord, CityCode),       FIELD_AS(NodeStoreRecord, X, kDegrees),
    FIELD_AS(NodeStoreRecord, Y, kDegrees), FIELD(NodeStoreRecord, ConnLinkCode),
};
constexpr Field kLinkStore[] = {
    FIELD(LinkStoreRecord, LinkCode),       FIELD(LinkStoreRecord, NodeA),
    FIELD(LinkStoreRecord, NodeB),          FIELD(LinkStoreRecord, CityCode),
    FIELD(LinkStoreRecord, SpeedFileValue), FIELD(LinkStoreRecord, SpeedA),
    FIELD(LinkStoreRecord, SpeedB),         FIELD(LinkStoreRecord, Value3),
    FIELD(LinkStoreRecord, RoadKind),       FIELD(LinkStoreRecord, Value4),
    FIELD(LinkStoreRecord, Value6),         FIELD(LinkStoreRecord, Value5),
    FIELD(LinkStoreRecord, RoadFlag),       ZERO(LinkStoreRecord, reserved),
};
constexpr Field kNameStore[] = {
    FIELD(NameStoreRecord, Code),     FIELD(NameStoreRecord, Name),
    ZERO(NameStoreRecord, reserved1), FIELD(NameStoreRecord, LinkNumber),
    ZERO(NameStoreRecord, reserved2), FIELD(NameStoreRecord, LinkValue),
    ZERO(NameStoreRecord, reserved3), FIELD(NameStoreRecord, NodeValue),
    ZERO(NameStoreRecord, reserved4),
};
constexpr Field kRuleStore[] = {
    FIELD(RuleStoreRecord, NodeCode), FIELD(RuleStoreRecord, InLink),
    FIELD(RuleStoreRecord, OutLink),  ZERO(RuleStoreRecord, reserved1),
    FIELD(RuleStoreRecord, Kind),     ZERO(RuleStoreRecord, reserved2),
};
constexpr Field kOneWayStore[] = {
    FIELD(OneWayStoreRecord, LinkCode),   FIELD(OneWayStoreRecord, FirstNode),
    FIELD(OneWayStoreRecord, SecondNode), FIELD(OneWayStoreRecord, FirstFlag),
    FIELD(OneWayStoreRecord, SecondFlag), ZERO(OneWayStoreRecord, reserved),
};
constexpr Field kFareLink[] = {
    FIELD(FareLinkRecord, LinkCode),   UNUSED(FareLinkRecord, reserved1),
    FIELD(FareLinkRecord, Valid),      FIELD(FareLinkRecord, Interchange),
    UNUSED(FareLinkRecord, reserved2),
};

#undef MEMBER_TYPE
#undef FIELD
#undef FIELD_AS
#undef ZERO
#undef UNUSED

constexpr FileLayout kLayouts[] = {
    {kNodeLocationFile, sizeof(NodeLocation), Rows::kNode, kNodeLocation},
    {kCalcNodeFile, sizeof(CalcNode), Rows::kNode, kCalcNode},
    {kTurnTableFile, sizeof(SlotBytes), Rows::kNode, kTurnBytes},
    {kDrawingFile, sizeof(DrawingRecord), Rows::kLink, kDrawing},
    {kConnectionAttributeFile, sizeof(SlotBytes), Rows::kNode, kConnectionAttribute},
    {kNodeIndexFile, sizeof(CodeIndexRecord), Rows::kNodeIndex, kCodeIndex},
    {kLinkIndexFile, sizeof(CodeIndexRecord), Rows::kLinkIndex, kCodeIndex},
    {kNodeLinkFile, sizeof(NodeLinks), Rows::kNode, kNodeLinks},
    {kLinkNodeFile, sizeof(LinkNodes), Rows::kLink, kLinkNodes},
    {kNodeNameFile, sizeof(NodeNameRecord), Rows::kNode, kNodeName},
    {kNodeAttributeFile, 1, Rows::kNode, kNodeAttribute},
    {kLinkNameFile, sizeof(LinkNameRecord), Rows::kLink, kLinkName},
    {kRightTurnWeightFile, sizeof(SlotBytes), Rows::kNode, kTurnBytes},
    {kShapeDataFile, sizeof(ShapePoint), Rows::kShapePoint, kShapePoint},
    {kShapeIndexFile, sizeof(ShapeIndexEntry), Rows::kShapeIndex, kShapeIndex},
    {kNodeStoreFile, sizeof(NodeStoreRecord), Rows::kStore, kNodeStore},
    {kLinkStoreFile, sizeof(LinkStoreRecord), Rows::kStore, kLinkStore},
    {kNodeNameStoreFile, sizeof(NameStoreRecord), Rows::kStore, kNameStore},
    {kLinkNameStoreFile, sizeof(NameStoreRecord), Rows::kStore, kNameStore},
    {kRuleStoreFile, sizeof(RuleStoreRecord), Rows::kStore, kRuleStore},
    {kOneWayStoreFile, sizeof(OneWayStoreRecord), Rows::kStore, kOneWayStore},
    {kFareLinkFile, sizeof(FareLinkRecord), Rows::kStore, kFareLink},
};

constexpr const char* kTexts[] = {kRoadDefinitionFile, kShapeInfoFile, kFareStatusFile};

// Every byte of every record belongs to exactly one field.
constexpr bool Complete(const FileLayout& layout) {
  uint32_t at = 0;
  for (const Field& field : layout.fields) {
    if (field.offset != at) return false;
    at += field.width * field.count;
  }
  return at == layout.record_size;
}
static_assert(std::all_of(std::begin(kLayouts), std::end(kLayouts), Complete));

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

}  // namespace

std::span<const FileLayout> FileLayouts() { return kLayouts; }

std::span<const char* const> TextFiles() { return kTexts; }

const FileLayout* FindLayout(std::string_view name) {
  for (const FileLayout& layout : kLayouts) {
    if (SameName(layout.name, name)) return &layout;
  }
  return nullptr;
}

const char* FindFileName(std::string_view name) {
  for (const char* text : kTexts) {
    if (SameName(text, name)) return text;
  }
  const FileLayout* layout = FindLayout(name);
  return layout == nullptr ? nullptr : layout->name;
}

const char* TypeName(FieldType type) {
  switch (type) {
    case FieldType::kCode:
      return "code";
    case FieldType::kI16:
      return "i16";
    case FieldType::kI32:
    case FieldType::kDegrees:
      return "i32";
    case FieldType::kU8:
    case FieldType::kBits:
      return "u8";
    case FieldType::kU16:
      return "u16";
    case FieldType::kU32:
      return "u32";
    case FieldType::kText:
      return "text";
    case FieldType::kZero:
      break;
  }
  return "";
}

int64_t FieldNumber(const Field& field, const char* bytes) {
  uint64_t value = 0;
  for (uint32_t i = std::min<uint32_t>(field.width, 8); i-- > 0;) {
    value = value << 8 | static_cast<unsigned char>(bytes[i]);
  }
  switch (field.type) {
    case FieldType::kI16:
      return static_cast<int16_t>(value);
    case FieldType::kI32:
    case FieldType::kDegrees:
      return static_cast<int32_t>(value);
    default:
      return static_cast<int64_t>(value);
  }
}

}  // namespace zatlib::map
