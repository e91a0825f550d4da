// The records of the work stores and of the map, written out byte by byte: what tests give to a
// step and what they expect of it. They know nothing of the library's own declarations.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

#include "test_support.h"

namespace zatlib::test {

// One of the four ways to build a map.
struct Way {
  int code_length;
  bool memory;  // false: through files
};
inline const Way kWays[] = {{14, true}, {14, false}, {18, true}, {18, false}};

inline void PrintTo(const Way& way, std::ostream* out) {
  *out << way.code_length << (way.memory ? " digits in memory" : " digits through files");
}

inline std::string NameOf(const ::testing::TestParamInfo<Way>& way) {
  return (way.param.memory ? "Memory" : "Files") + std::to_string(way.param.code_length);
}

// The 8 bytes of a code: of a number as a map with 14 digits stores it, or given as they are.
class CodeBytes {
 public:
  CodeBytes(double code = 0) : bytes_(Bytes().F64(code)) {}  // NOLINT
  CodeBytes(const std::string& bytes) : bytes_(bytes) {}     // NOLINT
  const std::string& str() const { return bytes_; }

 private:
  std::string bytes_;
};

// A code length: how codes are stored and printed.
struct CodeForm {
  int length;  // 14 or 18

  std::string Code(int64_t code) const {
    return length == 14 ? Bytes().F64(static_cast<double>(code)).str() : Bytes().I64(code).str();
  }
  std::string Digits(int64_t code) const {
    const std::string digits = std::to_string(code);
    return std::string(static_cast<size_t>(length) - digits.size(), '0') + digits;
  }
  // The k-th dummy link.
  int64_t Dummy(int64_t k) const {
    return (length == 14 ? 99000000000000 : 990000000000000000) + k;
  }
};

// ---- Work stores ---------------------------------------------------------------------------

// A record of nodestr.~wk; `links` from slot 0 on.
struct NodeBytes {
  CodeBytes code = 0;
  CodeBytes partner = 0;
  int attribute = 0;
  int64_t x = 0;
  int64_t y = 0;
  std::vector<CodeBytes> links = {};
  int64_t city = 0;

  operator std::string() const {  // NOLINT
    Bytes bytes;
    bytes.Text(code.str(), 8).Text(partner.str(), 8).I16(attribute).Zero(2);
    bytes.I32(city).I32(x).I32(y);
    for (const CodeBytes& link : links) bytes.Text(link.str(), 8);
    return bytes.Zero(64 - 8 * links.size());
  }
};

// A record of linkstr.~wk.
struct LinkBytes {
  CodeBytes code = 0;
  CodeBytes node_a = 0;
  CodeBytes node_b = 0;
  int64_t city = 0;
  int speed_a = 0;
  int speed_b = 0;
  int value3 = 0;
  int kind = 0;
  int value4 = 0;
  int value6 = 0;
  int value5 = 0;
  int flag = 0;
  int speed_file_value = 0;

  operator std::string() const {  // NOLINT
    Bytes bytes;
    bytes.Text(code.str(), 8).Text(node_a.str(), 8).Text(node_b.str(), 8);
    bytes.I32(city).I16(speed_file_value).I16(speed_a).I16(speed_b);
    bytes.I16(value3).I16(kind).I16(value4).I16(value6).I16(value5).I16(flag);
    return bytes.Zero(2);
  }
};

// A record of nnamestr.~wk or lnamestr.~wk. `unused` fills the fields that nothing reads.
struct NameBytes {
  CodeBytes code = 0;
  std::string name;
  int link_number = 0;
  int node_value = 0;
  int value = 0;
  int unused = 0;

