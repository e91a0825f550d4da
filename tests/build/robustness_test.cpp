// Whole builds whose inputs, folders or system fail: no crash, no hang, a verdict of 0 or 1 that
// is right, and a message where something was lost.
#include <filesystem>
#include <functional>
#include <map>
#include <set>

#include "every_stage.h"
#include "fault_each.h"
#include "frd/log.h"
#include "platform/fault.h"
#include "platform/memory.h"

namespace zatlib::test {
namespace {

using platform::Operation;
using platform::WriteFault;
using Files = std::map<std::string, std::string>;

// --- Every operation of a build fails once ------------------------------------------------------

// What may come of a build in which one operation failed. Everything that is not listed here has
// to end with 0 and a report.
enum class Outcome {
  kReported,  // 0, with the reason in the log
  // 1, and the map is the same: the failure was
  //  - of the build's own log, which never matters;
  //  - of a trial allocation, or while the memory for right-turn weights was estimated: the data
  //    are then read through files;
  //  - of a flush, whose bytes had been written.
  kSameMap,
  // 1; the road definition lacks its comment lines. The profile calls that follow make the file.
  kNoComment,
  // 1; one of the three looks whether there are shapes found none: no right-turn weights are made.
  kNoWeights,
  // 1; the links' codes for the weights ended early, which is taken for the end of the file.
  kEmptyWeights,
  // 1; nodes that could not be read ended the pass that joins partner nodes, as the end of the file
  // would: the dummy link is missing.
  kNotJoined,
  // 1; the interchange flags are missing or half set. They never make a build fail; PayData.Inf
  // has the reason once it was clear that there are fare data.
  kNoInterchanges,
  // 1; a write was refused, tried again after ten seconds, and doubled its chunk.
  kDoubled
};

class FaultyBuild : public EveryStage {
 protected:
  FaultyBuild() { platform::StepTickCount(20000); }

  void Hear(const std::string& /*line*/) override {
    if (!listing_) return;
    // The line goes to the file next: one open, one seek, and the stamp, the text and its end.
    log_operations_[Operation::kOpen].insert(platform::OperationCount(Operation::kOpen) + 1);
    log_operations_[Operation::kSeek].insert(platform::OperationCount(Operation::kSeek) + 1);
    for (int i = 1; i <= 3; ++i) {
      log_operations_[Operation::kWrite].insert(platform::OperationCount(Operation::kWrite) + i);
    }
  }

  // Names of the build's inputs in the output folder, written anew before every run.
  virtual int64_t Format() const { return kFormatZat; }

  int Run() {
    for (const std::string& name : OutputNames()) platform::RemoveFile(OutPath(name).c_str());
    MakeFareData(fare_link_);
    ClearLog();
    return BRN_BuildRoadNetworks(nullptr, Format(), control_.c_str());
  }

  Files Outputs() const {
    Files files;
    for (const std::string& name : OutputNames()) files[name] = Out(name);
    return files;
  }

  static Lines Differences(const Files& a, const Files& b) {
    Lines names;
    for (const auto& [name, bytes] : a) {
      const auto other = b.find(name);
      if (other == b.end() || other->second != bytes) names.push_back(name);
    }
    for (const auto& [name, bytes] : b) {
      if (a.count(name) == 0) names.push_back(name);
    }
    return names;
  }

  // The undisturbed build, and what it would have left behind without the interchange flags.
  void Undisturbed() {
    control_ = Control();
    ASSERT_EQ(Run(), 1);
    good_ = Outputs();
    ASSERT_EQ(good_["PayData.Inf"], std::string(kPayData) + "ICFLAG=OK\r\n");
    platform::CountOperations();
    listing_ = true;
    ASSERT_EQ(Run(), 1);
    listing_ = false;
    for (int i = 0; i < static_cast<int>(Operation::kCount); ++i) {
      counts_[i] = platform::OperationCount(static_cast<Operation>(i));
    }
    platform::ClearFaults();
    ASSERT_EQ(Differences(good_, Outputs()), Lines{});
    const std::string link = fare_link_;
    fare_link_ = Bytes().F64(77);  // is no link's code
    ASSERT_EQ(Run(), 1);
    fare_link_ = link;
    unflagged_ = Outputs();
    ASSERT_EQ(Differences(good_, unflagged_),
              (Lines{"TR_LINK.DAT", "linkname.dat", "mapattr.dat"}));
  }

