// A map of five nodes, written out by hand, for the tests of what reads maps.
//
//     104 (3)                 201: 101-102, cost 10, length 7     203: 101-104, cost 100
//    /       \                202: 102-103, cost 20               204: 104-103, cost 100
//  101 (0) - 102 (1) - 103 (2)           105 (4) stands alone
//
// At 102 nobody may turn from 201 into 202. 201 has a shape, drawn from 102 to 101.
#pragma once

#include <string>
#include <vector>

#include "map/map_folder.h"
#include "records.h"
#include "test_support.h"

namespace zatlib::test {

class SmallMap : public ::testing::Test {
 protected:
  SmallMap() {
    Write("mapcalc.dat", CalcConnections({{1, 10, 7}, {3, 100, 0}}) +
                             CalcConnections({{0, 10, 7}, {2, 20, 0}}) +
                             CalcConnections({{1, 20, 0}, {3, 100, 0}}) +
                             CalcConnections({{0, 100, 0}, {2, 100, 0}}) + CalcConnections({}));
    Write("nodelink.idx", NodeLinkRecord({0, 2}) + NodeLinkRecord({0, 1}) + NodeLinkRecord({1, 3}) +
                              NodeLinkRecord({2, 3}) + NodeLinkRecord({}));
    Write("maprule.dat", Bytes().Zero(8).I8(0x40).Zero(31));
    Write("maploc.dat", LocationRecord(101, 0, 0) + LocationRecord(102, 1000, 0) +
                            LocationRecord(103, 2000, 0) + LocationRecord(104, 1000, 1000) +
                            LocationRecord(105, 9000, 9000));
    Write("nodename.dat", NodeNameBytes("A", 3, 1) + NodeNameBytes("B", 0, 0) +
                              NodeNameBytes("", 0, 0) + NodeNameBytes("", 0, 0) +
                              NodeNameBytes("E", 0, 0));
    Write("linknode.idx", LinkNodeRecord(0, 1) + LinkNodeRecord(1, 2) + LinkNodeRecord(0, 3) +
                              LinkNodeRecord(3, 2));
    Write("linkname.dat", LinkNameBytes("Main", 4, 1, 5, 3, 0) + LinkNameBytes("", 0, 0, 0, 1, 0) +
                              LinkNameBytes("", 0, 0, 0, 1, 0) + LinkNameBytes("", 0, 0, 0, 1, 0));
    Write("mapdraw.dat", DrawRecord(201, 0, 3, 2, 0, 1000, 0, 0) +
                             DrawRecord(202, 1, 1, 0, 1000, 2000, 0, 0) +
                             DrawRecord(203, 2, 1, 0, 0, 1000, 0, 1000) +
                             DrawRecord(204, 3, 1, 0, 1000, 2000, 1000, 0));
    Write("node.idx", IndexRecord(101, 0, 13001) + IndexRecord(102, 1, 13002) +
                          IndexRecord(103, 2) + IndexRecord(104, 3) + IndexRecord(105, 4));
    Write("link.idx", IndexRecord(201, 0, 13101) + IndexRecord(202, 1) + IndexRecord(203, 2) +
                          IndexRecord(204, 3));
    Write("shapedbl.idx", Bytes().F64(201).I32(0).I32(3).F64(204).I32(24).I32(1));
    Write("shapedat.dat", Bytes().I32(1000).I32(0).I32(500).I32(50).I32(0).I32(0).I32(7).I32(7));
  }

  void Write(const std::string& name, const std::string& bytes) {
    WriteBytes(folder_ / name, bytes);
  }
  std::string Read(const std::string& name) const { return ReadBytes(folder_ / name); }

  // Puts a number of 4 bytes into a file.
  void Put(const std::string& name, size_t at, int64_t number) {
    std::string bytes = Read(name);
    bytes.replace(at, 4, Bytes().I32(number).str());
    Write(name, bytes);
  }

  map::MapFolder Open() const {
    map::MapFolder opened;
    EXPECT_TRUE(map::OpenMapFolder(folder_.path(), &opened).ok());
    return opened;
  }

  TempFolder folder_;
};

// The kind, file and record of an error, as one text.
inline std::string Told(const map::Error& error) {
  constexpr const char* kKinds[] = {"none",       "no folder", "path too long", "no map",
                                    "unreadable", "size",      "reference"};
  return std::string(kKinds[static_cast<int>(error.kind)]) + " " + error.file + " " +
         std::to_string(error.record);
}

}  // namespace zatlib::test
