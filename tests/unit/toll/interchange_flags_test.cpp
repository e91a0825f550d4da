#include "toll/interchange_flags.h"

#include <gtest/gtest.h>

#include <optional>
#include <vector>

#include "fault_each.h"
#include "platform/clock.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "platform/profile.h"
#include "records.h"

namespace zatlib::test {
namespace {

using platform::Operation;

std::string FareLink(double code, int valid, int interchange) {
  return Bytes().F64(code).Text("sixteen bytes ..", 16).I16(valid).I8(interchange).Text("-----", 5);
}

// A record of linkname.dat; everything around the flag byte must stay as it is.
std::string LinkName(const std::string& name, int flags) {
  return LinkNameBytes(name, 5, flags, 12, 3, -1);
}

// Three links: code 1000 is link 2, 2000 is link 0, 3000 is link 1; two nodes.
class InterchangeFlagsTest : public LibraryTest {
 protected:
  InterchangeFlagsTest() {
    for (const char* name :
         {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_LINK.DAT", "TR_NAME.DAT"}) {
      WriteBytes(folder_ / name, "");
    }
    WriteBytes(folder_ / "PayData.Inf", "[SYSTEM]\r\nResult=OK\r\n");
    WriteBytes(folder_ / "TR_LINK.DAT", FareLink(1000, 1, 1));
    WriteBytes(folder_ / "link.idx",
               IndexRecord(1000, 2) + IndexRecord(2000, 0) + IndexRecord(3000, 1));
    WriteBytes(folder_ / "linkname.dat",
               LinkName("first", 0x01) + LinkName("second", 0x02) + LinkName("third", 0x04));
    WriteBytes(folder_ / "nodelink.idx", NodeLinkRecord({2, 0}) + NodeLinkRecord({1}));
    WriteBytes(folder_ / "mapattr.dat", SlotRecord({4, 1}) + SlotRecord({2}));
  }

  int Check() { return TR_CheckFareData(folder_.path().c_str()); }
  int Run() { return TR_SetInterchangeFlags(folder_.path().c_str()); }

  std::string Status(const char* key) {
    char value[2048];
    platform::ReadProfileString("SYSTEM", key, "(none)", value, sizeof value,
                                (folder_ / "PayData.Inf").c_str());
    return value;
  }
  std::vector<int> Flags() {
    const std::string names = ReadBytes(folder_ / "linkname.dat");
    std::vector<int> flags;
    for (size_t k = 0; k * 30 + 29 < names.size(); ++k) {
      flags.push_back(static_cast<unsigned char>(names[k * 30 + 23]));
    }
    return flags;
  }
  void ExpectFailure(const std::string& before, const std::string& name,
                     std::optional<Fault> fault = std::nullopt) {
    platform::SaveProfileString("SYSTEM", "ICFLAG", "?", (folder_ / "PayData.Inf").c_str());
    platform::SaveProfileString("SYSTEM", "ICFLAG_ERROR", "?", (folder_ / "PayData.Inf").c_str());
    EXPECT_EQ(fault ? RunWithFault(*fault, [this] { return Run(); }) : Run(), 0);
    EXPECT_EQ(Status("ICFLAG"), "ERROR");
    EXPECT_EQ(Status("ICFLAG_ERROR"), before + (folder_ / name));
    EXPECT_TRUE(log().empty());
  }
};

TEST_F(InterchangeFlagsTest, CompleteFareDataIsAccepted) { EXPECT_EQ(Check(), 1); }

TEST_F(InterchangeFlagsTest, EveryFareFileIsNeeded) {
  for (const char* name : {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_LINK.DAT",
                           "TR_NAME.DAT", "PayData.Inf"}) {
    const std::string whole = ReadBytes(folder_ / name);
    ASSERT_TRUE(platform::RemoveFile((folder_ / name).c_str()));
    EXPECT_EQ(Check(), 0) << name;
    WriteBytes(folder_ / name, whole);
    EXPECT_EQ(Check(), 1) << name;
  }
}

TEST_F(InterchangeFlagsTest, TheResultIsExactlyOk) {
  for (const char* result : {"ok", "Ok", "OK!", "NG", ""}) {
    WriteBytes(folder_ / "PayData.Inf", std::string("[SYSTEM]\r\nResult=") + result + "\r\n");
    EXPECT_EQ(Check(), 0) << result;
  }
  WriteBytes(folder_ / "PayData.Inf", "[OTHER]\r\nResult=OK\r\n");
  EXPECT_EQ(Check(), 0);
  WriteBytes(folder_ / "PayData.Inf", "[system]\r\nRESULT = OK \r\n");
  EXPECT_EQ(Check(), 1);
}

TEST_F(InterchangeFlagsTest, AListedLinkGetsItsFlagAndItsNodesGetTheWholeByte) {
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "linkname.dat"),
            LinkName("first", 0x01) + LinkName("second", 0x02) + LinkName("third", 0x24));
  EXPECT_EQ(ReadBytes(folder_ / "mapattr.dat"), SlotRecord({0x24, 0x01}) + SlotRecord({0x02}));
  EXPECT_EQ(ReadBytes(folder_ / "PayData.Inf"), "[SYSTEM]\r\nResult=OK\r\nICFLAG=OK\r\n");
  EXPECT_TRUE(log().empty());
}

TEST_F(InterchangeFlagsTest, OnlyRecordsThatCountMarkLinks) {
  WriteBytes(folder_ / "TR_LINK.DAT", FareLink(1000, 0, 1) + FareLink(1000, -1, 1) +
                                          FareLink(1000, 5, 0) + FareLink(1000, 5, 2) +
                                          FareLink(2000, 32767, 1) + FareLink(3000, -32768, 1));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Flags(), (std::vector<int>{0x21, 0x02, 0x04}));
  EXPECT_EQ(Status("ICFLAG"), "OK");
}