  // True when the content is that of the undisturbed build, with or without interchange flags, and
  // as much again behind it. What later steps put into the first half may differ.
  bool IsDoubled(const std::string& name, const std::string& bytes) const {
    return bytes.size() == 2 * good_.at(name).size() &&
           (bytes.compare(0, bytes.size() / 2, good_.at(name)) == 0 ||
            bytes.compare(0, bytes.size() / 2, unflagged_.at(name)) == 0);
  }

  // True when the last run made no dummy link, and has told so.
  bool WithoutDummyLink() const {
    for (const std::string& line : log()) {
      if (line.ends_with(" lnDummyCtr=0, BRN_MakeDummyLinks returns=1")) return true;
    }
    return false;
  }

  Outcome Judge(int result, Operation operation, bool half) const {
    EXPECT_TRUE(result == 0 || result == 1) << result;
    if (result == 0) {
      EXPECT_EQ(log().back(), "End Error.");
      EXPECT_NE(Reports(), Lines{})
          << "a failure without a message behind " << log()[log().size() - 2];
      return Outcome::kReported;
    }
    EXPECT_EQ(log().back(), "End OK.");
    Files files = Outputs();
    const Lines different = Differences(good_, files);
    if (different.empty()) return Outcome::kSameMap;
    if (different == Lines{"linkdef.dat"}) {
      const size_t sections = good_.at("linkdef.dat").find("[ATTRIBUTE]");
      const size_t own_sections = files["linkdef.dat"].find("[ATTRIBUTE]");
      EXPECT_EQ(files["linkdef.dat"].substr(own_sections),
                good_.at("linkdef.dat").substr(sections));
      EXPECT_TRUE(operation == Operation::kWrite || Reports().size() == 1);
      return Outcome::kNoComment;
    }
    if (different == Lines{"rtweight.dat"}) {
      if (files.count("rtweight.dat") == 0) {
        EXPECT_EQ(operation, Operation::kOpen);
        return Outcome::kNoWeights;
      }
      EXPECT_EQ(operation, Operation::kRead);
      EXPECT_EQ(files["rtweight.dat"], std::string(good_.at("rtweight.dat").size(), '\0'));
      return Outcome::kEmptyWeights;
    }
    if (WithoutDummyLink()) {
      // Nodes that cannot be read end the pass over partners as the end of the file does.
      EXPECT_TRUE(operation == Operation::kRead || operation == Operation::kSeek);
      EXPECT_EQ(files["link.idx"].size() + 16, good_.at("link.idx").size());
      return Outcome::kNotJoined;
    }
    bool doubled = false;
    if (operation == Operation::kWrite && !half) {
      for (const std::string& name : different) {
        doubled = doubled || IsDoubled(name, files[name]);
      }
    }
    for (const std::string& name : different) {
      SCOPED_TRACE(name);
      const std::string& bytes = files[name];
      if (name == "PayData.Inf") {
        const std::string begin = std::string(kPayData) + "ICFLAG=ERROR\r\nICFLAG_ERROR=Can't ";
        EXPECT_TRUE(bytes == kPayData || bytes.compare(0, begin.size(), begin) == 0) << bytes;
      } else if (name == "linkname.dat" || name == "mapattr.dat") {
        // Without flags, or not written to its end by the interchange stage.
        EXPECT_TRUE(bytes == unflagged_.at(name) || IsDoubled(name, bytes) ||
                    (half && bytes == good_.at(name).substr(0, bytes.size())));
      } else if (doubled && bytes.size() == 2 * good_.at(name).size()) {
        // Steps behind the doubled one may have changed the first half of the table, and the
        // weights of doubled nodes are doubled.
        EXPECT_TRUE(IsDoubled(name, bytes) || bytes.compare(0, 8, good_.at(name), 0, 8) == 0);
      } else {
        ADD_FAILURE() << "is wrong, and the build says that it succeeded";
      }
    }
    return doubled ? Outcome::kDoubled : Outcome::kNoInterchanges;
  }

