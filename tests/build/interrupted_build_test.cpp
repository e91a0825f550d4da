// Builds that something ends: the process is killed, or the disk is full. The same command over
// what they left behind gives the same map as a build that nothing disturbed.
// Not on Windows, where a thousand builds take minutes under Wine and nothing can be forked.
#ifndef _WIN32

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/statvfs.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <map>
#include <set>

#include "every_stage.h"
#include "frd/log.h"
#include "platform/fault.h"

namespace zatlib::test {
namespace {

using platform::Operation;
using platform::WriteFault;
using Files = std::map<std::string, std::string>;

constexpr Operation kOperations[] = {Operation::kOpen, Operation::kRead, Operation::kWrite,
                                     Operation::kSeek, Operation::kFlush};

class InterruptedBuild : public EveryStage {
 protected:
  // A refused chunk is tried again after a wait that is over at once.
  InterruptedBuild() { platform::StepTickCount(20000); }
  ~InterruptedBuild() override { platform::WatchOperations(nullptr); }

  void MakeSources(int64_t format, const char* method, int code_length) {
    format_ = format;
    UseMethod(method);
    UseLength(code_length);
    if (format == kFormatMsr) {
      MakeMsrSources();
      fare_link_ = MsrCode(3, 12);
    } else {
      MakeZatSources();
      fare_link_ = Code(12);
    }
  }

  // The build over whatever lies in the output folder; what another program has put there is as it
  // was before the first build.
  int Run() {
    MakeFareData(fare_link_);
    ClearLog();
    return BRN_BuildRoadNetworks(nullptr, format_, control_.c_str());
  }

  Files Outputs() const {
    Files files;
    for (const std::string& name : OutputNames()) files[name] = Out(name);
    return files;
  }

  // The build that nothing disturbs.
  void Undisturbed() {
    control_ = Control();
    ASSERT_EQ(Run(), 1);
    good_ = Outputs();
    // The output folder was empty, now it is not.
    platform::CountOperations();
    ASSERT_EQ(Run(), 1);
    for (const Operation operation : kOperations) {
      counts_[operation] = platform::OperationCount(operation);
    }
    platform::ClearFaults();
    ExpectGood();
  }

  void ExpectGood() const {
    const Files files = Outputs();
    for (const auto& [name, bytes] : good_) {
      const auto found = files.find(name);
      EXPECT_TRUE(found != files.end() && found->second == bytes) << name;
    }
    EXPECT_EQ(files.size(), good_.size());
  }

  // "[message][title]"
  Lines Reports() const {
    Lines reports;
    for (const std::string& line : log()) {
      if (line.front() == '[' && line.back() == ']' && line.find("][") != std::string::npos) {
        reports.push_back(line);
      }
    }
    return reports;
  }

  int64_t format_ = kFormatZat;
  std::string control_;
  std::string fare_link_;
  Files good_;
  std::map<Operation, int64_t> counts_;
};

// --- The system refuses every write from some moment on -----------------------------------------

class RefusedWrites : public InterruptedBuild {
 protected:
  void RefuseFromEach(WriteFault fault) {
    int reported = 0;
    for (int64_t n = 1; n <= counts_[Operation::kWrite] && !HasFailure(); ++n) {
      SCOPED_TRACE("from write " + std::to_string(n));
      platform::ArmFault(Operation::kWrite, n, true, fault);
      const int result = Run();
      platform::ClearFaults();
      if (result == 0) {
        ++reported;
        EXPECT_EQ(log().back(), "End Error.");
        EXPECT_NE(Reports(), Lines{});
      } else {
        // Only the log was left to write, or the interchange flags, which are no build's failure.
        for (const auto& [name, bytes] : good_) {
          if (name == "mapattr.dat" || name == "linkname.dat" || name == "PayData.Inf") continue;
          EXPECT_TRUE(Out(name) == bytes) << name;
        }
        if (Out("mapattr.dat") != good_["mapattr.dat"] ||
            Out("linkname.dat") != good_["linkname.dat"]) {
          EXPECT_NE(Out("PayData.Inf").find("ICFLAG=ERROR\r\nICFLAG_ERROR=Can't write the "),
                    std::string::npos);
        }
      }
      // There is room again.
      EXPECT_EQ(Run(), 1);
      ExpectGood();
    }
    EXPECT_GT(reported, 50);
    ExpectSourcesUntouched();
  }

