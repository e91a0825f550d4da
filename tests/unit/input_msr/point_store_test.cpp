#include "input_msr/point_store.h"

#include <string>

#include "msr_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Concat;
using test::Cp932;
using test::Exists;
using test::Lines;
using test::NameBytes;
using test::NodeBytes;
using test::Report;
using test::Reported;
using test::WriteBytes;

std::string NoPoint(const std::string& mid, int record) {
  return Report(
      Cp932("道路点オブジェクトがありません！\r\n") + mid + " (rec=" + std::to_string(record) + ")",
      "Data Error in BRN_MSR_ReadDrotenRecord");
}

class PointStoreTest : public test::MsrTest {
 protected:
  int RunText(const std::string& text) {
    return BRN_MSR_SetNodeStore(nullptr, WriteControl(text).c_str());
  }
  int Run(const std::vector<std::string>& paths) { return RunText(Files("DROTEN", paths)); }

  std::string Store() const { return Output("nodestr.~wk"); }

  // The records that most tests write.
  const std::string first_ = NodeBytes{3000000000001.0, 0, 0, 1000000, 2000000, {}};
  const std::string second_ = NodeBytes{3000000000002.0, 0, 0, 3000000, 4000000, {}};
};

// ---- Points --------------------------------------------------------------------------------

TEST_F(PointStoreTest, APair) {
  const std::string mif =
      Pair("droten", kHeader + Point("139.6917", "35.689506") + Point("-0.000001", "35.5"),
           "13,7,3,14,8,\"\",1,21\r\n13,9,4,0,0,\"\",0,0\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(
      Store(),
      Concat({NodeBytes{
                  13000000000007.0, 14000000000008.0, 3, 139691700, 35689506, {13000000000021.0}},
              NodeBytes{13000000000009.0, 0, 4, -1, 35500000, {}}}));
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Output("linkdef.dat"),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 104\r\n");
}

TEST_F(PointStoreTest, CodesOf18Digits) {
  CodeLength(18);
  const std::string mif = Pair("droten", kHeader + Point("1", "2"), "3,5,0,0,0,,1,7\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), Bytes()
                         .I64(30000000000000005)
                         .Zero(16)
                         .I32(1000000)
                         .I32(2000000)
                         .I64(30000000000000007)
                         .Zero(56)
                         .str());
}

TEST_F(PointStoreTest, TwoPairs) {
  const std::string a =
      Pair("a", "Charset \"Neutral\"\r\nCoordSys Earth Projection 1, 97\r\nData\r\nPoint 1 2\r\n",
           "3,1\r\n");
  const std::string b = Pair("b", "Charset \"WindowsJapanese\"\r\nData\r\nPoint 3 4\r\n", "3,2");
  EXPECT_EQ(Run({a, b}), 1);
  EXPECT_EQ(Store(), first_ + second_);
  // The last file's lines win; what it lacks stays.
  EXPECT_EQ(Output("linkdef.dat"),
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 97\r\n");
}

TEST_F(PointStoreTest, ASecondRunGivesTheSameStore) {
  WriteBytes(folder_ / "nodestr.~wk", std::string(960, 'x'));
  const std::string mif = Pair("droten", kHeader + Point("1", "2"), "3,1\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), first_);
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), first_);
}

TEST_F(PointStoreTest, WithoutAFileThereAreNoPoints) {
  WriteBytes(folder_ / "nodestr.~wk", std::string(96, 'x'));
  EXPECT_EQ(RunText(""), 1);
  EXPECT_EQ(RunText("[DROTEN]\r\nFILENUM=-1\r\nFILE01=a.mif\r\n"), 1);
  EXPECT_FALSE(Exists(folder_ / "nodestr.~wk"));
  EXPECT_EQ(log(), Lines{});
}

TEST_F(PointStoreTest, AnEmptyPairGivesAnEmptyStore) {
  const std::string mif = Pair("droten", kHeader, "");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_TRUE(Exists(folder_ / "nodestr.~wk"));
  EXPECT_EQ(Store(), "");
  // The header is read all the same.
  EXPECT_NE(Output("linkdef.dat").find("Charset"), std::string::npos);
}

