// zatmap info: what a map holds.
#include <algorithm>
#include <bit>
#include <chrono>
#include <cinttypes>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <unordered_map>

#include "build/manifest.h"
#include "commands.h"
#include "frd/files.h"
#include "frd/record_file.h"
#include "map/code_index.h"
#include "map/components.h"
#include "map/record_fields.h"
#include "map/record_files.h"
#include "shape/shape_files.h"
#include "shell/open_map.h"
#include "shell/output.h"
#include "shell/terminal_progress.h"

namespace zatmap {
namespace {

using zatlib::kSlots;
using zatlib::map::FileLayout;
using zatlib::map::RecordReader;

struct InfoOptions {
  std::string folder;
  bool json = false;
  bool no_components = false;
};

constexpr const char* kFlagNames[] = {"toll_or_highway",   "pay_road",       "ferry",
                                      "railroad",          "parking_or_air", "toll_gate",
                                      "pedestrian_or_ship"};

// Least and greatest value of something.
template <typename Number>
struct Range {
  bool any = false;
  Number least{};
  Number greatest{};
  void Add(Number value) {
    least = any ? std::min(least, value) : value;
    greatest = any ? std::max(greatest, value) : value;
    any = true;
  }
};

struct Facts {
  Range<int32_t> x, y;
  int64_t links_at_node[kSlots + 1] = {};
  std::map<int, int64_t> road_kinds;
  std::map<int, int64_t> value6;
  int64_t flags[8] = {};
  int64_t links_without_flag = 0;
  std::unordered_map<uint32_t, int64_t> cities;  // links
  Range<int> speeds;
  int64_t speed_sum = 0;
  int64_t directions = 0;  // with a speed
  int64_t closed_directions = 0;
  int64_t both_closed = 0;
  int64_t length = 0;
  Range<int> lengths;
  int64_t connections = 0;
  int64_t cost_zero = 0;
  int64_t cost_closed = 0;
  int64_t cost_saturated = 0;
  int64_t node_names = 0;
  int64_t link_names = 0;
  int64_t prohibited_turns = 0;
  int64_t nodes_with_prohibited_turns = 0;
  int64_t weighted_turns = 0;
  int64_t partner_links = 0;
  int64_t loops = 0;
  int64_t parallel_links = 0;
  int64_t shapes = 0;
  int64_t points = 0;
  int64_t longest_shape = 0;
};

void LookAtLinks(const MapFolder& map, Facts* facts) {
  TerminalProgress progress("info: links");
  RecordReader<zatlib::LinkNodes> ends;
  RecordReader<zatlib::LinkNameRecord> names;
  RecordReader<zatlib::CodeIndexRecord> index;
  ends.Open(map, zatlib::kLinkNodeFile);
  names.Open(map, zatlib::kLinkNameFile);
  index.Open(map, zatlib::kLinkIndexFile);
  zatlib::LinkNodes link;
  zatlib::LinkNameRecord name;
  zatlib::CodeIndexRecord entry;
  for (int64_t l = 0; ends.Next(&link); ++l) {
    progress.At(l, map.links);
    const bool partner = names.Next(&name) && name.RoadKind >= zatlib::kDummyRoadKind;
    facts->partner_links += partner ? 1 : 0;
    facts->loops += link.NodeA == link.NodeB ? 1 : 0;
    facts->length += link.Value3;
    facts->lengths.Add(link.Value3);
    ++facts->road_kinds[name.RoadKind];
    ++facts->value6[name.Value6];
    facts->link_names += name.Name[0] != 0 ? 1 : 0;
    facts->links_without_flag += name.Flags == 0 ? 1 : 0;
    for (int bit = 0; bit < 8; ++bit) facts->flags[bit] += name.Flags >> bit & 1;
    if (partner) continue;
    for (const int speed : {link.SpeedA, link.SpeedB}) {
      if (speed == 0) {
        ++facts->closed_directions;
        continue;
      }
      facts->speeds.Add(speed);
      facts->speed_sum += speed;
      ++facts->directions;
    }
    facts->both_closed += link.SpeedA == 0 && link.SpeedB == 0 ? 1 : 0;
  }
  while (index.Next(&entry)) ++facts->cities[entry.CityCode];
}

void LookAtNodes(const MapFolder& map, Facts* facts) {
  TerminalProgress progress("info: nodes");
  zatlib::map::RecordTable<zatlib::LinkNodes> links;
  (void)links.Load(map, zatlib::kLinkNodeFile);  // without it no slot has a speed
  RecordReader<zatlib::CalcNode> nodes;
  RecordReader<zatlib::NodeLinks> node_links;
  RecordReader<zatlib::NodeLocation> locations;
  RecordReader<zatlib::NodeNameRecord> names;
  RecordReader<zatlib::SlotBytes> turns;
  RecordReader<zatlib::SlotBytes> weights;
  nodes.Open(map, zatlib::kCalcNodeFile);
  node_links.Open(map, zatlib::kNodeLinkFile);
  locations.Open(map, zatlib::kNodeLocationFile);
  names.Open(map, zatlib::kNodeNameFile);
  turns.Open(map, zatlib::kTurnTableFile);
  weights.Open(map, zatlib::kRightTurnWeightFile);
  zatlib::CalcNode node;
  zatlib::NodeLinks numbers;
  zatlib::NodeLocation location;
  zatlib::NodeNameRecord name;
  zatlib::SlotBytes turn;
  zatlib::SlotBytes weight;
  for (int64_t n = 0; nodes.Next(&node); ++n) {
    progress.At(n, map.nodes);
    node_links.Next(&numbers);
    if (locations.Next(&location)) {
      facts->x.Add(location.X);
      facts->y.Add(location.Y);
    }
    facts->node_names += names.Next(&name) && name.Name[0] != 0 ? 1 : 0;
    turns.Next(&turn);
    weights.Next(&weight);
    int used = 0;
    while (used < kSlots && node.OtherNode[used] >= 0) ++used;
    ++facts->links_at_node[used];
    facts->connections += used;
    int prohibited = 0;
    for (int s = 0; s < used; ++s) {
      prohibited += std::popcount(turn.Slot[s]);
      facts->weighted_turns += std::popcount(weight.Slot[s]);
      facts->cost_zero += node.Cost[s] == 0 ? 1 : 0;
      if (node.Cost[s] == zatlib::kClosedCost && numbers.Link[s] >= 0 &&
          numbers.Link[s] < links.size()) {
        const zatlib::LinkNodes& link = links[numbers.Link[s]];
        const int speed = link.NodeA == n ? link.SpeedA : link.SpeedB;
        ++(speed == 0 ? facts->cost_closed : facts->cost_saturated);
      }
      // Counted at the lower of the two nodes, once for each link beside the first.
      const auto* const others = node.OtherNode;
      if (n < others[s] && std::find(others, others + s, others[s]) != others + s) {
        ++facts->parallel_links;
      }
    }
    facts->prohibited_turns += prohibited;
    facts->nodes_with_prohibited_turns += prohibited > 0 ? 1 : 0;
  }
}

void LookAtShapes(const MapFolder& map, Facts* facts) {
  RecordReader<zatlib::ShapeIndexEntry> shapes;
  zatlib::ShapeIndexEntry entry;
  if (!shapes.Open(map, zatlib::kShapeIndexFile)) return;
  while (shapes.Next(&entry)) {
    ++facts->shapes;
    facts->points += std::max(entry.Count, 0);
    facts->longest_shape = std::max<int64_t>(facts->longest_shape, entry.Count);
  }
}

// First and last code of an index.
Json CodeRange(const MapFolder& map, const char* index_file) {
  zatlib::map::CodeIndex index;
  zatlib::CodeIndexRecord first{};
  zatlib::CodeIndexRecord last{};
  if (!index.Open(map, index_file) || !index.Read(0, &first) ||
      !index.Read(index.count() - 1, &last)) {
    return nullptr;
  }
  return {zatlib::map::CodeDigits(first.Code, map.code_length),
          zatlib::map::CodeDigits(last.Code, map.code_length)};
}

Json FileList(const MapFolder& map) {
  Json list = Json::array();
  std::vector<const char*> names(zatlib::map::TextFiles().begin(), zatlib::map::TextFiles().end());
  for (const FileLayout& layout : zatlib::map::FileLayouts()) names.push_back(layout.name);
  std::sort(names.begin(), names.end(),
            [](const char* a, const char* b) { return std::string_view(a) < std::string_view(b); });
  for (const char* name : names) {
    if (!zatlib::map::HasFile(map, name)) continue;
    const std::string path = zatlib::map::PathOf(map, name);
    Json file = {{"name", name}, {"bytes", zatlib::FileSize(path.c_str())}};
    const FileLayout* layout = zatlib::map::FindLayout(name);
    if (layout != nullptr) {
      file["records"] = zatlib::CountRecords(path.c_str(), layout->record_size);
    }
    std::error_code error;
    const auto time = std::filesystem::last_write_time(path, error);
    if (!error) {
      // Both clocks are read now, since one cannot be turned into the other everywhere.
      const auto age = std::chrono::duration_cast<std::chrono::system_clock::duration>(
          std::filesystem::file_time_type::clock::now() - time);
      const std::time_t seconds =
          std::chrono::system_clock::to_time_t(std::chrono::system_clock::now() - age);
      char text[32] = "";
      const std::tm* parts = std::gmtime(&seconds);
      if (parts != nullptr) std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", parts);
      file["changed"] = text;
    }
    list.push_back(std::move(file));
  }
  return list;
}

Json Counts(const std::map<int, int64_t>& counts) {
  Json object = Json::object();
  for (const auto& [value, count] : counts) object[std::to_string(value)] = count;
  return object;
}

Json Cities(const std::unordered_map<uint32_t, int64_t>& cities) {
  const std::map<uint32_t, int64_t> sorted(cities.begin(), cities.end());
  Json object = Json::object();
  for (const auto& [city, count] : sorted) object[std::to_string(city)] = count;
  return object;
}

Json Report(const MapFolder& map, const Facts& facts) {
  Json all;
  all["map"] = map.path;
  all["code_length"] = map.code_length;
  all["nodes"] = map.nodes;
  all["links"] = map.links;
  if (facts.x.any) {
    all["bounds"] = {{"west", facts.x.least / 1e6},
                     {"south", facts.y.least / 1e6},
                     {"east", facts.x.greatest / 1e6},
                     {"north", facts.y.greatest / 1e6}};
  }
  all["node_codes"] = CodeRange(map, zatlib::kNodeIndexFile);
  all["link_codes"] = CodeRange(map, zatlib::kLinkIndexFile);
  Json degrees = Json::object();
  for (int s = 0; s <= kSlots; ++s) {
    if (facts.links_at_node[s] > 0) degrees[std::to_string(s)] = facts.links_at_node[s];
  }
  all["nodes_by_links"] = std::move(degrees);
  all["links_between_partners"] = facts.partner_links;
  all["loops"] = facts.loops;
  all["parallel_links"] = facts.parallel_links;
  all["road_kinds"] = Counts(facts.road_kinds);
  all["value6"] = Counts(facts.value6);
  Json flags = Json::object();
  for (int bit = 0; bit < 7; ++bit) flags[kFlagNames[bit]] = facts.flags[bit];
  flags["none"] = facts.links_without_flag;
  all["flags"] = std::move(flags);
  all["cities"] = Cities(facts.cities);
  all["speeds"] = {
      {"least", facts.speeds.least},
      {"greatest", facts.speeds.greatest},
      {"mean", facts.directions == 0 ? 0.0
                                     : std::round(10.0 * static_cast<double>(facts.speed_sum) /
                                                  static_cast<double>(facts.directions)) /
                                           10.0},
      {"closed_directions", facts.closed_directions},
      {"links_closed_both_ways", facts.both_closed}};
  all["lengths"] = {{"total", facts.length},
                    {"least", facts.lengths.least},
                    {"greatest", facts.lengths.greatest}};
  all["costs"] = {{"connections", facts.connections},
                  {"zero", facts.cost_zero},
                  {"closed", facts.cost_closed},
                  {"saturated", facts.cost_saturated}};
  all["names"] = {{"nodes", facts.node_names}, {"links", facts.link_names}};
  all["prohibited_turns"] = {{"turns", facts.prohibited_turns},
                             {"nodes", facts.nodes_with_prohibited_turns}};
  all["weighted_turns"] = facts.weighted_turns;
  all["shapes"] = {
      {"count", facts.shapes}, {"points", facts.points}, {"longest", facts.longest_shape}};
  return all;
}

// What the manifest tells, if there is one: all of it, or what fits on a line.
void AddManifest(const MapFolder& map, bool whole, Json* all) {
  Manifest manifest;
  std::string fault;
  const ManifestState state = ReadManifest(map.path, &manifest, &fault);
  if (state == ManifestState::kNone) return;
  Json& entry = (*all)["manifest"];
  if (state == ManifestState::kMalformed) {
    entry["fault"] = fault;
  } else if (whole) {
    entry = ManifestJson(manifest);
  } else {
    entry = {{"built", manifest.built},          {"version", manifest.version},
             {"seconds", manifest.seconds},      {"code_page", manifest.code_page},
             {"control", manifest.control.path}, {"sources", manifest.sources.size()}};
  }
}

std::string Text(const Json& value) {
  return value.is_string() ? value.get<std::string>() : value.dump();
}

// "a 1, b 2" for an object; long lists are cut.
std::string Listed(const Json& object) {
  constexpr int kMost = 12;
  std::string text;
  int count = 0;
  for (const auto& [key, value] : object.items()) {
    if (++count > kMost) {
      return text + ", ... (" + std::to_string(object.size()) + " in all; --json lists them)";
    }
    text += (text.empty() ? "" : ", ") + key + ": " + Text(value);
  }
  return text;
}

void PrintText(const Json& all) {
  for (const auto& [key, value] : all.items()) {
    std::string title = key;
    std::replace(title.begin(), title.end(), '_', ' ');
    if (key == "files") {
      std::printf("files\n");
      for (const Json& file : value) {
        std::printf("  %-14s %12" PRIu64 " bytes  %s\n", Text(file["name"]).c_str(),
                    file["bytes"].get<uint64_t>(),
                    file.contains("changed") ? Text(file["changed"]).c_str() : "");
      }
    } else if (value.is_object()) {
      std::printf("%-24s %s\n", title.c_str(), Listed(value).c_str());
    } else if (value.is_array()) {
      std::printf("%-24s %s to %s\n", title.c_str(), Text(value[0]).c_str(),
                  Text(value[1]).c_str());
    } else {
      std::printf("%-24s %s\n", title.c_str(), Text(value).c_str());
    }
  }
}

int RunInfo(const InfoOptions& options) {
  MapFolder map;
  if (!OpenMap(options.folder, &map)) return kExitFailed;
  Facts facts;
  LookAtLinks(map, &facts);
  LookAtNodes(map, &facts);
  LookAtShapes(map, &facts);
  Json all = Report(map, facts);
  if (!options.no_components) {
    Graph graph;
    if (!LoadGraph(map, &graph)) return kExitFailed;
    TerminalProgress progress("info: components");
    const auto parts = zatlib::map::FindComponents(
        graph, [&progress](int64_t done, int64_t count) { progress.At(done, count); });
    all["components"] = {{"parts", parts.joined_parts},
                         {"largest_part", parts.largest_part},
                         {"largest_circuit", parts.largest_circuit},
                         {"not_reachable_from_it", parts.unreachable}};
  }
  AddManifest(map, options.json, &all);
  all["files"] = FileList(map);
  if (options.json) {
    PrintJson(all);
  } else {
    PrintText(all);
  }
  return kExitDone;
}

}  // namespace

Command InfoCommand() {
  const auto options = std::make_shared<InfoOptions>();
  return {.name = "info",
          .summary = "Tell what a map holds",
          .arguments = {MapArgument(&options->folder)},
          .options = {JsonOption(&options->json),
                      {.names = "--no-components",
                       .help = "Leave out the components, which need 200 bytes of memory a node",
                       .value = &options->no_components},
                      CodePageOption()},
          .notes = "docs/zatmap.md explains each line.",
          .examples = {{"zatmap info out", ""}},
          .run = [options] { return RunInfo(*options); }};
}

}  // namespace zatmap
