// What the tests of the MSR readers and steps share, beside what all of stage one shares.
#pragma once

#include <string>
#include <vector>

#include "../input_zat/zat_test.h"

namespace zatlib::test {

// A name store record of a section.
inline std::string SectionName(double code, const std::string& name, int number, int value) {
  return NameBytes{code, name, number, 0, value};
}

class MsrTest : public ZatTest {
 protected:
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