TEST_F(PointStoreTest, TheMidMayEndBeforeTheMif) {
  const std::string mif = Pair("droten", kHeader + Point("1", "2") + Point("3", "4"), "3,1\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), first_);
}

TEST_F(PointStoreTest, TheMifMayEndBeforeTheMid) {
  // The file counts as finished, and the next one is read.
  const std::string a = Pair("a", kHeader + Point("1", "2"), "3,1\r\n3,7\r\n3,8\r\n");
  const std::string b = Pair("b", kHeader + Point("3", "4"), "3,2\r\n");
  EXPECT_EQ(Run({a, b}), 1);
  EXPECT_EQ(Store(), first_ + second_);
  EXPECT_EQ(log(), Lines{});
}

TEST_F(PointStoreTest, ALineThatDoesNotFitEndsItsFile) {
  const std::string a = Pair("a", kHeader + Point("1", "2") + Point("5", "6"),
                             "3,1\r\n3,7" + std::string(2045, ',') + "\r\n3,8\r\n");
  const std::string b = Pair("b", kHeader + Point("3", "4"), "3,2\r\n");
  EXPECT_EQ(Run({a, b}), 1);
  EXPECT_EQ(Store(), first_ + second_);
}

TEST_F(PointStoreTest, AHeaderLineOfTheMidIsAnEmptyRecordWithAPoint) {
  const std::string mif =
      Pair("droten", kHeader + Point("5", "6") + Point("1", "2"), "AREA,NODECODE\r\n3,1\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), NodeBytes({0, 0, 0, 5000000, 6000000, {}}).operator std::string() + first_);
}

// ---- Objects -------------------------------------------------------------------------------

TEST_F(PointStoreTest, ObjectsInCapitalsWithOtherLinesBetween) {
  const std::string mif = Pair("droten",
                               "VERSION 300\r\nDATA\r\n"
                               "POINT 1 2\r\n    SYMBOL (35,0,12)\r\n\r\n"
                               "Pline 2\r\n5 6\r\n7 8\r\n    Pen (1,2,0)\r\n"
                               "pOINT 3 4",
                               "3,1\r\n3,2\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), first_ + second_);
}

TEST_F(PointStoreTest, TheFirstWordTells) {
  // Blanks may stand before and between the words; a longer word is another one.
  const std::string mif = Pair("droten",
                               "Data\r\nPoints 5 6\r\nNonesuch\r\n  Point   1  2\r\n"
                               "Point 3,4 Symbol\r\n",
                               "3,1\r\n3,2\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), first_ + second_);
}

TEST_F(PointStoreTest, AMissingCoordinateIsZero) {
  const std::string mif = Pair("droten", "Data\r\nPoint 1\r\n", "3,1\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), std::string(NodeBytes{3000000000001.0, 0, 0, 1000000, 0, {}}));
}

TEST_F(PointStoreTest, TheThirdObjectIsNone) {
  for (const char* word : {"none", "NONE", "None"}) {
    ClearLog();
    const std::string mif = Pair(
        "droten", kHeader + Point("1", "2") + Point("3", "4") + word + "\r\n" + Point("5", "6"),
        "3,1\r\n3,2\r\n3,3\r\n3,4\r\n");
    EXPECT_EQ(Run({mif}), 0);
    EXPECT_EQ(log(), Lines{NoPoint(folder_ / "droten.mid", 3)});
    EXPECT_EQ(Store(), first_ + second_);
  }
}

TEST_F(PointStoreTest, RecordsOfTheSecondFileCountFromOne) {
  const std::string a = Pair("a", kHeader + Point("1", "2"), "3,1\r\n");
  const std::string b = Pair("b", kHeader + Point("3", "4") + "none\r\n", "3,2\r\n3,3\r\n");
  const std::string c = Pair("c", kHeader + Point("5", "6"), "3,4\r\n");
  EXPECT_EQ(Run({a, b, c}), 0);
  EXPECT_EQ(log(), Lines{NoPoint(folder_ / "b.mid", 2)});
  EXPECT_EQ(Store(), first_ + second_);
}

TEST_F(PointStoreTest, APointAtZeroIsNoPoint) {
  const std::string mif = Pair("droten", kHeader + Point("0", "0"), "3,1\r\n");
  EXPECT_EQ(Run({mif}), 0);
  EXPECT_EQ(log(), Lines{NoPoint(folder_ / "droten.mid", 1)});
  EXPECT_EQ(Store(), "");
}

TEST_F(PointStoreTest, OneCoordinateMayBeZero) {
  const std::string mif =
      Pair("droten", kHeader + Point("0", "51.5") + Point("32.5", "0"), "0,1\r\n0,2\r\n");
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(),
            Concat({NodeBytes{1, 0, 0, 0, 51500000, {}}, NodeBytes{2, 0, 0, 32500000, 0, {}}}));
}

// ---- Files that are not there --------------------------------------------------------------

TEST_F(PointStoreTest, AMissingMif) {
  const std::string path = folder_ / "missing.mif";
  Source("missing.mid", "3,1\r\n");
  EXPECT_EQ(Run({path}), 0);
  EXPECT_EQ(log(),
            Lines{Report("Can't open the DROTEM.MIF(FILE01) [" + path + "] !", "File Error")});
  EXPECT_FALSE(Exists(folder_ / "nodestr.~wk"));
}

TEST_F(PointStoreTest, AMissingMid) {
  const std::string a = Pair("a", kHeader + Point("1", "2"), "3,1\r\n");
  const std::string b = Source("b.mif", "Charset \"Neutral\"\r\nData\r\nPoint 3 4\r\n");
  EXPECT_EQ(Run({a, b}), 0);
  EXPECT_EQ(log(), Lines{Report("Can't open the DROTEM.MID(FILE02) [" + (folder_ / "b.mid") + "] !",
                                "File Error")});
  EXPECT_EQ(Store(), first_);
  // Its header was not read.
  EXPECT_EQ(Output("linkdef.dat").find("Neutral"), std::string::npos);
}

TEST_F(PointStoreTest, AFileThatTheControlFileDoesNotName) {
  EXPECT_EQ(RunText("[DROTEN]\r\nFILENUM=1\r\n"), 0);
  EXPECT_EQ(log(), Lines{Report("Can't open the DROTEM.MIF(FILE01) [] !", "File Error")});
}

TEST_F(PointStoreTest, AStoreThatCannotBeOpened) {
  test::MakeFolder(folder_ / "nodestr.~wk");
  const std::string mif = Pair("droten", kHeader + Point("1", "2"), "3,1\r\n");
  EXPECT_EQ(Run({mif}), 0);
  EXPECT_EQ(log(),
            Lines{Report("Can't open the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01 !",
                         "File Error")});
}

TEST_F(PointStoreTest, AHeaderWithoutDataEndsTheStep) {
  const std::string a = Pair("a", "Version 300\r\nCharset \"Neutral\"\r\n", "3,1\r\n");
  const std::string b = Pair("b", kHeader + Point("1", "2"), "3,1\r\n");
  EXPECT_EQ(Run({a, b}), 0);
  EXPECT_EQ(log(), Lines{Report("Can't read the MIF file header : ",
                                "File Error in BRN_SetMifInformation")});
  EXPECT_TRUE(Exists(folder_ / "nodestr.~wk"));
  EXPECT_EQ(Store(), "");
}

// ---- The user ------------------------------------------------------------------------------

TEST_F(PointStoreTest, CancelIsHeardBeforeTheFirstRecord) {
  const std::string mif = Pair("droten", kHeader + Point("1", "2"), "3,1\r\n");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({mif}), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "");
}

TEST_F(PointStoreTest, CancelIsHeardBeforeARecordIsJudged) {
  // The first point is missing; the user has gone before that is looked at.
  const std::string mif = Pair("droten", std::string(kHeader) + "none\r\n", "3,1\r\n");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({mif}), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "");
}

TEST_F(PointStoreTest, SilentModeDoesNotHearTheCancelFlag) {
  const std::string mif = Pair("droten", kHeader + Point("1", "2"), "3,1\r\n");
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({mif}), 1);
  EXPECT_EQ(Store(), first_);
}

#ifndef _WIN32
int SetNodeStore(WindowHandle, int64_t, const char* control_file) {
  return BRN_MSR_SetNodeStore(nullptr, control_file);
}

TEST_F(PointStoreTest, TheStatusLineCountsTheRecordsOfAFile) {
  std::string mif = kHeader;
  std::string mid;
  for (int i = 1; i <= 5001; ++i) {
    mif += "Point 1 2\r\n";
    mid += "3," + std::to_string(i) + "\r\n";
  }
  const std::string control = WriteControl(
      Files("DROTEN", {Pair("a", mif, mid), Pair("b", kHeader + Point("1", "2"), "3,9999\r\n")}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, SetNodeStore, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Reading Droten Record (0)...\n"
            "Reading Droten Record (5000)...\n"
            "Reading Droten Record (0)...\n");
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store().size(), 5002u * 96);
}
#endif

// ---- A platform that fails -----------------------------------------------------------------

class PointStoreFaultTest : public PointStoreTest {
 protected:
  PointStoreFaultTest()
      : mif_(Pair("droten", kHeader + Point("1", "2") + Point("3", "4"), "3,1\r\n3,2\r\n")) {}

  std::set<std::string> Fail(platform::Operation operation,
                             platform::WriteFault fault = platform::WriteFault::kNothingWritten) {
    return FailEach(operation, {.run = [this] { return Run({mif_}); },
                                .check_good = [this] { EXPECT_EQ(Store(), first_ + second_); },
                                .write_fault = fault});
  }

  std::string mif_;
};

TEST_F(PointStoreFaultTest, EveryOpenMayFail) {
  EXPECT_EQ(Fail(platform::Operation::kOpen),
            (std::set<std::string>{
                Report("Can't open the DROTEM.MIF(FILE01) [" + mif_ + "] !", "File Error"),
                Report("Can't open the DROTEM.MID(FILE01) [" + (folder_ / "droten.mid") + "] !",
                       "File Error"),
                Report("Can't open the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01 !",
                       "File Error")}));
}

TEST_F(PointStoreFaultTest, EveryReadMayFail) {
  const auto reports = Fail(platform::Operation::kRead);
  EXPECT_TRUE(Reported(reports, "Can't read the MIF file header : "));
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + (folder_ / "droten.mid") + ") !"));
}

