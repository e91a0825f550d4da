// Building aside and exchanging (tools/zatmap/build/staging.h): what lies in an output folder when
// the process ends, or the system refuses, at any of the moves.
#include "build/staging.h"

#include <gtest/gtest.h>

#ifndef _WIN32
#include <sys/mount.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#endif

#include <map>
#include <string>

#include "build/exchange.h"
#include "platform/fault.h"
#include "platform/file.h"
#include "platform/folder.h"
#include "shell/made_files.h"
#include "test_support.h"

namespace zatmap {
namespace {

using zatlib::platform::Access;
using zatlib::platform::Disposition;
using zatlib::platform::File;
using zatlib::platform::FileKind;
using zatlib::platform::Operation;
using zatlib::platform::Share;
using zatlib::test::Exists;
using zatlib::test::MakeFolder;
using zatlib::test::ReadBytes;
using zatlib::test::WriteBytes;
using Files = std::map<std::string, std::string>;

const std::string kSeparator(1, zatlib::platform::NativeSeparator());
const Files kOldMap = {{"link.idx", "old links"},
                       {"mapcalc.dat", "old network"},
                       {"shapedat.dat", "old shapes"},
                       {"trafrule.~wk", "old store"}};
const Files kNewMap = {
    {"link.idx", "new links"}, {"mapcalc.dat", "new network"}, {"zatmap.json", "{}"}};
const Files kOthers = {{"TR_LINK.DAT", "fares"}, {"links.txt", "a source"}, {"notes", "mine"}};
constexpr char kStatus[] = "[SYSTEM]\r\nResult=OK\r\n";

Files operator+(Files a, const Files& b) {
  a.insert(b.begin(), b.end());
  return a;
}

class StagingTest : public ::testing::Test {
 protected:
  StagingTest() {
    MakeFolder(base());
    MakeFolder(out());
  }
  ~StagingTest() override {
    zatlib::platform::WatchOperations(nullptr);
    zatlib::platform::ClearFaults();
  }

  std::string base() const { return folder_ / "base"; }
  std::string out() const { return base() + kSeparator + "out"; }
  std::string Out(const std::string& name) const { return out() + kSeparator + name; }

  void Put(const Files& files) const {
    for (const auto& [name, bytes] : files) WriteBytes(Out(name), bytes);
  }

  // The files of a folder, those of its folders too, by their paths.
  static Files Everything(const std::string& folder, const std::string& prefix = "") {
    Files files;
    zatlib::platform::ListFolder(folder.c_str(), [&](const char* name, FileKind kind) {
      const std::string path = folder + kSeparator + name;
      if (kind == FileKind::kFolder) {
        files.merge(Everything(path, prefix + name + "/"));
        files[prefix + name + "/"];
      } else {
        files[prefix + name] = ReadBytes(path);
      }
    });
    return files;
  }
  Files InOut() const { return Everything(out()); }

  static void Clear(const std::string& folder) {
    zatlib::platform::ListFolder(folder.c_str(), [&](const char* name, FileKind kind) {
      const std::string path = folder + kSeparator + name;
      if (kind == FileKind::kFolder) Clear(path);
      if (kind != FileKind::kFolder) zatlib::platform::RemoveEntry(path.c_str());
    });
    zatlib::platform::RemoveFolder(folder.c_str());
  }

  // Beside the output folder, and above all in it, nothing is left.
  void ExpectNoRubbish() const {
    Files beside = Everything(base());
    for (auto i = beside.begin(); i != beside.end();) {
      i = i->first.starts_with("out/") ? beside.erase(i) : std::next(i);
    }
    EXPECT_EQ(beside, Files{});
    EXPECT_FALSE(Exists(Out(".zatmap-new")));
    EXPECT_FALSE(Exists(Out(".zatmap-lock")));
    EXPECT_FALSE(Exists(Out(kExchangeFile)));
  }

  // Writes through the platform, as the library does, under the path of the output folder.
  void Write(const std::string& name, const std::string& bytes) const {
    File file =
        File::Open(Out(name).c_str(), Access::kWrite, Share::kNone, Disposition::kCreateAlways);
    uint32_t written = 0;
    ASSERT_TRUE(file.IsOpen()) << name;
    EXPECT_TRUE(file.Write(bytes.data(), static_cast<uint32_t>(bytes.size()), &written));
  }