  operator std::string() const {  // NOLINT
    Bytes bytes;
    bytes.Text(code.str(), 8).Text(name, 20).I16(unused).I8(link_number).I8(unused);
    return bytes.I16(value).I16(unused).I16(node_value).I16(unused);
  }
};

// A record of trafrule.~wk.
inline std::string RuleRecord(const CodeBytes& node, const CodeBytes& in, const CodeBytes& out,
                              int kind = 2) {
  return Bytes().Text(node.str(), 8).Text(in.str(), 8).Text(out.str(), 8).Zero(2).I16(kind).Zero(4);
}

// A record of onewayst.~wk.
inline std::string OneWayRecord(const CodeBytes& link, const CodeBytes& first,
                                const CodeBytes& second, int first_flag, int second_flag) {
  return Bytes()
      .Text(link.str(), 8)
      .Text(first.str(), 8)
      .Text(second.str(), 8)
      .I16(first_flag)
      .I16(second_flag)
      .Zero(4);
}

// Nodes and links whose codes take the form of the code length.
struct StoreNode {
  int64_t code = 0;
  int64_t partner = 0;
  int attr = 0;
  int64_t city = 0;
  int64_t x = 0;
  int64_t y = 0;
  std::vector<int64_t> links = {};
};

struct StoreLink {
  int64_t code = 0;
  int64_t a = 0;
  int64_t b = 0;
  int64_t city = 0;
  int speed_a = 0;
  int speed_b = 0;
  int value3 = 0;
  int kind = 0;
  int value4 = 0;
  int value6 = 0;
  int value5 = 0;
  int flag = 0;
};

inline std::string NodeRecord(const CodeForm& form, const StoreNode& node) {
  std::vector<CodeBytes> links;
  for (const int64_t link : node.links) links.emplace_back(form.Code(link));
  return NodeBytes{
      form.Code(node.code), form.Code(node.partner), node.attr, node.x, node.y, links, node.city};
}

inline std::string LinkRecord(const CodeForm& form, const StoreLink& link) {
  return LinkBytes{form.Code(link.code), form.Code(link.a), form.Code(link.b), link.city,
                   link.speed_a,         link.speed_b,      link.value3,       link.kind,
                   link.value4,          link.value6,       link.value5,       link.flag};
}

// ---- The map -------------------------------------------------------------------------------

// A record of mapcalc.dat: for each slot the record number of the other node, what it costs to
// leave along the link, and the length of the link. Empty slots have no other node.
inline std::string CalcRecord(std::vector<int64_t> others, std::vector<int> costs = {},
                              std::vector<int> lengths = {}) {
  others.resize(8, -1);
  costs.resize(8, 0);
  lengths.resize(8, 0);
  Bytes bytes;
  for (const int64_t other : others) bytes.I32(other);
  for (const int cost : costs) bytes.I16(cost);
  for (const int length : lengths) bytes.I16(length);
  return bytes;
}

// The same, connection by connection.
struct Connection {
  int other;
  int cost;
  int length;
};

inline std::string CalcConnections(const std::vector<Connection>& connections) {
  std::vector<int64_t> others;
  std::vector<int> costs, lengths;
  for (const Connection& c : connections) {
    others.push_back(c.other);
    costs.push_back(c.cost);
    lengths.push_back(c.length);
  }
  return CalcRecord(others, costs, lengths);
}

// A record of nodelink.idx: the numbers of the links in the slots.
inline std::string NodeLinkRecord(std::vector<int64_t> links) {
  links.resize(8, -1);
  Bytes bytes;
  for (const int64_t link : links) bytes.I32(link);
  return bytes;
}

// A record of linknode.idx: the numbers of both nodes, the speeds to b and to a, the length.
inline std::string LinkNodeRecord(int64_t a, int64_t b, int speed_a = 40, int speed_b = 50,
                                  int length = 9) {
  return Bytes().I32(a).I32(b).I16(speed_a).I16(speed_b).I16(length).I16(0);
}

// A record of node.idx or link.idx, with a city code for those who do not look at it.
inline std::string IndexRecord(const CodeBytes& code, int64_t number, int64_t city = 13001) {
  return Bytes().Text(code.str(), 8).I32(number).I32(city);
}

// A record of mapdraw.dat.
inline std::string DrawRecord(const CodeBytes& code, int64_t number, int kind, int value4,
                              int64_t xa, int64_t xb, int64_t ya, int64_t yb) {
  Bytes bytes;
  bytes.Text(code.str(), 8).I32(number).I16(kind).I16(value4);
  return bytes.I32(xa).I32(xb).I32(ya).I32(yb);
}

// A record of maploc.dat.
inline std::string LocationRecord(const CodeBytes& code, int64_t x, int64_t y) {
  return Bytes().Text(code.str(), 8).I32(x).I32(y);
}

// A record of nodename.dat.
inline std::string NodeNameBytes(const std::string& name, int attr_word, int attribute) {
  return Bytes().Text(name, 20).Zero(8).I16(attr_word).I8(attribute).I8(0);
}

// A record of linkname.dat.
inline std::string LinkNameBytes(const std::string& name, int number, int flags, int value,
                                 int kind, int value6) {
  return Bytes().Text(name, 20).I16(0).I8(number).I8(flags).I16(value).I16(kind).I16(value6);
}

// 8 bytes a node: maprule.dat, rtweight.dat, mapattr.dat.
inline std::string SlotRecord(const std::vector<int>& slots) {
  Bytes bytes;
  for (const int slot : slots) bytes.I8(slot);
  return bytes.Zero(8 - slots.size());
}

// The 8 turn bytes of a node, each of two hexadecimal digits, without blanks or with.
inline std::string Turns(const std::string& hex) {
  std::string digits;
  for (const char c : hex) {
    if (c != ' ') digits += c;
  }
  std::string bytes;
  for (size_t i = 0; i + 1 < digits.size(); i += 2) {
    bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
  }
  return bytes;
}

}  // namespace zatlib::test
