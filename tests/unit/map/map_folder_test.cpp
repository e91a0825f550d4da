#include "map/map_folder.h"

#include "small_map.h"

namespace zatlib::test {
namespace {

using map::MapFolder;
using map::OpenMapFolder;

TEST_F(SmallMap, TheFolderTellsItsNodesAndLinks) {
  const MapFolder folder = Open();
  EXPECT_EQ(folder.nodes, 5);
  EXPECT_EQ(folder.links, 4);
  EXPECT_EQ(folder.code_length, 14);
  EXPECT_TRUE(map::HasFile(folder, "link.idx"));
  EXPECT_FALSE(map::HasFile(folder, "rtweight.dat"));
  EXPECT_EQ(map::CountRecords(folder, "shapedat.dat", 8), 4);
  EXPECT_EQ(map::CountRecords(folder, "shapedat.dat", 5), 6);  // a partial record does not count
  EXPECT_EQ(map::CountRecords(folder, "missing.dat", 8), 0);
}

TEST_F(SmallMap, TheCodeLengthIsThatOfTheRoadDefinition) {
  Write("linkdef.dat", "[SYSTEM]\r\nCODELENGTH=18\r\n");
  EXPECT_EQ(Open().code_length, 18);
}

TEST_F(SmallMap, WhatIsNoMapIsTold) {
  MapFolder folder;
  EXPECT_EQ(Told(OpenMapFolder(folder_ / "missing", &folder)), "no folder  -1");
  MakeFolder(folder_ / "empty");
  EXPECT_EQ(Told(OpenMapFolder(folder_ / "empty", &folder)), "no map  -1");
  // 259 bytes are room for "/shapedbl.idx" behind 246.
  const size_t room = 247 - folder_.path().size() - 1;
  ASSERT_LT(room, 250u);
  const std::string deep = folder_ / std::string(room, 'd');
  MakeFolder(deep);
  EXPECT_EQ(Told(OpenMapFolder(deep, &folder)), "path too long  -1");
}

}  // namespace
}  // namespace zatlib::test
