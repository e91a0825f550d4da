#include "rtweight/right_turn_weight.h"

#include <algorithm>
#include <new>

#include "frd/files.h"
#include "frd/log.h"
#include "frd/record_file.h"
#include "frd/step.h"
#include "platform/file.h"

namespace zatlib {
namespace {

constexpr char kFatalError[] = "Fatal Error";
constexpr char kEndError[] = " *** Creating Right Turn Weight : End ERROR *** ";
constexpr int64_t kNodesOfPart = 1024;  // that a thread takes at a time
constexpr int64_t kLinksOfPart = 8192;  // likewise

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

// With the file's path.
constexpr MessageText<const char*> kMissing = "Can't find the file / allcate the memory : %s";

MessageText<const char*> TextOf(FileResult result) {
  switch (result) {
    case FileResult::kNoMemory:
      return kMissing;
    case FileResult::kNotOpened:
      return "Can't open the file : %s";
    case FileResult::kNotRead:
      return "Can't read the file : %s";
    case FileResult::kNotCreated:
      return "Can't open the output file : %s";
    case FileResult::kNotWritten:
      return "Can't write the output file : %s";
    case FileResult::kDone:
      break;
  }
  return "";
}

// A file with a record a node.
struct NodeFile {
  const char* file;
  uint32_t record_size;
  uint64_t least_size;  // bytes; a smaller file counts as missing
};
constexpr NodeFile kCalcNodes = {
    .file = kCalcNodeFile, .record_size = sizeof(CalcNode), .least_size = 1};
constexpr NodeFile kNodeLinks = {
    .file = kNodeLinkFile, .record_size = sizeof(NodeLinks), .least_size = sizeof(NodeLinks)};

// One run of the step.
class WeightMaker {
 public:
  explicit WeightMaker(const Step& step) : step_(step) {}

  Outcome Run() {
    Outcome outcome = OpenShapes();
    if (IsDone(outcome)) outcome = Open(kCalcNodes, kBlockNodes, &nodes_);
    if (IsDone(outcome)) outcome = FindShapes();
    if (!IsDone(outcome)) return outcome;
    holder_.get()->FreeIndex();
    outcome = Open(kNodeLinks, nodes_.block_limit(), &node_links_);
    if (IsDone(outcome)) outcome = ReserveWeights();
    if (IsDone(outcome)) outcome = MatchBlocks();
    if (IsDone(outcome)) outcome = Weigh();
    return IsDone(outcome) ? Save() : outcome;
  }

 private:
  // Logs the step's end with an error, then reports the cause.
  template <typename... Values>
  Outcome Fail(MessageText<std::type_identity_t<Values>...> text, Values... values) const {
    LogBuild(kEndError);
    return step_.Fail(kFatalError, text, values...);
  }
  Outcome FailFile(const char* file, const MessageText<const char*>& text) const {
    return Fail(text, step_.Path(file).c_str());
  }

  Outcome OpenShapes() {
    const bool in_memory =
        MM_SUB_CheckMemoryOperation(step_.control_file(), workers_, holder_.get()) != 0;
    LogBuild("%s", in_memory ? " *** Creating Right Turn Weight : Memory Operation *** "
                             : " *** Creating Right Turn Weight : File Operation ");
    if (!holder_.Take()) {
      return Fail("Can't allocate the memory for the shape holder : size=%d",
                  static_cast<int>(sizeof(ShapeHolder)));
    }
    // The memory operation goes on with the shapes that the decision has opened.
    if (in_memory ||
        SHAPE_OpenShapeEnds(step_.owner(), holder_.get(), step_.folder(), 0, workers_) != 0) {
      return Outcome::kDone;
    }
    return Fail("Can't open the shape in %s", step_.folder());
  }

  // Opens a file and reads its first block of `block_nodes` nodes.
  Outcome Open(const NodeFile& file, int64_t block_nodes, BlockReader* reader) const {
    const PathText path = step_.Path(file.file);
    if (FileSize(path.c_str()) < file.least_size) return FailFile(file.file, kMissing);
    const FileResult opened = reader->Open(path.c_str(), file.record_size, block_nodes);
    return opened == FileResult::kDone ? Outcome::kDone : FailFile(file.file, TextOf(opened));
  }

  // Loads the codes of all links and looks their shapes up; the codes are not needed any longer
  // then. Where memory is short, the blocks of the nodes give way.
  Outcome FindShapes() {
    const uint64_t size = FileSize(step_.Path(kDrawingFile).c_str());
    link_count_ = static_cast<int64_t>(size / sizeof(DrawingRecord));
    PageArray<FeatureCode> codes;
    const auto reserve = [&] {
      return codes.Allocate(link_count_) && shape_of_link_.Allocate(link_count_);
    };
    if (size == 0 || (!reserve() && !(nodes_.Shrink() && reserve()))) {
      return FailFile(kDrawingFile, kMissing);
    }
    if (MM_SUB_LoadLinkCodes(link_count_, codes.data(), step_.control_file()) == 0) {
      return Fail("Fatal Error occured in MM_SUB_LoadLinkCodes, num rec = %d",
                  ShownAs<int>(link_count_));
    }
    const ShapeHolder& shapes = *holder_.get();
    const FeatureCode* const code = codes.data();
    int32_t* const position = shape_of_link_.data();
    workers_.RunRanges(link_count_, kLinksOfPart, [&](int64_t begin, int64_t end) {
      SHAPE_FindShapeEnds(code + begin, end - begin, shapes, position + begin);
      for (int64_t i = begin; i < end; ++i) {
        if (code[i].AsDouble() >= kFirstCodeWithoutShape) position[i] = -1;
      }
    });
    return Outcome::kDone;
  }

