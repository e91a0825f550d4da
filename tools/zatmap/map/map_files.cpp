#include "map/map_files.h"

#include <cctype>
#include <cerrno>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "frd/text.h"

namespace zatmap {
namespace {

using zatlib::kSlots;

constexpr uint32_t kBlockSize = 1u << 20;          // bytes of a stream's block
constexpr uint32_t kSlotCount = uint32_t{kSlots};  // values of an array with one for each slot

constexpr Field kNodeLocation[] = {
    {"NodeCode", 0, 8, FieldType::kCode},
    {"X", 8, 4, FieldType::kDegrees},
    {"Y", 12, 4, FieldType::kDegrees},
};
constexpr Field kCalcNode[] = {
    {"OtherNode", 0, 4, FieldType::kI32, kSlotCount},
    {"Cost", 32, 2, FieldType::kU16, kSlotCount},
    {"Length", 48, 2, FieldType::kU16, kSlotCount},
};
constexpr Field kTurnBytes[] = {{"Slot", 0, 1, FieldType::kBits, kSlotCount}};
constexpr Field kDrawing[] = {
    {"LinkCode", 0, 8, FieldType::kCode}, {"Link", 8, 4, FieldType::kI32},
    {"RoadKind", 12, 2, FieldType::kI16}, {"Value4", 14, 2, FieldType::kU16},
    {"XA", 16, 4, FieldType::kDegrees},   {"XB", 20, 4, FieldType::kDegrees},
    {"YA", 24, 4, FieldType::kDegrees},   {"YB", 28, 4, FieldType::kDegrees},
};
constexpr Field kCodeIndex[] = {
    {"Code", 0, 8, FieldType::kCode},
    {"Number", 8, 4, FieldType::kI32},
    {"CityCode", 12, 4, FieldType::kU32},
};
constexpr Field kNodeLinks[] = {{"Link", 0, 4, FieldType::kI32, kSlotCount}};
constexpr Field kLinkNodes[] = {
    {"NodeA", 0, 4, FieldType::kI32},   {"NodeB", 4, 4, FieldType::kI32},
    {"SpeedA", 8, 2, FieldType::kU16},  {"SpeedB", 10, 2, FieldType::kU16},
    {"Value3", 12, 2, FieldType::kU16}, {"zero", 14, 2, FieldType::kZero},
};
constexpr Field kNodeName[] = {
    {"Name", 0, 20, FieldType::kText},        {"zero", 20, 8, FieldType::kZero},
    {"NodeAttrWord", 28, 2, FieldType::kU16}, {"Attribute", 30, 1, FieldType::kU8},
    {"zero", 31, 1, FieldType::kZero},
};
constexpr Field kNodeAttribute[] = {{"Attribute", 0, 1, FieldType::kU8}};
constexpr Field kLinkName[] = {
    {"Name", 0, 20, FieldType::kText},     {"zero", 20, 2, FieldType::kZero},
    {"NameNumber", 22, 1, FieldType::kU8}, {"Flags", 23, 1, FieldType::kU8},
    {"NameValue", 24, 2, FieldType::kU16}, {"RoadKind", 26, 2, FieldType::kI16},
    {"Value6", 28, 2, FieldType::kI16},
};
constexpr Field kConnectionAttribute[] = {{"Slot", 0, 1, FieldType::kU8, kSlotCount}};
constexpr Field kShapePoint[] = {
    {"X", 0, 4, FieldType::kDegrees},
    {"Y", 4, 4, FieldType::kDegrees},
};
constexpr Field kShapeIndex[] = {
    {"Code", 0, 8, FieldType::kCode},
    {"Offset", 8, 4, FieldType::kI32},
    {"Count", 12, 4, FieldType::kI32},
};
constexpr Field kNodeStore[] = {
    {"NodeCode", 0, 8, FieldType::kCode},     {"PartnerCode", 8, 8, FieldType::kCode},
    {"NodeAttrWord", 16, 2, FieldType::kU16}, {"zero", 18, 2, FieldType::kZero},
    {"CityCode", 20, 4, FieldType::kU32},     {"X", 24, 4, FieldType::kDegrees},
    {"Y", 28, 4, FieldType::kDegrees},        {"ConnLinkCode", 32, 8, FieldType::kCode, kSlotCount},
};
constexpr Field kLinkStore[] = {
    {"LinkCode", 0, 8, FieldType::kCode},       {"NodeA", 8, 8, FieldType::kCode},
    {"NodeB", 16, 8, FieldType::kCode},         {"CityCode", 24, 4, FieldType::kU32},
    {"SpeedFileValue", 28, 2, FieldType::kU16}, {"SpeedA", 30, 2, FieldType::kU16},
    {"SpeedB", 32, 2, FieldType::kU16},         {"Value3", 34, 2, FieldType::kU16},
    {"RoadKind", 36, 2, FieldType::kI16},       {"Value4", 38, 2, FieldType::kU16},
    {"Value6", 40, 2, FieldType::kI16},         {"Value5", 42, 2, FieldType::kU16},
    {"RoadFlag", 44, 2, FieldType::kI16},       {"zero", 46, 2, FieldType::kZero},
};
constexpr Field kNameStore[] = {
    {"Code", 0, 8, FieldType::kCode},  {"Name", 8, 20, FieldType::kText},
    {"zero", 28, 2, FieldType::kZero}, {"LinkNumber", 30, 1, FieldType::kU8},
    {"zero", 31, 1, FieldType::kZero}, {"LinkValue", 32, 2, FieldType::kU16},
    {"zero", 34, 2, FieldType::kZero}, {"NodeValue", 36, 2, FieldType::kU16},
    {"zero", 38, 2, FieldType::kZero},
};
constexpr Field kRuleStore[] = {
    {"NodeCode", 0, 8, FieldType::kCode}, {"InLink", 8, 8, FieldType::kCode},
    {"OutLink", 16, 8, FieldType::kCode}, {"zero", 24, 2, FieldType::kZero},
    {"Kind", 26, 2, FieldType::kU16},     {"zero", 28, 4, FieldType::kZero},
};
constexpr Field kOneWayStore[] = {
    {"LinkCode", 0, 8, FieldType::kCode},    {"FirstNode", 8, 8, FieldType::kCode},
    {"SecondNode", 16, 8, FieldType::kCode}, {"FirstFlag", 24, 2, FieldType::kU16},
    {"SecondFlag", 26, 2, FieldType::kU16},  {"zero", 28, 4, FieldType::kZero},
};
constexpr Field kFareLink[] = {
    {"LinkCode", 0, 8, FieldType::kCode}, {"unused", 8, 16, FieldType::kZero},
    {"Valid", 24, 2, FieldType::kI16},    {"Interchange", 26, 1, FieldType::kU8},
    {"unused", 27, 5, FieldType::kZero},
};

constexpr FileLayout kLayouts[] = {
    {zatlib::kNodeLocationFile, sizeof(zatlib::NodeLocation), Rows::kNode, kNodeLocation},
    {zatlib::kCalcNodeFile, sizeof(zatlib::CalcNode), Rows::kNode, kCalcNode},
    {zatlib::kTurnTableFile, sizeof(zatlib::SlotBytes), Rows::kNode, kTurnBytes},
    {zatlib::kDrawingFile, sizeof(zatlib::DrawingRecord), Rows::kLink, kDrawing},
    {zatlib::kConnectionAttributeFile, sizeof(zatlib::SlotBytes), Rows::kNode,
     kConnectionAttribute},
    {zatlib::kNodeIndexFile, sizeof(zatlib::CodeIndexRecord), Rows::kNodeIndex, kCodeIndex},
    {zatlib::kLinkIndexFile, sizeof(zatlib::CodeIndexRecord), Rows::kLinkIndex, kCodeIndex},
    {zatlib::kNodeLinkFile, sizeof(zatlib::NodeLinks), Rows::kNode, kNodeLinks},
    {zatlib::kLinkNodeFile, sizeof(zatlib::LinkNodes), Rows::kLink, kLinkNodes},
    {zatlib::kNodeNameFile, sizeof(zatlib::NodeNameRecord), Rows::kNode, kNodeName},
    {zatlib::kNodeAttributeFile, 1, Rows::kNode, kNodeAttribute},
    {zatlib::kLinkNameFile, sizeof(zatlib::LinkNameRecord), Rows::kLink, kLinkName},
    {zatlib::kRightTurnWeightFile, sizeof(zatlib::SlotBytes), Rows::kNode, kTurnBytes},
    {zatlib::kShapeDataFile, sizeof(zatlib::ShapePoint), Rows::kShapePoint, kShapePoint},
    {zatlib::kShapeIndexFile, sizeof(zatlib::ShapeIndexEntry), Rows::kShapeIndex, kShapeIndex},
    {zatlib::kNodeStoreFile, sizeof(zatlib::NodeStoreRecord), Rows::kStore, kNodeStore},
    {zatlib::kLinkStoreFile, sizeof(zatlib::LinkStoreRecord), Rows::kStore, kLinkStore},
    {zatlib::kNodeNameStoreFile, sizeof(zatlib::NameStoreRecord), Rows::kStore, kNameStore},
    {zatlib::kLinkNameStoreFile, sizeof(zatlib::NameStoreRecord), Rows::kStore, kNameStore},
    {zatlib::kRuleStoreFile, sizeof(zatlib::RuleStoreRecord), Rows::kStore, kRuleStore},
    {zatlib::kOneWayStoreFile, sizeof(zatlib::OneWayStoreRecord), Rows::kStore, kOneWayStore},
    {zatlib::kFareLinkFile, sizeof(zatlib::FareLinkRecord), Rows::kStore, kFareLink},
};

constexpr const char* kTexts[] = {zatlib::kRoadDefinitionFile, zatlib::kShapeInfoFile,
                                  zatlib::kFareStatusFile};

// Every byte of every record belongs to exactly one field.
constexpr bool Complete(const FileLayout& layout) {
  uint32_t at = 0;
  for (const Field& field : layout.fields) {
    if (field.offset != at) return false;
    at += field.width * field.count;
  }
  return at == layout.record_size;
}
constexpr bool AllComplete() {
  for (const FileLayout& layout : kLayouts) {
    if (!Complete(layout)) return false;
  }
  return true;
}
static_assert(AllComplete());

bool SameName(std::string_view a, std::string_view b) {
  return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
           return std::tolower(static_cast<unsigned char>(x)) ==
                  std::tolower(static_cast<unsigned char>(y));
         });
}

