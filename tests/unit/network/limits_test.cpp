// What happens at the edge of 32-bit record numbers, offsets and counts. The files are holes: they
// take no room on the disk.
#include <filesystem>
#include <limits>

#include "compat/shape_points.h"
#include "frd/record_writer.h"
#include "input_zat/link_store.h"
#include "input_zat/node_store.h"
#include "network/finishing.h"
#include "network/network_data.h"
#include "network/store_checks.h"
#include "network/store_loading.h"
#include "network/workstore/work_stores.h"
#include "network_stores.h"
#include "platform/file.h"
#include "shape/shape_access.h"
#include "shape/shape_builder.h"
#include "traffic/traffic_rules.h"

namespace zatlib::test::network {
namespace {

constexpr uint64_t kMost = 2147483645;  // records

class Limits : public NetworkTest {
 protected:
  // Makes a file of that size. False when the file system cannot have it.
  bool MakeHole(const std::string& name, uint64_t size) {
    WriteBytes(folder_ / name, "");
    std::error_code error;
    std::filesystem::resize_file(folder_ / name, size, error);
    return !error;
  }

  // A number as "%ld" shows it.
  static std::string AsLong(int64_t number) {
    return std::to_string(std::min<int64_t>(number, std::numeric_limits<long>::max()));
  }
};

#define NEED_HOLE(name, size) \
  if (!MakeHole(name, size)) GTEST_SKIP() << "the file system has no such large files"

TEST_F(Limits, ARecordFileEndsAtTheLastRecordNumber) {
  NEED_HOLE("records.dat", (kMost - 2) * 96);
  RecordWriter writer;
  const std::string path = folder_ / "records.dat";
  const std::string record(96, 'x');
  ASSERT_TRUE(writer.Open(path.c_str(), 96, true));
  EXPECT_TRUE(writer.Append(record.data()));
  EXPECT_TRUE(writer.Append(record.data()));
  EXPECT_FALSE(writer.Append(record.data()));
  EXPECT_FALSE(writer.Append(record.data()));
  EXPECT_EQ(writer.failed_record(), 2);
  EXPECT_FALSE(writer.Close());
  // What came before it is there.
  EXPECT_EQ(std::filesystem::file_size(path), kMost * 96);
}

TEST_F(Limits, OfManyRecordsThoseThatFitAreTaken) {
  NEED_HOLE("records.dat", (kMost - 2) * 48);
  RecordWriter writer;
  const std::string records(3 * 48, 'x');
  ASSERT_TRUE(writer.Open((folder_ / "records.dat").c_str(), 48, true));
  EXPECT_FALSE(writer.AppendMany(records.data(), 3));
  EXPECT_FALSE(writer.AppendMany(records.data(), 1));
  EXPECT_EQ(writer.count(), 2);
  EXPECT_EQ(writer.failed_record(), 2);
  EXPECT_FALSE(writer.Close());
  EXPECT_EQ(std::filesystem::file_size(folder_ / "records.dat"), kMost * 48);

  // Exactly as many as fit.
  NEED_HOLE("records.dat", (kMost - 3) * 48);
  ASSERT_TRUE(writer.Open((folder_ / "records.dat").c_str(), 48, true));
  EXPECT_TRUE(writer.AppendMany(records.data(), 3));
  EXPECT_TRUE(writer.Close());
}

TEST_F(Limits, TheLastRecordNumberIsNoError) {
  NEED_HOLE("records.dat", (kMost - 1) * 40);
  RecordWriter writer;
  const std::string record(40, 'x');
  ASSERT_TRUE(writer.Open((folder_ / "records.dat").c_str(), 40, true));
  EXPECT_TRUE(writer.Append(record.data()));
  EXPECT_EQ(writer.offset(), static_cast<int64_t>(kMost * 40));
  EXPECT_TRUE(writer.Close());
}

TEST_F(Limits, TheChecksTakeNoMoreNodes) {
  NEED_HOLE("nodestr.~wk", (kMost + 1) * 96);
  EXPECT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control()), 0);
  EXPECT_EQ(Reports(), Lines{Report("Can't allocate the index memory for NODESTORE!",
                                    "Memory Error in BRN_CheckNodeLinkDuplication")});
}

TEST_F(Limits, TheChecksTakeNoMoreLinks) {
  SaveNodes({{1}});
  NEED_HOLE("linkstr.~wk", (kMost + 1) * 48);
  EXPECT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control()), 0);
  EXPECT_EQ(Reports(), Lines{Report("Can't allocate the memory for the Index (rec=2147483646)!",
                                    "Memory Error in BRN_CheckNodeLinkDuplication")});
}