  Outcome ReserveWeights() {
    const int64_t nodes = nodes_.count();
    const auto reserve = [&] { return weights_.Allocate(nodes + 10); };
    if (reserve() || (node_links_.Shrink() && reserve()) || (nodes_.Shrink() && reserve())) {
      return Outcome::kDone;
    }
    // The number has always been smaller than the request, by 64.
    return Fail("Can't allocate the memory for the RtWeight, size=%lld",
                static_cast<long long>(nodes) * 8 + 16);
  }

  // The blocks of both files go side by side.
  Outcome MatchBlocks() {
    const int64_t least = std::min(nodes_.block_limit(), node_links_.block_limit());
    Outcome outcome = Outcome::kDone;
    if (nodes_.block_limit() > least) outcome = Open(kCalcNodes, least, &nodes_);
    if (IsDone(outcome) && node_links_.block_limit() > least) {
      outcome = Open(kNodeLinks, least, &node_links_);
    }
    return outcome;
  }

  Outcome Weigh() {
    TurnTables tables;
    tables.nodes = &nodes_;
    tables.node_links = &node_links_;
    tables.shapes = {shape_of_link_.data(), link_count_, holder_.get()->ends()};
    if (MM_RightTurnWeightMain(tables, weights_.data(), step_.folder(), workers_) != 0) {
      return Outcome::kDone;
    }
    if (nodes_.failed()) return FailFile(kCalcNodeFile, TextOf(FileResult::kNotRead));
    if (node_links_.failed()) return FailFile(kNodeLinkFile, TextOf(FileResult::kNotRead));
    if (BRN_SetStatus(nullptr) != 0) return Fail("Internal logic error in MM_RightTurnWeightMain");
    LogBuild(kEndError);
    return Outcome::kCancelled;
  }

  Outcome Save() const {
    const auto size = static_cast<uint64_t>(nodes_.count()) * sizeof(SlotBytes);
    const FileResult written =
        WriteOnce(step_.Path(kRightTurnWeightFile).c_str(), weights_.data(), size);
    if (written != FileResult::kDone) return FailFile(kRightTurnWeightFile, TextOf(written));
    LogBuild(" *** Creating Right Turn Weight : End OK *** ");
    return Outcome::kDone;
  }

  const Step& step_;
  Workers workers_;
  HolderBlock holder_;
  BlockReader nodes_;
  PageArray<int32_t> shape_of_link_;
  int64_t link_count_ = 0;
  BlockReader node_links_;
  PageArray<SlotBytes> weights_;
};

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
  const Step step(nullptr, control_file, "MM_SUB_LoadLinkCodes");
  const PathText path = step.Path(kDrawingFile);
  platform::File file =
      platform::File::Open(path.c_str(), platform::Access::kRead, platform::Share::kRead,
                           platform::Disposition::kOpenExisting, platform::Hint::kSequential);
  if (!file.IsOpen()) {
    return AsResult(step.Fail(kFatalError, "Can't open the file : %s, lnSize=%d", path.c_str(),
                              ShownAs<int>(link_count)));
  }
  DrawingRecord block[2048];
  for (int64_t done = 0; done < link_count;) {
    const int64_t part = std::min<int64_t>(link_count - done, std::ssize(block));
    uint32_t read = 0;
    file.Read(block, static_cast<uint32_t>(part * static_cast<int64_t>(sizeof block[0])), &read);
    const auto records = static_cast<int64_t>(read / sizeof block[0]);
    for (int64_t i = 0; i < records; ++i) codes[done + i] = CodeOf(block[i]);
    done += records;
    if (records < part) break;
  }
  return 1;
}

int MM_RightTurnWeightMain(const TurnTables& tables, SlotBytes* weights, const char* folder,
                           Workers& workers) {
  const TurnLimits limits = ReadTurnLimits(folder);
  BlockReader& nodes = *tables.nodes;
  BlockReader& node_links = *tables.node_links;
  while (nodes.records_in_block() > 0) {
    const int64_t count = nodes.records_in_block();
    const NodeBlock block = {nodes.records<CalcNode>(), node_links.records<NodeLinks>(),
                             node_links.records_in_block()};
    SlotBytes* const out = weights + nodes.first();
    workers.StartRanges(count, kNodesOfPart, [&, block, out](int64_t begin, int64_t end) {
      WeighNodes(block, begin, end, tables.shapes, limits, out);
    });
    const bool read = nodes.Advance() && node_links.Advance();
    workers.Finish();
    if (!read || (count == nodes.block_limit() && BRN_SetStatus(nullptr) == 0)) return 0;
  }
  return 1;
}

int MM_CreateRightTurnWeight(WindowHandle owner, const char* control_file) {
  const Step step(owner, control_file, "MM_CreateRightTurnWeight");
  if (SHAPE_CheckShapeFiles(step.folder()) == 0) return 1;
  WeightMaker maker(step);
  return AsResult(maker.Run());
}

}  // namespace zatlib
