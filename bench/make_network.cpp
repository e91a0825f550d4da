// make_network: lays N shifted copies of a city side by side, with codes of their own, joined by a
// link from each copy to the next. Reads the text form of a city (as in examples/monaco), writes
// every input section of the layout asked for; streams, so that any size can be made. The same
// arguments give the same bytes.
#include <sys/stat.h>

#include <CLI/CLI.hpp>
#include <cinttypes>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <string>
#include <unordered_map>
#include <vector>

namespace {

constexpr int kSlots = 8;
constexpr int kFirstArea = 10;
constexpr int64_t kSerials = 9999999;      // serial numbers of nodes or of links in one area
constexpr int64_t kNodeSerial = 10000000;  // first serial of nodes
constexpr int64_t kLinkSerial = 20000000;  // first serial of links
constexpr int32_t kStep = 60000;           // millionths of a degree between two copies

struct Node {
  std::string attribute;
  int links[kSlots];  // index of the link, -1 = none
  int link_count;
  std::string name;
  int32_t x, y;  // millionths of a degree
};

struct Link {
  std::string kind, length, level, lanes, width, speed_a, speed_b, flag;
  int city;
  int a, b;  // node indexes
  std::string name_kind, name;
  std::vector<std::pair<int32_t, int32_t>> shape;
};

struct SpeedRow {
  int link, a, b;  // -1 = 0
  std::string speed_a, speed_b, value;
};

struct Rule {
  int node, in, out;
  std::string kind;
};

struct OneWay {
  int link, first, second;  // nodes: -1 = 0
  std::string first_flag, second_flag;
};

struct City {
  std::vector<Node> nodes;
  std::vector<Link> links;
  std::vector<std::pair<int, std::string>> node_names;  // kind and name of the name file
  std::vector<int> node_name_nodes;
  std::vector<SpeedRow> speeds;
  std::vector<Rule> rules;
  std::vector<OneWay> one_ways;
};

[[noreturn]] void Fail(const std::string& text) {
  std::fprintf(stderr, "make_network: %s\n", text.c_str());
  std::exit(1);
}

std::vector<std::vector<std::string>> ReadRows(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) Fail("cannot read " + path);
  std::vector<std::vector<std::string>> rows;
  std::string line;
  while (std::getline(file, line)) {
    if (!line.empty() && line.back() == '\r') line.pop_back();
    std::vector<std::string> fields(1);
    for (const char c : line) {
      if (c == ',') {
        fields.emplace_back();
      } else if (c != '"') {
        fields.back() += c;
      }
    }
    rows.push_back(std::move(fields));
  }
  return rows;
}

int32_t Millionths(const std::string& degrees) {
  return static_cast<int32_t>(std::strtod(degrees.c_str(), nullptr) * 1e6 +
                              (degrees[0] == '-' ? -0.5 : 0.5));
}

using Codes = std::unordered_map<std::string, int>;

int Find(const Codes& codes, const std::string& code) {
  const auto found = codes.find(code);
  return found == codes.end() ? -1 : found->second;
}

