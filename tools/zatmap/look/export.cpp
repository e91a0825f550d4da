// zatmap export: a map for GIS programs.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>

#include "commands.h"
#include "map/map_tables.h"
#include "shell/arguments.h"
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

Json Link(const MapTables& tables, int64_t l) {
  const zatlib::LinkNodes& link = tables.link(l);
  const zatlib::LinkNameRecord& name = tables.link_name(l);
  const auto cost = [](int value) { return value < 0 ? Json() : Json(value); };
  return {{"code", tables.link_code(l)},
          {"record", l},
          {"node_a", tables.node_code(link.NodeA)},
          {"node_b", tables.node_code(link.NodeB)},
          {"road_kind", name.RoadKind},
          {"flags", name.Flags},
          {"city", tables.city(l)},
          {"length", link.Value3},
          {"speed_ab", link.SpeedA},
          {"speed_ba", link.SpeedB},
          {"cost_ab", cost(tables.CostFromA(l))},
          {"cost_ba", cost(tables.CostFromB(l))},
          {"value4", tables.drawing(l).Value4},
          {"value6", name.Value6},
          {"name", NameText(name.Name)},
          {"name_number", name.NameNumber},
          {"name_value", name.NameValue}};
}

Json Node(const MapTables& tables, int64_t n) {
  const zatlib::NodeNameRecord& name = tables.node_name(n);
  return {{"code", tables.node_code(n)}, {"record", n},
          {"name", NameText(name.Name)}, {"attribute_word", name.NodeAttrWord},
          {"attribute", name.Attribute}, {"links", tables.graph().used(n)}};
}

void WriteFeature(Output& out, bool first, const Json& feature) {
  out.Add((first ? "\n" : ",\n") + JsonText(feature));
}

void WriteLinks(MapTables& tables, const Bounds& bounds, Output& out) {
  TerminalProgress progress("export: links");
  bool first = true;
  for (int64_t l = 0; out.good() && l < tables.links(); ++l) {
    progress.At(l, tables.links());
    const std::vector<zatlib::ShapePoint> points = tables.Points(l);
    if (std::none_of(points.begin(), points.end(),
                     [&](const zatlib::ShapePoint& point) { return bounds.Holds(point); })) {
      continue;
    }
    WriteFeature(out, first, Feature(Link(tables, l), LineGeometry(points)));
    first = false;
  }
}

void WriteNodes(const MapTables& tables, const Bounds& bounds, Output& out) {
  TerminalProgress progress("export: nodes");
  bool first = true;
  for (int64_t n = 0; out.good() && n < tables.graph().nodes(); ++n) {
    progress.At(n, tables.graph().nodes());
    const zatlib::ShapePoint point{tables.location(n).X, tables.location(n).Y};
    if (!bounds.Holds(point)) continue;
    WriteFeature(out, first, Feature(Node(tables, n), PointGeometry(point)));
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
  MapFolder map;
  MapTables tables;
  if (!OpenMapFolder(options.folder, &map) || !tables.Load(map)) return kExitFailed;
  Output out;
  if (!options.file.empty() && !out.Open(options.file)) {
    std::fprintf(stderr, "zatmap: %s cannot be written.\n", options.file.c_str());
    return kExitFailed;
  }
  out.Add("{\"type\":\"FeatureCollection\",\"name\":\"" + options.layer + "\",\"features\":[");
  if (options.layer == "nodes") {
    WriteNodes(tables, bounds, out);
  } else {
    WriteLinks(tables, bounds, out);
  }
  out.Add("\n]}\n");
  const bool good = out.Close();
  if (!good) std::fprintf(stderr, "zatmap: the output could not be written whole.\n");
  return good ? kExitDone : kExitFailed;
}

}  // namespace

void AddExportCommand(CLI::App& app, int* exit_status) {
  const auto options = std::make_shared<ExportOptions>();
  CLI::App* command = app.add_subcommand("export", "Write a map for GIS programs");
  command->add_option("DIR", options->folder, "Folder of the map")->required();
  command->add_flag("--geojson", options->geojson, "As GeoJSON");
  command->add_option("--layer", options->layer, "links (default): lines; nodes: points")
      ->check(CLI::IsMember({"links", "nodes"}));
  command->add_option("-o", options->file, "File to write; standard output without it");
  command->add_option("--bbox", options->bounds, "Only what lies in WEST,SOUTH,EAST,NORTH");
  command->footer("Example: zatmap export out --geojson -o links.geojson");
  command->callback([options, exit_status] { *exit_status = RunExport(*options); });
}

}  // namespace zatmap
