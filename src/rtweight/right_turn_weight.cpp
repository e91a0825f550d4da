#include "rtweight/right_turn_weight.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <new>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/log.h"
#include "frd/long_pass.h"
#include "frd/whole_file.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr char kTitle[] = "Fatal Error in MM_CreateRightTurnWeight";
constexpr char kLoadCodesTitle[] = "Fatal Error in MM_SUB_LoadLinkCodes";
constexpr char kLimitSection[] = "ROADFLAG";
constexpr double kDegreesPerUnit = 1000000.0;  // coordinates are millionths of a degree
constexpr int kDefaultRight = 45;              // degrees
constexpr int kDefaultLeft = 135;              // degrees
constexpr int64_t kLookInterval = 1024;        // nodes between two looks for a cancel
constexpr uint32_t kWritePart = 1u << 30;      // bytes of one system write at most

// A shape holder in page memory, so that a machine without memory is noticed and not met by an
// exception.
class HolderBlock {
 public:
  HolderBlock() {
    void* block = platform::AllocPages(sizeof(ShapeHolder));
    if (block != nullptr) holder_ = new (block) ShapeHolder;
  }
  ~HolderBlock() {
    if (holder_ == nullptr) return;
    SHAPE_CloseShape(holder_);
    holder_->~ShapeHolder();
    FRD_FreeMem(holder_);
  }
  HolderBlock(const HolderBlock&) = delete;
  HolderBlock& operator=(const HolderBlock&) = delete;
  ShapeHolder* get() { return holder_; }

 private:
  ShapeHolder* holder_ = nullptr;
};

// Logs the step's end with an error, then reports the cause. Returns 0.
int Fail(WindowHandle owner, const char* format, ...) ZATLIB_PRINTF(2, 3);
int Fail(WindowHandle owner, const char* format, ...) {
  LogBuild(" *** Creating Right Turn Weight : End ERROR *** ");
  char message[kMessageSize];
  va_list arguments;
  va_start(arguments, format);
  FRD_FormatV(message, sizeof message, format, arguments);
  va_end(arguments);
  BRN_ShowError(owner, message, kTitle, platform::kErrorIcon);
  return 0;
}

// Loads a file that must not be empty.
int LoadInput(WindowHandle owner, const char* path, uint64_t least_size, WholeFile* file) {
  const uint64_t size = FileSize(path);
  const LoadResult result =
      size < least_size ? LoadResult::kNoMemory : LoadWholeFile(path, size, file);
  switch (result) {
    case LoadResult::kLoaded:
      return 1;
    case LoadResult::kNoMemory:
      return Fail(owner, "Can't find the file / allcate the memory : %s", path);
    case LoadResult::kNotOpened:
      return Fail(owner, "Can't open the file : %s", path);
    case LoadResult::kNotRead:
      break;
  }
  return Fail(owner, "Can't read the file : %s", path);
}

// Takes memory for the codes of all links and loads them.
int LoadCodes(WindowHandle owner, const char* control_file, const char* folder,
              PageArray<FeatureCode>* codes, int64_t* link_count) {
  const PathText path = PathIn(folder, kDrawingFile);
  const uint64_t size = FileSize(path.c_str());
  *link_count = static_cast<int64_t>(size / sizeof(DrawingRecord));
  constexpr uint64_t kMargin = kFileMargin / sizeof(FeatureCode);
  if (size == 0 || !codes->Allocate(static_cast<uint64_t>(*link_count) + kMargin)) {
    return Fail(owner, "Can't find the file / allcate the memory : %s", path.c_str());
  }
  if (MM_SUB_LoadLinkCodes(*link_count, codes->data(), control_file) == 0) {
    return Fail(owner, "Fatal Error occured in MM_SUB_LoadLinkCodes, num rec = %d",
                ShownAs<int>(*link_count));
  }
  return 1;
}

bool WriteAll(platform::File& file, const SlotBytes* weights, uint64_t size) {
  const auto* bytes = reinterpret_cast<const char*>(weights);
  while (size > 0) {
    const auto part = static_cast<uint32_t>(std::min<uint64_t>(size, kWritePart));
    uint32_t written = 0;
    if (!file.Write(bytes, part, &written) || written != part) return false;
    bytes += part;
    size -= part;
  }
  return true;
}

int SaveWeights(WindowHandle owner, const char* folder, const SlotBytes* weights,
                int64_t node_count) {
  const PathText path = PathIn(folder, kRightTurnWeightFile);
  platform::File file =
      platform::File::Open(path.c_str(), platform::Access::kWrite, platform::Share::kNone,
                           platform::Disposition::kCreateAlways);
  if (!file.IsOpen()) return Fail(owner, "Can't open the output file : %s", path.c_str());
  if (!WriteAll(file, weights, static_cast<uint64_t>(node_count) * sizeof(SlotBytes))) {
    return Fail(owner, "Can't write the output file : %s", path.c_str());
  }
  return 1;
}

TurnPoint InDegrees(const ShapePoint& point) {
  return {point.X / kDegreesPerUnit, point.Y / kDegreesPerUnit};
}

