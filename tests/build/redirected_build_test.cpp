// Whole builds whose files are sent elsewhere (platform/redirect.h) by the names that zatmap knows
// of: nothing happens in the output folder, and nothing else differs from a plain build.
#ifdef __linux__

#include <sys/inotify.h>
#include <unistd.h>

#include <map>
#include <string>

#include "every_stage.h"
#include "platform/redirect.h"
#include "shell/made_files.h"

namespace zatlib::test {
namespace {

using Files = std::map<std::string, std::string>;

class RedirectedBuild : public EveryStage {
 protected:
  RedirectedBuild() { MakeFolder(Aside()); }
  ~RedirectedBuild() override { platform::ClearRedirect(); }

  std::string Aside() const { return folder_ / "aside"; }

  static Files In(const std::string& folder) {
    Files files;
    platform::FindFiles(folder.c_str(), "",
                        [&](const char* name) { files[name] = ReadBytes(PathIn(folder, name)); });
    return files;
  }

  static void Empty(const std::string& folder) {
    for (const auto& [name, bytes] : In(folder)) {
      platform::RemoveFile(PathIn(folder, name).c_str());
    }
  }

  void MakeSources(int64_t format) {
    if (format == kFormatMsr) {
      MakeMsrSources();
      fare_link_ = MsrCode(3, 12);
    } else {
      MakeZatSources();
      fare_link_ = Code(12);
    }
    control_ = Control();
  }

  // The plain build of the same; its log, and its files without those of the fare data.
  Lines Plain(int64_t format, int* result, Files* files) {
    Empty(out());
    MakeFareData(fare_link_);
    ClearLog();
    *result = BRN_BuildRoadNetworks(nullptr, format, control_.c_str());
    *files = In(out());
    for (const char* name :
         {"TR_FARE2.DAT", "TR_FARE2.IDX", "TR_FARE3.DAT", "TR_NAME.DAT", "TR_LINK.DAT"}) {
      files->erase(name);
    }
    return log();
  }

  // Changes in the output folder while the build runs: none.
  class Watch {
   public:
    explicit Watch(const std::string& folder) : queue_(::inotify_init1(IN_NONBLOCK)) {
      constexpr uint32_t kChanges =
          IN_CREATE | IN_DELETE | IN_MODIFY | IN_MOVED_FROM | IN_MOVED_TO | IN_ATTRIB;
      EXPECT_GE(::inotify_add_watch(queue_, folder.c_str(), kChanges), 0);
    }
    ~Watch() { ::close(queue_); }
    std::string Seen() const {
      alignas(inotify_event) char block[65536];
      const ssize_t got = ::read(queue_, block, sizeof block);
      std::string names;
      for (ssize_t at = 0; at < got;) {
        const auto* event = reinterpret_cast<const inotify_event*>(block + at);
        if (event->len > 0) names += std::string(event->name) + " ";
        at += static_cast<ssize_t>(sizeof *event) + event->len;
      }
      return names;
    }

   private:
    int queue_;
  };

  void Compare(int64_t format) {
    int plain_result = 0;
    Files plain;
    const Lines plain_log = Plain(format, &plain_result, &plain);
    Empty(out());
    Empty(Aside());
    MakeFareData(fare_link_);
    const Files before = In(out());
    WriteBytes(PathIn(Aside(), "PayData.Inf"), kPayData);
    ASSERT_TRUE(platform::SetRedirect(out().c_str(), Aside().c_str(), zatmap::MadeFiles()));
    const Watch watch(out());
    ClearLog();
    const int result = BRN_BuildRoadNetworks(nullptr, format, control_.c_str());
    platform::ClearRedirect();
    EXPECT_EQ(watch.Seen(), "");
    EXPECT_EQ(result, plain_result);
    EXPECT_EQ(log(), plain_log);
    EXPECT_EQ(In(out()), before);
    EXPECT_EQ(In(Aside()), plain);
    if (result != 0) {
      EXPECT_EQ(plain.at("PayData.Inf"), std::string(kPayData) + "ICFLAG=OK\r\n");
    }
  }

  void CompareAll(int64_t format) {
    MakeSources(format);
    Compare(format);
    // Each source is missing once.
    for (const auto& [name, bytes] : In(folder_.path())) {
      if (folder_ / name == control_) continue;
      SCOPED_TRACE("without " + name);
      platform::RemoveFile((folder_ / name).c_str());
      Compare(format);
      WriteBytes(folder_ / name, bytes);
    }
  }

  std::string control_;
  std::string fare_link_;
};

TEST_F(RedirectedBuild, InMemory) {
  UseMethod("M");
  CompareAll(kFormatZat);
}

TEST_F(RedirectedBuild, ThroughFilesWithWorkStores) {
  UseMethod("F");
  UseLength(18);
  Set("SYSTEM", "DEBUG=1");
  CompareAll(kFormatZat);
}

TEST_F(RedirectedBuild, MsrLayoutInMemory) {
  UseMethod("M");
  Set("SYSTEM", "DEBUG=1");
  CompareAll(kFormatMsr);
}

TEST_F(RedirectedBuild, MsrLayoutThroughFiles) {
  UseMethod("F");
  CompareAll(kFormatMsr);
}

// Every name of the list is one that some build makes, but for those of zatmap.
TEST_F(RedirectedBuild, TheListHasNoOtherNames) {
  Lines made = MapFiles() + ShapeFiles() + WorkStores() +
               Lines{"rtweight.dat", "PayData.Inf", "zatmap.json"};
  Lines listed(zatmap::MadeFiles().begin(), zatmap::MadeFiles().end());
  std::sort(made.begin(), made.end());
  std::sort(listed.begin(), listed.end());
  EXPECT_EQ(listed, made);
}

}  // namespace
}  // namespace zatlib::test

#endif
