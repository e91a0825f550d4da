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
#include "shell/terminal_progress.h"

namespace zatmap {
namespace {

struct ExportOptions {
  std::string folder;
  std::string file;
  std::string bounds;
  std::string layer = "links";
  bool geojson = false;
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

void WriteLinks(const BuiltMap& map, const Bounds& bounds, Output& out) {
  TerminalProgress progress("export: links");
  std::vector<zatlib::ShapePoint> points;
  bool first = true;
  for (int64_t l = 0; out.good() && l < map.links(); ++l) {
    progress.At(l, map.links());
    map.LinkPoints(l, &points);
    if (std::none_of(points.begin(), points.end(),
                     [&](const zatlib::ShapePoint& point) { return bounds.Holds(point); })) {
      continue;
    }
    WriteFeature(out, first, Feature(Link(map, l), LineGeometry(points)));
    first = false;
  }
}

void WriteNodes(const BuiltMap& map, const Bounds& bounds, Output& out) {
  TerminalProgress progress("export: nodes");
  bool first = true;
  for (int64_t n = 0; out.good() && n < map.nodes(); ++n) {
    progress.At(n, map.nodes());
    const zatlib::ShapePoint point{map.location(n).X, map.location(n).Y};
    if (!bounds.Holds(point)) continue;
    WriteFeature(out, first, Feature(Node(map, n), PointGeometry(point)));
    first = false;
  }
}

int RunExport(const ExportOptions& options) {
  Bounds bounds;
  if (!options.geojson) {
    std::fprintf(stderr, "zatmap: name the format: --geojson.\n");
    return kExitUsage;
  }
  if (!TakeBounds(options.bounds, &bounds)) return kExitUsage;
  MapFolder folder;
  BuiltMap map;
  if (!OpenMap(options.folder, &folder) || !LoadMap(folder, &map)) return kExitFailed;
  Output out;
  if (!options.file.empty() && !out.Open(options.file)) {
    std::fprintf(stderr, "zatmap: %s cannot be written.\n", options.file.c_str());
    return kExitFailed;
  }
  out.Add("{\"type\":\"FeatureCollection\",\"name\":\"" + options.layer + "\",\"features\":[");
  if (options.layer == "nodes") {
    WriteNodes(map, bounds, out);
  } else {
    WriteLinks(map, bounds, out);
  }
  out.Add("\n]}\n");
  const bool good = out.Close();
  if (!good) std::fprintf(stderr, "zatmap: the output could not be written whole.\n");
  return good ? kExitDone : kExitFailed;
}

}  // namespace

Command ExportCommand() {
  const auto options = std::make_shared<ExportOptions>();
  return {.name = "export",
          .summary = "Write a map for GIS programs",
          .arguments = {MapArgument(&options->folder)},
          .options = {{.names = "--geojson", .help = "As GeoJSON", .value = &options->geojson},
                      {.names = "--layer",
                       .help = "links as lines or nodes as points",
                       .value = &options->layer,
                       .type = "LAYER",
                       .choices = {"links", "nodes"}},
                      OutputOption(&options->file, "File to write; standard output without it"),
                      BoundsOption(&options->bounds),
                      CodePageOption()},
          .examples = {{"zatmap export out --geojson -o links.geojson", ""}},
          .run = [options] { return RunExport(*options); }};
}

}  // namespace zatmap
