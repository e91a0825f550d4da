#include "toll/interchange_flags.h"

#include <cstring>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/keyed_table.h"
#include "frd/message_text.h"
#include "frd/record_file.h"
#include "network/network_files.h"
#include "platform/profile.h"

namespace zatlib {
namespace {

constexpr char kSection[] = "SYSTEM";
constexpr uint32_t kResultSize = 512;  // bytes of the Result value, its terminator included

// A file of this stage and its name in messages.
struct Object {
  const char* file;
  const char* name;
};
constexpr Object kFareLink = {kFareLinkFile, "FareLink"};
constexpr Object kLinkIndex = {kLinkIndexFile, "LinkIndex"};
constexpr Object kLinkName = {kLinkNameFile, "LinkName"};
constexpr Object kNodeLinkIndex = {kNodeLinkFile, "NodeLinkIndex"};
constexpr Object kCalcAttribute = {kConnectionAttributeFile, "CalcAttribute"};

// Texts with the object's name and its path.
using ObjectText = MessageText<const char*, const char*>;
constexpr ObjectText kNotFound = "Can't find the %s : %s";

ObjectText TextOf(FileResult result) {
  switch (result) {
    case FileResult::kNoMemory:
      return "Can't allocate the memory for the %s : %s";
    case FileResult::kNotOpened:
      return "Can't open the %s : %s";
    case FileResult::kNotRead:
      return "Can't read the %s : %s";
    case FileResult::kNotCreated:
      return "Can't open the %s for output : %s";
    case FileResult::kNotWritten:
      return "Can't write the %s : %s";
    case FileResult::kDone:
      break;
  }
  return "";
}

// The stage's folder and the message of its failure, which goes into the status file: this stage
// shows nothing.
struct FareStage {
  const char* folder;
  char message[kMessageSize] = {};

  bool Fail(const ObjectText& text, const Object& object) {
    FormatText(message, sizeof message, text, object.name, PathIn(folder, object.file).c_str());
    return false;
  }

  // Loads a file that must hold something, and `exact_size` bytes unless that is -1.
  bool Load(const Object& object, int64_t exact_size, WholeFile* file) {
    const PathText path = PathIn(folder, object.file);
    const auto size = static_cast<int64_t>(FileSize(path.c_str()));
    if (size == 0 || (exact_size >= 0 && size != exact_size)) return Fail(kNotFound, object);
    const FileResult loaded = LoadFile(path.c_str(), file, {.exact_bytes = size});
    return loaded == FileResult::kDone || Fail(TextOf(loaded), object);
  }

  bool Save(const Object& object, const WholeFile& file) {
    const PathText path = PathIn(folder, object.file);
    const FileResult saved = SaveBytes(path.c_str(), file.bytes.data(), file.size);
    return saved == FileResult::kDone || Fail(TextOf(saved), object);
  }
};

// Gives exactly the listed interchange links their flag.
void MarkLinks(const WholeFile& fare_links, const WholeFile& link_index, int64_t link_count,
               LinkNameRecord* links) {
  for (int64_t i = 0; i < link_count; ++i) {
    links[i].Flags &= static_cast<uint8_t>(~kFlagTollGate);
  }
  const auto* fares = fare_links.records<FareLinkRecord>();
  for (int64_t i = 0; i < fare_links.count<FareLinkRecord>(); ++i) {
    if (fares[i].Valid < 1 || fares[i].Interchange != 1) continue;
    const int32_t link =
        FRD_FindByKey(link_index.records<KeyedRecord>(), link_count, fares[i].LinkCode.AsDouble());
    if (link >= 0 && link < link_count) links[link].Flags |= kFlagTollGate;
  }
}

// Copies the links' flags to the nodes' slots; those of dummy links too, unlike the finishing of
// the node attributes. Empty slots keep their byte.
void CopyFlags(const WholeFile& node_links, const LinkNameRecord* links, int64_t link_count,
               SlotBytes* attributes) {
  const auto* nodes = node_links.records<NodeLinks>();
  for (int64_t n = 0; n < node_links.count<NodeLinks>(); ++n) {
    for (int slot = 0; slot < kSlots; ++slot) {
      const int32_t link = nodes[n].Link[slot];
      if (link >= 0 && link < link_count) attributes[n].Slot[slot] = links[link].Flags;
    }
  }
}

bool SetFlags(FareStage* stage) {
  WholeFile fare_links;
  WholeFile link_index;
  WholeFile link_names;
  if (!stage->Load(kFareLink, -1, &fare_links)) return false;
  if (!stage->Load(kLinkIndex, -1, &link_index)) return false;
  const int64_t link_count = link_index.count<CodeIndexRecord>();
  if (!stage->Load(kLinkName, link_count * int64_t{sizeof(LinkNameRecord)}, &link_names)) {
    return false;
  }
  auto* links = link_names.records<LinkNameRecord>();
  MarkLinks(fare_links, link_index, link_count, links);
  fare_links.Free();
  link_index.Free();

  WholeFile node_links;
  WholeFile attributes;
  if (!stage->Load(kNodeLinkIndex, -1, &node_links)) return false;
  const int64_t node_count = node_links.count<NodeLinks>();
  if (!stage->Load(kCalcAttribute, node_count * int64_t{sizeof(SlotBytes)}, &attributes)) {
    return false;
  }
  CopyFlags(node_links, links, link_count, attributes.records<SlotBytes>());
  return stage->Save(kCalcAttribute, attributes) && stage->Save(kLinkName, link_names);
}

}  // namespace

int TR_CheckFareData(const char* folder) {
  bool complete = true;
  for (const char* name : kFareFiles) complete = CanOpen(PathIn(folder, name).c_str()) && complete;
  const PathText status = PathIn(folder, kFareStatusFile);
  if (!CanOpen(status.c_str())) return 0;
  char result[kResultSize];
  platform::ReadProfileString(kSection, "Result", "", result, sizeof result, status.c_str());
  return complete && std::strcmp(result, "OK") == 0 ? 1 : 0;
}

int TR_SetInterchangeFlags(const char* folder) {
  FareStage stage{folder};
  const bool done = SetFlags(&stage);
  const PathText status = PathIn(folder, kFareStatusFile);
  platform::SaveProfileString(kSection, "ICFLAG", done ? "OK" : "ERROR", status.c_str());
  if (!done) {
    platform::SaveProfileString(kSection, "ICFLAG_ERROR", stage.message, status.c_str());
  }
  return done ? 1 : 0;
}

}  // namespace zatlib
