// zatmap view: a map as one page for a browser.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <string>

#include "commands.h"
#include "look/view_page.h"
#include "map/map_tables.h"
#include "shell/arguments.h"
#include "shell/output.h"
#include "shell/terminal_progress.h"

namespace zatmap {
namespace {

using zatlib::kSlots;

constexpr int64_t kManyLinks = 300000;  // more make a page that is no joy to use

struct ViewOptions {
  std::string folder;
  std::string file;
  std::string bounds;
};

// The part of a map that goes into a page: numbers there, -1 for what stays outside.
struct Part {
  std::vector<int32_t> node;   // by number in the map
  std::vector<int32_t> link;   //
  std::vector<int64_t> nodes;  // by number in the page
  std::vector<int64_t> links;  //
};

Part ChoosePart(MapTables& tables, const Bounds& bounds) {
  Part part;
  part.node.assign(static_cast<size_t>(tables.graph().nodes()), -1);
  part.link.assign(static_cast<size_t>(tables.links()), -1);
  const auto take = [](int64_t number, std::vector<int32_t>* numbers, std::vector<int64_t>* list) {
    int32_t& place = (*numbers)[static_cast<size_t>(number)];
    if (place >= 0) return;
    place = static_cast<int32_t>(list->size());
    list->push_back(number);
  };
  for (int64_t l = 0; l < tables.links(); ++l) {
    const zatlib::LinkNodes& link = tables.link(l);
    const auto holds = [&](int64_t node) {
      return bounds.Holds({tables.location(node).X, tables.location(node).Y});
    };
    bool inside = holds(link.NodeA) || holds(link.NodeB);
    if (!inside) {
      const std::vector<zatlib::ShapePoint> points = tables.Points(l);
      inside = std::any_of(points.begin(), points.end(),
                           [&](const zatlib::ShapePoint& point) { return bounds.Holds(point); });
    }
    if (!inside) continue;
    take(l, &part.link, &part.links);
    take(link.NodeA, &part.node, &part.nodes);
    take(link.NodeB, &part.node, &part.nodes);
  }
  for (int64_t n = 0; n < tables.graph().nodes(); ++n) {
    const zatlib::NodeLocation& place = tables.location(n);
    if (tables.graph().used(n) == 0 && bounds.Holds({place.X, place.Y})) {
      take(n, &part.node, &part.nodes);
    }
  }
  return part;
}

// A node as page.js reads it: code, x, y, name, attribute word, attribute, slots, turn bytes,
// weight bytes, record, city.
Json Node(const MapTables& tables, const Part& part, int64_t n) {
  const zatlib::NodeNameRecord& name = tables.node_name(n);
  const MapGraph& graph = tables.graph();
  Json slots = Json::array();
  Json turns = Json::array();
  Json weights = Json::array();
  for (int s = 0; s < graph.used(n); ++s) {
    const zatlib::CalcNode& node = graph.node(n);
    slots.push_back({part.node[static_cast<size_t>(node.OtherNode[s])],
                     part.link[static_cast<size_t>(graph.link(n, s))], node.Cost[s],
                     node.Length[s]});
    turns.push_back(graph.turns(n).Slot[s]);
    if (tables.weights(n) != nullptr) weights.push_back(tables.weights(n)->Slot[s]);
  }
  const bool has_weights = tables.weights(n) != nullptr;
  return {tables.node_code(n),
          tables.location(n).X,
          tables.location(n).Y,
          NameText(name.Name),
          name.NodeAttrWord,
          name.Attribute,
          std::move(slots),
          std::move(turns),
          has_weights ? std::move(weights) : Json(),
          n,
          tables.node_city(n)};
}

// A link likewise: code, node A, node B, road kind, flags, length, speeds, name, number and value
// of the name, link values 4 and 6, city, shape (first point, then differences), record.
Json Link(MapTables& tables, const Part& part, int64_t l) {
  const zatlib::LinkNodes& link = tables.link(l);
  const zatlib::LinkNameRecord& name = tables.link_name(l);
  Json shape = Json::array();
  zatlib::ShapePoint before{0, 0};
  for (const zatlib::ShapePoint& point : tables.Points(l)) {
    shape.push_back(int64_t{point.X} - before.X);
    shape.push_back(int64_t{point.Y} - before.Y);
    before = point;
  }
  return {tables.link_code(l),
          part.node[static_cast<size_t>(link.NodeA)],
          part.node[static_cast<size_t>(link.NodeB)],
          name.RoadKind,
          name.Flags,
          link.Value3,
          link.SpeedA,
          link.SpeedB,
          NameText(name.Name),
          name.NameNumber,
          name.NameValue,
          tables.drawing(l).Value4,
          name.Value6,
          tables.city(l),
          std::move(shape),
          l};
}

// JSON inside a script element: nothing in it may look like the element's end.
std::string ScriptText(const Json& value) {
  std::string text;
  for (const char c : value.dump(-1, ' ', true, Json::error_handler_t::replace)) {
    text += c == '<' ? std::string("\\u003c") : std::string(1, c);
  }
  return text;
}

void AddPieces(const char* const* pieces, Output& page) {
  for (; *pieces != nullptr; ++pieces) page.Add(*pieces);
}

bool WritePage(MapTables& tables, const Part& part, const std::string& title, Output& page) {
  TerminalProgress progress("view");
  AddPieces(kPage_head, page);
  page.Add("{\"title\":" + ScriptText(title) + ",\"nodes\":[");
  const int64_t all = std::ssize(part.nodes) + std::ssize(part.links);
  int64_t done = 0;
  for (const int64_t n : part.nodes) {
    page.Add((n == part.nodes.front() ? "\n" : ",\n") + ScriptText(Node(tables, part, n)));
    progress.At(++done, all);
  }
  page.Add("],\n\"links\":[");
  for (const int64_t l : part.links) {
    page.Add((l == part.links.front() ? "\n" : ",\n") + ScriptText(Link(tables, part, l)));
    progress.At(++done, all);
  }
  page.Add("]}");
  AddPieces(kPage_tail, page);
  return page.Close();
}

int RunView(const ViewOptions& options) {
  Bounds bounds;
  if (!TakeBounds(options.bounds, &bounds)) return kExitUsage;
  MapFolder map;
  MapTables tables;
  if (!OpenMapFolder(options.folder, &map) || !tables.Load(map)) return kExitFailed;
  const Part part = ChoosePart(tables, bounds);
  Output page;
  if (!page.Open(options.file)) {
    std::fprintf(stderr, "zatmap: %s cannot be written.\n", options.file.c_str());
    return kExitFailed;
  }
  if (!WritePage(tables, part, options.folder, page)) {
    std::fprintf(stderr, "zatmap: %s could not be written whole.\n", options.file.c_str());
    return kExitFailed;
  }
  std::printf("page: %s\n%zu nodes, %zu links\n",
              zatlib::platform::AbsolutePath(options.file.c_str()).c_str(), part.nodes.size(),
              part.links.size());
  if (std::ssize(part.links) > kManyLinks) {
    std::fprintf(stderr,
                 "zatmap: with more than %" PRId64
                 " links the page is slow; --bbox takes a part of the map.\n",
                 kManyLinks);
  }
  return kExitDone;
}

}  // namespace

void AddViewCommand(CLI::App& app, int* exit_status) {
  const auto options = std::make_shared<ViewOptions>();
  CLI::App* command = app.add_subcommand("view", "Write a map as one page for a browser");
  command->add_option("DIR", options->folder, "Folder of the map")->required();
  command->add_option("-o", options->file, "The page to write")->required();
  command->add_option("--bbox", options->bounds, "Only what lies in WEST,SOUTH,EAST,NORTH");
  command->footer(
      "The page needs no network. #node=CODE, #link=CODE and #route=CODE,CODE behind its address\n"
      "open it at that thing.\n"
      "Example: zatmap view out -o map.html --bbox 7.41,43.72,7.43,43.74");
  command->callback([options, exit_status] { *exit_status = RunView(*options); });
}

}  // namespace zatmap
