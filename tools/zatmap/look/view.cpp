// zatmap view: a map as one page for a browser.
#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "commands.h"
#include "look/view_page.h"
#include "shell/arguments.h"
#include "shell/open_map.h"
#include "shell/output.h"
#include "shell/output_file.h"
#include "shell/terminal_progress.h"

namespace zatmap {
namespace {

using zatlib::map::Connection;

constexpr int64_t kManyLinks = 300000;  // more make a page that is no joy to use

struct ViewOptions {
  std::string folder;
  std::string file;
  std::string bounds;
  bool overwrite = false;
  bool json = false;
};

// The part of a map that goes into a page: numbers there, -1 for what stays outside.
struct Part {
  std::vector<int32_t> node;   // by number in the map
  std::vector<int32_t> link;   //
  std::vector<int64_t> nodes;  // by number in the page
  std::vector<int64_t> links;  //
};

Part ChoosePart(const BuiltMap& map, const Bounds& bounds) {
  Part part;
  part.node.assign(static_cast<size_t>(map.nodes()), -1);
  part.link.assign(static_cast<size_t>(map.links()), -1);
  const auto take = [](int64_t number, std::vector<int32_t>* numbers, std::vector<int64_t>* list) {
    int32_t& place = (*numbers)[static_cast<size_t>(number)];
    if (place >= 0) return;
    place = static_cast<int32_t>(list->size());
    list->push_back(number);
  };
  std::vector<zatlib::ShapePoint> points;
  for (int64_t l = 0; l < map.links(); ++l) {
    const zatlib::LinkNodes& link = map.link(l);
    const auto holds = [&](int64_t node) {
      return bounds.Holds({map.location(node).X, map.location(node).Y});
    };
    bool inside = holds(link.NodeA) || holds(link.NodeB);
    if (!inside) {
      map.LinkPoints(l, &points);
      inside = std::any_of(points.begin(), points.end(),
                           [&](const zatlib::ShapePoint& point) { return bounds.Holds(point); });
    }
    if (!inside) continue;
    take(l, &part.link, &part.links);
    take(link.NodeA, &part.node, &part.nodes);
    take(link.NodeB, &part.node, &part.nodes);
  }
  for (int64_t n = 0; n < map.nodes(); ++n) {
    const zatlib::NodeLocation& place = map.location(n);
    if (map.graph().used(n) == 0 && bounds.Holds({place.X, place.Y})) {
      take(n, &part.node, &part.nodes);
    }
  }
  return part;
}

// A column of the page's nodes, links or slots: page.js finds it by its name. Numbers of nodes and
// links are those in the page.
struct Column {
  const char* name;
  Json (*value)(const BuiltMap& map, const Part& part, int64_t record);
};

int32_t NodeInPage(const Part& part, int64_t n) { return part.node[static_cast<size_t>(n)]; }
int32_t LinkInPage(const Part& part, int64_t l) { return part.link[static_cast<size_t>(l)]; }

// The columns of an array as the page gets them.
Json Values(std::span<const Column> columns, const BuiltMap& map, const Part& part,
            int64_t record) {
  Json::array_t values;
  values.reserve(columns.size());
  for (const Column& column : columns) values.push_back(column.value(map, part, record));
  return values;
}

Json Names(std::span<const Column> columns) {
  Json names = Json::array();
  for (const Column& column : columns) names.push_back(column.name);
  return names;
}

// Of connections (node x 8 + slot).
constexpr Column kSlotColumns[] = {
    {"node",
     [](const BuiltMap& map, const Part& part, int64_t c) -> Json {
       return NodeInPage(part, map.graph().other(static_cast<Connection>(c)));
     }},
    {"link",
     [](const BuiltMap& map, const Part& part, int64_t c) -> Json {
       return LinkInPage(part, map.graph().link(static_cast<Connection>(c)));
     }},
    {"cost",
     [](const BuiltMap& map, const Part&, int64_t c) -> Json {
       return map.graph().cost(static_cast<Connection>(c));
     }},
    {"length",
     [](const BuiltMap& map, const Part&, int64_t c) -> Json {
       return map.graph().length(static_cast<Connection>(c));
     }},
};

Json Slots(const BuiltMap& map, const Part& part, int64_t n) {
  Json slots = Json::array();
  for (int s = 0; s < map.graph().used(n); ++s) {
    slots.push_back(Values(kSlotColumns, map, part, zatlib::map::ConnectionOf(n, s)));
  }
  return slots;
}

// The bytes of the used slots; null when there are none.
Json SlotBytes(const BuiltMap& map, int64_t n, const zatlib::SlotBytes* bytes) {
  if (bytes == nullptr) return nullptr;
  Json list = Json::array();
  for (int s = 0; s < map.graph().used(n); ++s) list.push_back(bytes->Slot[s]);
  return list;
}

// First point, then differences.
Json Shape(const BuiltMap& map, const Part&, int64_t l) {
  std::vector<zatlib::ShapePoint> points;
  map.LinkPoints(l, &points);
  Json::array_t shape;
  shape.reserve(2 * points.size());
  zatlib::ShapePoint before{0, 0};
  for (const zatlib::ShapePoint& point : points) {
    shape.push_back(int64_t{point.X} - before.X);
    shape.push_back(int64_t{point.Y} - before.Y);
    before = point;
  }
  return shape;
}

using Map = BuiltMap;
constexpr Column kNodeColumns[] = {
    {"code", [](const Map& map, const Part&, int64_t n) -> Json { return map.node_code(n); }},
    {"x", [](const Map& map, const Part&, int64_t n) -> Json { return map.location(n).X; }},
    {"y", [](const Map& map, const Part&, int64_t n) -> Json { return map.location(n).Y; }},
    {"name",
     [](const Map& map, const Part&, int64_t n) -> Json {
       return NameText(map.node_name(n).Name);
     }},
    {"attribute_word",
     [](const Map& map, const Part&, int64_t n) -> Json { return map.node_name(n).NodeAttrWord; }},
    {"attribute",
     [](const Map& map, const Part&, int64_t n) -> Json { return map.node_name(n).Attribute; }},
    {"slots", Slots},
    {"turns",
     [](const Map& map, const Part&, int64_t n) -> Json {
       return SlotBytes(map, n, &map.graph().turns(n));
     }},
    {"weights",
     [](const Map& map, const Part&, int64_t n) -> Json {
       return SlotBytes(map, n, map.weights(n));
     }},
    {"record", [](const Map&, const Part&, int64_t n) -> Json { return n; }},
    {"city", [](const Map& map, const Part&, int64_t n) -> Json { return map.node_city(n); }},
};

constexpr Column kLinkColumns[] = {
    {"code", [](const Map& map, const Part&, int64_t l) -> Json { return map.link_code(l); }},
    {"node_a",
     [](const Map& map, const Part& part, int64_t l) -> Json {
       return NodeInPage(part, map.link(l).NodeA);
     }},
    {"node_b",
     [](const Map& map, const Part& part, int64_t l) -> Json {
       return NodeInPage(part, map.link(l).NodeB);
     }},
    {"road_kind",
     [](const Map& map, const Part&, int64_t l) -> Json { return map.link_name(l).RoadKind; }},
    {"flags",
     [](const Map& map, const Part&, int64_t l) -> Json { return map.link_name(l).Flags; }},
    {"length", [](const Map& map, const Part&, int64_t l) -> Json { return map.link(l).Value3; }},
    {"speed_a", [](const Map& map, const Part&, int64_t l) -> Json { return map.link(l).SpeedA; }},
    {"speed_b", [](const Map& map, const Part&, int64_t l) -> Json { return map.link(l).SpeedB; }},
    {"name",
     [](const Map& map, const Part&, int64_t l) -> Json {
       return NameText(map.link_name(l).Name);
     }},
    {"name_number",
     [](const Map& map, const Part&, int64_t l) -> Json { return map.link_name(l).NameNumber; }},
    {"name_value",
     [](const Map& map, const Part&, int64_t l) -> Json { return map.link_name(l).NameValue; }},
    {"value4",
     [](const Map& map, const Part&, int64_t l) -> Json { return map.drawing(l).Value4; }},
    {"value6",
     [](const Map& map, const Part&, int64_t l) -> Json { return map.link_name(l).Value6; }},
    {"city", [](const Map& map, const Part&, int64_t l) -> Json { return map.city(l); }},
    {"shape", Shape},
    {"record", [](const Map&, const Part&, int64_t l) -> Json { return l; }},
};

// JSON inside a script element: nothing in it may look like the element's end.
std::string ScriptText(const Json& value) {
  std::string text = value.dump(-1, ' ', true, Json::error_handler_t::replace);
  for (size_t at = text.find('<'); at != std::string::npos; at = text.find('<', at)) {
    text.replace(at, 1, "\\u003c");
  }
  return text;
}

void AddPieces(const char* const* pieces, Output& page) {
  for (; *pieces != nullptr; ++pieces) page.Add(*pieces);
}

bool WritePage(const BuiltMap& map, const Part& part, const std::string& title, Output& page) {
  TerminalProgress progress("view");
  AddPieces(kPage_head, page);
  const Json columns = {
      {"node", Names(kNodeColumns)}, {"link", Names(kLinkColumns)}, {"slot", Names(kSlotColumns)}};
  page.Add("{\"title\":" + ScriptText(title) + ",\"columns\":" + columns.dump() +
           ",\"closed_cost\":" + std::to_string(zatlib::kClosedCost) +
           ",\"partner_kind\":" + std::to_string(zatlib::kDummyRoadKind) + ",\n\"nodes\":[");
  const int64_t all = std::ssize(part.nodes) + std::ssize(part.links);
  int64_t done = 0;
  for (const int64_t n : part.nodes) {
    page.Add((n == part.nodes.front() ? "\n" : ",\n") +
             ScriptText(Values(kNodeColumns, map, part, n)));
    progress.At(++done, all);
  }
  page.Add("],\n\"links\":[");
  for (const int64_t l : part.links) {
    page.Add((l == part.links.front() ? "\n" : ",\n") +
             ScriptText(Values(kLinkColumns, map, part, l)));
    progress.At(++done, all);
  }
  page.Add("]}");
  AddPieces(kPage_tail, page);
  return page.Close();
}

void PrintSummary(const ViewOptions& options, const Part& part) {
  const std::string path = zatlib::platform::AbsolutePath(options.file.c_str());
  if (options.json) {
    PrintJson({{"page", path}, {"nodes", part.nodes.size()}, {"links", part.links.size()}});
    return;
  }
  std::printf("page: %s\n%zu nodes, %zu links\n", path.c_str(), part.nodes.size(),
              part.links.size());
}

int RunView(const ViewOptions& options) {
  Bounds bounds;
  if (!TakeBounds(options.bounds, &bounds)) return kExitUsage;
  MapFolder folder;
  BuiltMap map;
  if (!OpenMap(options.folder, &folder) || !LoadMap(folder, &map)) return kExitFailed;
  if (!BoundsHoldSomething(options.bounds, bounds, map)) return kExitFailed;
  const Part part = ChoosePart(map, bounds);
  Output page;
  const OutputRequest request = {options.file, options.overwrite, FilesOfMap(options.folder)};
  if (!OpenOutput(request, &page)) return kExitFailed;
  if (!WritePage(map, part, options.folder, page)) {
    std::fprintf(stderr, "zatmap: %s could not be written whole.\n", options.file.c_str());
    return kExitFailed;
  }
  if (options.file != "-") PrintSummary(options, part);
  if (std::ssize(part.links) > kManyLinks) {
    std::fprintf(stderr,
                 "zatmap: with more than %" PRId64
                 " links the page is slow; --bbox takes a part of the map.\n",
                 kManyLinks);
  }
  return kExitDone;
}

}  // namespace

Command ViewCommand() {
  const auto options = std::make_shared<ViewOptions>();
  Option page = OutputOption(&options->file, "The page to write");
  page.required = true;
  return {.name = "view",
          .summary = "Write a map as one page for a browser",
          .arguments = {MapArgument(&options->folder)},
          .options = {page, OverwriteOption(&options->overwrite),
                      JsonOption(&options->json, "Tell what was written as a JSON object"),
                      BoundsOption(&options->bounds), CodePageOption()},
          .notes =
              "The page needs no network. #node=CODE, #link=CODE and #route=CODE,CODE behind "
              "its address\nopen it at that thing.",
          .examples = {{"zatmap view out -o map.html --bbox 7.41,43.72,7.43,43.74", ""}},
          .run = [options] { return RunView(*options); }};
}

}  // namespace zatmap
