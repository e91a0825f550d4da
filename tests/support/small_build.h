// Whole builds of networks of a few nodes: their source files, the records of the map written out
// field by field, and the build log as a list of lines.
#pragma once

#include <algorithm>
#include <cstdio>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "interface/driver/build_driver.h"
#include "platform/clock.h"
#include "platform/file.h"
#include "records.h"

namespace zatlib::test {

inline std::string CrLf(const Lines& lines) {
  std::string text;
  for (const std::string& line : lines) text += line + "\r\n";
  return text;
}

inline std::string All(const Lines& records) {
  std::string bytes;
  for (const std::string& record : records) bytes += record;
  return bytes;
}

inline Lines operator+(Lines first, const Lines& second) {
  first.insert(first.end(), second.begin(), second.end());
  return first;
}

class SmallBuild : public LibraryTest {
 protected:
  SmallBuild() {
    MakeFolder(folder_ / "out");
    platform::DateTime now = {2016, 3, 4, 31, 15, 4, 5, 6};
    platform::FixLocalTime(&now);
    Set("FOLDER", "CALCMAPDIR=" + out());
    Set("SYSTEM", "SILENTMODE=1");
  }

  void UseLength(int code_length) {
    code_length_ = code_length;
    Set("SYSTEM", "CODELENGTH=" + std::to_string(code_length));
  }
  void UseMethod(const std::string& method) { Set("SYSTEM", "BUILDMETHOD=" + method); }

  std::string out() const { return folder_ / "out"; }
  std::string OutPath(const std::string& name) const { return PathIn(out(), name); }
  std::string Out(const std::string& name) const { return ReadBytes(OutPath(name)); }
  static std::string PathIn(const std::string& folder, const std::string& name) {
    return folder + platform::NativeSeparator() + name;
  }

  // Codes of the tests are small numbers n; they stand for one near the top of the code length.
  int64_t Number(int64_t n) const {
    return (code_length_ == 18 ? 100000000000000000 : 10000000000000) + n;
  }
  static bool IsDigit(char c) { return c >= '0' && c <= '9'; }

  // The text with every "@n" replaced by the digits of the code that n stands for.
  std::string Expand(const std::string& text) const {
    std::string expanded;
    for (size_t i = 0; i < text.size();) {
      if (text[i] != '@' || i + 1 == text.size() || !IsDigit(text[i + 1])) {
        expanded += text[i++];
        continue;
      }
      int64_t n = 0;
      for (++i; i < text.size() && IsDigit(text[i]); ++i) n = n * 10 + (text[i] - '0');
      expanded += std::to_string(Number(n));
    }
    return expanded;
  }

  // The 8 bytes of a code: of one that n stands for, and of a number as it is.
  std::string Code(int64_t n) const { return RawCode(Number(n)); }
  std::string RawCode(int64_t number) const {
    if (code_length_ == 18) return Bytes().I64(number);
    return Bytes().F64(static_cast<double>(number));
  }
  // The n-th dummy link's.
  std::string DummyCode(int n) const {
    return RawCode((code_length_ == 18 ? 990000000000000000 : 99000000000000) + n);
  }

  std::string Location(int64_t n, int x, int y) const { return LocationRecord(Code(n), x, y); }

  // One line "KEY=VALUE" of the control file.
  void Set(const std::string& section, const std::string& line) {
    sections_[section].push_back(line);
  }

  // Writes the next source file of a section and returns its path.
  std::string Source(const std::string& section, const std::string& name, const Lines& lines) {
    return SourceBytes(section, name, Expand(CrLf(lines)));
  }
  std::string SourceBytes(const std::string& section, const std::string& name,
                          const std::string& bytes) {
    const std::string path = folder_ / name;
    WriteBytes(path, bytes);
    sources_[path] = bytes;
    char key[32];
    std::snprintf(key, sizeof key, "FILE%02d=", ++files_[section]);
    Set(section, key + path);
    return path;
  }

  // Nodes as delimited text. Node names come from the companion with the ending ".mid": the file
  // is its own companion.
  void Nodes(const Lines& lines, const Lines& coordinates) {
    Source("NODE", "nodes.mid", lines);
    Source("NODEXY", "xy.txt", coordinates);
  }
  void Links(const Lines& lines) { Source("LINK", "links.txt", lines); }