City ReadCity(const std::string& folder) {
  City city;
  Codes nodes, links;
  for (const auto& row : ReadRows(folder + "/nodes.txt")) {
    nodes.emplace(row[0], static_cast<int>(city.nodes.size()));
    city.nodes.push_back({row[1], {}, 0, row[12], Millionths(row[13]), Millionths(row[14])});
  }
  for (const auto& row : ReadRows(folder + "/links.txt")) {
    links.emplace(row[0], static_cast<int>(city.links.size()));
    Link link{row[1],
              row[3],
              row[4],
              row[5],
              row[6],
              row[9],
              row[10],
              row[11],
              std::atoi(row[2].c_str()) % 1000,
              Find(nodes, row[7]),
              Find(nodes, row[8]),
              "0",
              "",
              {}};
    city.links.push_back(std::move(link));
  }
  size_t number = 0;
  for (const auto& row : ReadRows(folder + "/nodes.txt")) {
    Node& node = city.nodes[number++];
    for (int s = 0; s < kSlots; ++s) {
      node.links[s] = Find(links, row[static_cast<size_t>(4 + s)]);
      if (node.links[s] >= 0) node.link_count = s + 1;
    }
  }
  for (const auto& row : ReadRows(folder + "/nodename.txt")) {
    city.node_name_nodes.push_back(Find(nodes, row[0]));
    city.node_names.emplace_back(std::atoi(row[1].c_str()), row[2]);
  }
  for (const auto& row : ReadRows(folder + "/linkname.txt")) {
    const int link = Find(links, row[0]);
    if (link < 0) continue;
    city.links[static_cast<size_t>(link)].name_kind = row[2];
    city.links[static_cast<size_t>(link)].name = row[3];
  }
  for (const auto& row : ReadRows(folder + "/linkspeed.txt")) {
    const int link = Find(links, row[0]);
    if (link >= 0) {
      city.speeds.push_back(
          {link, Find(nodes, row[1]), Find(nodes, row[2]), row[3], row[4], row[5]});
    }
  }
  for (const auto& row : ReadRows(folder + "/nodetrf.txt")) {
    city.rules.push_back({Find(nodes, row[0]), Find(links, row[1]), Find(links, row[2]), row[3]});
  }
  for (const auto& row : ReadRows(folder + "/linktrf.txt")) {
    city.one_ways.push_back(
        {Find(links, row[0]), Find(nodes, row[1]), Find(nodes, row[2]), row[3], row[4]});
  }
  const auto shape_rows = ReadRows(folder + "/linkshape.txt");
  for (size_t i = 0; i < shape_rows.size();) {
    const int link = Find(links, shape_rows[i][0]);
    const auto count = static_cast<size_t>(std::atoi(shape_rows[i][1].c_str()));
    for (size_t k = 1; k <= count; ++k) {
      if (link >= 0) {
        city.links[static_cast<size_t>(link)].shape.emplace_back(Millionths(shape_rows[i + k][0]),
                                                                 Millionths(shape_rows[i + k][1]));
      }
    }
    i += count + 1;
  }
  return city;
}

// An output file in large blocks.
class Output {
 public:
  explicit Output(const std::string& path) : file_(std::fopen(path.c_str(), "wb")) {
    if (file_ == nullptr) Fail("cannot write " + path);
    std::setvbuf(file_, nullptr, _IOFBF, 1 << 20);
  }
  ~Output() {
    if (std::fclose(file_) != 0) Fail("cannot write everything");
  }
  Output(const Output&) = delete;
  Output& operator=(const Output&) = delete;
  void Print(const char* format, ...) __attribute__((format(printf, 2, 3))) {
    va_list arguments;
    va_start(arguments, format);
    std::vfprintf(file_, format, arguments);
    va_end(arguments);
  }

 private:
  FILE* file_;
};

struct Options {
  std::string city = "examples/monaco";
  std::string out;
  std::string layout = "text";
  int64_t links = 100000;
  int code_length = 14;
};

class Maker {
 public:
  Maker(const City& city, const Options& options)
      : city_(city),
        options_(options),
        per_copy_(static_cast<int64_t>(city.links.size()) + 1),
        copies_((options.links + per_copy_ - 1) / per_copy_),
        side_(1) {
    while (side_ * side_ < copies_) ++side_;
    if (static_cast<int64_t>(city.nodes.size()) > per_copy_) per_copy_ = city.nodes.size();
    copies_per_area_ = kSerials / per_copy_;
    if (kFirstArea + (copies_ - 1) / copies_per_area_ > 98)
      Fail("too many links for two-digit areas");
    // The ends of the joining links: nodes with a free slot.
    for (size_t i = 0; i < city.nodes.size(); ++i) {
      if (city.nodes[i].link_count >= kSlots) continue;
      if (first_ < 0) first_ = static_cast<int>(i);
      last_ = static_cast<int>(i);
    }
    if (first_ == last_) Fail("the city has no two nodes with a free slot");
  }

  int64_t copies() const { return copies_; }