TEST_F(PointStoreFaultTest, EveryWriteMayFail) {
  const std::string head =
      "Can't write the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01, ";
  auto reports = Fail(platform::Operation::kWrite);
  EXPECT_EQ(reports, std::set<std::string>{Report(head + "0 !", "File Error")});
  // 96 of 192 bytes are there: the second record is missing.
  reports = Fail(platform::Operation::kWrite, platform::WriteFault::kHalfWritten);
  EXPECT_EQ(reports, std::set<std::string>{Report(head + "1 !", "File Error")});
}

TEST_F(PointStoreFaultTest, EverySeekMayFail) {
  EXPECT_EQ(Fail(platform::Operation::kSeek),
            (std::set<std::string>{
                Report("Can't open the NodeStorage (" + (folder_ / "nodestr.~wk") + ") at 01 !",
                       "File Error")}));
}

TEST_F(PointStoreFaultTest, EveryAllocationMayFail) { Fail(platform::Operation::kAllocate); }

// ---- Names ---------------------------------------------------------------------------------

class PointNameStoreTest : public test::MsrTest {
 protected:
  int Run(const std::vector<std::string>& paths) {
    return BRN_MSR_SetNodeNameStore(nullptr, WriteControl(Files("DROTEN", paths)).c_str());
  }

