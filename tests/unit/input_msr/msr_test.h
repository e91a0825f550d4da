// What the tests of the MSR readers and steps share, beside what all of stage one shares.
#pragma once

#include <string>
#include <vector>

#include "../input_zat/zat_test.h"

namespace zatlib::test {

// A link store record, all codes as doubles.
struct SectionBytes {
  double code = 0;
  double node_a = 0;
  double node_b = 0;
  int64_t city = 0;
  int speed_a = 0;
  int speed_b = 0;
  int value3 = 0;
  int kind = 0;
  int value4 = 0;
  int value6 = 0;
  int value5 = 0;
  int flag = 0;

  operator std::string() const {  // NOLINT
    return Bytes()
        .F64(code)
        .F64(node_a)
        .F64(node_b)
        .I32(city)
        .Zero(2)
        .I16(speed_a)
        .I16(speed_b)
        .I16(value3)
        .I16(kind)
        .I16(value4)
        .I16(value6)
        .I16(value5)
        .I16(flag)
        .Zero(2);
  }
};

// A name store record of a section.
inline std::string SectionName(double code, const std::string& name, int number, int value) {
  return Bytes().F64(code).Text(name, 20).Zero(2).I8(number).Zero(1).I16(value).Zero(6);
}

// A rule store record.
inline std::string RuleBytes(double node, double in, double out, int kind) {
  return Bytes().F64(node).F64(in).F64(out).Zero(2).I16(kind).Zero(4);
}

class MsrTest : public ZatTest {
 protected:
  // The lines of a section that names these files.
  static std::string Files(const std::string& section, const std::vector<std::string>& paths) {
    std::string text = "[" + section + "]\r\nFILENUM=" + std::to_string(paths.size()) + "\r\n";
    for (size_t i = 0; i < paths.size(); ++i) {
      text += "FILE0" + std::to_string(i + 1) + "=" + paths[i] + "\r\n";
    }
    return text;
  }

  // Writes a pair and returns the path of the MIF file.
  std::string Pair(const std::string& name, const std::string& mif, const std::string& mid) {
    Source(name + ".mid", mid);
    return Source(name + ".mif", mif);
  }

  // "Point" lines as the usual writer prints them.
  static std::string Point(const std::string& x, const std::string& y) {
    return "Point " + x + " " + y + "\r\n    Symbol (35,0,12)\r\n";
  }

  static constexpr char kHeader[] =
      "Version 300\r\n"
      "Charset \"WindowsJapanese\"\r\n"
      "Delimiter \",\"\r\n"
      "CoordSys Earth Projection 1, 104\r\n"
      "Columns 2\r\n"
      "  AREA Integer\r\n"
      "  NODECODE Integer\r\n"
      "Data\r\n"
      "\r\n";
};

}  // namespace zatlib::test