  void WriteText() {
    Output nodes(Path("nodes.txt")), node_mid(Path("nodes.mid")), xy(Path("nodexy.txt"));
    Output names(Path("nodename.txt")), links(Path("links.txt")), link_names(Path("linkname.txt"));
    Output shapes(Path("linkshape.txt"));
    for (copy_ = 0; copy_ < copies_; ++copy_) {
      for (int i = 0; i < NodeCount(); ++i) {
        PrintNode(nodes, i, true);
        if (!city_.nodes[static_cast<size_t>(i)].name.empty()) PrintNode(node_mid, i, false);
        xy.Print("%s,", NodeCode(i).c_str());
        PrintPoint(xy, At(i), ',');
        xy.Print("\r\n");
      }
      PrintNodeNames(names);
      for (int i = 0; i < LinkCount(); ++i) {
        const Link link = LinkAt(i);
        links.Print("%s,%s,%d,%s,%s,%s,%s,%s,%s,%s,%s,%s\r\n", LinkCode(i).c_str(),
                    link.kind.c_str(), Area() * 1000 + link.city, link.length.c_str(),
                    link.level.c_str(), link.lanes.c_str(), link.width.c_str(),
                    NodeCode(link.a).c_str(), EndCode(i, link).c_str(), link.speed_a.c_str(),
                    link.speed_b.c_str(), link.flag.c_str());
        if (!link.name.empty()) {
          link_names.Print("%s,%s,%s,\"%s\"\r\n", LinkCode(i).c_str(), NodeCode(link.a).c_str(),
                           link.name_kind.c_str(), link.name.c_str());
        }
        shapes.Print("%s,%zu\r\n", LinkCode(i).c_str(), link.shape.size());
        for (const auto& point : link.shape) {
          PrintPoint(shapes, Shifted(point), ',');
          shapes.Print("\r\n");
        }
      }
    }
    WriteTraffic();
  }

  void WriteMif() {
    Output node_mif(Path("node.mif")), node_mid(Path("node.mid"));
    Output link_mif(Path("link.mif")), link_mid(Path("link.mid")), names(Path("nodename.txt"));
    PrintHeader(node_mif);
    PrintHeader(link_mif);
    for (copy_ = 0; copy_ < copies_; ++copy_) {
      for (int i = 0; i < NodeCount(); ++i) {
        PrintNode(node_mid, i, false);
        PrintMifPoint(node_mif, i);
      }
      PrintNodeNames(names);
      for (int i = 0; i < LinkCount(); ++i) {
        const Link link = LinkAt(i);
        link_mid.Print("\"%s\",%s,%d,%s,%s,%s,%s,\"%s\",\"%s\",%s,%s,%s,%s,\"%s\"\r\n",
                       LinkCode(i).c_str(), link.kind.c_str(), Area() * 1000 + link.city,
                       link.length.c_str(), link.level.c_str(), link.lanes.c_str(),
                       link.width.c_str(), NodeCode(link.a).c_str(), EndCode(i, link).c_str(),
                       link.speed_a.c_str(), link.speed_b.c_str(), link.flag.c_str(),
                       link.name_kind.c_str(), link.name.c_str());
        PrintMifLine(link_mif, link);
      }
    }
    WriteTraffic();
  }