  void RefuseAll() {
    ASSERT_NO_FATAL_FAILURE(Undisturbed());
    RefuseFromEach(WriteFault::kNothingWritten);
    RefuseFromEach(WriteFault::kHalfWritten);
  }
};

TEST_F(RefusedWrites, InMemory) {
  MakeSources(kFormatZat, "M", 14);
  RefuseAll();
}

TEST_F(RefusedWrites, ThroughFiles) {
  MakeSources(kFormatZat, "F", 18);
  RefuseAll();
}

TEST_F(RefusedWrites, MsrLayoutInMemory) {
  MakeSources(kFormatMsr, "M", 18);
  RefuseAll();
}

TEST_F(RefusedWrites, MsrLayoutThroughFiles) {
  MakeSources(kFormatMsr, "F", 14);
  RefuseAll();
}

// --- The process is killed ----------------------------------------------------------------------

// Where the process ends.
struct Death {
  Operation operation = Operation::kCount;
  int64_t number = 0;
  bool after = false;  // not before the operation but before the next one
  bool near = false;
};
Death g_death;

void DieAtOperation(Operation operation, int64_t number) {
  const bool there = operation == g_death.operation && number == g_death.number;
  if (g_death.near || (there && !g_death.after)) ::raise(SIGKILL);
  g_death.near = there;
}

class KilledBuild : public InterruptedBuild {
 protected:
  // A new process takes long with the tables of a sanitizer.
#if defined(__has_feature)
#if __has_feature(address_sanitizer)
  static constexpr int kEvery = 5;
#else
  static constexpr int kEvery = 1;
#endif
#else
  static constexpr int kEvery = 1;
#endif

  // Runs the build in a process of its own that ends there.
  void Kill(const Death& death) {
    ::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      g_death = death;
      if (death.after) {
        platform::ArmFault(death.operation, death.number, false, WriteFault::kHalfWritten);
      } else {
        platform::CountOperations();
      }
      platform::WatchOperations(DieAtOperation);
      Run();
      ::_exit(1);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << status;
  }

  void KillEverywhere() {
    ASSERT_NO_FATAL_FAILURE(Undisturbed());
    int changed = 0;
    for (const Operation operation : kOperations) {
      for (const bool half : {false, true}) {
        if (half && operation != Operation::kWrite) continue;
        // Between two reads or two seeks next to nothing happens to the files.
        const bool dense = operation == Operation::kOpen || operation == Operation::kWrite;
        // Nothing comes behind the last write, which is the log's.
        const int64_t last = counts_[operation] - (half ? 1 : 0);
        for (int64_t n = 1; n <= last; n += dense ? kEvery : 3 * kEvery) {
          SCOPED_TRACE("operation " + std::to_string(static_cast<int>(operation)) + ", " +
                       std::to_string(n) + (half ? ", half of it done" : ""));
          ASSERT_NO_FATAL_FAILURE(Kill({operation, n, half}));
          if (Outputs() != good_) ++changed;
          ASSERT_EQ(Run(), 1);
          ExpectGood();
          if (HasFailure()) return;
        }
      }
    }
    EXPECT_GT(changed, 150 / kEvery);
    ExpectSourcesUntouched();
  }
};

TEST_F(KilledBuild, InMemory) {
  MakeSources(kFormatZat, "M", 14);
  KillEverywhere();
}

TEST_F(KilledBuild, ThroughFiles) {
  MakeSources(kFormatZat, "F", 14);
  KillEverywhere();
}

TEST_F(KilledBuild, MsrLayoutInMemory) {
  MakeSources(kFormatMsr, "M", 14);
  KillEverywhere();
}

TEST_F(KilledBuild, MsrLayoutThroughFiles) {
  MakeSources(kFormatMsr, "F", 14);
  KillEverywhere();
}

// A map that lay in the folder is not mixed with the new one: a file is the old one, or it holds
// bytes of the new one only and may be too short.
TEST_F(KilledBuild, NoFileMixesTwoMaps) {
  MakeSources(kFormatZat, "M", 14);
  ASSERT_NO_FATAL_FAILURE(Undisturbed());
  const std::string end(8, '\xEE');
  int begun = 0;
  for (const bool half : {false, true}) {
    for (int64_t n = 1; n < counts_[Operation::kWrite] && !HasFailure(); ++n) {
      SCOPED_TRACE("write " + std::to_string(n) + (half ? ", half of it done" : ""));
      for (const auto& [name, bytes] : good_) {
        if (name.ends_with(".dat") || name.ends_with(".idx")) {
          WriteBytes(OutPath(name), std::string(bytes.size() + 64, '\xEE'));
        }
      }
      ASSERT_NO_FATAL_FAILURE(Kill({Operation::kWrite, n, half}));
      for (const auto& [name, bytes] : good_) {
        if (!name.ends_with(".dat") && !name.ends_with(".idx")) continue;
        const std::string left = Out(name);
        if (left == std::string(bytes.size() + 64, '\xEE')) continue;
        ++begun;
        EXPECT_FALSE(left.ends_with(end)) << name;
        EXPECT_LE(left.size(), bytes.size()) << name;
      }
    }
  }
  EXPECT_GT(begun, 1000);
}

// --- The disk is full ---------------------------------------------------------------------------

constexpr int kPage = 4096;         // bytes that a file of the small disk grows by
constexpr int kDiskSize = 8 << 20;  // bytes

// Takes all of a disk but some pages, before a write.
struct Hog {
  int64_t at_write = 0;
  int pages_left = 0;
  std::string path;
};
Hog g_hog;

void FillDisk() {
  struct statvfs disk {};
  ASSERT_EQ(::statvfs(g_hog.path.substr(0, g_hog.path.rfind('/')).c_str(), &disk), 0);
  const int64_t room =
      static_cast<int64_t>(disk.f_bavail * disk.f_frsize) - int64_t{g_hog.pages_left} * kPage;
  const int file = ::open(g_hog.path.c_str(), O_WRONLY | O_CREAT, 0666);
  ASSERT_GE(file, 0);
  if (room > 0) {
    ASSERT_EQ(::posix_fallocate(file, 0, room), 0);
  }
  ::close(file);
}

void FillAtWrite(Operation operation, int64_t number) {
  if (operation == Operation::kWrite && number == g_hog.at_write) FillDisk();
}

class FullDisk : public InterruptedBuild {
 protected:
  FullDisk() { g_hog.path = OutPath("ballast"); }
  ~FullDisk() override {
    if (mounted_) ::umount2(out().c_str(), MNT_DETACH);
  }