  std::unique_ptr<Staging> Open() {
    error_.clear();
    return Staging::Open(out(), &error_);
  }

  // A whole build; true when the map was replaced.
  bool Build() {
    const auto staging = Open();
    if (staging == nullptr) return false;
    for (const auto& [name, bytes] : kNewMap) Write(name, bytes);
    return staging->Commit(&error_);
  }

  // What a build that does nothing clears and finishes.
  void Recover() {
    ASSERT_NE(Open(), nullptr) << error_;
    ExpectNoRubbish();
  }

  zatlib::test::TempFolder folder_;
  std::string error_;
};

TEST_F(StagingTest, TheOldMapStandsUntilTheNewOneTakesItsPlace) {
  Put(kOldMap + kOthers);
  {
    const auto staging = Open();
    ASSERT_NE(staging, nullptr) << error_;
    for (const auto& [name, bytes] : kNewMap) Write(name, bytes);
    EXPECT_EQ(InOut(), kOldMap + kOthers);
    EXPECT_EQ(Everything(staging->folder()), kNewMap);
    EXPECT_TRUE(staging->Commit(&error_)) << error_;
    EXPECT_EQ(InOut(), kNewMap + kOthers);
  }
  EXPECT_EQ(InOut(), kNewMap + kOthers);
  ExpectNoRubbish();
}

TEST_F(StagingTest, AnAbandonedBuildLeavesNothing) {
  Put(kOldMap);
  {
    const auto staging = Open();
    ASSERT_NE(staging, nullptr) << error_;
    Write("mapcalc.dat", "new network");
  }
  EXPECT_EQ(InOut(), kOldMap);
  ExpectNoRubbish();
}

TEST_F(StagingTest, AFolderOfNothingButAMapIsExchangedAsAWhole) {
  Put(kOldMap);
  EXPECT_TRUE(Build()) << error_;
  EXPECT_EQ(InOut(), kNewMap);
  ExpectNoRubbish();
}

TEST_F(StagingTest, MissingFoldersAreMadeAndGoWithAnAbandonedBuild) {
  const std::string deep = base() + kSeparator + "a" + kSeparator + "b";
  {
    const auto staging = Staging::Open(deep, &error_);
    ASSERT_NE(staging, nullptr) << error_;
    EXPECT_TRUE(Exists(deep));
  }
  EXPECT_FALSE(Exists(base() + kSeparator + "a"));
  {
    const auto staging = Staging::Open(deep, &error_);
    ASSERT_NE(staging, nullptr) << error_;
    EXPECT_TRUE(staging->Commit(&error_)) << error_;
  }
  EXPECT_TRUE(Exists(deep));
}

TEST_F(StagingTest, AFileIsNoFolder) {
  WriteBytes(base() + kSeparator + "file", "1");
  EXPECT_EQ(Staging::Open(base() + kSeparator + "file", &error_), nullptr);
  EXPECT_EQ(error_, base() + kSeparator + "file is no folder: [FOLDER] CALCMAPDIR has to name one");
  EXPECT_EQ(Staging::Open(base() + kSeparator + "file" + kSeparator + "out", &error_), nullptr);
  EXPECT_NE(error_.find("cannot be made"), std::string::npos) << error_;
}

TEST_F(StagingTest, OneBuildAtATime) {
  const auto first = Open();
  ASSERT_NE(first, nullptr) << error_;
  EXPECT_EQ(Open(), nullptr);
  EXPECT_EQ(error_, "another build is at work in " + zatlib::platform::RealPath(out().c_str()) +
                        "; wait for its end");
  EXPECT_TRUE(Exists(first->folder()));
}

// PayData.Inf is another program's, and a build changes a key of it.
TEST_F(StagingTest, TheStatusOfTheFareDataIsReplacedWhenTheBuildChangesIt) {
  Put(kOldMap);
  WriteBytes(Out("PayData.Inf"), kStatus);
  EXPECT_TRUE(Build()) << error_;
  EXPECT_EQ(ReadBytes(Out("PayData.Inf")), kStatus);
  for (const bool foreign : {false, true}) {
    {
      const auto staging = Open();
      ASSERT_NE(staging, nullptr) << error_;
      Write("PayData.Inf", "built");
      EXPECT_EQ(ReadBytes(Out("PayData.Inf")), kStatus);
      if (foreign) WriteBytes(Out("PayData.Inf"), "changed by its owner");
      EXPECT_TRUE(staging->Commit(&error_)) << error_;
    }
    EXPECT_EQ(ReadBytes(Out("PayData.Inf")), foreign ? "changed by its owner" : "built");
    WriteBytes(Out("PayData.Inf"), kStatus);
  }
  ExpectNoRubbish();
}

// Whatever is refused, the map is the old one or the new one, and the next build clears up.
TEST_F(StagingTest, AnyRefusedMove) {
  for (const Files& others : {Files{}, kOthers}) {
    for (const bool sticky : {false, true}) {
      int failed = 0;
      for (int64_t n = 1;; ++n) {
        SCOPED_TRACE(std::to_string(others.size()) + " others, move " + std::to_string(n) +
                     (sticky ? " and all behind it" : ""));
        Clear(out());
        MakeFolder(out());
        Put(kOldMap + others);
        zatlib::platform::ArmFault(Operation::kMove, n, sticky);
        const bool built = Build();
        const bool reached = zatlib::platform::OperationCount(Operation::kMove) >= n;
        zatlib::platform::ClearFaults();
        if (!reached) break;
        if (!built) {
          ++failed;
          EXPECT_NE(error_, "");
        }
        const bool mixed = Exists(Out(kExchangeFile));
        if (!mixed) {
          EXPECT_EQ(InOut(), (built ? kNewMap : kOldMap) + others);
        } else {
          EXPECT_FALSE(built);
        }
        ASSERT_NO_FATAL_FAILURE(Recover());
        EXPECT_EQ(InOut(), (built || mixed ? kNewMap : kOldMap) + others);
        if (HasFailure()) return;
      }
      // A place beside or an exchange in one step that is refused once has another way.
      if (sticky || !others.empty()) {
        EXPECT_GT(failed, 0);
      }
    }
  }
}

#ifdef _WIN32

// Windows neither moves nor replaces a file that somebody reads.
TEST_F(StagingTest, AFileThatIsReadKeepsTheOldMapInItsPlace) {
  Put(kOldMap + kOthers);
  {
    const File reader = File::Open(Out("link.idx").c_str(), Access::kRead, Share::kRead,
                                   Disposition::kOpenExisting);
    ASSERT_TRUE(reader.IsOpen());
    EXPECT_FALSE(Build());
    EXPECT_NE(error_.find("another program uses it"), std::string::npos) << error_;
    EXPECT_EQ(InOut(), kOldMap + kOthers);
  }
  EXPECT_TRUE(Build()) << error_;
  EXPECT_EQ(InOut(), kNewMap + kOthers);
  ExpectNoRubbish();
}

#else

int64_t g_last_move = 0;

void DieAtMove(Operation operation, int64_t number) {
  if (operation == Operation::kMove && number == g_last_move) ::raise(SIGKILL);
}

class KilledStaging : public StagingTest {
 protected:
  // Runs a build in a process that ends before its n-th move; false when it has fewer.
  bool Kill(int64_t n) {
    const pid_t child = ::fork();
    if (child == 0) {
      g_last_move = n;
      zatlib::platform::CountOperations();
      zatlib::platform::WatchOperations(DieAtMove);
      ::_exit(Build() ? 0 : 1);
    }
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_TRUE(WIFSIGNALED(status) || WEXITSTATUS(status) == 0) << status;
    return WIFSIGNALED(status);
  }
};

TEST_F(KilledStaging, AtAnyMoveOfAWholeExchangeTheMapIsWhole) {
  int replaced = 0;
  for (int64_t n = 1;; ++n) {
    SCOPED_TRACE("move " + std::to_string(n));
    Put(kOldMap);
    if (!Kill(n)) break;
    const Files left = InOut();
    EXPECT_TRUE(left == kOldMap || left == kNewMap);
    if (left == kNewMap) ++replaced;
    ASSERT_NO_FATAL_FAILURE(Recover());
    EXPECT_EQ(InOut(), left);
    Clear(out());
    MakeFolder(out());
  }
  EXPECT_GT(replaced, 0);
}

TEST_F(KilledStaging, FilesOfOthersAreNeverTouched) {
  int old = 0;
  int mixed = 0;
  int replaced = 0;
  for (int64_t n = 1;; ++n) {
    SCOPED_TRACE("move " + std::to_string(n));
    Put(kOldMap + kOthers);
    MakeFolder(Out("deep"));
    WriteBytes(Out("deep") + kSeparator + "mapcalc.dat", "another map");
    const Files others = kOthers + Files{{"deep/", ""}, {"deep/mapcalc.dat", "another map"}};
    if (!Kill(n)) break;
    const Files left = InOut();
    for (const auto& [name, bytes] : others) EXPECT_EQ(left.at(name), bytes) << name;
    if (left.contains(kExchangeFile)) {
      ++mixed;
      // Who opens the map meanwhile finds no network rather than a mixed map.
      if (left.contains("mapcalc.dat")) {
        const bool is_old = left.at("mapcalc.dat") == kOldMap.at("mapcalc.dat");
        for (const auto& [name, bytes] : is_old ? kOldMap : kNewMap) {
          EXPECT_EQ(left.at(name), bytes) << name;
        }
      }
    } else {
      EXPECT_TRUE(left == kOldMap + others || left == kNewMap + others);
      ++(left == kOldMap + others ? old : replaced);
    }
    // The process that finishes may be killed, too.
    if (n % 2 == 0) Kill(2);
    ASSERT_NO_FATAL_FAILURE(Recover());
    const bool is_new = left.contains(kExchangeFile) || left == kNewMap + others;
    if (n % 2 != 0) {
      EXPECT_EQ(InOut(), (is_new ? kNewMap : kOldMap) + others);
    }
    if (HasFailure()) return;
    Clear(out());
    MakeFolder(out());
  }
  EXPECT_GT(old, 0);
  EXPECT_GT(mixed, 6);
  EXPECT_GT(replaced, 0);
}

TEST_F(StagingTest, ALinkLeadsToTheFolderAndStays) {
  Put(kOldMap);
  const std::string link = base() + kSeparator + "link";
  ASSERT_EQ(::symlink("out", link.c_str()), 0);
  {
    const auto staging = Staging::Open(link, &error_);
    ASSERT_NE(staging, nullptr) << error_;
    Write("mapcalc.dat", "new network");
    EXPECT_TRUE(staging->Commit(&error_)) << error_;
  }
  EXPECT_TRUE(zatlib::platform::IsLink(link.c_str()));
  EXPECT_EQ(InOut(), (Files{{"mapcalc.dat", "new network"}}));
}

TEST_F(StagingTest, TheFolderKeepsItsModeAndFilesTheirs) {
  Put(kOldMap);
  ASSERT_EQ(::chmod(out().c_str(), 02750), 0);
  ASSERT_EQ(::chmod(Out("mapcalc.dat").c_str(), 0600), 0);
  for (const bool whole : {true, false}) {
    if (!whole) Put(kOthers);
    EXPECT_TRUE(Build()) << error_;
    struct stat status {};
    ASSERT_EQ(::stat(out().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 02750u);
    ASSERT_EQ(::stat(Out("mapcalc.dat").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0600u) << whole;
  }
}

// Something that somebody else has put in the way is not followed.
TEST_F(StagingTest, ALinkInPlaceOfTheNewFolderIsRemoved) {
  MakeFolder(base() + kSeparator + "victim");
  WriteBytes(base() + kSeparator + "victim" + kSeparator + "mapcalc.dat", "theirs");
  ASSERT_EQ(::symlink("victim", (base() + kSeparator + ".out.zatmap-new").c_str()), 0);
  EXPECT_TRUE(Build()) << error_;
  EXPECT_EQ(ReadBytes(base() + kSeparator + "victim" + kSeparator + "mapcalc.dat"), "theirs");
}

// A journal that came with a copy of the folder leads to nobody's files.
TEST_F(StagingTest, AJournalWithoutItsFolderTellsUntilABuildSucceeds) {
  Put(kOldMap);
  WriteBytes(Out(kExchangeFile), "zatmap exchange 1\n" + base() + "/elsewhere\nlink.idx\n");
  MakeFolder(base() + "/elsewhere");
  WriteBytes(base() + "/elsewhere/link.idx", "of another");
  ASSERT_NE(Open(), nullptr) << error_;
  EXPECT_TRUE(Exists(Out(kExchangeFile)));
  EXPECT_EQ(ReadBytes(Out("link.idx")), "old links");
  EXPECT_TRUE(Build()) << error_;
  EXPECT_EQ(InOut(), kNewMap);
  EXPECT_EQ(ReadBytes(base() + "/elsewhere/link.idx"), "of another");
}

#endif

}  // namespace
}  // namespace zatmap