  void WriteMsr() {
    Output node_mif(Path("droten.mif")), node_mid(Path("droten.mid"));
    Output link_mif(Path("dkukan.mif")), link_mid(Path("dkukan.mid")), csv(Path("dkukan.csv"));
    Output names(Path("kukanz.csv")), rules(Path("tukouj.csv"));
    PrintHeader(node_mif);
    PrintHeader(link_mif);
    for (copy_ = 0; copy_ < copies_; ++copy_) {
      for (int i = 0; i < NodeCount(); ++i) {
        const Node& node = city_.nodes[static_cast<size_t>(i)];
        node_mid.Print("%d,%" PRId64 ",%s,0,0,\"%s\",%d", Area(), Serial(kNodeSerial, i),
                       node.attribute.c_str(), node.name.c_str(), node.link_count);
        for (int s = 0; s < kSlots; ++s) node_mid.Print(",%" PRId64, SlotSerial(i, s));
        node_mid.Print("\r\n");
        PrintMifPoint(node_mif, i);
      }
      for (int i = 0; i < LinkCount(); ++i) {
        const Link link = LinkAt(i);
        for (Output* file : {&csv, &link_mid}) {
          file->Print("%" PRId64 ",%s,%d,%d,%s,%s,%s,%" PRId64 ",%" PRId64 ",%s,%s,%s,%s\r\n",
                      Serial(kLinkSerial, i), link.kind.c_str(), Area(), link.city,
                      link.length.c_str(), link.level.c_str(), link.lanes.c_str(),
                      Serial(kNodeSerial, link.a), Serial(kNodeSerial, link.b), link.width.c_str(),
                      link.speed_a.c_str(), link.speed_b.c_str(), link.flag.c_str());
        }
        PrintMifLine(link_mif, link);
        if (!link.name.empty()) {
          names.Print("%d,%" PRId64 ",%s,\"%s\",%s\r\n", Area(), Serial(kLinkSerial, i),
                      link.name_kind.c_str(), link.name.c_str(), link.level.c_str());
        }
      }
      for (const Rule& rule : city_.rules) {
        if (rule.node < 0 || rule.in < 0 || rule.out < 0) continue;
        rules.Print("%d,%" PRId64 ",%" PRId64 ",%" PRId64 ",%s\r\n", Area(),
                    Serial(kNodeSerial, rule.node), Serial(kLinkSerial, rule.in),
                    Serial(kLinkSerial, rule.out), rule.kind.c_str());
      }
    }
  }

  void WriteControl() {
    const bool msr = options_.layout.rfind("msr", 0) == 0;
    const bool mif = options_.layout == "mif";
    Output control(Path("control.ini"));
    control.Print(
        "[SYSTEM]\r\nFORMAT=%s\r\nSILENTMODE=1\r\nLOG=1\r\nCODELENGTH=%d\r\n[FOLDER]\r\nCALCMAPDIR="
        "out\r\n[DEFAULTSPEED]\r\nSPEEDA=20\r\nSPEEDB=15\r\n[ROADFLAG]\r\nHIGHWAY=1\r\nPAYROAD=2"
        "\r\nFERRY=3\r\nRAILROAD=4\r\nPARKING=5\r\nTOLLGATE=6\r\nPEDESTRIANWAY=7\r\nRTWEIGHT=1\r\n",
        msr ? "MSR" : "ZAT", options_.code_length);
    const auto section = [&](const char* name, const char* file) {
      control.Print("[%s]\r\nFILENUM=1\r\nFILE01=%s\r\n", name, file);
    };
    if (msr) {
      section("DROTEN", "droten.mif");
      section("DKUKAN", options_.layout == "msr-mif" ? "dkukan.mif" : "dkukan.csv");
      control.Print("MIFOUTPUT=%d\r\n", options_.layout == "msr-mif" ? 1 : 0);
      section("KUKANZ", "kukanz.csv");
      section("TUKOUJ", "tukouj.csv");
    } else {
      section("NODE", mif ? "node.mif" : "nodes.txt");
      control.Print("MIF=%d\r\n", mif ? 1 : 0);
      section("LINK", mif ? "link.mif" : "links.txt");
      control.Print("MIF=%d\r\n", mif ? 1 : 0);
      section("NODENAME", "nodename.txt");
      section("LINKSPEED", "linkspeed.txt");
      section("NODETRF", "nodetrf.txt");
      section("LINKTRF", "linktrf.txt");
      if (!mif) {
        section("NODEXY", "nodexy.txt");
        section("LINKNAME", "linkname.txt");
        section("LINKSHAPE", "linkshape.txt");
      }
    }
    ::mkdir(Path("out").c_str(), 0777);
  }

 private:
  std::string Path(const char* name) const { return options_.out + "/" + name; }
  int NodeCount() const { return static_cast<int>(city_.nodes.size()); }
  // The copy's links and, but for the last copy, the link to the next one.
  int LinkCount() const {
    return static_cast<int>(city_.links.size()) +
           (copy_ + 1 < copies_ && SameArea(copy_ + 1) ? 1 : 0);
  }
  bool SameArea(int64_t other) const {
    // Codes of the MSR layout hold one area a row, so copies of two areas are not joined.
    return other / copies_per_area_ == copy_ / copies_per_area_;
  }
  int Area() const { return kFirstArea + static_cast<int>(copy_ / copies_per_area_); }
  int64_t Serial(int64_t base, int index) const {
    return base + (copy_ % copies_per_area_) * per_copy_ + index + 1;
  }
  std::string Code(int64_t serial) const {
    char text[32];
    std::snprintf(text, sizeof text, options_.code_length == 14 ? "%d%012" PRId64 : "%d%016" PRId64,
                  Area(), serial);
    return text;
  }
  std::string NodeCode(int index) const { return Code(Serial(kNodeSerial, index)); }
  std::string LinkCode(int index) const { return Code(Serial(kLinkSerial, index)); }
  // The joining link ends at the next copy's first node, whose number is per_copy_ further on.
  std::string EndCode(int, const Link& link) const { return NodeCode(link.b); }

