#include "rtweight/right_turn_weight.h"

#include <algorithm>
#include <cmath>
#include <cstdarg>
#include <cstring>
#include <new>
#include <tuple>
#include <utility>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/log.h"
#include "platform/file.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr char kTitle[] = "Fatal Error in MM_CreateRightTurnWeight";
constexpr char kLoadCodesTitle[] = "Fatal Error in MM_SUB_LoadLinkCodes";
constexpr char kLimitSection[] = "ROADFLAG";
constexpr int kDefaultRight = 45;          // degrees
constexpr int kDefaultLeft = 135;          // degrees
constexpr int64_t kNodesOfPart = 1024;     // that a thread takes at a time
constexpr int64_t kLinksOfPart = 8192;     // likewise
constexpr uint32_t kWritePart = 1u << 30;  // bytes of one system write at most

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

// Opens a node file, which must not be empty, and reads its first block of `block_nodes` nodes.
int OpenInput(WindowHandle owner, const char* path, uint64_t least_size, uint32_t record_size,
              int64_t block_nodes, BlockReader* file) {
  const FileResult result = FileSize(path) < least_size
                                ? FileResult::kNoMemory
                                : file->Open(path, record_size, block_nodes);
  if (result == FileResult::kDone) return 1;
  if (result == FileResult::kNoMemory) {
    return Fail(owner, "Can't find the file / allcate the memory : %s", path);
  }
  if (result == FileResult::kNotOpened) return Fail(owner, "Can't open the file : %s", path);
  return Fail(owner, "Can't read the file : %s", path);
}

// The shape of every link, by link number.
struct LinkShapes {
  PageArray<int32_t> positions;
  int64_t count = 0;
};