TEST_F(Limits, ALargerCountIsShownAsItIs) {
  SaveNodes({{1}});
  NEED_HOLE("linkstr.~wk", 5000000000 * 48);
  EXPECT_EQ(BRN_CheckNodeLinkDuplication(nullptr, control()), 0);
  EXPECT_EQ(
      Reports(),
      Lines{Report("Can't allocate the memory for the Index (rec=" + AsLong(5000000000) + ")!",
                   "Memory Error in BRN_CheckNodeLinkDuplication")});
}

TEST_F(Limits, NoDummyLinkGetsANumberBeyond) {
  SaveNodes({{1, 2}, {2, 1}});
  NEED_HOLE("linkstr.~wk", kMost * 48);
  SortedCodes list;
  ASSERT_EQ(BRN_MakeDrotenNodeIndex(nullptr, &list, control()), 1);
  EXPECT_EQ(BRN_MakeDummyLinks(nullptr, list, control()), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't append the LINKSTORE(%s)", "File Error", "linkstr.~wk")});
  EXPECT_EQ(std::filesystem::file_size(folder_ / "linkstr.~wk"), kMost * 48);
}

TEST_F(Limits, TheStoresAreNotLoaded) {
  NEED_HOLE("nodestr.~wk", 5000000000 * 96);
  NEED_HOLE("linkstr.~wk", (kMost + 1) * 48);
  NodeArray nodes;
  EXPECT_EQ(BRN_LoadNodeStore(nullptr, &nodes, control()), 0);
  NodePositions node_positions;
  EXPECT_EQ(BRN450_LoadNodeStorePtr(nullptr, &node_positions, control()), 0);
  LinkArray links;
  EXPECT_EQ(BRN_LoadLinkStore(nullptr, &links, control()), 0);
  LinkPositions link_positions;
  EXPECT_EQ(BRN450_LoadLinkStorePtr(nullptr, &link_positions, control()), 0);
  EXPECT_EQ(
      Reports(),
      (Lines{Report("Can't allocate the memory for NodeStore (rec=" + AsLong(5000000000) + ") !",
                    "File Error in BRN_LoadNodeStore"),
             Report("Can't allocate the memory for NodeStorePtr (rec=" + AsLong(5000000000) + ") !",
                    "File Error in BRN450_LoadNodeStorePtr"),
             Report("Can't allocate the memory for the LinkStore (rec=2147483646)!",
                    "Memory Error in BRN_LoadLinkStore"),
             Report("Can't allocate the memory for the LinkStorePtr (rec=2147483646)!",
                    "Memory Error in BRN450_LoadLinkStorePtr")}));
  EXPECT_EQ(nodes.count, 0);
  EXPECT_EQ(link_positions.count, 0);
}

TEST_F(Limits, CoordinatesAndSpeedsTakeNoMoreRecords) {
  NEED_HOLE("nodestr.~wk", (kMost + 1) * 96);
  NEED_HOLE("linkstr.~wk", (kMost + 1) * 48);
  const std::string control_file = WriteControl(
      "[NODEXY]\r\nFILENUM=1\r\nFILE01=xy.txt\r\n[LINKSPEED]\r\nFILENUM=1\r\nFILE01=speed.txt\r\n");
  EXPECT_EQ(BRN_ZAT_SetNodeXYData(nullptr, control_file.c_str()), 0);
  EXPECT_EQ(BRN_ZAT_SetLinkSpeedData(nullptr, control_file.c_str()), 0);
  EXPECT_EQ(Reports(), (Lines{Report("Can't allocate the memory for the node store and the index !",
                                     "Memory Error in BRN_ZAT_SetNodeXYData"),
                              Report("Can't allocate the memory for the LinkStore !",
                                     "Memory Error in BRN_ZAT_SetLinkSpeedData")}));
  EXPECT_EQ(std::filesystem::file_size(folder_ / "nodestr.~wk"), (kMost + 1) * 96);
}

TEST_F(Limits, TheNameStepsTakeNoMoreNames) {
  NEED_HOLE("nnamestr.~wk", (kMost + 1) * 40);
  NEED_HOLE("lnamestr.~wk", 5000000000 * 40);
  UseControl("LOG=1\r\n");
  EXPECT_EQ(BRN_FinishNodeName(nullptr, control()), 0);
  EXPECT_EQ(BRN_FinishLinkName(nullptr, control()), 0);
  EXPECT_EQ(Reports(),
            (Lines{Report("Can't allocate the memory for NodeNameStore : num store = 2147483646",
                          "Memory Error in BRN_FinishNodeName"),
                   Report("Can't allocate the memory for LinkNameStore : num store = " +
                              AsLong(5000000000),
                          "Memory Error in BRN_FinishLinkName")}));
  // The summary shows the count of the store in 32 bits.
  EXPECT_EQ(log().back(),
            "lnNumLink=0, Storage=2147483647, HitLinkName=0, BRN_FinishLinkName returns=0");
}

TEST_F(Limits, TheNameStepsTakeNoLargerIndex) {
  WriteBytes(folder_ / "nnamestr.~wk", "");
  NEED_HOLE("node.idx", (kMost + 1) * 16);
  EXPECT_EQ(BRN_FinishNodeName(nullptr, control()), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't allocate the memory for NodeIndex : num node = 2147483646",
                         "Memory Error in BRN_FinishNodeName")});
}