  // Writes the control file and returns its path.
  std::string Control() {
    std::string text;
    for (const auto& [section, lines] : sections_) {
      text += "[" + section + "]\r\n" + CrLf(lines);
      if (files_.count(section) != 0) {
        text += "FILENUM=" + std::to_string(files_[section]) + "\r\n";
      }
    }
    return WriteControl(text);
  }

  int Build(int64_t format = kFormatZat) {
    return BRN_BuildRoadNetworks(nullptr, format, Control().c_str());
  }

  // Names of the files in the output folder, sorted.
  Lines OutputNames() const {
    Lines names;
    platform::FindFiles(out().c_str(), "", [&names](const char* name) { names.push_back(name); });
    std::sort(names.begin(), names.end());
    return names;
  }

  // The files of a whole map, of shapes, and the work stores that a build can make.
  static Lines MapFiles() {
    return {"linkdef.dat",  "linkname.dat", "linknode.idx", "link.idx",    "mapattr.dat",
            "mapcalc.dat",  "mapdraw.dat",  "maploc.dat",   "maprule.dat", "node.idx",
            "nodeattr.dat", "nodelink.idx", "nodename.dat"};
  }
  static Lines ShapeFiles() { return {"shapedat.dat", "shapedat.inf", "shapedbl.idx"}; }
  static Lines WorkStores() {
    return {"nodestr.~wk",  "linkstr.~wk",  "nnamestr.~wk",
            "lnamestr.~wk", "trafrule.~wk", "onewayst.~wk"};
  }

  void ExpectNames(Lines names) const {
    std::sort(names.begin(), names.end());
    EXPECT_EQ(OutputNames(), names);
  }

  void ExpectFile(const std::string& name, const std::string& bytes) const {
    EXPECT_EQ(Hex(Out(name)), Hex(bytes)) << name;
  }

  // No build changes what it reads.
  void ExpectSourcesUntouched() const {
    for (const auto& [path, bytes] : sources_) EXPECT_EQ(ReadBytes(path), bytes) << path;
  }

  // The whole log but for its first line, which counts the old logs of this machine.
  void ExpectLog(const Lines& lines) const {
    ASSERT_FALSE(log().empty());
    const std::string tail = " log files before 20160229 erased.";
    const std::string& first = log().front();
    EXPECT_TRUE(first.size() > tail.size() && IsDigit(first[0]) &&
                first.substr(first.size() - tail.size()) == tail)
        << first;
    EXPECT_EQ(Lines(log().begin() + 1, log().end()), lines);
  }

  // Bytes in rows of eight, so that a difference can be found in a test's message.
  static std::string Hex(const std::string& bytes) {
    std::string text;
    char digits[8];
    for (size_t i = 0; i < bytes.size(); ++i) {
      std::snprintf(digits, sizeof digits, "%02X", static_cast<unsigned char>(bytes[i]));
      text += digits;
      text += i % 8 == 7 ? '\n' : ' ';
    }
    return text + "(" + std::to_string(bytes.size()) + " bytes)";
  }

  int code_length_ = 14;

 private:
  std::map<std::string, Lines> sections_;
  std::map<std::string, int> files_;
  std::map<std::string, std::string> sources_;
};

// What a build from delimited text tells in its log, as far as it depends on the data. Counts of
// -1 stand for inputs that the control file does not name.
struct Story {
  bool memory = true;  // false: the network is built through files
  int code_length = 14;
  int nodes = 0;
  int node_names = 0;
  int more_node_names = 0;
  int coordinates = -1;
  int links = 0;
  int speeds = -1;
  int link_names = 0;
  int more_link_names = 0;
  int rules = -1;
  int one_ways = -1;
  int killed_nodes = 0;
  int killed_links = 0;
  int dummies = 0;
  int rule_bits = 0;
  int one_way_bits = 0;
  bool shapes = false;

  static std::string N(int number) { return std::to_string(number); }