// The ends of the shape of the link in a slot.
LinkEnds LoadEnds(int64_t node, int slot, const TurnTables& tables, ShapePoint* points) {
  LinkEnds ends;
  if (node >= tables.node_link_count) return ends;
  const int32_t link = tables.node_links[node].Link[slot];
  if (link < 0 || link >= tables.link_count) return ends;
  const FeatureCode code = tables.link_codes[link];
  if (code.AsDouble() >= kFirstCodeWithoutShape) return ends;
  const int count = SHAPE_GetShapePoints(code, points, tables.shapes);
  if (count < 2) return ends;
  ends.usable = true;
  ends.end[0] = InDegrees(points[0]);
  ends.next[0] = InDegrees(points[1]);
  ends.end[1] = InDegrees(points[count - 1]);
  ends.next[1] = InDegrees(points[count - 2]);
  return ends;
}

// The turn from a over the junction j to b.
bool IsWeighted(const TurnPoint& a, const TurnPoint& j, const TurnPoint& b,
                const TurnLimits& limits) {
  const double dx_in = j.x - a.x;
  const double dy_in = j.y - a.y;
  const double dx_out = b.x - j.x;
  const double dy_out = b.y - j.y;
  // A segment that runs exactly east-west or north-south beside the junction weights nothing; maps
  // in use were made so, and routes computed on them would change.
  if (dx_in * dy_in == 0.0 || dx_out * dy_out == 0.0) return false;

  const double square_in = dx_in * dx_in + dy_in * dy_in;
  const double square_out = dx_out * dx_out + dy_out * dy_out;
  double cosine = -1.0;
  if (square_in > 0.0 && square_out > 0.0) {
    cosine = (dx_in * dx_out + dy_in * dy_out) / (std::sqrt(square_out) * std::sqrt(square_in));
  }
  // Side of the departure: above or below the line of the arrival, seen from the junction.
  const double line_y = dx_out * dy_in / dx_in;
  bool right = true;
  if (dy_out < line_y) {
    right = dx_in > 0.0;
  } else if (dy_out > line_y) {
    right = !(dx_in > 0.0);
  }
  return (right ? limits.cos_right : limits.cos_left) >= cosine;
}

double CosineLimit(const char* road_definition, const char* key, int default_degrees) {
  const int degrees =
      platform::ReadProfileInt(kLimitSection, key, default_degrees, road_definition);
  return std::cos(degrees * 3.141592653589793 / 180.0);
}

}  // namespace

int MM_SUB_CheckMemoryOperation(const char* control_file) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  HolderBlock holder;
  if (holder.get() == nullptr || SHAPE_OpenShape(nullptr, holder.get(), folder, 1) == 0) return 0;
  const uint64_t calc_size = FileSize(PathIn(folder, kCalcNodeFile).c_str());
  const uint64_t draw_size = FileSize(PathIn(folder, kDrawingFile).c_str());
  const uint64_t node_link_size = FileSize(PathIn(folder, kNodeLinkFile).c_str());
  const struct {
    uint64_t file_size;
    uint64_t block_size;
  } wanted[] = {
      {calc_size, calc_size * 2 + 32},
      {draw_size, (draw_size / sizeof(DrawingRecord) + 2) * 16},
      {node_link_size, node_link_size * 2 + 32},
      {calc_size, (calc_size / sizeof(CalcNode) + 2) * 16},
  };
  PageArray<char> blocks[std::size(wanted)];
  for (size_t i = 0; i < std::size(wanted); ++i) {
    if (wanted[i].file_size == 0 || !blocks[i].Allocate(wanted[i].block_size)) return 0;
  }
  return 1;
}

