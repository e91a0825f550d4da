// Records of the tables that the traffic steps read, written out byte by byte.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "test_support.h"

namespace zatlib::test {

// A record of mapcalc.dat: the given slots, then empty ones. Every length is 7.
inline std::string CalcRecord(const std::vector<int64_t>& others,
                              const std::vector<int>& costs = {}) {
  Bytes bytes;
  for (size_t i = 0; i < 8; ++i) bytes.I32(i < others.size() ? others[i] : -1);
  for (size_t i = 0; i < 8; ++i) bytes.I16(i < costs.size() ? costs[i] : 0);
  for (size_t i = 0; i < 8; ++i) bytes.I16(7);
  return bytes;
}

// A record of nodelink.idx.
inline std::string NodeLinkRecord(const std::vector<int64_t>& links) {
  Bytes bytes;
  for (size_t i = 0; i < 8; ++i) bytes.I32(i < links.size() ? links[i] : -1);
  return bytes;
}

// A record of linknode.idx.
inline std::string LinkNodeRecord(int64_t a, int64_t b, int speed_a = 40, int speed_b = 50) {
  return Bytes().I32(a).I32(b).I16(speed_a).I16(speed_b).I16(9).I16(0);
}

// A record of node.idx or link.idx, with a city code that nobody here looks at.
inline std::string IndexRecord(double code, int64_t number) {
  return Bytes().F64(code).I32(number).I32(13001);
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