  Lines Begin() const {
    return {"Building Road Networks Start. ", "Path One Start (ZAT format) ",
            "Setting Road Definition...", "CODELENGTH=" + N(code_length)};
  }
  Lines NodeSteps() const {
    Lines lines = {
        "Setting Node Storage...",
        "Setting Node Storage end OK : set counter = " + N(nodes),
        "Setting Node Name Storage...",
        "Setting Node Name Storage from Node Data end OK : set count = " + N(node_names),
        "Setting Node Name Storage from Node Name Data end OK : set count = " + N(more_node_names),
        "Setting Node XY..."};
    if (coordinates >= 0) lines.push_back("Setting Node XY end OK : set count = " + N(coordinates));
    return lines;
  }
  Lines LinkSteps() const {
    Lines lines = {"Setting Link Storage...",
                   "Setting Link Storage end OK : set count = " + N(links),
                   "Setting Link Speed..."};
    if (speeds >= 0) lines.push_back("Setting Link Speed end OK : set counter = " + N(speeds));
    return lines +
           Lines{"Setting Link Name Storage...",
                 "Setting Link Name Storage from Link Data end 1 : set count = " + N(link_names),
                 "Setting Link Name Storage from Link Name Data end 1 : set count = " +
                     N(more_link_names)};
  }
  Lines RuleSteps() const {
    Lines lines = {"Setting Node Traffic Rules..."};
    if (rules >= 0) {
      lines.push_back("Setting Node Traffic Rules end OK : set count = " + N(rules));
    }
    lines.push_back("Setting Link Traffic Rules...");
    if (one_ways >= 0) {
      lines.push_back("Setting Link Traffic Rules end OK : set count = " + N(one_ways));
    }
    return lines + Lines{"Setting Link Shape..."};
  }
  Lines PathOne() const { return Begin() + NodeSteps() + LinkSteps() + RuleSteps(); }

  Lines Duplication() const {
    return {"Path Two Start. ", "Checking Node Duplication...", "Checking Link Duplication..."};
  }
  Lines Repairs() const {
    return {"Checking Node Data (P1)...",
            "Checking Node Data (P2)...",
            "NodeStore=" + N(nodes) + ", Killed Node=" + N(killed_nodes) +
                ", BRN_CheckNodeStoreFromLinkStore returns=OK",
            "Making Node Index ...",
            "Checking Link Data ...",
            "LinkStore=" + N(links) + " Killed Links=" + N(killed_links) +
                ", BRN_CheckLinkStore returns=OK",
            "Making Dummy Link...",
            "lnCtr=" + N(nodes) + " lnNumNodeStore=" + N(nodes) +
                " lnNumLinkStore=" + N(links + dummies) + " lnDummyCtr=" + N(dummies) +
                ", BRN_MakeDummyLinks returns=1"};
  }
  Lines Choice() const {
    return {"Checking Memories...", memory ? "*** memory operation ***" : "*** file operation ***"};
  }
  std::string Mark(const std::string& text) const { return text + (memory ? "(M)..." : "(F)..."); }
  Lines LoadedNodes() const { return {Mark("Loading Nodes")}; }
  Lines NodeData() const {
    return {Mark("Creating Node Data"), memory ? "Saving NodeLoc..." : "Saving NodeLoc ...",
            "Saving NodeName ...", "Saving TrafRule...", "Saving NodeAttribute..."};
  }
  Lines LinkData() const {
    return {Mark("Loading Links"), Mark("Creating Link Data"), "Saving LinkName..."};
  }
  Lines Connections() const {
    Lines lines = {Mark("Checking the dummy link nodes"), Mark("Creating CalcNode"),
                   Mark("Making LinkNodeIndex")};
    if (memory) lines.push_back("Creating the Road Networks(M)...");
    return lines;
  }
  Lines CityCodes() const { return {Mark("Setting Node's CityCodes")}; }
  Lines Network() const {
    return Choice() + LoadedNodes() + NodeData() + LinkData() + Connections() + CityCodes();
  }
  Lines Finish() const {
    Lines lines = {"Finishing Node Attribute...",
                   "Finishing Node Name...",
                   "Finishing Link Name...",
                   "End of RuleStore section OK : set count = " + N(rule_bits),
                   "End of OneWayStore section OK : set count = " + N(one_way_bits),
                   "BRN_TRF_AddTrafficRules returns OK"};
    if (shapes) {
      lines.push_back(" *** Creating Right Turn Weight : Memory Operation *** ");
      lines.push_back(" *** Creating Right Turn Weight : End OK *** ");
    }
    return lines;
  }
  Lines PathTwo() const { return Duplication() + Repairs() + Network() + Finish(); }
  Lines Whole() const { return PathOne() + PathTwo() + Lines{"End OK."}; }
};

}  // namespace zatlib::test