  std::pair<int32_t, int32_t> Shifted(std::pair<int32_t, int32_t> point) const {
    return {point.first + static_cast<int32_t>(copy_ % side_) * kStep,
            point.second + static_cast<int32_t>(copy_ / side_) * kStep};
  }
  std::pair<int32_t, int32_t> At(int node) const {
    const Node& n = city_.nodes[static_cast<size_t>(node)];
    return Shifted({n.x, n.y});
  }

  Link LinkAt(int i) const {
    if (i < static_cast<int>(city_.links.size())) return city_.links[static_cast<size_t>(i)];
    Link join;
    join.kind = "03";
    join.length = "5000";
    join.level = join.lanes = join.width = "2";
    join.speed_a = join.speed_b = "60";
    join.flag = "0";
    join.city = 1;
    join.a = last_;
    join.b = first_ + static_cast<int>(per_copy_);
    join.name_kind = "0";
    const Node& from = city_.nodes[static_cast<size_t>(last_)];
    const Node& to = city_.nodes[static_cast<size_t>(first_)];
    const bool next_row = (copy_ + 1) % side_ == 0;
    join.shape = {{from.x, from.y},
                  {to.x + (next_row ? -kStep * static_cast<int32_t>(side_ - 1) : kStep),
                   to.y + (next_row ? kStep : 0)}};
    return join;
  }

  // Serial number of the link in a node's slot, 0 = none.
  int64_t SlotSerial(int node, int slot) const {
    const Node& n = city_.nodes[static_cast<size_t>(node)];
    const int join = static_cast<int>(city_.links.size());
    if (slot < n.link_count) {
      return n.links[slot] < 0 ? 0 : Serial(kLinkSerial, n.links[slot]);
    }
    if (slot > n.link_count) return 0;
    if (node == last_ && copy_ + 1 < copies_ && SameArea(copy_ + 1)) {
      return Serial(kLinkSerial, join);
    }
    if (node == first_ && copy_ > 0 && SameArea(copy_ - 1)) {
      return Serial(kLinkSerial, join) - per_copy_;
    }
    return 0;
  }

  void PrintPoint(Output& file, std::pair<int32_t, int32_t> point, char between) const {
    const auto put = [&file](int32_t v) {
      const int32_t positive = v < 0 ? -v : v;
      file.Print("%s%d.%06d", v < 0 ? "-" : "", positive / 1000000, positive % 1000000);
    };
    put(point.first);
    file.Print("%c", between);
    put(point.second);
  }

  void PrintNode(Output& file, int i, bool with_point) const {
    const Node& node = city_.nodes[static_cast<size_t>(i)];
    file.Print("%s,%s,0,%d", NodeCode(i).c_str(), node.attribute.c_str(), node.link_count);
    for (int s = 0; s < kSlots; ++s) {
      const int64_t serial = SlotSerial(i, s);
      file.Print(",%s", serial == 0 ? "0" : Code(serial).c_str());
    }
    file.Print(",%s%s%s", node.name.empty() ? "" : "\"", node.name.c_str(),
               node.name.empty() ? "" : "\"");
    if (with_point) {
      file.Print(",");
      PrintPoint(file, At(i), ',');
    }
    file.Print("\r\n");
  }

  void PrintNodeNames(Output& file) const {
    for (size_t i = 0; i < city_.node_names.size(); ++i) {
      if (city_.node_name_nodes[i] < 0) continue;
      file.Print("%s,%d,\"%s\"\r\n", NodeCode(city_.node_name_nodes[i]).c_str(),
                 city_.node_names[i].first, city_.node_names[i].second.c_str());
    }
  }

