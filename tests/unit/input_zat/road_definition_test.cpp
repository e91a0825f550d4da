#include "input_zat/road_definition.h"

#include <string>

#include "zat_test.h"

namespace zatlib {
namespace {

using test::Cp932;
using test::Exists;
using test::Lines;
using test::ReadBytes;
using test::Report;
using test::RunWithFault;
using test::WriteBytes;

constexpr char kTitle[] = "File Error in BRN_CreateRoadDef";

// Saturday, afternoon.
constexpr platform::DateTime kNow{2026, 11, 6, 21, 15, 4, 5, 6};

std::string DefaultAttributes() {
  return Cp932(
      "[ATTRIBUTE]\r\n"
      "NUMDEF=9\r\n"
      "DEF01=01,高速自動車国道\r\n"
      "DEF02=02,都市高速道路\r\n"
      "DEF03=03,一般国道\r\n"
      "DEF04=04,主要地方道(都道府県道)\r\n"
      "DEF05=05,主要地方道(指定市道)\r\n"
      "DEF06=06,一般都道府県道\r\n"
      "DEF07=07,指定市の一般市道\r\n"
      "DEF08=09,その他の道路\r\n"
      "DEF09=00,未調査\r\n");
}

std::string DefaultWidths() {
  return Cp932(
      "[WIDTH]\r\n"
      "NUMDEF=5\r\n"
      "DEF01=1,幅員13.0m以上\r\n"
      "DEF02=2,幅員5.5m以上～13.0m未満\r\n"
      "DEF03=3,幅員3.0m以上～5.5m未満\r\n"
      "DEF04=4,幅員3.0m未満\r\n"
      "DEF05=0,未調査\r\n");
}

constexpr char kDefaultTolls[] = "[TOLLROAD]\r\nNUMDEF=2\r\nDEF01=01\r\nDEF02=02\r\n";

constexpr char kDefaultFlags[] =
    "[ROADFLAG]\r\n"
    "HIGHWAY=\r\n"
    "PAYROAD=\r\n"
    "FERRY=\r\n"
    "RAILROAD=\r\n"
    "AIR=\r\n"
    "TOLLGATE=\r\n"
    "SHIP=\r\n"
    "ICWEIGHT=0\r\n"
    "RTWEIGHT=0\r\n"
    "RTWEIGHT_RIGHT=45\r\n"
    "RTWEIGHT_LEFT=135\r\n";

// The lines of a text, each with its end.
std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  for (size_t begin = 0; begin < text.size();) {
    const size_t end = text.find("\r\n", begin) + 2;
    lines.push_back(text.substr(begin, end - begin));
    begin = end;
  }
  return lines;
}

class RoadDefinitionTest : public test::ZatTest {
 protected:
  RoadDefinitionTest() { platform::FixLocalTime(&kNow); }

  int Run(const std::string& text, Prologue prologue = Prologue::kWith) {
    return BRN_CreateRoadDef(nullptr, WriteControl(text).c_str(), prologue);
  }

  // What the step wrote; the comment lines are replaced by "" because the second one depends on
  // the system's locale.
  std::string Sections() const { return SectionsOf("linkdef.dat"); }
  std::string SectionsOf(const std::string& name) const {
    const std::string all = Output(name);
    const std::string head = "; Road Definition File for ZATLIB40\r\n; Created ";
    EXPECT_EQ(all.substr(0, head.size()), head);
    const size_t end = all.find("\r\n", head.size());
    EXPECT_NE(end, std::string::npos);
    return end == std::string::npos ? all : all.substr(end + 2);
  }