TEST_F(InterchangeFlagsTest, APartialFareRecordIsIgnored) {
  WriteBytes(folder_ / "TR_LINK.DAT", FareLink(1000, 1, 1) + FareLink(2000, 1, 1).substr(0, 31));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x02, 0x24}));
}

TEST_F(InterchangeFlagsTest, UnknownLinksAreSkipped) {
  WriteBytes(folder_ / "TR_LINK.DAT", FareLink(1001, 1, 1) + FareLink(0, 1, 1));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x02, 0x04}));
  EXPECT_EQ(Status("ICFLAG"), "OK");
}

TEST_F(InterchangeFlagsTest, LinkNumbersOutsideTheMapAreSkipped) {
  WriteBytes(folder_ / "TR_LINK.DAT",
             FareLink(1000, 1, 1) + FareLink(2000, 1, 1) + FareLink(3000, 1, 1));
  for (const int64_t number : {3, 100000000, 2147483647}) {
    WriteBytes(folder_ / "link.idx",
               IndexRecord(1000, number) + IndexRecord(2000, -2) + IndexRecord(3000, 1));
    EXPECT_EQ(Run(), 1);
    EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x22, 0x04}));
  }
}

TEST_F(InterchangeFlagsTest, FlagsOfAnEarlierRunAreTakenBack) {
  WriteBytes(folder_ / "linkname.dat",
             LinkName("first", 0x21) + LinkName("second", 0x7F) + LinkName("third", 0x24));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x5F, 0x24}));
  const std::string names = ReadBytes(folder_ / "linkname.dat");
  const std::string attributes = ReadBytes(folder_ / "mapattr.dat");
  EXPECT_EQ(attributes, SlotRecord({0x24, 0x01}) + SlotRecord({0x5F}));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "linkname.dat"), names);
  EXPECT_EQ(ReadBytes(folder_ / "mapattr.dat"), attributes);
}

// Slots hold link numbers in any place; those below 0 or beyond the links keep their byte.
TEST_F(InterchangeFlagsTest, EmptySlotsKeepTheirByte) {
  WriteBytes(folder_ / "nodelink.idx",
             NodeLinkRecord({-1, 2, 3, -7, 0, -1, -1, 1}) + NodeLinkRecord({}));
  WriteBytes(folder_ / "mapattr.dat", std::string(8, '\x99') + std::string(8, '\x77'));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "mapattr.dat"),
            SlotRecord({0x99, 0x24, 0x99, 0x99, 0x01, 0x99, 0x99, 0x02}) + std::string(8, '\x77'));
}

TEST_F(InterchangeFlagsTest, DummyLinksTakePart) {
  WriteBytes(folder_ / "link.idx",
             IndexRecord(1000, 2) + IndexRecord(2000, 0) + IndexRecord(99000000000001, 1));
  const std::string dummy = Bytes().Zero(23).I8(0x10).I16(0).I16(99).I16(0);
  WriteBytes(folder_ / "linkname.dat", LinkName("first", 1) + dummy + LinkName("third", 4));
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "mapattr.dat"), SlotRecord({0x24, 0x01}) + SlotRecord({0x10}));
}

TEST_F(InterchangeFlagsTest, LinksAreFoundInLongIndexes) {
  std::string index;
  std::string names;
  std::string fares;
  std::vector<int> expected;
  for (int i = 0; i < 2000; ++i) {
    index += IndexRecord(10 + 3 * i, 1999 - i);
    names += LinkName("x", 0);
    if (i % 7 == 0) fares += FareLink(10 + 3 * i, 1, 1);
    expected.push_back((1999 - i) % 7 == 0 ? 0x20 : 0);
  }
  WriteBytes(folder_ / "link.idx", index);
  WriteBytes(folder_ / "linkname.dat", names);
  WriteBytes(folder_ / "TR_LINK.DAT", fares);
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(Flags(), expected);
}