  std::string Names(const std::string& name, const std::string& mid) {
    Source(name + ".mid", mid);
    return folder_ / (name + ".mif");  // the MIF itself is not looked at
  }

  std::string Store() const { return Output("nnamestr.~wk"); }
};

TEST_F(PointNameStoreTest, TheNamesOfTwoFiles) {
  const std::string a = Names("a", "3,1,7,0,0,\"Central\",1\r\n3,2,8,0,0,\"\",1\r\n3,3,8\r\n");
  const std::string b = Names("b", "4,1,9,0,0,East");
  EXPECT_EQ(Run({a, b}), 1);
  EXPECT_EQ(Store(), Concat({NameBytes{3000000000001.0, "Central", 0, 7},
                             NameBytes{4000000000001.0, "East", 0, 9}}));
  EXPECT_EQ(log(), Lines{});
}

TEST_F(PointNameStoreTest, AJapaneseNameOf22BytesKeepsTenCharacters) {
  const std::string a = Names("a", "3,1,7,0,0,\"" + Cp932("東京都千代田区霞が関一") + "\"\r\n" +
                                       "3,2,7,0,0,\"" + Cp932("ｱ東京都千代田区霞が関") + "\"\r\n");
  EXPECT_EQ(Run({a}), 1);
  EXPECT_EQ(Store(), Concat({NameBytes{3000000000001.0, Cp932("東京都千代田区霞が関"), 0, 7},
                             NameBytes{3000000000002.0, Cp932("ｱ東京都千代田区霞が"), 0, 7}}));
}