  // One section of the file, its name line included.
  std::string Section(const std::string& name) const {
    const std::string all = Output("linkdef.dat");
    const size_t begin = all.find("[" + name + "]\r\n");
    if (begin == std::string::npos) return "";
    const size_t end = all.find("\r\n[", begin);
    return end == std::string::npos ? all.substr(begin) : all.substr(begin, end + 2 - begin);
  }
};

// ---- The file ------------------------------------------------------------------------------

TEST_F(RoadDefinitionTest, AnEmptyControlFileGivesTheDefaults) {
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(Sections(), DefaultAttributes() + DefaultWidths() + kDefaultTolls + kDefaultFlags +
                            "[SYSTEM]\r\nCODELENGTH=14\r\n");
  EXPECT_EQ(log(), (Lines{"Setting Road Definition...", "CODELENGTH=14"}));
}

#ifndef _WIN32
TEST_F(RoadDefinitionTest, TheCommentLines) {
  EXPECT_EQ(Run(""), 1);
  const std::string afternoon =
      "; Road Definition File for ZATLIB40\r\n"
      "; Created Sat,Nov 21 2026, PM 15:04:05\r\n"
      "[ATTRIBUTE]\r\n";
  EXPECT_EQ(Output("linkdef.dat").substr(0, afternoon.size()), afternoon);
  const platform::DateTime morning{2027, 1, 5, 1, 0, 9, 0, 0};
  platform::FixLocalTime(&morning);
  EXPECT_EQ(Run(""), 1);
  const std::string night =
      "; Road Definition File for ZATLIB40\r\n"
      "; Created Fri,Jan 01 2027, AM 00:09:00\r\n"
      "[ATTRIBUTE]\r\n";
  EXPECT_EQ(Output("linkdef.dat").substr(0, night.size()), night);
}
#endif

TEST_F(RoadDefinitionTest, AFullyConfiguredControlFile) {
  const std::string attributes =
      Source("attributes.txt", "01,Motorway\r\n02,\"Trunk\" road\r\n\r\n09,Other\r\n");
  const std::string widths = Source("widths.txt", "1,wide\r\n2,narrow");
  EXPECT_EQ(Run("[SYSTEM]\r\nCODELENGTH=18\r\n"
                "[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" +
                attributes + "\r\n[WIDTH]\r\nFILENUM=1\r\nFILE01=" + widths +
                "\r\n[TOLLROAD]\r\nNUMDEF=3\r\nDEF01=11\r\nDEF03=13\r\n"
                "[ROADFLAG]\r\n"
                "RTWEIGHT_LEFT=120\r\nRTWEIGHT_RIGHT=60\r\nRTWEIGHT=1\r\nICWEIGHT=5\r\n"
                "PEDESTRIANWAY=7\r\nSHIP=77\r\nTOLLGATE=6\r\nPARKING=1\r\nAIR=2\r\n"
                "RAILROAD=4\r\nFERRY=3\r\nPAYROAD=22\r\nHIGHWAY=21\r\n"),
            1);
  EXPECT_EQ(Sections(),
            "[ATTRIBUTE]\r\n"
            "DEF01=01,Motorway\r\n"
            "DEF02=02, Trunk  road\r\n"
            "DEF03=\r\n"
            "DEF04=09,Other\r\n"
            "NUMDEF=4\r\n"
            "[WIDTH]\r\n"
            "DEF01=1,wide\r\n"
            "DEF02=2,narrow\r\n"
            "NUMDEF=2\r\n"
            "[TOLLROAD]\r\n"
            "NUMDEF=3\r\n"
            "DEF01=11\r\n"
            "DEF02=\r\n"
            "DEF03=13\r\n"
            "[ROADFLAG]\r\n"
            "HIGHWAY=21\r\n"
            "PAYROAD=22\r\n"
            "FERRY=3\r\n"
            "RAILROAD=4\r\n"
            "AIR=1\r\n"
            "TOLLGATE=6\r\n"
            "SHIP=7\r\n"
            "ICWEIGHT=5\r\n"
            "RTWEIGHT=1\r\n"
            "RTWEIGHT_RIGHT=60\r\n"
            "RTWEIGHT_LEFT=120\r\n"
            "[SYSTEM]\r\n"
            "CODELENGTH=18\r\n");
  EXPECT_EQ(log(), (Lines{"Setting Road Definition...", "CODELENGTH=18"}));
}

TEST_F(RoadDefinitionTest, AnOldFileIsReplaced) {
  WriteBytes(folder_ / "linkdef.dat",
             "[INFORMATION]\r\nCharset=old\r\n[SYSTEM]\r\nCODELENGTH=18\r\n");
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(Sections(), DefaultAttributes() + DefaultWidths() + kDefaultTolls + kDefaultFlags +
                            "[SYSTEM]\r\nCODELENGTH=14\r\n");
}

TEST_F(RoadDefinitionTest, TheFileLiesInTheOutputFolder) {
  test::MakeFolder(folder_ / "out");
  EXPECT_EQ(Run("[FOLDER]\r\nCALCMAPDIR=" + (folder_ / "out") + "\r\n"), 1);
  EXPECT_FALSE(Exists(folder_ / "linkdef.dat"));
  EXPECT_TRUE(Exists((folder_ / "out") + platform::NativeSeparator() + "linkdef.dat"));
}

// ---- Classes -------------------------------------------------------------------------------

TEST_F(RoadDefinitionTest, AnyNumberOfFilesButOneGivesTheDefaults) {
  for (const char* number : {"0", "2", "-1", "x"}) {
    SCOPED_TRACE(number);
    EXPECT_EQ(Run("[ATTRIBUTE]\r\nFILENUM=" + std::string(number) +
                  "\r\nFILE01=missing.txt\r\n[WIDTH]\r\nFILENUM=" + number +
                  "\r\nFILE01=missing.txt\r\n"),
              1);
    EXPECT_EQ(Section("ATTRIBUTE"), DefaultAttributes());
    EXPECT_EQ(Section("WIDTH"), DefaultWidths());
  }
}

TEST_F(RoadDefinitionTest, AnEmptyClassFile) {
  EXPECT_EQ(Run("[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + Source("a.txt", "") +
                "\r\n[WIDTH]\r\nFILENUM=1\r\nFILE01=" + Source("w.txt", "") + "\r\n"),
            1);
  EXPECT_EQ(Section("ATTRIBUTE"), "[ATTRIBUTE]\r\nNUMDEF=0\r\n");
  EXPECT_EQ(Section("WIDTH"), "[WIDTH]\r\nNUMDEF=0\r\n");
}

TEST_F(RoadDefinitionTest, ABlankLineIsAClassToo) {
  EXPECT_EQ(
      Run("[WIDTH]\r\nFILENUM=1\r\nFILE01=" + Source("w.txt", "1,a\r\n\r\n2,b\r\n\r\n") + "\r\n"),
      1);
  EXPECT_EQ(Section("WIDTH"),
            "[WIDTH]\r\nDEF01=1,a\r\nDEF02=\r\nDEF03=2,b\r\nDEF04=\r\nNUMDEF=4\r\n");
}

TEST_F(RoadDefinitionTest, ABlankTakesTheePlaceOfEveryQuote) {
  EXPECT_EQ(
      Run("[WIDTH]\r\nFILENUM=1\r\nFILE01=" + Source("w.txt", "1,\"a \"\"b\"\"\",c\r\n") + "\r\n"),
      1);
  EXPECT_EQ(Section("WIDTH"), "[WIDTH]\r\nDEF01=1, a   b   ,c\r\nNUMDEF=1\r\n");
}

#ifndef _WIN32
// Other systems' profile services may take blanks at the ends of a value away.
TEST_F(RoadDefinitionTest, BlanksOfQuotesStayAtTheEndsOfAClass) {
  EXPECT_EQ(
      Run("[WIDTH]\r\nFILENUM=1\r\nFILE01=" + Source("w.txt", "1,\"a\"\r\n\"2,b\"\r\n") + "\r\n"),
      1);
  EXPECT_EQ(Section("WIDTH"), "[WIDTH]\r\nDEF01=1, a \r\nDEF02= 2,b \r\nNUMDEF=2\r\n");
}
#endif

TEST_F(RoadDefinitionTest, MoreThan99Classes) {
  std::string classes;
  for (int i = 1; i <= 100; ++i) classes += std::to_string(i) + ",x\r\n";
  EXPECT_EQ(Run("[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + Source("a.txt", classes) + "\r\n"), 1);
  const std::string section = Section("ATTRIBUTE");
  const std::string tail = "DEF99=99,x\r\nDEF100=100,x\r\nNUMDEF=100\r\n";
  ASSERT_GT(section.size(), tail.size());
  EXPECT_EQ(section.substr(section.size() - tail.size()), tail);
}

TEST_F(RoadDefinitionTest, AClassLineHas1023BytesAndItsEnd) {
  const std::string fits = "1," + std::string(1021, 'x');
  EXPECT_EQ(Run("[WIDTH]\r\nFILENUM=1\r\nFILE01=" + Source("w.txt", fits + "\r\n2,b\r\n") + "\r\n"),
            1);
  EXPECT_EQ(Section("WIDTH"), "[WIDTH]\r\nDEF01=" + fits + "\r\nDEF02=2,b\r\nNUMDEF=2\r\n");
  // A longer line ends the list.
  EXPECT_EQ(Run("[WIDTH]\r\nFILENUM=1\r\nFILE01=" +
                Source("w.txt", "1,a\r\n" + fits + "y\r\n2,b\r\n") + "\r\n"),
            1);
  EXPECT_EQ(Section("WIDTH"), "[WIDTH]\r\nDEF01=1,a\r\nNUMDEF=1\r\n");
}

TEST_F(RoadDefinitionTest, AMissingAttributeFile) {
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run("[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + path + "\r\n"), 0);
  EXPECT_EQ(log(), (Lines{"Setting Road Definition...",
                          Report("Can't open the Attribute File (" + path + ") !", kTitle)}));
  // The comment lines are there already.
  EXPECT_EQ(Sections(), "");
}

TEST_F(RoadDefinitionTest, AMissingWidthFile) {
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run("[WIDTH]\r\nFILENUM=1\r\nFILE01=" + path + "\r\n"), 0);
  EXPECT_EQ(log(),
            (Lines{"Setting Road Definition...",
                   Report("Can't open the Width Definition File (" + path + ") !", kTitle)}));
  // The sections before it stay.
  EXPECT_EQ(Sections(), DefaultAttributes());
}

TEST_F(RoadDefinitionTest, AClassFileThatSomebodyElseHasForHimself) {
  const std::string path = Source("a.txt", "1,a\r\n");
  const platform::File holder = Hold(path);
  EXPECT_EQ(Run("[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + path + "\r\n"), 0);
  EXPECT_EQ(log(), (Lines{"Setting Road Definition...",
                          Report("Can't open the Attribute File (" + path + ") !", kTitle)}));
}

TEST_F(RoadDefinitionTest, AClassFileMayBeReadByOthersMeanwhile) {
  const std::string path = Source("a.txt", "1,a\r\n");
  const platform::File holder = HoldForReading(path);
  EXPECT_EQ(Run("[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + path + "\r\n"), 1);
  EXPECT_EQ(Section("ATTRIBUTE"), "[ATTRIBUTE]\r\nDEF01=1,a\r\nNUMDEF=1\r\n");
}

// ---- Toll roads, flags, code length --------------------------------------------------------

TEST_F(RoadDefinitionTest, TollRoadsBelowOneAreTheDefaults) {
  EXPECT_EQ(Run("[TOLLROAD]\r\nNUMDEF=0\r\nDEF01=31\r\n"), 1);
  EXPECT_EQ(Section("TOLLROAD"), kDefaultTolls);
  EXPECT_EQ(Run("[TOLLROAD]\r\nNUMDEF=-3\r\nDEF01=31\r\n"), 1);
  EXPECT_EQ(Section("TOLLROAD"), kDefaultTolls);
}

TEST_F(RoadDefinitionTest, TollRoadsThatAreNotGivenAreEmpty) {
  EXPECT_EQ(Run("[TOLLROAD]\r\nNUMDEF=3\r\nDEF01=31\r\nDEF04=34\r\n"), 1);
  EXPECT_EQ(Section("TOLLROAD"), "[TOLLROAD]\r\nNUMDEF=3\r\nDEF01=31\r\nDEF02=\r\nDEF03=\r\n");
}

TEST_F(RoadDefinitionTest, ATollRoadValueHas1023Bytes) {
  EXPECT_EQ(Run("[TOLLROAD]\r\nNUMDEF=1\r\nDEF01=" + std::string(1100, 'x') + "\r\n"), 1);
  EXPECT_EQ(Section("TOLLROAD"),
            "[TOLLROAD]\r\nNUMDEF=1\r\nDEF01=" + std::string(1023, 'x') + "\r\n");
}

TEST_F(RoadDefinitionTest, TheNewNamesOfFlagsWin) {
  EXPECT_EQ(Run("[ROADFLAG]\r\nPARKING=1\r\nAIR=2\r\nPEDESTRIANWAY=3\r\nSHIP=4\r\n"), 1);
  std::string section = Section("ROADFLAG");
  EXPECT_NE(section.find("\r\nAIR=1\r\n"), std::string::npos) << section;
  EXPECT_NE(section.find("\r\nSHIP=3\r\n"), std::string::npos) << section;
  EXPECT_EQ(section.find("PARKING"), std::string::npos);
  EXPECT_EQ(section.find("PEDESTRIANWAY"), std::string::npos);
  EXPECT_EQ(Run("[ROADFLAG]\r\nPARKING=\r\nAIR=2\r\nSHIP=4\r\n"), 1);
  section = Section("ROADFLAG");
  EXPECT_NE(section.find("\r\nAIR=2\r\n"), std::string::npos) << section;
  EXPECT_NE(section.find("\r\nSHIP=4\r\n"), std::string::npos) << section;
}

TEST_F(RoadDefinitionTest, AFlagHas511Bytes) {
  EXPECT_EQ(Run("[ROADFLAG]\r\nHIGHWAY=" + std::string(600, 'x') + "\r\n"), 1);
  EXPECT_NE(Section("ROADFLAG").find("HIGHWAY=" + std::string(511, 'x') + "\r\n"),
            std::string::npos);
}

TEST_F(RoadDefinitionTest, AnyCodeLengthIsHandedOn) {
  EXPECT_EQ(Run("[SYSTEM]\r\nCODELENGTH=16\r\n"), 1);
  EXPECT_EQ(Section("SYSTEM"), "[SYSTEM]\r\nCODELENGTH=16\r\n");
  EXPECT_EQ(log(), (Lines{"Setting Road Definition...", "CODELENGTH=16"}));
  EXPECT_EQ(Run("[SYSTEM]\r\nCODELENGTH=x\r\n"), 1);
  EXPECT_EQ(Section("SYSTEM"), "[SYSTEM]\r\nCODELENGTH=0\r\n");
}

// ---- Prologue ------------------------------------------------------------------------------

TEST_F(RoadDefinitionTest, ACancelledRunDoesNotBegin) {
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(""), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_FALSE(Exists(folder_ / "linkdef.dat"));
}

TEST_F(RoadDefinitionTest, SilentModeDoesNotHearTheCancelFlag) {
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(""), 1);
  EXPECT_TRUE(Exists(folder_ / "linkdef.dat"));
}

TEST_F(RoadDefinitionTest, WithoutThePrologueNothingIsShownOrTested) {
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run("", Prologue::kWithout), 1);
  EXPECT_EQ(log(), (Lines{"CODELENGTH=14"}));
  EXPECT_EQ(Section("SYSTEM"), "[SYSTEM]\r\nCODELENGTH=14\r\n");
}

// Later steps take the code length from the file, and a host what stands before it.
TEST_F(RoadDefinitionTest, ACancelDuringTheListsLeavesAWholeFile) {
  std::string classes;
  std::string control = "[TOLLROAD]\r\nNUMDEF=600\r\n";
  std::string attributes = "[ATTRIBUTE]\r\n";
  std::string widths = "[WIDTH]\r\n";
  std::string tolls = "[TOLLROAD]\r\nNUMDEF=600\r\n";
  for (int i = 1; i <= 600; ++i) {
    const std::string n = std::to_string(i);
    const std::string entry = (i < 10 ? "DEF0" : "DEF") + n + "=";
    classes += n + ",class\r\n";
    attributes += entry + n + ",class\r\n";
    widths += entry + n + ",class\r\n";
    control += entry + "7" + n + "\r\n";
    tolls += entry + "7" + n + "\r\n";
  }
  const std::string file = "FILENUM=1\r\nFILE01=" + Source("classes.txt", classes) + "\r\n";
  CancelAt("Setting Road Definition...");
  EXPECT_EQ(Run("[ATTRIBUTE]\r\n" + file + "[WIDTH]\r\n" + file + control), 1);
  EXPECT_EQ(log(), (Lines{"Setting Road Definition...", "CODELENGTH=14"}));
  EXPECT_EQ(Sections(), attributes + "NUMDEF=600\r\n" + widths + "NUMDEF=600\r\n" + tolls +
                            kDefaultFlags + "[SYSTEM]\r\nCODELENGTH=14\r\n");
}

TEST_F(RoadDefinitionTest, WithoutThePrologueAListOfClassesIsWrittenWhole) {
  WriteBytes(folder_ / "classes.txt", "01,a\r\n02,b\r\n");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run("[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + (folder_ / "classes.txt") +
                    "\r\n[TOLLROAD]\r\nNUMDEF=1\r\nDEF01=03\r\n",
                Prologue::kWithout),
            1);
  EXPECT_EQ(log(), (Lines{"CODELENGTH=14"}));
  EXPECT_EQ(Section("ATTRIBUTE"), "[ATTRIBUTE]\r\nDEF01=01,a\r\nDEF02=02,b\r\nNUMDEF=2\r\n");
  EXPECT_EQ(Section("TOLLROAD"), "[TOLLROAD]\r\nNUMDEF=1\r\nDEF01=03\r\n");
}

// ---- Failures ------------------------------------------------------------------------------

TEST_F(RoadDefinitionTest, AFileThatCannotBeCreatedIsReportedOnly) {
  WriteBytes(folder_ / "linkdef.dat", "");
  const platform::File holder = Hold(folder_ / "linkdef.dat");
  EXPECT_EQ(Run(""), 1);
  EXPECT_EQ(
      log(),
      (Lines{"Setting Road Definition...",
             Report("Can't open the Road Definition File (" + (folder_ / "linkdef.dat") + ") !",
                    kTitle),
             "CODELENGTH=14"}));
#ifndef _WIN32
  // The keys get there all the same; the file lacks the comment lines.
  EXPECT_EQ(Output("linkdef.dat"), DefaultAttributes() + DefaultWidths() + kDefaultTolls +
                                       kDefaultFlags + "[SYSTEM]\r\nCODELENGTH=14\r\n");
#endif
}

TEST_F(RoadDefinitionTest, EveryOpenMayFail) {
  const std::string path = Source("a.txt", "1,a\r\n");
  const std::string other = Source("w.txt", "1,b\r\n");
  const std::string control = "[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + path +
                              "\r\n[WIDTH]\r\nFILENUM=1\r\nFILE01=" + other + "\r\n";
  const auto reports =
      FailEach(platform::Operation::kOpen,
               {.run =
                    [&] {
                      platform::RemoveFile((folder_ / "linkdef.dat").c_str());
                      return Run(control);
                    },
                .check_good =
                    [this] {
                      EXPECT_EQ(Section("ATTRIBUTE"), "[ATTRIBUTE]\r\nDEF01=1,a\r\nNUMDEF=1\r\n");
                      EXPECT_EQ(Section("SYSTEM"), "[SYSTEM]\r\nCODELENGTH=14\r\n");
                    },
                .goes_on = true});
  EXPECT_EQ(reports,
            (std::set<std::string>{
                Report("Can't open the Road Definition File (" + (folder_ / "linkdef.dat") + ") !",
                       kTitle),
                Report("Can't open the Attribute File (" + path + ") !", kTitle),
                Report("Can't open the Width Definition File (" + other + ") !", kTitle)}));
}

TEST_F(RoadDefinitionTest, EveryReadMayFail) {
  const std::string path = Source("a.txt", "1,a\r\n");
  const auto reports =
      FailEach(platform::Operation::kRead,
               {.run = [&] { return Run("[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + path + "\r\n"); },
                .check_good =
                    [this] {
                      EXPECT_EQ(Section("ATTRIBUTE"), "[ATTRIBUTE]\r\nDEF01=1,a\r\nNUMDEF=1\r\n");
                    }});
  EXPECT_EQ(reports,
            (std::set<std::string>{Report("Can't read the file (" + path + ") !", kTitle)}));
}

TEST_F(RoadDefinitionTest, EveryWriteOfAValueMayFail) {
  const std::string path = folder_ / "linkdef.dat";
  std::vector<std::string> sections[] = {LinesOf(DefaultAttributes()), LinesOf(DefaultWidths()),
                                         LinesOf(kDefaultTolls), LinesOf(kDefaultFlags),
                                         LinesOf("[SYSTEM]\r\nCODELENGTH=14\r\n")};
  int64_t nth = 0;
  for (std::vector<std::string>& section : sections) {
    for (size_t line = 1; line < section.size(); ++line) {
      platform::RemoveFile(path.c_str());
      ClearLog();
      EXPECT_EQ(RunWithFault({platform::Operation::kWriteValue, ++nth}, [&] { return Run(""); }), 0)
          << nth;
      // The other values are there; a section without values has no name line.
      const std::vector<std::string> before = section;
      section[line].clear();
      if (section.size() == 2) section[0].clear();
      std::string rest;
      for (const auto& lines : sections) rest += test::Concat(lines);
      section = before;
      EXPECT_EQ(Sections(), rest) << nth;
      EXPECT_EQ(log(),
                (Lines{"Setting Road Definition...", "CODELENGTH=14",
                       Report("Can't write the Road Definition File (" + path + ") !", kTitle)}))
          << nth;
    }
  }
  EXPECT_EQ(nth, 31);
  int64_t count = 0;
  EXPECT_EQ(RunWithFault(
                {platform::Operation::kWriteValue, 32}, [&] { return Run(""); }, &count),
            1);
  EXPECT_EQ(count, 31);
}

// A value of the control file that is not to be had counts as one that is not there.
TEST_F(RoadDefinitionTest, EveryReadOfAValueMayFail) {
  const std::string classes = Source("a.txt", "1,a\r\n");
  const std::string widths = Source("w.txt", "1,w\r\n");
  const std::string out = folder_ / "out";
  test::MakeFolder(out);
  const std::string control =
      "[FOLDER]\r\nCALCMAPDIR=" + out + "\r\n[ATTRIBUTE]\r\nFILENUM=1\r\nFILE01=" + classes +
      "\r\n[WIDTH]\r\nFILENUM=1\r\nFILE01=" + widths +
      "\r\n[TOLLROAD]\r\nNUMDEF=2\r\nDEF01=77\r\nDEF02=88\r\n"
      "[ROADFLAG]\r\nHIGHWAY=21\r\nPAYROAD=22\r\nFERRY=23\r\nRAILROAD=24\r\nPARKING=25\r\n"
      "AIR=35\r\nTOLLGATE=26\r\nPEDESTRIANWAY=27\r\nSHIP=37\r\nICWEIGHT=28\r\nRTWEIGHT=29\r\n"
      "RTWEIGHT_RIGHT=60\r\nRTWEIGHT_LEFT=120\r\n[SYSTEM]\r\nCODELENGTH=18\r\n";
  const std::string whole =
      "[ATTRIBUTE]\r\nDEF01=1,a\r\nNUMDEF=1\r\n[WIDTH]\r\nDEF01=1,w\r\nNUMDEF=1\r\n"
      "[TOLLROAD]\r\nNUMDEF=2\r\nDEF01=77\r\nDEF02=88\r\n"
      "[ROADFLAG]\r\nHIGHWAY=21\r\nPAYROAD=22\r\nFERRY=23\r\nRAILROAD=24\r\nAIR=25\r\n"
      "TOLLGATE=26\r\nSHIP=27\r\nICWEIGHT=28\r\nRTWEIGHT=29\r\nRTWEIGHT_RIGHT=60\r\n"
      "RTWEIGHT_LEFT=120\r\n[SYSTEM]\r\nCODELENGTH=18\r\n";
  struct Outcome {
    std::string text;        // of the whole file
    std::string instead;     // what stands there
    std::string report;      // the step's, "" when it goes on
    bool in_folder = false;  // of the control file
  };
  const Outcome outcomes[] = {
      {"", "", "", true},
      {"[ATTRIBUTE]\r\nDEF01=1,a\r\nNUMDEF=1\r\n", DefaultAttributes(), ""},
      {whole, "", Report("Can't open the Attribute File () !", kTitle)},
      {"[WIDTH]\r\nDEF01=1,w\r\nNUMDEF=1\r\n", DefaultWidths(), ""},
      {whole.substr(whole.find("[WIDTH]")), "",
       Report("Can't open the Width Definition File () !", kTitle)},
      {"NUMDEF=2\r\nDEF01=77\r\nDEF02=88\r\n", "NUMDEF=2\r\nDEF01=01\r\nDEF02=02\r\n", ""},
      {"DEF01=77\r\n", "DEF01=\r\n", ""},
      {"DEF02=88\r\n", "DEF02=\r\n", ""},
      {"HIGHWAY=21\r\n", "HIGHWAY=\r\n", ""},
      {"PAYROAD=22\r\n", "PAYROAD=\r\n", ""},
      {"FERRY=23\r\n", "FERRY=\r\n", ""},
      {"RAILROAD=24\r\n", "RAILROAD=\r\n", ""},
      {"AIR=25\r\n", "AIR=35\r\n", ""},
      {"TOLLGATE=26\r\n", "TOLLGATE=\r\n", ""},
      {"SHIP=27\r\n", "SHIP=37\r\n", ""},
      {"ICWEIGHT=28\r\n", "ICWEIGHT=0\r\n", ""},
      {"RTWEIGHT=29\r\n", "RTWEIGHT=0\r\n", ""},
      {"RTWEIGHT_RIGHT=60\r\n", "RTWEIGHT_RIGHT=45\r\n", ""},
      {"RTWEIGHT_LEFT=120\r\n", "RTWEIGHT_LEFT=135\r\n", ""},
      {"CODELENGTH=18\r\n", "CODELENGTH=14\r\n", ""},
  };
  int64_t nth = 0;
  for (const Outcome& outcome : outcomes) {
    ClearLog();
    EXPECT_EQ(RunWithFault({platform::Operation::kReadValue, ++nth}, [&] { return Run(control); }),
              outcome.report.empty() ? 1 : 0)
        << nth;
    std::string expected = whole;
    ASSERT_NE(expected.find(outcome.text), std::string::npos) << nth;
    expected.replace(expected.find(outcome.text), outcome.text.size(), outcome.instead);
    const std::string name = std::string("out") + platform::NativeSeparator() + "linkdef.dat";
    EXPECT_EQ(SectionsOf(outcome.in_folder ? "linkdef.dat" : name), expected) << nth;
    EXPECT_EQ(log().back(), !outcome.report.empty() ? outcome.report
                            : nth == 20             ? "CODELENGTH=14"
                                                    : "CODELENGTH=18")
        << nth;
  }
  int64_t count = 0;
  EXPECT_EQ(RunWithFault(
                {platform::Operation::kReadValue, 21}, [&] { return Run(control); }, &count),
            1);
  EXPECT_EQ(count, 20);
}

// ---- The header of a MIF file --------------------------------------------------------------

class MifInformationTest : public test::ZatTest {
 protected:
  int Run(const std::string& mif) {
    mif_.Close();  // a file that is open cannot be written on every system
    EXPECT_TRUE(mif_.Open(Source("nodes.mif", mif).c_str()));
    return BRN_SetMifInformation(mif_, WriteControl("").c_str());
  }

  LineSource mif_;
};

TEST_F(MifInformationTest, TheHeadersLinesGoToTheRoadDefinition) {
  WriteBytes(folder_ / "linkdef.dat", "; a\r\n; b\r\n[SYSTEM]\r\nCODELENGTH=14\r\n");
  EXPECT_EQ(Run("Version 300\r\n"
                "Charset \"WindowsJapanese\"\r\n"
                "Delimiter \",\"\r\n"
                "CoordSys Earth Projection 1, 104\r\n"
                "Columns 1\r\n"
                "  NODECODE Char(14)\r\n"
                "Data\r\n"
                "\r\n"
                "Point 1 2\r\n"),
            1);
  EXPECT_EQ(Output("linkdef.dat"),
            "; a\r\n; b\r\n[SYSTEM]\r\nCODELENGTH=14\r\n"
            "[INFORMATION]\r\n"
            "Charset=Charset \"WindowsJapanese\"\r\n"
            "CoordSys=CoordSys Earth Projection 1, 104\r\n");
  EXPECT_EQ(log(), Lines{});
  // The objects come next.
  std::string_view line;
  ASSERT_EQ(FRD_ReadLine(mif_, kLineSize, &line), 1);
  EXPECT_EQ(line, "");
  ASSERT_EQ(FRD_ReadLine(mif_, kLineSize, &line), 1);
  EXPECT_EQ(line, "Point 1 2");
}

TEST_F(MifInformationTest, WithoutEitherLineNothingIsWritten) {
  EXPECT_EQ(Run("Version 300\r\nData\r\n"), 1);
  EXPECT_FALSE(Exists(folder_ / "linkdef.dat"));
}

TEST_F(MifInformationTest, AHeaderWithoutADataLine) {
  EXPECT_EQ(Run("Version 300\r\nCharset \"Neutral\"\r\nPoint 1 2\r\n"), 0);
  EXPECT_EQ(
      log(),
      (Lines{Report("Can't read the MIF file header : ", "File Error in BRN_SetMifInformation")}));
  // The lines met so far stay.
  EXPECT_EQ(Output("linkdef.dat"), "[INFORMATION]\r\nCharset=Charset \"Neutral\"\r\n");
}

TEST_F(MifInformationTest, AnEmptyMif) {
  EXPECT_EQ(Run(""), 0);
  EXPECT_EQ(
      log(),
      (Lines{Report("Can't read the MIF file header : ", "File Error in BRN_SetMifInformation")}));
}

TEST_F(MifInformationTest, AHeaderLineHas511BytesAndItsEnd) {
  const std::string fits = "Charset " + std::string(503, 'x');
  EXPECT_EQ(Run(fits + "\r\nData\r\n"), 1);
  EXPECT_EQ(Output("linkdef.dat"), "[INFORMATION]\r\nCharset=" + fits + "\r\n");
  EXPECT_EQ(Run(fits + "x\r\nData\r\n"), 0);
}

TEST_F(MifInformationTest, ALongHeaderWithLfOnlyIsOneLineThatDoesNotFit) {
  std::string mif = "Version 300\nCharset \"Neutral\"\nDelimiter \",\"\nColumns 30\n";
  for (int i = 0; i < 30; ++i) mif += "  COLUMN" + std::to_string(i) + " Char(20)\n";
  EXPECT_EQ(Run(mif + "Data\n\nPoint 1 2\n"), 0);
  EXPECT_FALSE(Exists(folder_ / "linkdef.dat"));
}

}  // namespace
}  // namespace zatlib