int MM_SUB_LoadLinkCodes(int64_t link_count, FeatureCode* codes, const char* control_file) {
  const PathText path = OutputPath(control_file, kDrawingFile);
  platform::File file =
      platform::File::Open(path.c_str(), platform::Access::kRead, platform::Share::kRead,
                           platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  if (!file.IsOpen()) {
    ReportError(nullptr, kLoadCodesTitle, "Can't open the file : %s, lnSize=%d", path.c_str(),
                ShownAs<int>(link_count));
    return 0;
  }
  DrawingRecord block[2048];
  for (int64_t done = 0; done < link_count;) {
    const int64_t part = std::min<int64_t>(link_count - done, std::ssize(block));
    uint32_t read = 0;
    file.Read(block, static_cast<uint32_t>(part * static_cast<int64_t>(sizeof block[0])), &read);
    const auto records = static_cast<int64_t>(read / sizeof block[0]);
    for (int64_t i = 0; i < records; ++i) codes[done + i] = block[i].LinkCode;
    done += records;
    if (records < part) break;
  }
  return 1;
}

void MM_SUB_LoadNodeTurns(int64_t node, const TurnTables& tables, ShapePoint* points,
                          NodeTurns* turns) {
  const int32_t* other = tables.nodes[node].OtherNode;
  turns->slots = 0;
  while (turns->slots < kSlots && other[turns->slots] >= 0) ++turns->slots;
  std::copy(other, other + turns->slots, turns->neighbour);
  for (int slot = 0; slot < turns->slots; ++slot) {
    // Only the first link toward a neighbour is ever asked for.
    if (std::find(other, other + slot, other[slot]) != other + slot) continue;
    turns->ends[slot] = LoadEnds(node, slot, tables, points);
  }
}

int MM_SUB_IsWeightedTurn(int32_t arrival, const NodeTurns& node, int32_t departure,
                          const TurnLimits& limits) {
  const int32_t* const end = node.neighbour + node.slots;
  const auto in_slot = std::find(node.neighbour, end, arrival) - node.neighbour;
  const auto out_slot = std::find(node.neighbour, end, departure) - node.neighbour;
  if (in_slot == node.slots || out_slot == node.slots) return 0;
  const LinkEnds& in = node.ends[in_slot];
  const LinkEnds& out = node.ends[out_slot];
  if (!in.usable || !out.usable) return 0;
  for (int i = 0; i < 2; ++i) {
    for (int o = 0; o < 2; ++o) {
      if (in.end[i].x == out.end[o].x && in.end[i].y == out.end[o].y) {
        return IsWeighted(in.next[i], in.end[i], out.next[o], limits) ? 1 : 0;
      }
    }
  }
  return 0;
}

int MM_RightTurnWeightMain(const TurnTables& tables, SlotBytes* weights, const char* folder) {
  const PathText definition = PathIn(folder, kRoadDefinitionFile);
  const TurnLimits limits = {CosineLimit(definition.c_str(), "RTWEIGHT_RIGHT", kDefaultRight),
                             CosineLimit(definition.c_str(), "RTWEIGHT_LEFT", kDefaultLeft)};
  ShapePoint points[kMaxShapePoints];
  NodeTurns turns;
  for (int64_t n = 0; n < tables.node_count; ++n) {
    if (CancelledAt(n, kLookInterval)) return 0;
    weights[n] = {};
    if (tables.nodes[n].OtherNode[0] < 0 || tables.nodes[n].OtherNode[1] < 0 ||
        tables.nodes[n].OtherNode[2] < 0) {
      continue;  // fewer than 3 neighbours
    }
    MM_SUB_LoadNodeTurns(n, tables, points, &turns);
    for (int a = 0; a < turns.slots; ++a) {
      for (int b = 0; b < turns.slots; ++b) {
        if (MM_SUB_IsWeightedTurn(turns.neighbour[a], turns, turns.neighbour[b], limits) != 0) {
          weights[n].Slot[a] |= static_cast<uint8_t>(0x80 >> b);
        }
      }
    }
  }
  return 1;
}

int MM_CreateRightTurnWeight(WindowHandle owner, const char* control_file) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  if (SHAPE_CheckShapeFiles(folder) == 0) return 1;
  const int memory_mode = MM_SUB_CheckMemoryOperation(control_file);
  LogBuild("%s", memory_mode != 0 ? " *** Creating Right Turn Weight : Memory Operation *** "
                                  : " *** Creating Right Turn Weight : File Operation ");

  HolderBlock holder;
  if (holder.get() == nullptr) {
    return Fail(owner, "Can't allocate the memory for the shape holder : size=%d",
                static_cast<int>(sizeof(ShapeHolder)));
  }
  if (SHAPE_OpenShape(owner, holder.get(), folder, memory_mode) == 0) {
    return Fail(owner, "Can't open the shape in %s", folder);
  }

  WholeFile nodes;
  if (LoadInput(owner, PathIn(folder, kCalcNodeFile).c_str(), 1, &nodes) == 0) return 0;
  PageArray<FeatureCode> codes;
  int64_t link_count = 0;
  if (LoadCodes(owner, control_file, folder, &codes, &link_count) == 0) return 0;
  WholeFile node_links;
  if (LoadInput(owner, PathIn(folder, kNodeLinkFile).c_str(), sizeof(NodeLinks), &node_links) ==
      0) {
    return 0;
  }

  TurnTables tables;
  tables.nodes = nodes.records<CalcNode>();
  tables.node_count = nodes.count<CalcNode>();
  tables.node_links = node_links.records<NodeLinks>();
  tables.node_link_count = node_links.count<NodeLinks>();
  tables.link_codes = codes.data();
  tables.link_count = link_count;
  tables.shapes = holder.get();

  PageArray<SlotBytes> weights;
  if (!weights.Allocate(static_cast<uint64_t>(tables.node_count) + 10)) {
    // The number has always been smaller than the request, by 64.
    return Fail(owner, "Can't allocate the memory for the RtWeight, size=%lld",
                static_cast<long long>(tables.node_count * 8 + 16));
  }
  if (MM_RightTurnWeightMain(tables, weights.data(), folder) == 0) {
    if (BRN_SetStatus(nullptr) == 0) {
      LogBuild(" *** Creating Right Turn Weight : End ERROR *** ");
      return 0;
    }
    return Fail(owner, "Internal logic error in MM_RightTurnWeightMain");
  }
  if (SaveWeights(owner, folder, weights.data(), tables.node_count) == 0) return 0;
  LogBuild(" *** Creating Right Turn Weight : End OK *** ");
  return 1;
}

}  // namespace zatlib
