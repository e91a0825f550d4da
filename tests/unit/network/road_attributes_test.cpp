#include "network/road_attributes.h"

#include "network_stores.h"

namespace zatlib::test::network {
namespace {

class RoadAttributesTest : public NetworkTest {
 protected:
  RoadDefinition Load(const std::string& text) {
    WriteBytes(folder_ / "linkdef.dat", text);
    RoadDefinition definition;
    EXPECT_EQ(BRN_LoadRoadDef(&definition, control()), 1);
    return definition;
  }

  // Flag byte of a link, over whatever the byte held before.
  int Flags(const RoadDefinition& definition, int kind, int road_flag) {
    LinkNameRecord record{};
    record.RoadKind = static_cast<int16_t>(kind);
    record.Flags = 0xFF;
    EXPECT_EQ(BRN_SetLinkFlags(static_cast<int16_t>(road_flag), definition, &record), 1);
    EXPECT_EQ(record.RoadKind, kind);
    return record.Flags;
  }
};

constexpr char kAllFlags[] =
    "[ROADFLAG]\r\nHIGHWAY=1\r\nPAYROAD=2\r\nFERRY=3\r\nRAILROAD=4\r\nPARKING=5\r\nAIR=50\r\n"
    "TOLLGATE=6\r\nPEDESTRIANWAY=7\r\nSHIP=70\r\n";

TEST_F(RoadAttributesTest, WithoutAFileEverythingIsZero) {
  platform::RemoveFile((folder_ / "linkdef.dat").c_str());
  RoadDefinition definition;
  EXPECT_EQ(BRN_LoadRoadDef(&definition, control()), 1);
  EXPECT_EQ(definition.toll_kind_count, 0);
  EXPECT_EQ(definition.highway, 0);
  EXPECT_EQ(definition.pay_road, 0);
  EXPECT_EQ(definition.ferry, 0);
  EXPECT_EQ(definition.railroad, 0);
  EXPECT_EQ(definition.parking_or_air, 0);
  EXPECT_EQ(definition.toll_gate, 0);
  EXPECT_EQ(definition.pedestrian_or_ship, 0);
}

TEST_F(RoadAttributesTest, EveryValueHasItsKey) {
  const RoadDefinition definition = Load(
      std::string("[TOLLROAD]\r\nNUMDEF=3\r\nDEF01=11\r\nDEF02=12\r\nDEF03=13\r\nDEF04=14\r\n") +
      kAllFlags);
  EXPECT_EQ(definition.toll_kind_count, 3);
  EXPECT_EQ(definition.toll_kinds[0], 11);
  EXPECT_EQ(definition.toll_kinds[1], 12);
  EXPECT_EQ(definition.toll_kinds[2], 13);
  EXPECT_EQ(definition.highway, 1);
  EXPECT_EQ(definition.pay_road, 2);
  EXPECT_EQ(definition.ferry, 3);
  EXPECT_EQ(definition.railroad, 4);
  EXPECT_EQ(definition.parking_or_air, 5);
  EXPECT_EQ(definition.toll_gate, 6);
  EXPECT_EQ(definition.pedestrian_or_ship, 7);
}

TEST_F(RoadAttributesTest, AtMostTenTollKindsAreRead) {
  std::string text = "[TOLLROAD]\r\nNUMDEF=12\r\n";
  for (int i = 1; i <= 12; ++i) {
    text += "DEF" + std::string(i < 10 ? "0" : "") + std::to_string(i) + "=" +
            std::to_string(20 + i) + "\r\n";
  }
  const RoadDefinition definition = Load(text);
  EXPECT_EQ(definition.toll_kind_count, 10);
  EXPECT_EQ(definition.toll_kinds[0], 21);
  EXPECT_EQ(definition.toll_kinds[9], 30);
  EXPECT_EQ(Flags(definition, 30, 0), 0x01);
  EXPECT_EQ(Flags(definition, 31, 0), 0);
  EXPECT_EQ(Flags(definition, 32, 0), 0);
}

TEST_F(RoadAttributesTest, AirAndShipStandInForZeroValues) {
  const RoadDefinition definition =
      Load("[ROADFLAG]\r\nPARKING=0\r\nAIR=7\r\nPEDESTRIANWAY=0\r\nSHIP=8\r\n");
  EXPECT_EQ(definition.parking_or_air, 7);
  EXPECT_EQ(definition.pedestrian_or_ship, 8);
  EXPECT_EQ(Flags(definition, 1, 7), 0x10);
  EXPECT_EQ(Flags(definition, 1, 8), 0x40);
}

TEST_F(RoadAttributesTest, AirAndShipStandInForMissingKeys) {
  const RoadDefinition definition = Load("[ROADFLAG]\r\nAIR=7\r\nSHIP=8\r\n");
  EXPECT_EQ(definition.parking_or_air, 7);
  EXPECT_EQ(definition.pedestrian_or_ship, 8);
}

TEST_F(RoadAttributesTest, EachRoadFlagSetsItsBit) {
  const RoadDefinition definition = Load(kAllFlags);
  EXPECT_EQ(Flags(definition, 1, 1), 0x01);
  EXPECT_EQ(Flags(definition, 1, 2), 0x02);
  EXPECT_EQ(Flags(definition, 1, 3), 0x04);
  EXPECT_EQ(Flags(definition, 1, 4), 0x08);
  EXPECT_EQ(Flags(definition, 1, 5), 0x10);
  EXPECT_EQ(Flags(definition, 1, 6), 0x20);
  EXPECT_EQ(Flags(definition, 1, 7), 0x40);
  EXPECT_EQ(Flags(definition, 1, 8), 0);
  EXPECT_EQ(Flags(definition, 1, 50), 0);
  EXPECT_EQ(Flags(definition, 1, 70), 0);
}

TEST_F(RoadAttributesTest, ARoadFlagOfZeroOrLessSetsNothing) {
  const RoadDefinition definition = Load("[ROADFLAG]\r\nHIGHWAY=0\r\nPAYROAD=-1\r\nFERRY=-1\r\n");
  EXPECT_EQ(Flags(definition, 1, 0), 0);
  EXPECT_EQ(Flags(definition, 1, -1), 0);
}

TEST_F(RoadAttributesTest, ARepeatedValueSetsSeveralBits) {
  const RoadDefinition definition =
      Load("[ROADFLAG]\r\nHIGHWAY=3\r\nPAYROAD=3\r\nFERRY=4\r\nTOLLGATE=3\r\nSHIP=3\r\n");
  EXPECT_EQ(Flags(definition, 1, 3), 0x01 | 0x02 | 0x20 | 0x40);
}

TEST_F(RoadAttributesTest, TollKindAndHighwayShareABit) {
  const RoadDefinition definition = Load(
      "[TOLLROAD]\r\nNUMDEF=2\r\nDEF01=5\r\nDEF02=6\r\n[ROADFLAG]\r\nHIGHWAY=1\r\n"
      "PAYROAD=2\r\n");
  EXPECT_EQ(Flags(definition, 5, 0), 0x01);
  EXPECT_EQ(Flags(definition, 6, 0), 0x01);
  EXPECT_EQ(Flags(definition, 5, 1), 0x01);
  EXPECT_EQ(Flags(definition, 5, 2), 0x03);
  EXPECT_EQ(Flags(definition, 5, -2), 0x01);
  EXPECT_EQ(Flags(definition, 7, 1), 0x01);
  EXPECT_EQ(Flags(definition, 7, 2), 0x02);
}

TEST_F(RoadAttributesTest, DummyLinksNeverGetTheTollBit) {
  const RoadDefinition definition =
      Load("[TOLLROAD]\r\nNUMDEF=3\r\nDEF01=99\r\nDEF02=100\r\nDEF03=98\r\n");
  EXPECT_EQ(Flags(definition, 99, 0), 0);
  EXPECT_EQ(Flags(definition, 100, 0), 0);
  EXPECT_EQ(Flags(definition, 98, 0), 0x01);
}

TEST_F(RoadAttributesTest, ADummyLinkStillGetsTheBitsOfItsRoadFlag) {
  const RoadDefinition definition = Load(kAllFlags);
  EXPECT_EQ(Flags(definition, 99, 1), 0x01);
  EXPECT_EQ(Flags(definition, 99, 6), 0x20);
}

TEST_F(RoadAttributesTest, WithoutTollKindsKindZeroIsNoTollRoad) {
  EXPECT_EQ(Flags(Load("[TOLLROAD]\r\nNUMDEF=0\r\nDEF01=5\r\n"), 5, 0), 0);
  EXPECT_EQ(Flags(Load("[TOLLROAD]\r\nNUMDEF=0\r\n"), 0, 0), 0);
}

TEST_F(RoadAttributesTest, AMissingTollKindIsKindZero) {
  EXPECT_EQ(Flags(Load("[TOLLROAD]\r\nNUMDEF=1\r\n"), 0, 0), 0x01);
}

TEST_F(RoadAttributesTest, ANegativeCountOfTollKindsIsNone) {
  const RoadDefinition definition = Load("[TOLLROAD]\r\nNUMDEF=-3\r\nDEF01=5\r\n");
  EXPECT_EQ(Flags(definition, 5, 0), 0);
}

}  // namespace
}  // namespace zatlib::test::network