// Loads the codes of all links and looks their shapes up; the codes are not needed any longer then.
// Where memory is short, the blocks of `nodes` give way.
int FindShapes(WindowHandle owner, const char* control_file, const char* folder,
               const ShapeHolder& shapes, BlockReader& nodes, Workers& workers, LinkShapes* links) {
  const PathText path = PathIn(folder, kDrawingFile);
  const uint64_t size = FileSize(path.c_str());
  const uint64_t count = size / sizeof(DrawingRecord);
  links->count = static_cast<int64_t>(count);
  PageArray<FeatureCode> codes;
  const auto reserve = [&] { return codes.Allocate(count) && links->positions.Allocate(count); };
  if (size == 0 || (!reserve() && !(nodes.Shrink() && reserve()))) {
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

// The way from an end of a shape to the point beside it.
struct EndWay {
  double x;  // degrees
  double y;
  double square;  // of its length
  double length;
};

EndWay WayFrom(const LinkEnds& link, int end) {
  EndWay way;
  way.x = InDegrees(link.beside[end].X) - InDegrees(link.point[end].X);
  way.y = InDegrees(link.beside[end].Y) - InDegrees(link.point[end].Y);
  way.square = way.x * way.x + way.y * way.y;
  way.length = std::sqrt(way.square);
  return way;
}

// The turn from one way to another one with the same end.
bool IsWeighted(const EndWay& in, const EndWay& out, const TurnLimits& limits) {
  const double dx_in = -in.x;
  const double dy_in = -in.y;
  const double dx_out = out.x;
  const double dy_out = out.y;
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
  for (int i = 0; i < 2; ++i) {
    for (int o = 0; o < 2; ++o) {
      if (IsSamePoint(in.point[i], out.point[o])) {
        return IsWeighted(WayFrom(in, i), WayFrom(out, o), limits);
      }
    }
  }
  return false;
}

// A node of a group, with the shapes of the links in its slots.
struct GroupNode {
  int64_t number;
  int slots;               // occupied slots, 3 or more
  int first_slot[kSlots];  // the first slot of the same neighbour, whose link counts
  int32_t shape[kSlots];   // its position, -1 = none; of first slots only
  ShapeEnds ends[kSlots];  // where there is a shape
};

// The weights of any node.
SlotBytes WeighAnyNode(const GroupNode& node, const TurnLimits& limits) {
  LinkEnds ends[kSlots];
  for (int s = 0; s < node.slots; ++s) {
    if (node.shape[s] >= 0) ends[s] = EndsOfShape(node.ends[s]);
  }
  SlotBytes weights = {};
  for (int a = 0; a < node.slots; ++a) {
    for (int b = 0; b < node.slots; ++b) {
      if (IsWeighted(ends[node.first_slot[a]], ends[node.first_slot[b]], limits)) {
        weights.Slot[a] |= static_cast<uint8_t>(0x80 >> b);
      }
    }
  }
  return weights;
}

// Where the shapes of a node meet: bit s is set when that of slot s meets the others at its last
// point, clear when at its first one. Returns false when that is not so plain: shapes are missing,
// begin where they end, share both ends or have no point in common.
bool FindMeeting(const GroupNode& node, unsigned* at_last) {
  uint64_t first[kSlots];
  uint64_t last[kSlots];
  bool good = true;
  for (int s = 0; s < node.slots; ++s) {
    good = good && node.shape[s] >= 0;  // a later slot of the same neighbour has none
    std::memcpy(&first[s], &node.ends[s].First, sizeof first[s]);
    std::memcpy(&last[s], &node.ends[s].Last, sizeof last[s]);
  }
  if (!good) return false;
  bool all_at_first = true;
  bool all_at_last = true;
  for (int s = 1; s < node.slots; ++s) {
    all_at_first &= (first[s] == first[0]) | (last[s] == first[0]);
    all_at_last &= (first[s] == last[0]) | (last[s] == last[0]);
  }
  if (all_at_first == all_at_last) return false;
  const uint64_t meeting = all_at_first ? first[0] : last[0];
  unsigned ends = 0;
  bool plain = true;
  for (int s = 0; s < node.slots; ++s) {
    plain &= first[s] != last[s];
    const unsigned is_last = last[s] == meeting;
    ends |= is_last << s;
    // The other end, which must be that of no other shape.
    const uint64_t other = first[s] ^ last[s] ^ meeting;
    for (int before = 0; before < s; ++before) {
      plain &= (first[before] ^ last[before] ^ meeting) != other;
    }
  }
  *at_last = ends;
  return plain;
}

// Ways of up to kCount shapes, side by side, and what their turns weigh: the bit of the slot, 0x80
// >> slot, or nothing for a way along an axis, which takes no part, and behind the last slot.
template <int kCount>
struct WaysOfNode {
  double x[kCount] = {};
  double y[kCount] = {};
  double length[kCount];
  double weight[kCount];

  void WorkOutRest() {
    for (int s = 0; s < kCount; ++s) length[s] = std::sqrt(x[s] * x[s] + y[s] * y[s]);
    for (int s = 0; s < kCount; ++s) weight[s] = x[s] * y[s] != 0.0 ? kSlotBit[s] : 0.0;
  }

  static constexpr double kSlotBit[] = {128, 64, 32, 16, 8, 4, 2, 1};
};

// The next three functions tell what IsWeighted tells, in a form that needs no branches: which way
// a turn goes is as good as random. A turn is a left one when the departure lies beyond the line of
// the arrival, above it for an arrival from the west, below it for one from the east: `side` is 1
// or -1.
double WeighTurn(double side, double y_out, double line_y, double cosine, double weight,
                 const TurnLimits& limits) {
  const double limit = side * y_out > side * line_y ? limits.cos_left : limits.cos_right;
  return limit >= cosine ? weight : 0.0;
}

// The turns from way `a` to all ways.
template <int kCount>
unsigned WeighArrival(const WaysOfNode<kCount>& ways, int a, const TurnLimits& limits) {
  if (ways.weight[a] == 0.0) return 0;
  const double dx_in = -ways.x[a];
  const double dy_in = -ways.y[a];
  const double length_in = ways.length[a];
  const double side = dx_in > 0.0 ? 1.0 : -1.0;
  double weights[kCount];
  for (int b = 0; b < kCount; ++b) {
    const double cosine = (dx_in * ways.x[b] + dy_in * ways.y[b]) / (ways.length[b] * length_in);
    const double line_y = ways.x[b] * dy_in / dx_in;
    weights[b] = WeighTurn(side, ways.y[b], line_y, cosine, ways.weight[b], limits);
  }
  double sum = 0.0;
  for (int b = 0; b < kCount; ++b) sum += weights[b];
  return static_cast<unsigned>(static_cast<int>(sum));
}

// The turn back over each of the ways.
template <int kCount>
unsigned WeighTurnsBack(const WaysOfNode<kCount>& ways, const TurnLimits& limits) {
  double weights[kCount];
  for (int s = 0; s < kCount; ++s) {
    const double dx_in = -ways.x[s];
    const double dy_in = -ways.y[s];
    const double cosine =
        (dx_in * ways.x[s] + dy_in * ways.y[s]) / (ways.length[s] * ways.length[s]);
    const double line_y = ways.x[s] * dy_in / dx_in;
    const double side = dx_in > 0.0 ? 1.0 : -1.0;
    weights[s] = WeighTurn(side, ways.y[s], line_y, cosine, ways.weight[s], limits);
  }
  double sum = 0.0;
  for (int s = 0; s < kCount; ++s) sum += weights[s];
  return static_cast<unsigned>(static_cast<int>(sum));
}

// The weights of a node whose shapes meet in one point. Slots up to kCount.
template <int kCount>
SlotBytes WeighMeeting(const GroupNode& node, unsigned at_last, const TurnLimits& limits) {
  WaysOfNode<kCount> at_node;
  WaysOfNode<kCount> at_first;  // the turn back is measured at the first end
  for (int s = 0; s < node.slots; ++s) {
    const ShapeEnds& ends = node.ends[s];
    const double x[] = {InDegrees(ends.Second.X) - InDegrees(ends.First.X),
                        InDegrees(ends.BeforeLast.X) - InDegrees(ends.Last.X)};
    const double y[] = {InDegrees(ends.Second.Y) - InDegrees(ends.First.Y),
                        InDegrees(ends.BeforeLast.Y) - InDegrees(ends.Last.Y)};
    at_first.x[s] = x[0];
    at_first.y[s] = y[0];
    at_node.x[s] = x[at_last >> s & 1];
    at_node.y[s] = y[at_last >> s & 1];
  }
  at_first.WorkOutRest();
  at_node.WorkOutRest();
  const unsigned backs = WeighTurnsBack(at_first, limits);
  SlotBytes weights = {};
  for (int a = 0; a < node.slots; ++a) {
    const unsigned back = 0x80u >> a;
    const unsigned turns = WeighArrival(at_node, a, limits);
    weights.Slot[a] = static_cast<uint8_t>((turns & ~back) | (backs & back));
  }
  return weights;
}

SlotBytes WeighNode(const GroupNode& node, const TurnLimits& limits) {
  unsigned at_last = 0;
  if (!FindMeeting(node, &at_last)) return WeighAnyNode(node, limits);
  return node.slots <= 4 ? WeighMeeting<4>(node, at_last, limits)
                         : WeighMeeting<kSlots>(node, at_last, limits);
}

// A run of nodes that are worked on together. Each look-up is made for all of them before the next
// one, so that the processor can wait for many places of the tables at a time.
struct NodeGroup {
  static constexpr int kSize = 16;

  GroupNode nodes[kSize];
  int count = 0;

  // Takes a node with 3 neighbours or more; `links` is null where it has none.
  void Add(int64_t number, const CalcNode& calc_node, const NodeLinks* links) {
    GroupNode& node = nodes[count++];
    node.number = number;
    const int32_t* const other = calc_node.OtherNode;
    for (node.slots = 0; node.slots < kSlots && other[node.slots] >= 0; ++node.slots) {
      const int slot = node.slots;
      const auto first = static_cast<int>(std::find(other, other + slot, other[slot]) - other);
      node.first_slot[slot] = first;
      node.shape[slot] = first == slot && links != nullptr ? links->Link[slot] : -1;
    }
  }

  void Weigh(const TurnTables& tables, const TurnLimits& limits, SlotBytes* weights) {
    for (int n = 0; n < count; ++n) {
      for (int s = 0; s < nodes[n].slots; ++s) {
        int32_t& shape = nodes[n].shape[s];
        if (shape >= 0) shape = shape < tables.link_count ? tables.shape_of_link[shape] : -1;
      }
    }
    for (int n = 0; n < count; ++n) {
      GroupNode& node = nodes[n];
      for (int s = 0; s < node.slots; ++s) {
        if (node.shape[s] >= 0) node.ends[s] = tables.shapes->ends(node.shape[s]);
      }
    }
    for (int n = 0; n < count; ++n) weights[nodes[n].number] = WeighNode(nodes[n], limits);
    count = 0;
  }
};

double CosineLimit(const char* road_definition, const char* key, int default_degrees) {
  const int degrees =
      platform::ReadProfileInt(kLimitSection, key, default_degrees, road_definition);
  return std::cos(degrees * 3.141592653589793 / 180.0);
}

}  // namespace

int MM_SUB_CheckMemoryOperation(const char* control_file, Workers& workers, ShapeHolder* shapes) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  if (shapes == nullptr || SHAPE_OpenShapeEnds(nullptr, shapes, folder, 1, workers) == 0) return 0;
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

LinkEnds EndsOfShape(const ShapeEnds& shape) {
  LinkEnds ends;
  ends.usable = true;
  ends.point[0] = shape.First;
  ends.beside[0] = shape.Second;
  ends.point[1] = shape.Last;
  ends.beside[1] = shape.BeforeLast;
  return ends;
}

TurnLimits ReadTurnLimits(const char* folder) {
  const PathText definition = PathIn(folder, kRoadDefinitionFile);
  return {CosineLimit(definition.c_str(), "RTWEIGHT_RIGHT", kDefaultRight),
          CosineLimit(definition.c_str(), "RTWEIGHT_LEFT", kDefaultLeft)};
}

int MM_SUB_IsWeightedTurn(int32_t arrival, const NodeTurns& node, int32_t departure,
                          const TurnLimits& limits) {
  const int32_t* const begin = node.neighbour;
  const int32_t* const end = begin + node.slots;
  const auto in_slot = std::find(begin, end, arrival) - begin;
  const auto out_slot = std::find(begin, end, departure) - begin;
  if (in_slot == node.slots || out_slot == node.slots) return 0;
  return IsWeighted(node.ends[in_slot], node.ends[out_slot], limits) ? 1 : 0;
}

int MM_RightTurnWeightMain(const TurnTables& tables, SlotBytes* weights, const char* folder,
                           Workers& workers) {
  const TurnLimits limits = ReadTurnLimits(folder);
  BlockReader& nodes = *tables.nodes;
  BlockReader& node_links = *tables.node_links;
  while (nodes.records_in_block() > 0) {
    const int64_t count = nodes.records_in_block();
    const int64_t known = node_links.records_in_block();  // nodes of the block that have links
    const auto* const node = nodes.records<CalcNode>();
    const auto* const links = node_links.records<NodeLinks>();
    SlotBytes* const out = weights + nodes.first();
    workers.StartRanges(count, kNodesOfPart, [&, known](int64_t begin, int64_t end) {
      NodeGroup group;
      for (int64_t n = begin; n < end; ++n) {
        const int32_t* const other = node[n].OtherNode;
        if (other[0] < 0 || other[1] < 0 || other[2] < 0) {
          out[n] = {};  // fewer than 3 neighbours
          continue;
        }
        group.Add(n, node[n], n < known ? links + n : nullptr);
        if (group.count == NodeGroup::kSize) group.Weigh(tables, limits, out);
      }
      group.Weigh(tables, limits, out);
    });
    const bool read = nodes.Advance() && node_links.Advance();
    workers.Finish();
    if (!read || (count == nodes.block_limit() && BRN_SetStatus(nullptr) == 0)) return 0;
  }
  return 1;
}

int MM_CreateRightTurnWeight(WindowHandle owner, const char* control_file) {
  char folder[kPathSize];
  BRN_GetCalcMapDir(control_file, folder);
  if (SHAPE_CheckShapeFiles(folder) == 0) return 1;
  Workers workers;
  HolderBlock holder;
  const bool in_memory = MM_SUB_CheckMemoryOperation(control_file, workers, holder.get()) != 0;
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
  if (OpenInput(owner, calc_path.c_str(), 1, sizeof(CalcNode), kBlockNodes, &nodes) == 0) return 0;
  LinkShapes links;
  if (FindShapes(owner, control_file, folder, *holder.get(), nodes, workers, &links) == 0) return 0;
  holder.get()->FreeIndex();
  BlockReader node_links;
  if (OpenInput(owner, node_link_path.c_str(), sizeof(NodeLinks), sizeof(NodeLinks),
                nodes.block_limit(), &node_links) == 0) {
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
  const auto reserve = [&] { return weights.Allocate(node_count + 10); };
  if (!reserve() && !(node_links.Shrink() && reserve()) && !(nodes.Shrink() && reserve())) {
    // The number has always been smaller than the request, by 64.
    return Fail(owner, "Can't allocate the memory for the RtWeight, size=%lld",
                static_cast<long long>(node_count * 8 + 16));
  }
  // The blocks of both files go side by side.
  const int64_t block_nodes = std::min(nodes.block_limit(), node_links.block_limit());
  for (const auto& [file, path, record_size] :
       {std::tuple(&nodes, &calc_path, sizeof(CalcNode)),
        std::tuple(&node_links, &node_link_path, sizeof(NodeLinks))}) {
    if (file->block_limit() > block_nodes &&
        OpenInput(owner, path->c_str(), 1, static_cast<uint32_t>(record_size), block_nodes, file) ==
            0) {
      return 0;
    }
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