TEST_F(InterchangeFlagsTest, AnErrorOfAnEarlierRunStaysBesideTheOk) {
  WriteBytes(folder_ / "PayData.Inf",
             "[SYSTEM]\r\nResult=OK\r\nICFLAG=ERROR\r\nICFLAG_ERROR=old\r\n");
  EXPECT_EQ(Run(), 1);
  EXPECT_EQ(ReadBytes(folder_ / "PayData.Inf"),
            "[SYSTEM]\r\nResult=OK\r\nICFLAG=OK\r\nICFLAG_ERROR=old\r\n");
}

TEST_F(InterchangeFlagsTest, FilesThatAreMissingEmptyOrOfWrongSizeAreNotFound) {
  const struct {
    const char* name;
    const char* text;
    bool exact;
  } rows[] = {{"TR_LINK.DAT", "Can't find the FareLink : ", false},
              {"link.idx", "Can't find the LinkIndex : ", false},
              {"linkname.dat", "Can't find the LinkName : ", true},
              {"nodelink.idx", "Can't find the NodeLinkIndex : ", false},
              {"mapattr.dat", "Can't find the CalcAttribute : ", true}};
  for (const auto& row : rows) {
    const std::string whole = ReadBytes(folder_ / row.name);
    if (row.exact) {
      WriteBytes(folder_ / row.name, whole + "x");
      ExpectFailure(row.text, row.name);
      WriteBytes(folder_ / row.name, whole.substr(1));
      ExpectFailure(row.text, row.name);
    }
    WriteBytes(folder_ / row.name, "");
    ExpectFailure(row.text, row.name);
    ASSERT_TRUE(platform::RemoveFile((folder_ / row.name).c_str()));
    ExpectFailure(row.text, row.name);
    WriteBytes(folder_ / row.name, whole);
  }
  EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x02, 0x04}));
}

TEST_F(InterchangeFlagsTest, AnIndexWithoutAWholeRecordFindsNoLinks) {
  WriteBytes(folder_ / "link.idx", std::string(15, '\0'));
  ExpectFailure("Can't find the LinkName : ", "linkname.dat");
}

// Each file is opened twice: for its size and for its content.
TEST_F(InterchangeFlagsTest, FilesThatCannotBeLoadedAreReported) {
  const struct {
    const char* name;
    const char* object;
  } rows[] = {{"TR_LINK.DAT", "FareLink"},
              {"link.idx", "LinkIndex"},
              {"linkname.dat", "LinkName"},
              {"nodelink.idx", "NodeLinkIndex"},
              {"mapattr.dat", "CalcAttribute"}};
  int number = 0;
  for (const auto& row : rows) {
    ++number;
    const std::string object = std::string(row.object) + " : ";
    ExpectFailure("Can't allocate the memory for the " + object, row.name,
                  Fault{Operation::kAllocate, number});
    ExpectFailure("Can't read the " + object, row.name, Fault{Operation::kRead, number});
    ExpectFailure("Can't open the " + object, row.name, Fault{Operation::kOpen, 2 * number});
    ExpectFailure("Can't find the " + object, row.name, Fault{Operation::kOpen, 2 * number - 1});
  }
  EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x02, 0x04}));
  EXPECT_EQ(ReadBytes(folder_ / "mapattr.dat"), SlotRecord({4, 1}) + SlotRecord({2}));
}

TEST_F(InterchangeFlagsTest, FilesThatCannotBeCreatedAreReported) {
  const struct {
    const char* name;
    const char* object;
  } rows[] = {{"mapattr.dat", "CalcAttribute"}, {"linkname.dat", "LinkName"}};
  for (const auto& row : rows) {
    const platform::File reader =
        platform::File::Open((folder_ / row.name).c_str(), platform::Access::kRead,
                             platform::Share::kRead, platform::Disposition::kOpenExisting);
    ASSERT_TRUE(reader.IsOpen());
    ExpectFailure(std::string("Can't open the ") + row.object + " for output : ", row.name);
    EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x02, 0x04}));
  }
  // The attributes come first and stay written.
  EXPECT_EQ(ReadBytes(folder_ / "mapattr.dat"), SlotRecord({0x24, 0x01}) + SlotRecord({0x02}));
}

TEST_F(InterchangeFlagsTest, FilesThatCannotBeWrittenAreReported) {
  platform::StepTickCount(5000);  // the wait before the second try passes at once
  ExpectFailure("Can't write the CalcAttribute : ", "mapattr.dat",
                Fault{Operation::kWrite, 1, true});
  EXPECT_EQ(Flags(), (std::vector<int>{0x01, 0x02, 0x04}));

  WriteBytes(folder_ / "mapattr.dat", SlotRecord({4, 1}) + SlotRecord({2}));
  ExpectFailure("Can't write the LinkName : ", "linkname.dat",
                Fault{Operation::kWrite, 2, true, platform::WriteFault::kHalfWritten});
  EXPECT_EQ(ReadBytes(folder_ / "mapattr.dat"), SlotRecord({0x24, 0x01}) + SlotRecord({0x02}));
}

}  // namespace
}  // namespace zatlib::test