TEST_F(Limits, TheAttributeStepTakesNoMoreNodesOrLinks) {
  NEED_HOLE("nodelink.idx", (kMost + 1) * 32);
  EXPECT_EQ(BRN_FinishNodeAttribute(nullptr, control()), 0);
  WriteBytes(folder_ / "nodelink.idx", "");
  NEED_HOLE("linkname.dat", (kMost + 1) * 30);
  EXPECT_EQ(BRN_FinishNodeAttribute(nullptr, control()), 0);
  const std::string title = "Memory Error in BRN_FinishNodeAttribute";
  EXPECT_EQ(
      Reports(),
      (Lines{Report("Can't allocate the memory for 5 indexes (node=2147483646,link=0) !", title),
             Report("Can't allocate the memory for 5 indexes (node=0,link=2147483646) !", title)}));
}

TEST_F(Limits, ATableThatNoMemoryHolds) {
  platform::PlayMachine(0, uint64_t{1} << 30);
  NEED_HOLE("mapcalc.dat", uint64_t{1} << 42);
  EXPECT_EQ(BRN_TRF_AddTrafficRules(nullptr, control()), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't allocate memory for %s !", "Memory Error", "mapcalc.dat")});
  platform::PlayMachine(0, 0);
}

TEST_F(Limits, TheIndexOfShapesTakesNoMoreEntries) {
  WriteBytes(folder_ / "shapedat.dat", "");
  NEED_HOLE("shapedbl.idx", (kMost - 1) * 16);
  WriteBytes(folder_ / "shapes.txt", "1,1\r\n1,2\r\n2,1\r\n3,4\r\n");
  PathText paths[2] = {};
  FRD_CopyText(paths[1].text, kPathSize, folder_ / "shapes.txt");
  ShapeContext cs;
  cs.CodeLength = 14;
  cs.FileCount = 2;
  cs.FileIndex = 1;
  cs.Paths = paths;
  cs.Folder = folder_.path().c_str();
  EXPECT_EQ(SHAPE_CreateShapeFileFromZatText(&cs), 0);
  EXPECT_EQ(Reports(),
            Lines{Report("Can't write the shape index DBL file (%s) at rec=2",
                         "File Error in SHAPE_CreateShapeFileFromZatText", "shapedbl.idx")});
  EXPECT_EQ(std::filesystem::file_size(folder_ / "shapedbl.idx"), kMost * 16);
}

TEST_F(Limits, TheLastOffsetOfAShapeIsFound) {
  // 2^31 - 16, the last multiple of 8 that leaves room for a point below 2^31 - 1.
  NEED_HOLE("shapedat.dat", 2147483632);
  {
    platform::File data =
        platform::File::Open((folder_ / "shapedat.dat").c_str(), platform::Access::kReadWrite,
                             platform::Share::kNone, platform::Disposition::kOpenExisting);
    const std::string point = Bytes().I32(135000000).I32(35000000);
    uint32_t written = 0;
    ASSERT_EQ(data.Seek(0, platform::SeekFrom::kEnd), 2147483632);
    ASSERT_TRUE(data.Write(point.data(), 8, &written));
  }
  WriteBytes(folder_ / "shapedbl.idx",
             Bytes().F64(7).I32(2147483632).I32(1).F64(8).I32(2147483632).I32(2));
  ShapeHolder holder;
  ASSERT_EQ(SHAPE_OpenShape(nullptr, &holder, folder_.path().c_str(), 0), 1);
  EXPECT_EQ(holder.point_count(), 268435455);
  ShapePoint points[kMaxShapePoints];
  EXPECT_EQ(SHAPE_GetShapePoints(FeatureCode::FromDouble(7), points, &holder), 1);
  EXPECT_EQ(points[0].X, 135000000);
  EXPECT_EQ(points[0].Y, 35000000);
  // Its second point would lie behind the end.
  EXPECT_EQ(SHAPE_GetShapePoints(FeatureCode::FromDouble(8), points, &holder), -1);
  SHAPE_CloseShape(&holder);
}

TEST_F(Limits, CountsAreClampedToWhatIsShown) {
  EXPECT_EQ(ShownAs<int>(2147483647), 2147483647);
  EXPECT_EQ(ShownAs<int>(2147483648), 2147483647);
  EXPECT_EQ(ShownAs<int>(-2147483648), -2147483647 - 1);
  EXPECT_EQ(ShownAs<int>(-2147483649), -2147483647 - 1);
  EXPECT_EQ(ShownAs<int>(0), 0);
}

}  // namespace
}  // namespace zatlib::test::network