TEST_F(PointNameStoreTest, AnUnknownPointMayHaveAName) {
  const std::string a = Names("a", "AREA,NODECODE,ATTR,AREA2,NODE2,NAME\r\n3,0,1,0,0,Nowhere\r\n");
  EXPECT_EQ(Run({a}), 1);
  EXPECT_EQ(Store(), Concat({NameBytes{0, "NAME", 0, 0}, NameBytes{0, "Nowhere", 0, 1}}));
}

TEST_F(PointNameStoreTest, AnOldStoreIsReplacedAlsoWithoutAName) {
  WriteBytes(folder_ / "nnamestr.~wk", std::string(400, 'x'));
  EXPECT_EQ(Run({}), 1);
  EXPECT_TRUE(Exists(folder_ / "nnamestr.~wk"));
  EXPECT_EQ(Store(), "");
}

TEST_F(PointNameStoreTest, AMissingMid) {
  const std::string a = Names("a", "3,1,7,0,0,Central\r\n");
  EXPECT_EQ(Run({a, folder_ / "missing.mif"}), 0);
  EXPECT_EQ(log(),
            Lines{Report("Can't open the DROTEM.MID(FILE02) [" + (folder_ / "missing.mid") + "] !",
                         "File Error")});
  EXPECT_EQ(Store(), std::string(NameBytes{3000000000001.0, "Central", 0, 7}));
}

TEST_F(PointNameStoreTest, AStoreThatCannotBeOpened) {
  test::MakeFolder(folder_ / "nnamestr.~wk");
  EXPECT_EQ(Run({Names("a", "3,1,7,0,0,Central\r\n")}), 0);
  EXPECT_EQ(log(),
            Lines{Report("Can't open the NodeNameStorage " + (folder_ / "nnamestr.~wk") + " !",
                         "File Error in BRN_MSR_SetNodeNameStore")});
}

TEST_F(PointNameStoreTest, ACancelledRunDoesNotBegin) {
  WriteBytes(folder_ / "nnamestr.~wk", "old");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run({Names("a", "3,1,7,0,0,Central\r\n")}), 0);
  EXPECT_EQ(Store(), "old");
  EXPECT_EQ(log(), Lines{});
}

#ifndef _WIN32
int SetNodeNameStore(WindowHandle, int64_t, const char* control_file) {
  return BRN_MSR_SetNodeNameStore(nullptr, control_file);
}

TEST_F(PointNameStoreTest, TheTitleIsShownAndNotLogged) {
  const std::string control = WriteControl(Files("DROTEN", {Names("a", "3,1,7,0,0,Central\r\n")}));
  g_silent = 0;
  ::testing::internal::CaptureStderr();
  EXPECT_EQ(FRD_RunDialog(nullptr, SetNodeNameStore, 0, control.c_str()), 1);
  EXPECT_EQ(::testing::internal::GetCapturedStderr(),
            "Initalizing...\n"
            "Setting Node Name Storage...\n");
  EXPECT_EQ(log(), Lines{});
}
#endif

TEST_F(PointNameStoreTest, EveryOperationMayFail) {
  const std::string mif = Names("a", "3,1,7,0,0,Central\r\n");
  const std::string store = folder_ / "nnamestr.~wk";
  const char title[] = "File Error in BRN_MSR_SetNodeNameStore";
  const auto fail = [&](platform::Operation operation) {
    return FailEach(
        operation,
        {.run = [&] { return Run({mif}); },
         .check_good =
             [this] {
               EXPECT_EQ(Store(), std::string(NameBytes{3000000000001.0, "Central", 0, 7}));
             }});
  };
  EXPECT_EQ(fail(platform::Operation::kOpen),
            (std::set<std::string>{
                Report("Can't open the NodeNameStorage " + store + " !", title),
                Report("Can't open the DROTEM.MID(FILE01) [" + (folder_ / "a.mid") + "] !",
                       "File Error")}));
  EXPECT_EQ(
      fail(platform::Operation::kRead),
      std::set<std::string>{Report("Can't read the file (" + (folder_ / "a.mid") + ") !", title)});
  EXPECT_EQ(fail(platform::Operation::kWrite),
            std::set<std::string>{
                Report("Can't write the NodeNameStore (" + store + ") at file=01 !", title)});
}

}  // namespace
}  // namespace zatlib
