// zatmap export: a map for GIS programs.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>

#include "commands.h"
#include "shell/arguments.h"
#include "shell/open_map.h"
#include "shell/output.h"
#include "shell/output_file.h"
#include "shell/terminal_progress.h"

namespace zatmap {
namespace {

struct ExportOptions {
  std::string folder;
  std::string file;
  std::string bounds;
  std::string layer = "links";
  bool geojson = false;
  bool overwrite = false;
  bool json = false;
};

Json Link(const BuiltMap& map, int64_t l) {
  const zatlib::LinkNodes& link = map.link(l);
  const zatlib::LinkNameRecord& name = map.link_name(l);
  const auto cost = [](int value) { return value < 0 ? Json() : Json(value); };
  return {{"code", map.link_code(l)},
          {"record", l},
          {"node_a", map.node_code(link.NodeA)},
          {"node_b", map.node_code(link.NodeB)},
          {"road_kind", name.RoadKind},
          {"flags", name.Flags},
          {"city", map.city(l)},
          {"length", link.Value3},
          {"speed_ab", link.SpeedA},
          {"speed_ba", link.SpeedB},
          {"cost_ab", cost(map.CostFromA(l))},
          {"cost_ba", cost(map.CostFromB(l))},
          {"value4", map.drawing(l).Value4},
          {"value6", name.Value6},
          {"name", NameText(name.Name)},
          {"name_number", name.NameNumber},
          {"name_value", name.NameValue}};
}

Json Node(const BuiltMap& map, int64_t n) {
  const zatlib::NodeNameRecord& name = map.node_name(n);
  return {{"code", map.node_code(n)},    {"record", n},
          {"name", NameText(name.Name)}, {"attribute_word", name.NodeAttrWord},
          {"attribute", name.Attribute}, {"links", map.graph().used(n)}};
}

void WriteFeature(Output& out, bool first, const Json& feature) {
  out.Add((first ? "\n" : ",\n") + JsonText(feature));
}

// Writes the links, or the nodes, and returns how many.
int64_t WriteLinks(const BuiltMap& map, const Bounds& bounds, Output& out) {
  TerminalProgress progress("export: links");
  std::vector<zatlib::ShapePoint> points;
  int64_t count = 0;
  for (int64_t l = 0; out.good() && l < map.links(); ++l) {
    progress.At(l, map.links());
    map.LinkPoints(l, &points);
    if (std::none_of(points.begin(), points.end(),
                     [&](const zatlib::ShapePoint& point) { return bounds.Holds(point); })) {
      continue;
    }
    WriteFeature(out, count == 0, Feature(Link(map, l), LineGeometry(points)));
    ++count;
  }
  return count;
}

int64_t WriteNodes(const BuiltMap& map, const Bounds& bounds, Output& out) {
  TerminalProgress progress("export: nodes");
  int64_t count = 0;
  for (int64_t n = 0; out.good() && n < map.nodes(); ++n) {
    progress.At(n, map.nodes());
    const zatlib::ShapePoint point{map.location(n).X, map.location(n).Y};
    if (!bounds.Holds(point)) continue;
    WriteFeature(out, count == 0, Feature(Node(map, n), PointGeometry(point)));
    ++count;
  }
  return count;
}

int RunExport(const ExportOptions& options) {
  Bounds bounds;
  const bool prints = options.file.empty() || options.file == "-";
  if (options.json && prints) {
    std::fprintf(stderr,
                 "zatmap: --json tells what was written to a file; name it with -o. The export "
                 "itself is JSON.\n");
    return kExitUsage;
  }
  if (!TakeBounds(options.bounds, &bounds)) return kExitUsage;
  MapFolder folder;
  BuiltMap map;
  if (!OpenMap(options.folder, &folder) || !LoadMap(folder, &map)) return kExitFailed;
  if (!BoundsHoldSomething(options.bounds, bounds, map)) return kExitFailed;
  Output out;
  const OutputRequest request = {prints ? "-" : options.file, options.overwrite,
                                 FilesOfMap(options.folder)};
  if (!OpenOutput(request, &out)) return kExitFailed;
  out.Add("{\"type\":\"FeatureCollection\",\"name\":\"" + options.layer + "\",\"features\":[");
  const int64_t count =
      options.layer == "nodes" ? WriteNodes(map, bounds, out) : WriteLinks(map, bounds, out);
  out.Add("\n]}\n");
  if (!out.Close()) {
    std::fprintf(stderr, "zatmap: the output could not be written whole.\n");
    return kExitFailed;
  }
  if (options.json) {
    PrintJson({{"file", zatlib::platform::AbsolutePath(options.file.c_str())},
               {"layer", options.layer},
               {"features", count}});
  }
  return kExitDone;
}

}  // namespace

Command ExportCommand() {
  const auto options = std::make_shared<ExportOptions>();
  return {.name = "export",
          .summary = "Write a map for GIS programs",
          .arguments = {MapArgument(&options->folder)},
          .options = {{.names = "--geojson",
                       .help = "As GeoJSON, which is the only form and needs not be named",
                       .value = &options->geojson},
                      {.names = "--layer",
                       .help = "What to write, lines or points",
                       .value = &options->layer,
                       .type = "LAYER",
                       .choices = {"links", "nodes"}},
                      OutputOption(&options->file, "File to write; standard output without it"),
                      OverwriteOption(&options->overwrite),
                      BoundsOption(&options->bounds),
                      JsonOption(&options->json, "With -o: tell what was written as a JSON object"),
                      CodePageOption()},
          .examples = {{"zatmap export out -o links.geojson", "the links as lines"},
                       {"zatmap export out --layer nodes --bbox 7.41,43.72,7.43,43.74",
                        "the nodes of a part, to standard output"}},
          .run = [options] { return RunExport(*options); }};
}

}  // namespace zatmap
