// zatmap route: tries a map by asking it for a route.
#include "map/route.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "shell/arguments.h"
#include "shell/open_map.h"
#include "shell/output.h"

namespace zatmap {
namespace {

using zatlib::map::Connection;
using zatlib::map::NodeOf;
using zatlib::map::Route;

struct RouteOptions {
  std::string folder;
  std::string from;
  std::string to;
  bool json = false;
  bool geojson = false;
};

// The node that a code or a place names; -1 after a message. `*status` receives the exit status.
int64_t FindNode(const BuiltMap& map, const std::string& text, int* status) {
  double longitude = 0;
  double latitude = 0;
  if (ParsePlace(text, &longitude, &latitude)) return map.NearestNode(longitude, latitude);
  zatlib::FeatureCode code;
  if (!zatlib::map::ParseCodeDigits(text, map.code_length(), &code)) {
    std::fprintf(stderr,
                 "zatmap: %s is neither a node code nor a place (LON,LAT in degrees, like "
                 "7.42,43.73).\n",
                 text.c_str());
    *status = kExitUsage;
    return -1;
  }
  const int64_t node = map.FindNode(code);
  if (node >= 0) return node;
  std::fprintf(stderr, "zatmap: the map has no node %s. zatmap dump DIR node.idx lists them.\n",
               text.c_str());
  return -1;
}

std::string Seconds(uint32_t cost) {
  char text[32];
  std::snprintf(text, sizeof text, "%u.%02u", cost / 100, cost % 100);
  return text;
}

class RoutePrinter {
 public:
  RoutePrinter(const BuiltMap& map, const Route& route, int64_t from, int64_t to)
      : map_(map), graph_(map.graph()), route_(route), from_(from), to_(to) {
    for (const Connection c : route.connections) length_ += graph_.length(c);
  }

  void PrintText() const {
    std::printf("from %s to %s\n", map_.node_code(from_).c_str(), map_.node_code(to_).c_str());
    std::printf("%s seconds, length %lld, %zu links\n", Seconds(route_.cost).c_str(),
                static_cast<long long>(length_), route_.connections.size());
    for (const Connection c : route_.connections) {
      const int64_t link = graph_.link(c);
      std::printf("%-18s %8s s %6d  %s\n", map_.link_code(link).c_str(),
                  Seconds(graph_.cost(c)).c_str(), graph_.length(c),
                  NameText(map_.link_name(link).Name).c_str());
    }
  }

  Json ToJson() const {
    Json all;
    all["from"] = Node(from_);
    all["to"] = Node(to_);
    all["cost"] = route_.cost;
    all["seconds"] = route_.cost / 100.0;
    all["length"] = length_;
    Json links = Json::array();
    for (const Connection c : route_.connections) {
      const int64_t link = graph_.link(c);
      links.push_back({{"code", map_.link_code(link)},
                       {"from", map_.node_code(NodeOf(c))},
                       {"to", map_.node_code(graph_.other(c))},
                       {"cost", graph_.cost(c)},
                       {"length", graph_.length(c)},
                       {"name", NameText(map_.link_name(link).Name)}});
    }
    all["links"] = std::move(links);
    return all;
  }

  Json GeoJson() const {
    std::vector<zatlib::ShapePoint> line;
    std::vector<zatlib::ShapePoint> points;
    for (const Connection c : route_.connections) {
      const int64_t link = graph_.link(c);
      map_.LinkPoints(link, &points);
      if (map_.link(link).NodeA != NodeOf(c)) std::reverse(points.begin(), points.end());
      const bool joined =
          !line.empty() && line.back().X == points.front().X && line.back().Y == points.front().Y;
      line.insert(line.end(), points.begin() + (joined ? 1 : 0), points.end());
    }
    if (line.empty()) {
      const zatlib::NodeLocation& place = map_.location(from_);
      line.assign(2, {place.X, place.Y});
    }
    Json all = {{"type", "FeatureCollection"}};
    all["features"] = Json::array({Feature(ToJson(), LineGeometry(line))});
    return all;
  }

 private:
  Json Node(int64_t node) const {
    return {{"code", map_.node_code(node)},
            {"lon", map_.location(node).X / 1000000.0},
            {"lat", map_.location(node).Y / 1000000.0},
            {"name", NameText(map_.node_name(node).Name)}};
  }

  const BuiltMap& map_;
  const Graph& graph_;
  const Route& route_;
  int64_t from_;
  int64_t to_;
  int64_t length_ = 0;
};

int RunRoute(const RouteOptions& options) {
  MapFolder folder;
  BuiltMap map;
  if (!OpenMap(options.folder, &folder) || !LoadMap(folder, &map)) return kExitFailed;
  int status = kExitFailed;
  const int64_t from = FindNode(map, options.from, &status);
  const int64_t to = from < 0 ? -1 : FindNode(map, options.to, &status);
  if (from < 0 || to < 0) return status;
  const Route route = zatlib::map::FindRoute(map.graph(), from, to);
  if (!route.found) {
    std::fprintf(stderr,
                 "zatmap: there is no route from %s to %s: links are missing, closed, or turns "
                 "prohibited. zatmap info tells how much of the map hangs together.\n",
                 map.node_code(from).c_str(), map.node_code(to).c_str());
    return kExitFailed;
  }
  const RoutePrinter printer(map, route, from, to);
  if (options.json || options.geojson) {
    PrintJson(options.geojson ? printer.GeoJson() : printer.ToJson());
  } else {
    printer.PrintText();
  }
  return kExitDone;
}

}  // namespace

Command RouteCommand() {
  const auto options = std::make_shared<RouteOptions>();
  return {.name = "route",
          .summary = "Find the cheapest route between two nodes",
          .arguments = {MapArgument(&options->folder),
                        {.name = "FROM",
                         .help = "Node code, or LON,LAT for the nearest node",
                         .value = &options->from},
                        {.name = "TO", .help = "The same", .value = &options->to}},
          .options = {JsonOption(&options->json),
                      {.names = "--geojson",
                       .help = "GeoJSON with the line of the route",
                       .value = &options->geojson,
                       .excludes = {"--json"}},
                      CodePageOption()},
          .notes =
              "A way to try a map: prohibited turns and closed connections (cost 65535) are "
              "obeyed,\nright-turn weights are not.",
          .examples = {{"zatmap route out 10000010000001 7.4215,43.7302", ""}},
          .failed = "failed, or there is no route",
          .run = [options] { return RunRoute(*options); }};
}

}  // namespace zatmap
