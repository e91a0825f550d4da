#include "rtweight/right_turn_weight.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <new>
#include <utility>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/log.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr char kTitle[] = "Fatal Error in MM_CreateRightTurnWeight";
constexpr char kLoadCodesTitle[] = "Fatal Error in MM_SUB_LoadLinkCodes";
constexpr char kLimitSection[] = "ROADFLAG";
constexpr double kDegreesPerUnit = 1000000.0;  // coordinates are millionths of a degree
constexpr int kDefaultRight = 45;              // degrees
constexpr int kDefaultLeft = 135;              // degrees
constexpr int64_t kNodesOfPart = 1024;         // that a thread takes at a time
constexpr int64_t kLinksOfPart = 8192;         // likewise
constexpr uint32_t kWritePart = 1u << 30;      // bytes of one system write at most

// A shape holder in page memory, so that a machine without memory is noticed and not met by an
// exception.
class HolderBlock {
 public:
  HolderBlock() { Take(); }
  ~HolderBlock() {
    if (holder_ == nullptr) return;
    SHAPE_CloseShape(holder_);
    holder_->~ShapeHolder();
    FRD_FreeMem(holder_);
  }
  HolderBlock(const HolderBlock&) = delete;
  HolderBlock& operator=(const HolderBlock&) = delete;
  ShapeHolder* get() { return holder_; }