  // No file and no page memory stays behind a build, however it ended.
  void ExpectNothingHeld() const {
    // Room for this block and no other. Pages are larger on some machines.
    platform::PlayMachine(0, kLargestPage);
    void* const pages = platform::AllocPages(kLargestPage);
    EXPECT_NE(pages, nullptr) << "page memory is still held";
    platform::FreePages(pages);
    platform::PlayMachine(0, 0);
#ifndef _WIN32
    EXPECT_EQ(OpenFiles(), open_files_);
#endif
  }

#ifndef _WIN32
  static std::ptrdiff_t OpenFiles() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
  }
#endif

  // Lets every operation of a kind fail once. Those of the log are all alike: of them only the
  // first and the last few are tried.
  std::map<Outcome, int> FailEach(Operation operation, WriteFault write_fault) {
    std::map<Outcome, int> outcomes;
    const auto& of_the_log = log_operations_[operation];
    int64_t log_number = 0;
    for (int64_t n = 1; n <= counts_[static_cast<int>(operation)] && !HasFailure(); ++n) {
      const bool logs = of_the_log.count(n) != 0;
      if (logs && ++log_number > 3 && log_number + 3 <= static_cast<int64_t>(of_the_log.size())) {
        continue;
      }
      SCOPED_TRACE("operation " + std::to_string(n));
      const int result =
          RunWithFault({.operation = operation, .number = n, .write_fault = write_fault},
                       [this] { return Run(); });
      ExpectNothingHeld();
      const Outcome outcome = Judge(result, operation, write_fault == WriteFault::kHalfWritten);
      if (logs) {
        EXPECT_EQ(outcome, Outcome::kSameMap) << "the log matters";
      } else {
        ++outcomes[outcome];
      }
    }
    ExpectSourcesUntouched();
    return outcomes;
  }

  void FailEverything() {
    ASSERT_NO_FATAL_FAILURE(Undisturbed());
    {
      SCOPED_TRACE("open");
      auto outcomes = FailEach(Operation::kOpen, WriteFault::kNothingWritten);
      EXPECT_GT(outcomes[Outcome::kReported], 60);
      EXPECT_EQ(outcomes[Outcome::kNoComment], 1);
      EXPECT_EQ(outcomes[Outcome::kNoWeights], 3);
      EXPECT_EQ(outcomes[Outcome::kEmptyWeights], 0);
      EXPECT_GT(outcomes[Outcome::kNoInterchanges], 0);
      EXPECT_EQ(outcomes[Outcome::kDoubled], 0);
    }
    {
      SCOPED_TRACE("read");
      auto outcomes = FailEach(Operation::kRead, WriteFault::kNothingWritten);
      EXPECT_GT(outcomes[Outcome::kReported], 30);
      // Shapes whose memory mode fails are read from their file.
      EXPECT_LE(outcomes[Outcome::kSameMap], 2);
      EXPECT_EQ(outcomes[Outcome::kNoComment], 0);
      EXPECT_EQ(outcomes[Outcome::kNoWeights], 0);
      EXPECT_EQ(outcomes[Outcome::kEmptyWeights], 1);
      EXPECT_EQ(outcomes[Outcome::kNotJoined], 1);
      EXPECT_EQ(outcomes[Outcome::kDoubled], 0);
    }
    {
      SCOPED_TRACE("write nothing");
      auto outcomes = FailEach(Operation::kWrite, WriteFault::kNothingWritten);
      EXPECT_GT(outcomes[Outcome::kReported], 10);
      // Node names (twice), node attributes and link names are doubled, and whole again at the next
      // step that writes them.
      EXPECT_EQ(outcomes[Outcome::kSameMap], 4);
      EXPECT_EQ(outcomes[Outcome::kNoComment], 3);
      EXPECT_GT(outcomes[Outcome::kDoubled], 8);
    }
    {
      SCOPED_TRACE("write half");
      auto outcomes = FailEach(Operation::kWrite, WriteFault::kHalfWritten);
      EXPECT_GT(outcomes[Outcome::kReported], 20);
      EXPECT_EQ(outcomes[Outcome::kSameMap], 0);
      EXPECT_EQ(outcomes[Outcome::kNoComment], 3);
      EXPECT_EQ(outcomes[Outcome::kNoInterchanges], 2);
      EXPECT_EQ(outcomes[Outcome::kDoubled], 0);
    }
    {
      SCOPED_TRACE("seek");
      auto outcomes = FailEach(Operation::kSeek, WriteFault::kNothingWritten);
      EXPECT_GT(outcomes[Outcome::kReported], 5);
      EXPECT_EQ(outcomes[Outcome::kNotJoined], 1);
      EXPECT_EQ(outcomes.size(), 2u);
    }
    {
      SCOPED_TRACE("flush");
      auto outcomes = FailEach(Operation::kFlush, WriteFault::kNothingWritten);
      EXPECT_GT(outcomes[Outcome::kSameMap], 10);
      EXPECT_EQ(outcomes.size(), 1u);
    }
    {
      SCOPED_TRACE("allocate");
      auto outcomes = FailEach(Operation::kAllocate, WriteFault::kNothingWritten);
      EXPECT_GT(outcomes[Outcome::kReported], 50);
      EXPECT_EQ(outcomes[Outcome::kNoInterchanges], 5);
      EXPECT_EQ(outcomes.size(), 3u);  // the third is kSameMap: the trials
    }
  }