  static void PrintHeader(Output& file) {
    file.Print(
        "Version 300\r\nCharset \"WindowsJapanese\"\r\nDelimiter \",\"\r\nCoordSys Earth "
        "Projection "
        "1, 104\r\nColumns 1\r\n  CODE Char(18)\r\nData\r\n\r\n");
  }

  void PrintMifPoint(Output& file, int node) const {
    file.Print("Point ");
    PrintPoint(file, At(node), ' ');
    file.Print("\r\n    Symbol (35,0,12)\r\n");
  }

  void PrintMifLine(Output& file, const Link& link) const {
    if (link.shape.size() == 2) {
      file.Print("Line ");
      PrintPoint(file, Shifted(link.shape[0]), ' ');
      file.Print(" ");
      PrintPoint(file, Shifted(link.shape[1]), ' ');
      file.Print("\r\n");
    } else {
      file.Print("Pline %zu\r\n", link.shape.size());
      for (const auto& point : link.shape) {
        PrintPoint(file, Shifted(point), ' ');
        file.Print("\r\n");
      }
    }
    file.Print("    Pen (1,2,0)\r\n");
  }

  std::string OptionalNode(int node) const { return node < 0 ? "0" : NodeCode(node); }

  void WriteTraffic() {
    Output speeds(Path("linkspeed.txt")), rules(Path("nodetrf.txt")), one_ways(Path("linktrf.txt"));
    for (copy_ = 0; copy_ < copies_; ++copy_) {
      for (const SpeedRow& row : city_.speeds) {
        speeds.Print("%s,%s,%s,%s,%s,%s\r\n", LinkCode(row.link).c_str(),
                     OptionalNode(row.a).c_str(), OptionalNode(row.b).c_str(), row.speed_a.c_str(),
                     row.speed_b.c_str(), row.value.c_str());
      }
      for (const Rule& rule : city_.rules) {
        if (rule.node < 0 || rule.in < 0 || rule.out < 0) continue;
        rules.Print("%s,%s,%s,%s\r\n", NodeCode(rule.node).c_str(), LinkCode(rule.in).c_str(),
                    LinkCode(rule.out).c_str(), rule.kind.c_str());
      }
      for (const OneWay& row : city_.one_ways) {
        if (row.link < 0) continue;
        one_ways.Print("%s,%s,%s,%s,%s\r\n", LinkCode(row.link).c_str(),
                       OptionalNode(row.first).c_str(), OptionalNode(row.second).c_str(),
                       row.first_flag.c_str(), row.second_flag.c_str());
      }
    }
  }

  const City& city_;
  const Options& options_;
  int64_t per_copy_;
  int64_t copies_;
  int64_t side_;
  int64_t copies_per_area_ = 1;
  int64_t copy_ = 0;
  int first_ = -1;
  int last_ = -1;
};

}  // namespace

int main(int argc, char** argv) {
  CLI::App app{"Lays copies of a city side by side into a network of the size asked for."};
  Options options;
  app.add_option("OUT", options.out, "Folder to fill (made when missing)")->required();
  app.add_option("--city", options.city, "Folder with the text form of a city");
  app.add_option("--links", options.links, "Links wanted, at least")->check(CLI::PositiveNumber);
  app.add_option("--layout", options.layout, "text, mif, msr or msr-mif")
      ->check(CLI::IsMember({"text", "mif", "msr", "msr-mif"}));
  app.add_option("--code-length", options.code_length, "14 or 18")->check(CLI::IsMember({14, 18}));
  CLI11_PARSE(app, argc, argv);
  ::mkdir(options.out.c_str(), 0777);
  const City city = ReadCity(options.city);
  Maker maker(city, options);
  if (options.layout == "text") {
    maker.WriteText();
  } else if (options.layout == "mif") {
    maker.WriteMif();
  } else {
    maker.WriteMsr();
  }
  maker.WriteControl();
  std::printf("%" PRId64 " copies of %s in %s\n", maker.copies(), options.city.c_str(),
              options.out.c_str());
  return 0;
}
