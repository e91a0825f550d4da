// zatmap route: tries a map by asking it for a route.
#include "map/route.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <memory>
#include <string>
#include <vector>

#include "commands.h"
#include "look/no_route.h"
#include "map/barriers.h"
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
  double max_snap = 1000;  // metres
};

// An end of the route: a node, and how far it lies from the place that the user gave.
struct End {
  int64_t node = -1;
  std::string place;  // "" when the user gave a node
  double metres = 0;  // from there
};

double Metres(const BuiltMap& map, int64_t node, double longitude, double latitude) {
  constexpr double kRadians = 3.141592653589793 / 180;
  constexpr double kDegree = 6371000 * kRadians;  // metres of a degree of latitude
  const zatlib::NodeLocation& place = map.location(node);
  const double dy = place.Y / 1000000.0 - latitude;
  const double dx =
      (place.X / 1000000.0 - longitude) * std::cos((place.Y / 1000000.0 + latitude) / 2 * kRadians);
  return std::hypot(dx, dy) * kDegree;
}

// The node that lies nearest to a place. Its number is -1, after a message, when it lies too far.
End Snap(const BuiltMap& map, const std::string& text, double longitude, double latitude,
         double most) {
  const int64_t node = map.NearestNode(longitude, latitude);
  if (node < 0) {
    std::fprintf(stderr, "zatmap: the map has no nodes.\n");
    return {};
  }
  const double metres = Metres(map, node, longitude, latitude);
  if (metres <= most) return {node, text, metres};
  std::fprintf(stderr,
               "zatmap: %s is %.0f m from the nearest node, %s; --max-snap allows %.10g. The map's "
               "bounds are %s (west,south,east,north).\n",
               text.c_str(), metres, map.node_code(node).c_str(), most, MapBoundsText(map).c_str());
  const int64_t exchanged = map.NearestNode(latitude, longitude);
  if (Metres(map, exchanged, latitude, longitude) <= most) {
    std::fprintf(stderr, "zatmap: latitude and longitude look exchanged: %.10g,%.10g.\n", latitude,
                 longitude);
  }
  return {};
}

// The end that a code or a place names; its node is -1 after a message. `*status` receives the exit
// status then.
End FindEnd(const BuiltMap& map, const std::string& text, double most, int* status) {
  double longitude = 0;
  double latitude = 0;
  if (ParsePlace(text, &longitude, &latitude)) return Snap(map, text, longitude, latitude, most);
  zatlib::FeatureCode code;
  if (!zatlib::map::ParseCodeDigits(text, map.code_length(), &code)) {
    std::fprintf(stderr,
                 "zatmap: %s is neither a node code nor a place (LON,LAT in degrees, like "
                 "7.42,43.73).\n",
                 text.c_str());
    *status = kExitUsage;
    return {};
  }
  const int64_t node = map.FindNode(code);
  if (node >= 0) return {node, "", 0};
  std::fprintf(stderr, "zatmap: the map has no node %s. zatmap dump DIR node.idx lists them.\n",
               text.c_str());
  return {};
}

std::string Seconds(uint32_t cost) {
  char text[32];
  std::snprintf(text, sizeof text, "%u.%02u", cost / 100, cost % 100);
  return text;
}

class RoutePrinter {
 public:
  RoutePrinter(const BuiltMap& map, const Route& route, End from, End to)
      : map_(map), graph_(map.graph()), route_(route), from_(std::move(from)), to_(std::move(to)) {
    for (const Connection c : route.connections) length_ += graph_.length(c);
  }

  void PrintText() const {
    std::printf("from %s to %s\n", Title(from_).c_str(), Title(to_).c_str());
    std::printf("%s seconds, length %lld, %zu links\n", Seconds(route_.cost).c_str(),
                static_cast<long long>(length_), route_.connections.size());
    for (const Connection c : route_.connections) {
      const int64_t link = graph_.link(c);
      std::printf("%-18s %8s s %6d  %s\n", map_.link_code(link).c_str(),
                  Seconds(graph_.cost(c)).c_str(), graph_.length(c),
                  NameText(map_.link_name(link).Name).c_str());
    }
  }

  // The ends alone, with why there is no route.
  Json WithoutRoute(const zatlib::map::NoRoute& why) const {
    Json all = {{"from", Node(from_)}, {"to", Node(to_)}, {"found", false}};
    all.update(NoRouteJson(map_, why));
    return all;
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
      const zatlib::NodeLocation& place = map_.location(from_.node);
      line.assign(2, {place.X, place.Y});
    }
    Json all = {{"type", "FeatureCollection"}};
    all["features"] = Json::array({Feature(ToJson(), LineGeometry(line))});
    return all;
  }

 private:
  // "101", or "101 (12 m from 7.42,43.73)".
  std::string Title(const End& end) const {
    std::string code = map_.node_code(end.node);
    if (end.place.empty()) return code;
    char metres[32];
    std::snprintf(metres, sizeof metres, "%.0f", end.metres);
    return code + " (" + metres + " m from " + end.place + ")";
  }

  Json Node(const End& end) const {
    const zatlib::NodeLocation& place = map_.location(end.node);
    Json node = {{"code", map_.node_code(end.node)},
                 {"lon", place.X / 1000000.0},
                 {"lat", place.Y / 1000000.0},
                 {"name", NameText(map_.node_name(end.node).Name)}};
    if (!end.place.empty()) node["snapped_metres"] = std::round(end.metres * 10) / 10;
    return node;
  }

  const BuiltMap& map_;
  const Graph& graph_;
  const Route& route_;
  End from_;
  End to_;
  int64_t length_ = 0;
};

int RunRoute(const RouteOptions& options) {
  MapFolder folder;
  BuiltMap map;
  if (!OpenMap(options.folder, &folder) || !LoadMap(folder, &map)) return kExitFailed;
  int status = kExitFailed;
  const End from = FindEnd(map, options.from, options.max_snap, &status);
  if (from.node < 0) return status;
  const End to = FindEnd(map, options.to, options.max_snap, &status);
  if (to.node < 0) return status;
  const Route route = zatlib::map::FindRoute(map.graph(), from.node, to.node);
  const RoutePrinter printer(map, route, from, to);
  if (!route.found) {
    const auto why = zatlib::map::ExplainNoRoute(map.graph(), from.node, to.node);
    std::fprintf(stderr, "zatmap: %s", NoRouteText(map, why, from.node, to.node).c_str());
    if (options.json) PrintJson(printer.WithoutRoute(why));
    return kExitFailed;
  }
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
                      {.names = "--max-snap",
                       .help = "How far a place may lie from the nearest node",
                       .value = &options->max_snap,
                       .type = "METRES",
                       .most = 40000000},
                      CodePageOption()},
          .notes =
              "A way to try a map: prohibited turns and closed connections (cost 65535) are "
              "obeyed,\nright-turn weights are not.",
          .examples = {{"zatmap route out 10000010000001 10000010000400", ""},
                       {"zatmap route out 7.4215,43.7302 7.4351,43.7479 --geojson",
                        "from place to place, as a line for GIS programs"}},
          .failed = "failed, or there is no route",
          .run = [options] { return RunRoute(*options); }};
}

}  // namespace zatmap