  std::string fare_link_;  // the code that the fare data name, 8 bytes

  static constexpr uint64_t kLargestPage = 65536;
#ifndef _WIN32
  const std::ptrdiff_t open_files_ = OpenFiles();
#endif

 private:
  std::string control_;
  bool listing_ = false;
  std::map<Operation, std::set<int64_t>> log_operations_;
  int64_t counts_[static_cast<int>(Operation::kCount)] = {};
  Files good_;
  Files unflagged_;
};

class FaultyZatBuild : public FaultyBuild {
 protected:
  void MakeSources() {
    MakeZatSources();
    fare_link_ = Code(12);
  }
};

TEST_F(FaultyZatBuild, TheMethodIsChosenByTrial) {
  MakeSources();
  FailEverything();
}

TEST_F(FaultyZatBuild, ThroughFiles) {
  UseLength(18);
  UseMethod("F");
  MakeSources();
  ASSERT_NO_FATAL_FAILURE(FailEverything());
}

class FaultyMsrBuild : public FaultyBuild {
 protected:
  int64_t Format() const override { return kFormatMsr; }

  void MakeSources() {
    MakeMsrSources();
    fare_link_ = MsrCode(3, 12);
  }
};

TEST_F(FaultyMsrBuild, InMemory) {
  UseMethod("M");
  MakeSources();
  FailEverything();
}

#ifndef _WIN32  // Under Wine it takes as long as all other tests together.
TEST_F(FaultyMsrBuild, ThroughFiles) {
  UseLength(18);
  UseMethod("F");
  MakeSources();
  FailEverything();
}
#endif

// --- Inputs and folders that are not what they should be
// ------------------------------------------

class BrokenInput : public SmallBuild {
 protected:
  BrokenInput() { UseMethod("M"); }

  void MakeNodes() { Nodes({"@1,0,0,1,@11", "@2,0,0,1,@11"}, {"@1,1,1", "@2,2,2"}); }
  void MakeLinks() { Links({"@11,3,1,10,0,0,0,@1,@2,36,36"}); }

  // Builds and expects a failure with exactly these error reports.
  void ExpectFailure(const Lines& reports) {
    EXPECT_EQ(Build(), 0);
    EXPECT_EQ(Reports(), reports);
    EXPECT_EQ(log().back(), "End Error.");
    ExpectSourcesUntouched();
  }

  Lines Reports() const {
    Lines reports;
    for (const std::string& line : log()) {
      if (line.front() == '[') reports.push_back(line);
    }
    return reports;
  }

  bool Logged(const std::string& line) const {
    return std::find(log().begin(), log().end(), line) != log().end();
  }

