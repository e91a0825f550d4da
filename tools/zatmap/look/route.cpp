// zatmap route: tries a map by asking it for a route.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <queue>
#include <string>
#include <vector>

#include "commands.h"
#include "map/map_tables.h"
#include "shell/arguments.h"
#include "shell/output.h"

namespace zatmap {
namespace {

using zatlib::kSlots;

struct RouteOptions {
  std::string folder;
  std::string from;
  std::string to;
  bool json = false;
  bool geojson = false;
};

struct Route {
  bool found = false;
  uint32_t cost = 0;                  // hundredths of a second
  std::vector<uint32_t> connections;  // node x 8 + slot
};

// Dijkstra's algorithm over the connections: a turn depends on the one taken before.
Route FindRoute(const MapGraph& graph, int64_t from, int64_t to) {
  constexpr uint32_t kFar = UINT32_MAX;
  constexpr uint32_t kStart = UINT32_MAX;
  Route route;
  if (from == to) {
    route.found = true;
    return route;
  }
  const size_t count = static_cast<size_t>(graph.nodes()) * kSlots;
  std::vector<uint32_t> cost(count, kFar);
  std::vector<uint32_t> before(count, kStart);
  using Entry = std::pair<uint32_t, uint32_t>;  // cost at the end of a connection, connection
  std::priority_queue<Entry, std::vector<Entry>, std::greater<>> queue;
  const auto reach = [&](int64_t node, int slot, uint32_t so_far, uint32_t previous) {
    const auto connection = static_cast<uint32_t>(node * kSlots + slot);
    const uint32_t total = so_far + graph.node(node).Cost[slot];
    if (total >= cost[connection]) return;
    cost[connection] = total;
    before[connection] = previous;
    queue.push({total, connection});
  };
  for (int s = 0; s < graph.used(from); ++s) {
    if (graph.IsOpen(from, s)) reach(from, s, 0, kStart);
  }
  while (!queue.empty()) {
    const auto [so_far, connection] = queue.top();
    queue.pop();
    if (so_far != cost[connection]) continue;
    const int64_t node = connection / kSlots;
    const int slot = static_cast<int>(connection % kSlots);
    if (graph.node(node).OtherNode[slot] == to) {
      route.found = true;
      route.cost = so_far;
      for (uint32_t c = connection; c != kStart; c = before[c]) route.connections.push_back(c);
      std::reverse(route.connections.begin(), route.connections.end());
      return route;
    }
    graph.ForEachNext(node, slot, [&, total = so_far, previous = connection](int64_t next, int s) {
      reach(next, s, total, previous);
    });
  }
  return route;
}

// The node that a code or a place names; -1 after a message. `*status` receives the exit status.
int64_t FindNode(const MapFolder& map, const MapTables& tables, const std::string& text,
                 int* status) {
  double longitude = 0;
  double latitude = 0;
  if (ParsePlace(text, &longitude, &latitude)) {
    const double scale = std::cos(latitude * 3.141592653589793 / 180.0);
    double least = INFINITY;
    int64_t nearest = -1;
    for (int64_t n = 0; n < tables.graph().nodes(); ++n) {
      const double dx = (tables.location(n).X / 1000000.0 - longitude) * scale;
      const double dy = tables.location(n).Y / 1000000.0 - latitude;
      if (dx * dx + dy * dy >= least) continue;
      least = dx * dx + dy * dy;
      nearest = n;
    }
    return nearest;
  }
  zatlib::FeatureCode code;
  if (!ParseCodeArgument(text, map.code_length, &code)) {
    std::fprintf(stderr,
                 "zatmap: %s is neither a node code nor a place (LON,LAT in degrees, like "
                 "7.42,43.73).\n",
                 text.c_str());
    *status = kExitUsage;
    return -1;
  }
  const int64_t node = FindCode(map, zatlib::kNodeIndexFile, code);
  if (node >= 0 && node < tables.graph().nodes()) return node;
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
  RoutePrinter(MapTables& tables, const Route& route, int64_t from, int64_t to)
      : tables_(tables), route_(route), from_(from), to_(to) {
    for (const uint32_t connection : route.connections) length_ += LengthOf(connection);
  }

  void PrintText() const {
    std::printf("from %s to %s\n", tables_.node_code(from_).c_str(),
                tables_.node_code(to_).c_str());
    std::printf("%s seconds, length %lld, %zu links\n", Seconds(route_.cost).c_str(),
                static_cast<long long>(length_), route_.connections.size());
    for (const uint32_t connection : route_.connections) {
      const int64_t node = connection / kSlots;
      const auto slot = connection % kSlots;
      const int64_t link = LinkOf(connection);
      std::printf("%-18s %8s s %6d  %s\n", tables_.link_code(link).c_str(),
                  Seconds(tables_.graph().node(node).Cost[slot]).c_str(), LengthOf(connection),
                  NameText(tables_.link_name(link).Name).c_str());
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
    for (const uint32_t connection : route_.connections) {
      const int64_t node = connection / kSlots;
      const int slot = static_cast<int>(connection % kSlots);
      const int64_t link = LinkOf(connection);
      links.push_back({{"code", tables_.link_code(link)},
                       {"from", tables_.node_code(node)},
                       {"to", tables_.node_code(tables_.graph().node(node).OtherNode[slot])},
                       {"cost", tables_.graph().node(node).Cost[slot]},
                       {"length", LengthOf(connection)},
                       {"name", NameText(tables_.link_name(link).Name)}});
    }
    all["links"] = std::move(links);
    return all;
  }

  Json GeoJson() {
    std::vector<zatlib::ShapePoint> line;
    for (const uint32_t connection : route_.connections) {
      const int64_t link = LinkOf(connection);
      std::vector<zatlib::ShapePoint> points = tables_.Points(link);
      if (tables_.link(link).NodeA != static_cast<int64_t>(connection / kSlots)) {
        std::reverse(points.begin(), points.end());
      }
      const bool joined =
          !line.empty() && line.back().X == points.front().X && line.back().Y == points.front().Y;
      line.insert(line.end(), points.begin() + (joined ? 1 : 0), points.end());
    }
    if (line.empty()) {
      const zatlib::NodeLocation& place = tables_.location(from_);
      line.assign(2, {place.X, place.Y});
    }
    Json all = {{"type", "FeatureCollection"}};
    all["features"] = Json::array({Feature(ToJson(), LineGeometry(line))});
    return all;
  }

 private:
  int64_t LinkOf(uint32_t connection) const {
    return tables_.graph().link(connection / kSlots, static_cast<int>(connection % kSlots));
  }
  int LengthOf(uint32_t connection) const {
    return tables_.graph().node(connection / kSlots).Length[connection % kSlots];
  }
  Json Node(int64_t node) const {
    return {{"code", tables_.node_code(node)},
            {"lon", tables_.location(node).X / 1000000.0},
            {"lat", tables_.location(node).Y / 1000000.0},
            {"name", NameText(tables_.node_name(node).Name)}};
  }

  MapTables& tables_;
  const Route& route_;
  int64_t from_;
  int64_t to_;
  int64_t length_ = 0;
};

int RunRoute(const RouteOptions& options) {
  MapFolder map;
  MapTables tables;
  if (!OpenMapFolder(options.folder, &map) || !tables.Load(map)) return kExitFailed;
  int status = kExitFailed;
  const int64_t from = FindNode(map, tables, options.from, &status);
  const int64_t to = from < 0 ? -1 : FindNode(map, tables, options.to, &status);
  if (from < 0 || to < 0) return status;
  const Route route = FindRoute(tables.graph(), from, to);
  if (!route.found) {
    std::fprintf(stderr,
                 "zatmap: there is no route from %s to %s: links are missing, closed, or turns "
                 "prohibited. zatmap info tells how much of the map hangs together.\n",
                 tables.node_code(from).c_str(), tables.node_code(to).c_str());
    return kExitFailed;
  }
  RoutePrinter printer(tables, route, from, to);
  if (options.json || options.geojson) {
    PrintJson(options.geojson ? printer.GeoJson() : printer.ToJson());
  } else {
    printer.PrintText();
  }
  return kExitDone;
}

}  // namespace

void AddRouteCommand(CLI::App& app, int* exit_status) {
  const auto options = std::make_shared<RouteOptions>();
  CLI::App* command = app.add_subcommand("route", "Find the cheapest route between two nodes");
  command->add_option("DIR", options->folder, "Folder of the map")->required();
  command->add_option("FROM", options->from, "Node code, or LON,LAT for the nearest node")
      ->required();
  command->add_option("TO", options->to, "The same")->required();
  CLI::Option* json = command->add_flag("--json", options->json, "One JSON object");
  command->add_flag("--geojson", options->geojson, "GeoJSON with the line of the route")
      ->excludes(json);
  command->footer(
      "A way to try a map: prohibited turns and closed connections (cost 65535) are obeyed,\n"
      "right-turn weights are not. Exit status 1 when there is no route.\n"
      "Example: zatmap route out 10000010000001 7.4215,43.7302");
  command->callback([options, exit_status] { *exit_status = RunRoute(*options); });
}

}  // namespace zatmap
