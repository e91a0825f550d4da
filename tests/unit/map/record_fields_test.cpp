#include "map/record_fields.h"

#include <string>

#include "test_support.h"

namespace zatlib::test {
namespace {

using map::Field;
using map::FieldType;
using map::FindLayout;

// "name type offset width count" of every field.
std::vector<std::string> Fields(const char* file) {
  std::vector<std::string> texts;
  for (const Field& field : FindLayout(file)->fields) {
    texts.push_back(std::string(field.name) + " " + map::TypeName(field.type) + " " +
                    std::to_string(field.offset) + " " + std::to_string(field.width) + " " +
                    std::to_string(field.count));
  }
  return texts;
}

TEST(RecordFieldsTest, FieldsStandWhereTheRecordsHaveThem) {
  EXPECT_EQ(Fields("mapdraw.dat"),
            (std::vector<std::string>{"LinkCode code 0 8 1", "Link i32 8 4 1",
                                      "RoadKind i16 12 2 1", "Value4 u16 14 2 1", "XA i32 16 4 1",
                                      "XB i32 20 4 1", "YA i32 24 4 1", "YB i32 28 4 1"}));
  EXPECT_EQ(Fields("linkname.dat"),
            (std::vector<std::string>{"Name text 0 20 1", "zero  20 2 1", "NameNumber u8 22 1 1",
                                      "Flags u8 23 1 1", "NameValue u16 24 2 1",
                                      "RoadKind i16 26 2 1", "Value6 i16 28 2 1"}));
  EXPECT_EQ(
      Fields("mapcalc.dat"),
      (std::vector<std::string>{"OtherNode i32 0 4 8", "Cost u16 32 2 8", "Length u16 48 2 8"}));
  EXPECT_EQ(Fields("maprule.dat"), (std::vector<std::string>{"Slot u8 0 1 8"}));
  EXPECT_EQ(Fields("nodeattr.dat"), (std::vector<std::string>{"Attribute u8 0 1 1"}));
  EXPECT_EQ(
      Fields("nodestr.~wk"),
      (std::vector<std::string>{"NodeCode code 0 8 1", "PartnerCode code 8 8 1",
                                "NodeAttrWord u16 16 2 1", "zero  18 2 1", "CityCode u32 20 4 1",
                                "X i32 24 4 1", "Y i32 28 4 1", "ConnLinkCode code 32 8 8"}));
  EXPECT_EQ(Fields("TR_LINK.DAT"),
            (std::vector<std::string>{"LinkCode code 0 8 1", "unused  8 16 1", "Valid i16 24 2 1",
                                      "Interchange u8 26 1 1", "unused  27 5 1"}));
}

TEST(RecordFieldsTest, FilesAreFoundByTheirNamesInAnyCase) {
  EXPECT_STREQ(map::FindFileName("LINK.IDX"), "link.idx");
  EXPECT_STREQ(map::FindFileName("paydata.inf"), "PayData.Inf");
  EXPECT_EQ(map::FindFileName("link.id"), nullptr);
  EXPECT_EQ(FindLayout("linkdef.dat"), nullptr);  // a text
  EXPECT_EQ(FindLayout("MapName.dat"), nullptr);
  EXPECT_EQ(FindLayout("NODENAME.DAT")->record_size, 32u);
}

TEST(RecordFieldsTest, TheTextsOfAMap) {
  std::vector<std::string> names;
  for (const char* name : map::TextFiles()) names.push_back(name);
  EXPECT_EQ(names, (std::vector<std::string>{"linkdef.dat", "shapedat.inf", "PayData.Inf"}));
}

TEST(RecordFieldsTest, NumbersAreReadByTheirTypes) {
  const std::string bytes = Bytes().I16(-2).I16(-1).I32(-3).str();
  EXPECT_EQ(map::FieldNumber({"", 0, 2, FieldType::kI16}, bytes.data()), -2);
  EXPECT_EQ(map::FieldNumber({"", 0, 2, FieldType::kU16}, bytes.data()), 65534);
  EXPECT_EQ(map::FieldNumber({"", 0, 1, FieldType::kU8}, bytes.data()), 254);
  EXPECT_EQ(map::FieldNumber({"", 4, 4, FieldType::kDegrees}, bytes.data() + 4), -3);
  EXPECT_EQ(map::FieldNumber({"", 4, 4, FieldType::kU32}, bytes.data() + 4), 4294967293);
}

}  // namespace
}  // namespace zatlib::test