  static std::string NoNetwork() {
    return Cp932(
        "[ノードとリンクが不整合であるため計算用道路データが作成できません。][データエラー]");
  }
};

TEST_F(BrokenInput, AMissingControlFileMeansDefaults) {
  const std::string control = folder_ / "absent.ini";
  EXPECT_EQ(BRN_BuildRoadNetworks(nullptr, kFormatZat, control.c_str()), 0);
  // No message: the lack of nodes shows in the step's line. The folder is the control file's own.
  ExpectLog({"Building Road Networks Start. ", "Path One Start (ZAT format) ",
             "Setting Road Definition...", "CODELENGTH=14", "Setting Node Storage...",
             "Setting Node Storage end ERROR : set counter = 0", "End Error."});
  EXPECT_TRUE(Exists(folder_ / "linkdef.dat"));
  EXPECT_FALSE(Exists(control));
}

TEST_F(BrokenInput, AnEmptyControlFileInMsrLayout) {
  EXPECT_EQ(BRN_BuildRoadNetworks(nullptr, kFormatMsr, WriteControl("").c_str()), 0);
  EXPECT_EQ(log().back(), "End Error.");
  EXPECT_EQ(Reports(), Lines{});
}

TEST_F(BrokenInput, AMissingOutputFolder) {
  MakeNodes();
  MakeLinks();
  const std::string absent = folder_ / "absent";
  const std::string control =
      WriteControl("[FOLDER]\r\nCALCMAPDIR=" + absent +
                   "\r\n[NODE]\r\nFILENUM=1\r\nFILE01=" + (folder_ / "nodes.mid") + "\r\n");
  EXPECT_EQ(BRN_BuildRoadNetworks(nullptr, kFormatZat, control.c_str()), 0);
  EXPECT_EQ(Reports(),
            (Lines{"[Can't open the Road Definition File (" + PathIn(absent, "linkdef.dat") +
                       ") !][File Error in BRN_CreateRoadDef]",
                   "[Can't open the NodeStorage (" + PathIn(absent, "nodestr.~wk") +
                       ") at 01 !][File Error]"}));
  EXPECT_TRUE(Logged("Setting Node Storage end ERROR : set counter = 0"));
  EXPECT_FALSE(Exists(absent));
  ExpectSourcesUntouched();
}

TEST_F(BrokenInput, AFileInPlaceOfTheOutputFolder) {
  MakeNodes();
  const std::string nodes = folder_ / "nodes.mid";
  const std::string control = WriteControl("[FOLDER]\r\nCALCMAPDIR=" + nodes +
                                           "\r\n[NODE]\r\nFILENUM=1\r\nFILE01=" + nodes + "\r\n");
  EXPECT_EQ(BRN_BuildRoadNetworks(nullptr, kFormatZat, control.c_str()), 0);
  EXPECT_EQ(Reports().size(), 2u);
  ExpectSourcesUntouched();
}

TEST_F(BrokenInput, OutputsThatCannotBeMade) {
  // A folder stands where the file should.
  MakeNodes();
  MakeLinks();
  const struct {
    const char* name;
    const char* message;  // with %s
    const char* title;
  } cases[] = {
      {"nodestr.~wk", "Can't open the NodeStorage (%s) at 01 !", "File Error"},
      {"nnamestr.~wk", "Can't open the NodeNameStorage %s !",
       "File Error in BRN_ZAT_SetNodeNameStore"},
      {"linkstr.~wk", "Can't open the LinkStorage (%s) at 01 !", "File Error"},
      {"lnamestr.~wk", "Can't open the Link Name Storage (%s)",
       "File Error in BRN_ZAT_SetLinkNameStore"},
      {"maploc.dat", "Can't save the NodeLoc : %s", "File Error"},
      {"nodename.dat", "Can't save the NodeName : %s", "File Error"},
      {"maprule.dat", "Can't save the TrafRule : %s", "File Error"},
      {"nodeattr.dat", "Can't save the NodeAttribute : %s", "File Error"},
      {"linkname.dat", "Can't write the LinkName (%s) rec=1 !", "File Error in BRN_CreateLinkData"},
      {"mapcalc.dat", "Can't open the CalcNode File (%s) !", "File Error in BRN_CreateNetworkData"},
      {"node.idx", "Can't write the NodeIndex file(%s)", "File Error"},
      {"nodelink.idx", "Can't write the NodeLinkIndex file(%s)", "File Error"},
      {"link.idx", "Can't write the LinkIndex file(%s)", "File Error"},
      {"linknode.idx", "Can't write the LinkNodeIndex file(%s)", "File Error"},
      {"mapdraw.dat", "Can't write the DrawMap file(%s)", "File Error"},
      {"mapattr.dat", "Can't write the CalcAttribute file (%s) !",
       "File Error in BRN_FinishNodeAttribute"},
  };
  const std::string control = Control();
  int number = 0;
  for (const auto& broken : cases) {
    const std::string folder = folder_ / ("out" + std::to_string(++number));
    MakeFolder(folder);
    const std::string path = PathIn(folder, broken.name);
    MakeFolder(path);
    std::string text = ReadBytes(control);
    text.replace(text.find(out()), out().size(), folder);
    const std::string other = folder_ / "other.ini";
    WriteBytes(other, text);
    ClearLog();
    EXPECT_EQ(BRN_BuildRoadNetworks(nullptr, kFormatZat, other.c_str()), 0) << broken.name;
    std::string message = broken.message;
    message.replace(message.find("%s"), 2, path);
    EXPECT_EQ(Reports(), Lines{"[" + message + "][" + broken.title + "]"});
    EXPECT_EQ(log().back(), "End Error.");
  }
  ExpectSourcesUntouched();
}

TEST_F(BrokenInput, MissingSourceFiles) {
  const std::string absent = folder_ / "absent.txt";
  Set("NODE", "FILENUM=1");
  Set("NODE", "FILE01=" + absent);
  ExpectFailure({"[Can't open the node MID (FILE01) [" + absent + "] !][File Error]"});
}

TEST_F(BrokenInput, ANodeTextWithoutTheCompanionThatHoldsItsNames) {
  Source("NODE", "nodes.txt", {"@1,0,0,1,@11", "@2,0,0,1,@11"});
  MakeLinks();
  ExpectFailure({"[Can't open the node MID (FILE01) [" + (folder_ / "nodes.mid") +
                 "] !][File Error in BRN_ZAT_SetNodeNameStore]"});
  EXPECT_TRUE(Logged("Setting Node Name Storage from Node Data end ERROR : set count = 0"));
}

TEST_F(BrokenInput, AMissingLinkFile) {
  MakeNodes();
  const std::string absent = folder_ / "absent.txt";
  Set("LINK", "FILENUM=1");
  Set("LINK", "FILE01=" + absent);
  ExpectFailure({"[Can't open the link data (FILE01) [" + absent + "] !][File Error]"});
  EXPECT_TRUE(Logged("Setting Link Storage end ERROR : set count = 0"));
}

TEST_F(BrokenInput, EmptyNodeFile) {
  Nodes({}, {});
  MakeLinks();
  // An empty store ends the first check without a word; the counts tell.
  ExpectFailure({});
  EXPECT_TRUE(Logged("Setting Node Storage end OK : set counter = 0"));
  EXPECT_EQ(log()[log().size() - 2], "Checking Node Duplication...");
}

TEST_F(BrokenInput, EmptyLinkFile) {
  MakeNodes();
  Links({});
  ExpectFailure({});
  EXPECT_TRUE(Logged("Setting Link Storage end OK : set count = 0"));
  EXPECT_EQ(log()[log().size() - 2], "Checking Link Duplication...");
}

TEST_F(BrokenInput, EmptyFilesOfEverythingElseAreFine) {
  MakeNodes();
  MakeLinks();
  for (const char* section :
       {"NODENAME", "LINKSPEED", "LINKNAME", "NODETRF", "LINKTRF", "ATTRIBUTE", "WIDTH"}) {
    Source(section, std::string(section) + ".txt", {});
  }
  EXPECT_EQ(Build(), 1);
  EXPECT_EQ(Reports(), Lines{});
  ExpectSourcesUntouched();
}

TEST_F(BrokenInput, LineEndsWithoutCarriageReturn) {
  // The whole file is one line then: one node, and the link's second end does not exist.
  SourceBytes("NODE", "nodes.mid", Expand("@1,0,0,1,@11\n@2,0,0,1,@11\n"));
  SourceBytes("LINK", "links.txt", Expand("@11,3,1,10,0,0,0,@1,@2,36,36\n"));
  ExpectFailure({NoNetwork()});
  EXPECT_TRUE(Logged("Setting Node Storage end OK : set counter = 1"));
  EXPECT_TRUE(Logged("LinkStore=1 Killed Links=1, BRN_CheckLinkStore returns=OK"));
}

TEST_F(BrokenInput, ALongFileWithoutCarriageReturnsHoldsNoRecord) {
  std::string text;
  for (int n = 1; n <= 200; ++n) text += Expand("@" + std::to_string(n) + ",0,0,1,@11\n");
  SourceBytes("NODE", "nodes.mid", text);
  MakeLinks();
  ExpectFailure({});
  EXPECT_TRUE(Logged("Setting Node Storage end OK : set counter = 0"));
}

TEST_F(BrokenInput, ALineThatIsTooLongEndsItsFile) {
  // 2,048 bytes hold a line and its carriage return.
  const auto padded = [this](size_t size) {
    std::string line = Expand("@2,0,0,1,@11,,,,,,,,,,,");
    while (line.size() < size)
      line += std::string(std::min<size_t>(50, size - line.size() - 1), 'x') + ",";
    return line;
  };
  Nodes({"@1,0,0,1,@11", padded(2047), "@3,0,0,1,@12"}, {});
  Links({"@11,3,1,10,0,0,0,@1,@2,36,36", "@12,3,1,10,0,0,0,@2,@3,36,36"});
  EXPECT_EQ(Build(), 1);
  EXPECT_TRUE(Logged("Setting Node Storage end OK : set counter = 3"));
  ExpectSourcesUntouched();

  WriteBytes(folder_ / "nodes.mid",
             Expand("@1,0,0,1,@11\r\n") + padded(2048) + Expand("\r\n@3,0,0,1,@12\r\n"));
  ClearLog();
  EXPECT_EQ(Build(), 0);
  EXPECT_TRUE(Logged("Setting Node Storage end OK : set counter = 1"));
  EXPECT_EQ(Reports(), Lines{NoNetwork()});
}

TEST_F(BrokenInput, ALinkLineThatIsTooLongEndsItsFile) {
  MakeNodes();
  Links({Expand("@11,3,1,10,0,0,0,@1,@2,36,36,0,,") + std::string(3000, 'x')});
  ExpectFailure({});
  EXPECT_TRUE(Logged("Setting Link Storage end OK : set count = 0"));
}

TEST_F(BrokenInput, GarbageIsNoData) {
  std::string noise;
  uint32_t state = 1;
  for (int i = 0; i < 5000; ++i) {
    state = state * 1664525u + 1013904223u;
    // Fields stay short: a comma or a line end every few bytes.
    noise += i % 7 == 6 ? (i % 49 == 48 ? std::string("\r\n") : std::string(","))
                        : std::string(1, static_cast<char>(state >> 24));
  }
  SourceBytes("NODE", "nodes.mid", noise);
  SourceBytes("NODEXY", "xy.txt", noise);
  SourceBytes("LINK", "links.txt", noise);
  SourceBytes("NODETRF", "rules.txt", noise);
  SourceBytes("LINKTRF", "oneways.txt", noise);
  EXPECT_EQ(Build(), 0);
  EXPECT_EQ(log().back(), "End Error.");
  ExpectSourcesUntouched();
}

TEST_F(BrokenInput, TwoBuildsInOneFolderDoNotMix) {
  MakeNodes();
  MakeLinks();
  Set("SYSTEM", "DEBUG=1");
  ASSERT_EQ(Build(), 1);
  Files first;
  for (const std::string& name : OutputNames()) first[name] = Out(name);
  ASSERT_EQ(Build(), 1);
  for (const auto& [name, bytes] : first) EXPECT_EQ(Hex(Out(name)), Hex(bytes)) << name;
}

}  // namespace
}  // namespace zatlib::test