  void Hear(const std::string& /*line*/) override {
    // The log lies on another disk; one line is three writes.
    const int64_t next = platform::OperationCount(Operation::kWrite) + 1;
    if (listing_) log_writes_.insert({next, next + 1, next + 2});
  }

  // A ring of 4,949 nodes and links: every file is larger than a page, and the store of the links
  // ends 16 bytes before the end of a page, so that the dummy link needs another one.
  void MakeRing(const char* method) {
    constexpr int kCount = 4949;
    UseMethod(method);
    Lines nodes, coordinates, names, links, speeds, link_names, rules, one_ways, shapes;
    for (int i = 1; i <= kCount; ++i) {
      const std::string n = std::to_string(i);
      const std::string next = std::to_string(i % kCount + 1);
      const std::string link = "@" + std::to_string(10000 + i);
      const std::string before = "@" + std::to_string(10000 + (i == 1 ? kCount : i - 1));
      const std::string partner = i == 1 ? "@100" : i == 100 ? "@1" : "0";
      nodes.push_back("@" + n + ",0," + partner + ",2," + link + "," + before + ",,,,,,,Node " + n);
      coordinates.push_back("@" + n + ",135." + n + ",35." + n);
      names.push_back("@" + n + ",3,Name " + n);
      links.push_back(link + ",3,1,10,0,0,0,@" + n + ",@" + next + ",36,36,0,1,Link");
      speeds.push_back(link + ",,,20,30,1");
      link_names.push_back(link + ",,2,Street " + n);
      rules.push_back("@" + n + "," + before + "," + link + ",2");
      one_ways.push_back(link + ",@" + n + ",@" + next + ",0,2");
      shapes.insert(shapes.end(), {link + ",3", "135." + n + ",35." + n, "135.5,35.5",
                                   "135." + next + ",35." + next});
    }
    Nodes(nodes, coordinates);
    Source("NODENAME", "names.txt", names);
    Links(links);
    Source("LINKSPEED", "speeds.txt", speeds);
    Source("LINKNAME", "linknames.txt", link_names);
    Source("NODETRF", "rules.txt", rules);
    Source("LINKTRF", "oneways.txt", one_ways);
    Source("LINKSHAPE", "shapes.txt", shapes);
    fare_link_ = Code(10012);
  }

  // A disk of its own for the output folder, seen by this process only. False when the system does
  // not allow it.
  bool MountDisk() {
    if (::unshare(CLONE_NEWNS) != 0) {
      const std::string user = "0 " + std::to_string(::getuid()) + " 1\n";
      const std::string group = "0 " + std::to_string(::getgid()) + " 1\n";
      if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) return false;
      WriteBytes("/proc/self/setgroups", "deny");
      WriteBytes("/proc/self/uid_map", user);
      WriteBytes("/proc/self/gid_map", group);
    }
    const std::string size = "size=" + std::to_string(kDiskSize);
    mounted_ = ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
               ::mount("tmpfs", out().c_str(), "tmpfs", 0, size.c_str()) == 0;
    return mounted_;
  }