  // Takes the memory unless that is done already; false when it is refused.
  bool Take() {
    if (holder_ != nullptr) return true;
    void* block = platform::AllocPages(sizeof(ShapeHolder));
    if (block != nullptr) holder_ = new (block) ShapeHolder;
    return holder_ != nullptr;
  }

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

// Opens a node file, which must not be empty, and reads its first block.
int OpenInput(WindowHandle owner, const char* path, uint64_t least_size, uint32_t record_size,
              BlockReader* file) {
  const LoadResult result = FileSize(path) < least_size
                                ? LoadResult::kNoMemory
                                : file->Open(path, record_size, kBlockNodes);
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

// The shape of every link, by link number.
struct LinkShapes {
  PageArray<int32_t> positions;
  int64_t count = 0;
};

// Loads the codes of all links and looks their shapes up; the codes are not needed any longer then.
int FindShapes(WindowHandle owner, const char* control_file, const char* folder,
               const ShapeHolder& shapes, Workers& workers, LinkShapes* links) {
  const PathText path = PathIn(folder, kDrawingFile);
  const uint64_t size = FileSize(path.c_str());
  const uint64_t count = size / sizeof(DrawingRecord);
  links->count = static_cast<int64_t>(count);
  PageArray<FeatureCode> codes;
  if (size == 0 || !codes.Allocate(count) || !links->positions.Allocate(count)) {
    return Fail(owner, "Can't find the file / allcate the memory : %s", path.c_str());
  }
  if (MM_SUB_LoadLinkCodes(links->count, codes.data(), control_file) == 0) {
    return Fail(owner, "Fatal Error occured in MM_SUB_LoadLinkCodes, num rec = %d",
                ShownAs<int>(links->count));
  }
  const FeatureCode* const code = codes.data();
  int32_t* const position = links->positions.data();
  workers.RunRanges(links->count, kLinksOfPart, [&](int64_t begin, int64_t end) {
    SHAPE_FindShapeEnds(code + begin, end - begin, shapes, position + begin);
    for (int64_t i = begin; i < end; ++i) {
      if (code[i].AsDouble() >= kFirstCodeWithoutShape) position[i] = -1;
    }
  });
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

// The ends of the shape of the link in a slot.
void LoadEnds(const NodeLinks& links, int slot, const TurnTables& tables, LinkEnds* ends) {
  ends->usable = false;
  const int32_t link = links.Link[slot];
  if (link < 0 || link >= tables.link_count) return;
  const int32_t position = tables.shape_of_link[link];
  if (position < 0) return;
  const ShapeEnds& shape = tables.shapes->ends(position);
  ends->usable = true;
  ends->end[0] = EndOfShape(shape.First, shape.Second);
  ends->end[1] = EndOfShape(shape.Last, shape.BeforeLast);
}

// The turn from one end to another at the same point.
bool IsWeighted(const TurnEnd& in, const TurnEnd& out, const TurnLimits& limits) {
  const double dx_in = -in.away_x;
  const double dy_in = -in.away_y;
  const double dx_out = out.away_x;
  const double dy_out = out.away_y;
  // A segment that runs exactly east-west or north-south beside the junction weights nothing; maps
  // in use were made so, and routes computed on them would change.
  if (dx_in * dy_in == 0.0 || dx_out * dy_out == 0.0) return false;

  double cosine = -1.0;
  if (in.square > 0.0 && out.square > 0.0) {
    cosine = (dx_in * dx_out + dy_in * dy_out) / (out.length * in.length);
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

bool IsSamePoint(const ShapePoint& a, const ShapePoint& b) { return a.X == b.X && a.Y == b.Y; }

// The turn from one link onto another.
bool IsWeighted(const LinkEnds& in, const LinkEnds& out, const TurnLimits& limits) {
  if (!in.usable || !out.usable) return false;
  for (const TurnEnd& arrival : in.end) {
    for (const TurnEnd& departure : out.end) {
      if (IsSamePoint(arrival.point, departure.point)) {
        return IsWeighted(arrival, departure, limits);
      }
    }
  }
  return false;
}

// The weights of one node; `links` as in MM_SUB_LoadNodeTurns.
SlotBytes WeighNode(const CalcNode& node, const NodeLinks* links, const TurnTables& tables,
                    const TurnLimits& limits, NodeTurns* turns) {
  SlotBytes weights = {};
  if (node.OtherNode[0] < 0 || node.OtherNode[1] < 0 || node.OtherNode[2] < 0) {
    return weights;  // fewer than 3 neighbours
  }
  MM_SUB_LoadNodeTurns(node, links, tables, turns);
  for (int a = 0; a < turns->slots; ++a) {
    const LinkEnds& in = turns->ends[turns->first_slot[a]];
    for (int b = 0; b < turns->slots; ++b) {
      if (IsWeighted(in, turns->ends[turns->first_slot[b]], limits)) {
        weights.Slot[a] |= static_cast<uint8_t>(0x80 >> b);
      }
    }
  }
  return weights;
}

double CosineLimit(const char* road_definition, const char* key, int default_degrees) {
  const int degrees =
      platform::ReadProfileInt(kLimitSection, key, default_degrees, road_definition);
  return std::cos(degrees * 3.141592653589793 / 180.0);
}

// Opens the shapes for the memory operation and takes, for a moment, the memory that it may need.
// False leaves the shapes in any state.
bool HasMemory(const char* folder, Workers& workers, HolderBlock& holder) {
  if (holder.get() == nullptr ||
      SHAPE_OpenShapeEnds(nullptr, holder.get(), folder, 1, workers) == 0) {
    return false;
  }
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
    if (wanted[i].file_size == 0 || !blocks[i].Allocate(wanted[i].block_size)) return false;
  }
  return true;
}

}  // namespace

int MM_SUB_CheckMemoryOperation(const char* control_file) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  Workers workers;
  HolderBlock holder;
  return HasMemory(folder, workers, holder) ? 1 : 0;
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

TurnEnd EndOfShape(const ShapePoint& end, const ShapePoint& beside) {
  TurnEnd turn;
  turn.point = end;
  turn.away_x = beside.X / kDegreesPerUnit - end.X / kDegreesPerUnit;
  turn.away_y = beside.Y / kDegreesPerUnit - end.Y / kDegreesPerUnit;
  turn.square = turn.away_x * turn.away_x + turn.away_y * turn.away_y;
  turn.length = std::sqrt(turn.square);
  return turn;
}

void MM_SUB_LoadNodeTurns(const CalcNode& node, const NodeLinks* links, const TurnTables& tables,
                          NodeTurns* turns) {
  const int32_t* other = node.OtherNode;
  turns->slots = 0;
  while (turns->slots < kSlots && other[turns->slots] >= 0) ++turns->slots;
  std::copy(other, other + turns->slots, turns->neighbour);
  for (int slot = 0; slot < turns->slots; ++slot) {
    const auto first = static_cast<int>(std::find(other, other + slot, other[slot]) - other);
    turns->first_slot[slot] = first;
    if (first != slot) continue;
    if (links == nullptr) {
      turns->ends[slot].usable = false;
    } else {
      LoadEnds(*links, slot, tables, &turns->ends[slot]);
    }
  }
}

int MM_SUB_IsWeightedTurn(int32_t arrival, const NodeTurns& node, int32_t departure,
                          const TurnLimits& limits) {
  const int32_t* const end = node.neighbour + node.slots;
  const auto in_slot = std::find(node.neighbour, end, arrival) - node.neighbour;
  const auto out_slot = std::find(node.neighbour, end, departure) - node.neighbour;
  if (in_slot == node.slots || out_slot == node.slots) return 0;
  return IsWeighted(node.ends[in_slot], node.ends[out_slot], limits) ? 1 : 0;
}

int MM_RightTurnWeightMain(const TurnTables& tables, SlotBytes* weights, const char* folder,
                           Workers& workers) {
  const PathText definition = PathIn(folder, kRoadDefinitionFile);
  const TurnLimits limits = {CosineLimit(definition.c_str(), "RTWEIGHT_RIGHT", kDefaultRight),
                             CosineLimit(definition.c_str(), "RTWEIGHT_LEFT", kDefaultLeft)};
  BlockReader& nodes = *tables.nodes;
  BlockReader& node_links = *tables.node_links;
  while (nodes.records_in_block() > 0) {
    const int64_t count = nodes.records_in_block();
    const int64_t known = node_links.records_in_block();  // nodes of the block that have links
    const auto* const node = nodes.records<CalcNode>();
    const auto* const links = node_links.records<NodeLinks>();
    SlotBytes* const out = weights + nodes.first();
    workers.Start((count + kNodesOfPart - 1) / kNodesOfPart, [&, count, known](int64_t part) {
      NodeTurns turns;
      const int64_t end = std::min((part + 1) * kNodesOfPart, count);
      for (int64_t n = part * kNodesOfPart; n < end; ++n) {
        out[n] = WeighNode(node[n], n < known ? links + n : nullptr, tables, limits, &turns);
      }
    });
    const bool read = nodes.Advance() && node_links.Advance();
    workers.Finish();
    if (!read || (count == kBlockNodes && BRN_SetStatus(nullptr) == 0)) return 0;
  }
  return 1;
}

int MM_CreateRightTurnWeight(WindowHandle owner, const char* control_file) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  if (SHAPE_CheckShapeFiles(folder) == 0) return 1;
  Workers workers;
  HolderBlock holder;
  const bool in_memory = HasMemory(folder, workers, holder);
  LogBuild("%s", in_memory ? " *** Creating Right Turn Weight : Memory Operation *** "
                           : " *** Creating Right Turn Weight : File Operation ");
  if (!holder.Take()) {
    return Fail(owner, "Can't allocate the memory for the shape holder : size=%d",
                static_cast<int>(sizeof(ShapeHolder)));
  }
  // The memory operation goes on with the shapes that the decision has opened.
  if (!in_memory && SHAPE_OpenShapeEnds(owner, holder.get(), folder, 0, workers) == 0) {
    return Fail(owner, "Can't open the shape in %s", folder);
  }

  const PathText calc_path = PathIn(folder, kCalcNodeFile);
  const PathText node_link_path = PathIn(folder, kNodeLinkFile);
  BlockReader nodes;
  if (OpenInput(owner, calc_path.c_str(), 1, sizeof(CalcNode), &nodes) == 0) return 0;
  LinkShapes links;
  if (FindShapes(owner, control_file, folder, *holder.get(), workers, &links) == 0) return 0;
  holder.get()->FreeIndex();
  BlockReader node_links;
  if (OpenInput(owner, node_link_path.c_str(), sizeof(NodeLinks), sizeof(NodeLinks), &node_links) ==
      0) {
    return 0;
  }

  TurnTables tables;
  tables.nodes = &nodes;
  tables.node_links = &node_links;
  tables.shape_of_link = links.positions.data();
  tables.link_count = links.count;
  tables.shapes = holder.get();

  const int64_t node_count = nodes.count();
  PageArray<SlotBytes> weights;
  if (!weights.Allocate(static_cast<uint64_t>(node_count) + 10)) {
    // The number has always been smaller than the request, by 64.
    return Fail(owner, "Can't allocate the memory for the RtWeight, size=%lld",
                static_cast<long long>(node_count * 8 + 16));
  }
  if (MM_RightTurnWeightMain(tables, weights.data(), folder, workers) == 0) {
    for (const auto& [file, path] :
         {std::pair(&nodes, &calc_path), std::pair(&node_links, &node_link_path)}) {
      if (file->failed()) return Fail(owner, "Can't read the file : %s", path->c_str());
    }
    if (BRN_SetStatus(nullptr) == 0) {
      LogBuild(" *** Creating Right Turn Weight : End ERROR *** ");
      return 0;
    }
    return Fail(owner, "Internal logic error in MM_RightTurnWeightMain");
  }
  if (SaveWeights(owner, folder, weights.data(), node_count) == 0) return 0;
  LogBuild(" *** Creating Right Turn Weight : End OK *** ");
  return 1;
}

}  // namespace zatlib