zatlib::platform::File OpenToRead(const std::string& path) {
  return zatlib::platform::File::Open(path.c_str(), zatlib::platform::Access::kRead,
                                      zatlib::platform::Share::kRead,
                                      zatlib::platform::Disposition::kOpenExisting);
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

std::string CodeDigits(zatlib::FeatureCode code, int code_length) {
  char text[64];
  if (code_length != zatlib::kDecimalCode) {
    std::snprintf(text, sizeof text, "%" PRId64, code.AsInteger());
    return text;
  }
  const double value = code.AsDouble();
  if (std::fabs(value) < 1e15 && value == std::floor(value)) {
    std::snprintf(text, sizeof text, "%.0f", value);
  } else {
    std::snprintf(text, sizeof text, "%.17g", value);
  }
  return text;
}

std::string PathOf(const MapFolder& map, const char* name) {
  return zatlib::PathIn(map.path.c_str(), name).c_str();
}

bool Exists(const MapFolder& map, const char* name) {
  return zatlib::CanOpen(PathOf(map, name).c_str());
}

std::string RoadDefinitionPath(const std::string& folder) {
  return zatlib::PathIn(folder.c_str(), zatlib::kRoadDefinitionFile).c_str();
}

bool OpenMapFolder(const std::string& path, MapFolder* map) {
  if (!zatlib::platform::IsFolder(path.c_str())) {
    std::fprintf(stderr,
                 "zatmap: %s is no folder. Give the folder that a build wrote: [FOLDER] CALCMAPDIR "
                 "of its control file.\n",
                 path.c_str());
    return false;
  }
  map->path = zatlib::platform::AbsolutePath(path.c_str());
  if (PathOf(*map, zatlib::kShapeIndexFile).size() + 1 >= zatlib::kPathSize) {
    std::fprintf(stderr, "zatmap: the path %s is too long; at most 259 bytes are taken.\n",
                 path.c_str());
    return false;
  }
  map->code_length = zatlib::BRN_GetCodeLength(RoadDefinitionPath(map->path).c_str());
  map->nodes = CountOf<zatlib::CalcNode>(*map, zatlib::kCalcNodeFile);
  map->links = CountOf<zatlib::LinkNodes>(*map, zatlib::kLinkNodeFile);
  for (const FileLayout& layout : kLayouts) {
    if (Exists(*map, layout.name)) return true;
  }
  std::fprintf(stderr,
               "zatmap: %s holds no map. Build one first (zatmap build CONTROL.INI), or give the "
               "folder that a build wrote.\n",
               path.c_str());
  return false;
}

bool ByteStream::Open(const std::string& path, uint32_t record_size, int64_t offset) {
  file_ = OpenToRead(path);
  record_size_ = record_size;
  position_ = end_ = nullptr;
  if (!file_.IsOpen()) return false;
  return offset == 0 || file_.Seek(offset, zatlib::platform::SeekFrom::kBegin) == offset;
}

bool ByteStream::Fill() {
  if (!file_.IsOpen()) return false;
  if (block_.empty()) block_.resize(kBlockSize);
  const size_t rest = static_cast<size_t>(end_ - position_);
  if (rest > 0) std::memmove(block_.data(), position_, rest);
  uint32_t read = 0;
  file_.Read(block_.data() + rest, static_cast<uint32_t>(block_.size() - rest), &read);
  position_ = block_.data();
  end_ = position_ + rest + read;
  return end_ - position_ >= static_cast<ptrdiff_t>(record_size_);
}

bool RecordAccess::Open(const std::string& path, uint32_t record_size) {
  file_ = OpenToRead(path);
  record_size_ = record_size;
  count_ = file_.IsOpen() ? file_.Size() / record_size : 0;
  return file_.IsOpen();
}

bool RecordAccess::Read(int64_t n, void* record) {
  if (n < 0 || n >= count_) return false;
  const int64_t at = n * record_size_;
  return file_.Seek(at, zatlib::platform::SeekFrom::kBegin) == at &&
         zatlib::ReadExactly(file_, record, record_size_);
}

int64_t FindIndexPosition(const MapFolder& map, const char* index_file, zatlib::FeatureCode code) {
  // link.idx, node.idx and shapedbl.idx all begin their 16 bytes with the code.
  static_assert(sizeof(zatlib::ShapeIndexEntry) == sizeof(zatlib::CodeIndexRecord));
  RecordAccess index;
  if (!index.Open(PathOf(map, index_file), sizeof(zatlib::CodeIndexRecord))) return -1;
  int64_t low = 0;
  int64_t high = index.count();
  zatlib::CodeIndexRecord record{};
  while (low < high) {
    const int64_t middle = low + (high - low) / 2;
    if (!index.Read(middle, &record)) return -1;
    if (record.Code < code) {
      low = middle + 1;
    } else {
      high = middle;
    }
  }
  return index.Read(low, &record) && record.Code == code ? low : -1;
}

int64_t FindCode(const MapFolder& map, const char* index_file, zatlib::FeatureCode code) {
  const int64_t position = FindIndexPosition(map, index_file, code);
  RecordAccess index;
  zatlib::CodeIndexRecord record{};
  if (position < 0 || !index.Open(PathOf(map, index_file), sizeof record) ||
      !index.Read(position, &record)) {
    return -1;
  }
  return record.Number;
}

bool ParseCodeArgument(const std::string& text, int code_length, zatlib::FeatureCode* code) {
  if (text.empty() || text.size() > 18 ||
      text.find_first_not_of("0123456789") != std::string::npos) {
    return false;
  }
  *code = zatlib::ParseCode(text, code_length);
  return true;
}

}  // namespace zatmap