  // Runs the body in a process of its own, which may mount a disk. Its failures are shown by it.
  template <typename Body>
  void Apart(Body body) {
    constexpr int kNotAllowed = 77;
    ::fflush(nullptr);
    const pid_t child = ::fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      if (!MountDisk()) ::_exit(kNotAllowed);
      body();
      ::fflush(nullptr);
      ::_exit(HasFailure() ? 1 : 0);
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status)) << status;
    if (WEXITSTATUS(status) == kNotAllowed) GTEST_SKIP() << "mounting is not permitted here";
    EXPECT_EQ(WEXITSTATUS(status), 0);
  }

  // The disk is full before each write in turn; the set of what the builds have reported, without
  // the folder's path.
  std::set<std::string> FillAtEach(int pages_left) {
    std::set<std::string> reported;
    g_hog.pages_left = pages_left;
    for (int64_t n = 1; n <= counts_[Operation::kWrite] && !HasFailure(); ++n) {
      if (log_writes_.count(n) != 0) continue;
      SCOPED_TRACE("full at write " + std::to_string(n));
      g_hog.at_write = n;
      ClearLog();
      // A file of an earlier map would keep its room.
      for (const std::string& name : OutputNames()) platform::RemoveFile(OutPath(name).c_str());
      platform::CountOperations();
      platform::WatchOperations(FillAtWrite);
      const int result = Run();
      platform::WatchOperations(nullptr);
      platform::ClearFaults();
      EXPECT_TRUE(platform::RemoveFile(g_hog.path.c_str()));
      std::string report;
      if (result == 0) {
        EXPECT_EQ(log().back(), "End Error.");
        EXPECT_EQ(Out("PayData.Inf"), kPayData);
        for (const std::string& line : log()) {
          if (line.front() == '[') report += line;
        }
      } else {
        report = Out("PayData.Inf").substr(std::strlen(kPayData));
      }
      for (size_t at = 0; (at = report.find(out() + "/")) != std::string::npos;) {
        report.erase(at, out().size() + 1);
      }
      if (result != 0 && report == "ICFLAG=OK\r\n") {
        // Records changed in place took no more room.
        ExpectGood();
      } else {
        reported.insert(report);
      }
      EXPECT_EQ(Run(), 1);
      ExpectGood();
    }
    ExpectSourcesUntouched();
    return reported;
  }

  static void ExpectSame(const std::set<std::string>& reported,
                         const std::set<std::string>& expected) {
    for (const std::string& report : reported) {
      EXPECT_EQ(expected.count(report), 1u) << "not expected: " << report;
    }
    for (const std::string& report : expected) {
      EXPECT_EQ(reported.count(report), 1u) << "missing: " << report;
    }
  }

  void FillEverywhere(const std::string& operation) {
    listing_ = true;
    ASSERT_NO_FATAL_FAILURE(Undisturbed());
    listing_ = false;
    // What does not say where it stopped. Files that are saved again are made anew: the room that
    // they had is gone.
    const std::set<std::string> common = {
        "[Can't write the NodeNameStore (nnamestr.~wk) at file=01 !]"
        "[File Error in BRN_ZAT_SetNodeNameStore]",
        "[Can't save the link name storage (lnamestr.~wk) at FILE01]"
        "[File Error in BRN_ZAT_SetLinkNameStore]",
        "[Can't save the NodeLoc : maploc.dat][File Error]",
        "[Can't save the NodeName : nodename.dat][File Error]",
        "[Can't save the TrafRule : maprule.dat][File Error]",
        "[Can't save the NodeAttribute : nodeattr.dat][File Error]",
        // 4,949 links and the dummy link
        "[Can't write the LinkName (linkname.dat) rec=4950 !][File Error in " + operation +
            "_CreateLinkData]",
        "[Can't write the NodeIndex file(node.idx)][File Error]",
        "[Can't write the NodeLinkIndex file(nodelink.idx)][File Error]",
        "[Can't write the LinkIndex file(link.idx)][File Error]",
        "[Can't write the LinkNodeIndex file(linknode.idx)][File Error]",
        "[Can't write the DrawMap file(mapdraw.dat)][File Error]",
        "[Can't write the CalcAttribute file (mapattr.dat) !]"
        "[File Error in BRN_FinishNodeAttribute]",
        "[Can't write the output file : rtweight.dat][Fatal Error in MM_CreateRightTurnWeight]",
        "[Can't write the node store !][File Error in BRN_ZAT_SetNodeXYData]",
        "[Can't write the link storage linkstr.~wk !][File Error in BRN_ZAT_SetLinkSpeedData]",
        "[Can't write the index DBL file (shapedbl.idx)][File Error in SHAPE_FinishShapeIndex]",
        "[Can't write the NodeAttribute file (nodeattr.dat) !]"
        "[File Error in BRN_FinishNodeAttribute]",
        "[Can't write the NodeName file (nodename.dat) !][File Error in BRN_FinishNodeAttribute]",
        "[Can't save the NodeName (nodename.dat) !][File Error in BRN_FinishNodeName]",
        "[Can't save the LinkName (linkname.dat) !][File Error in BRN_FinishLinkName]",
        "[Can't write maprule.dat !][File Error]",
        "[Can't write linknode.idx !][File Error]",
        // 4,949 nodes of 64 bytes; 4,950 links of 16
        "[Can't write mapcalc.dat !\r\n(org/written=316736/79200)][File Error]",
        "ICFLAG=ERROR\r\nICFLAG_ERROR=Can't write the CalcAttribute : mapattr.dat\r\n",
        "ICFLAG=ERROR\r\nICFLAG_ERROR=Can't write the LinkName : linkname.dat\r\n",
    };
    {
      SCOPED_TRACE("nothing left");
      std::set<std::string> expected = common;
      expected.insert({
          "[Can't write the Road Definition File (linkdef.dat) !][File Error in BRN_CreateRoadDef]",
          "[Can't write the NodeStorage (nodestr.~wk) at 01, 0 !][File Error]",
          "[Can't write the LinkStorage (linkstr.~wk) at 01, 0 !][File Error]",
          "[Can't write the RuleStorage (trafrule.~wk) at rec=0 !]"
          "[File Error in BRN_ZAT_SetNodeTrfData]",
          "[Can't write the OneWayStorage (onewayst.~wk) at rec=0 !]"
          "[File Error in BRN_ZAT_SetLinkTrfData]",
          "[Can't write the Shape File at rec=1 in Line ITEM section item=1]"
          "[File Error in SHAPE_CreateShapeFileFromZatText]",
          "[Can't write the shape index DBL file (shapedbl.idx) at rec=1]"
          "[File Error in SHAPE_CreateShapeFileFromZatText]",
          "[Can't append the LINKSTORE(linkstr.~wk)][File Error]",
          "[Can't write the CalcNode Data(mapcalc.dat) at 0 !][File Error in " + operation +
              "_CreateNetworkData]",
      });
      ExpectSame(FillAtEach(0), expected);
    }
    {
      // 42 records of 96 bytes, 85 of 48, 128 of 32, 256 entries of 16, 64 records of 64. The page
      // may also have gone to the road definition, or to the points in front of the first entry;
      // the dummy link has it.
      SCOPED_TRACE("a page left");
      std::set<std::string> expected = common;
      expected.insert({
          "[Can't write the NodeStorage (nodestr.~wk) at 01, 0 !][File Error]",
          "[Can't write the NodeStorage (nodestr.~wk) at 01, 42 !][File Error]",
          "[Can't write the LinkStorage (linkstr.~wk) at 01, 85 !][File Error]",
          "[Can't write the RuleStorage (trafrule.~wk) at rec=128 !]"
          "[File Error in BRN_ZAT_SetNodeTrfData]",
          "[Can't write the OneWayStorage (onewayst.~wk) at rec=128 !]"
          "[File Error in BRN_ZAT_SetLinkTrfData]",
          "[Can't write the shape index DBL file (shapedbl.idx) at rec=1]"
          "[File Error in SHAPE_CreateShapeFileFromZatText]",
          "[Can't write the shape index DBL file (shapedbl.idx) at rec=257]"
          "[File Error in SHAPE_CreateShapeFileFromZatText]",
          "[Can't write the CalcNode Data(mapcalc.dat) at 64 !][File Error in " + operation +
              "_CreateNetworkData]",
      });
      ExpectSame(FillAtEach(1), expected);
    }
  }

 private:
  bool mounted_ = false;
  bool listing_ = false;
  std::set<int64_t> log_writes_;
};

TEST_F(FullDisk, InMemory) {
  MakeRing("M");
  Apart([this] { FillEverywhere("BRN"); });
}

TEST_F(FullDisk, ThroughFiles) {
  MakeRing("F");
  Apart([this] { FillEverywhere("BRN450"); });
}

}  // namespace
}  // namespace zatlib::test

#endif
