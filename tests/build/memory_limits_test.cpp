// Builds on machines with little memory: whatever the choice between memory and files has tried
// fits, the build needs no more; and what does not fit is told as lack of memory.
#include <map>
#include <set>

#ifdef __GLIBC__
#include <malloc.h>
#endif

#include "frd/parallel.h"
#include "platform/memory.h"
#include "small_build.h"

namespace zatlib::test {
namespace {

constexpr uint64_t kPage = 4096;

// A size of the network, and the number of machines to build it on.
struct Size {
  int nodes;
  int machines;
};

void PrintTo(const Size& size, std::ostream* out) { *out << size.nodes << " nodes"; }

class MemoryLimits : public SmallBuild, public ::testing::WithParamInterface<Size> {
 protected:
  ~MemoryLimits() override { platform::PlayMachine(0, 0); }

  // A ring of nodes in scattered order, each with a link to the next one and every fourth with one
  // across: all kinds of sources, and a pair of partners.
  void MakeStores() {
    UseLength(18);
    Set("SYSTEM", "DEBUG=1");
    const int n = GetParam().nodes;
    const auto code = [n](int i) { return "@" + std::to_string(1 + i * int64_t{7919} % n); };
    const auto x = [](int i) { return std::to_string(135 + i % 97 * 0.001); };
    const auto y = [](int i) { return std::to_string(35 + i / 97 * 0.001 + i % 7 * 0.0001); };
    std::vector<std::string> ends(static_cast<size_t>(n));
    Lines links, shapes, names, rules, one_ways;
    const auto join = [&](int a, int b) {
      const std::string link = "@" + std::to_string(1000000 + links.size());
      links.push_back(link + ",3,20," + std::to_string(1 + a % 90) + ",0,0,0," + code(a) + "," +
                      code(b) + ",36," + std::to_string(30 + b % 30));
      ends[static_cast<size_t>(a)] += "," + link;
      ends[static_cast<size_t>(b)] += "," + link;
      shapes.push_back(link + ",3");
      shapes.push_back(x(a) + "," + y(a));
      shapes.push_back(x(a + 5) + "," + y(b + 3));
      shapes.push_back(x(b) + "," + y(b));
      if (a % 3 == 0) names.push_back(link + ",,2,Name " + std::to_string(a % 50));
      if (a % 5 == 0) one_ways.push_back(link + "," + code(a) + "," + code(b) + ",2,0");
      return link;
    };
    std::string before = join(n - 1, 0);
    for (int i = 0; i + 1 < n; ++i) {
      const std::string link = join(i, i + 1);
      if (i % 2 == 0) rules.push_back(code(i) + "," + before + "," + link + ",2");
      before = link;
      if (i % 4 == 1) join(i, (i + n / 2) % n);
    }
    Lines nodes, places;
    for (int i = 0; i < n; ++i) {
      const std::string partner = i == 3 ? code(n / 2) : i == n / 2 ? code(3) : "0";
      const auto& of_node = ends[static_cast<size_t>(i)];
      const auto count = std::count(of_node.begin(), of_node.end(), '@');
      nodes.push_back(code(i) + "," + std::to_string(i % 4) + "," + partner + "," +
                      std::to_string(count) + of_node);
      places.push_back(code(i) + "," + x(i) + "," + y(i));
    }
    Nodes(nodes, places);
    Links(links);
    Source("LINKNAME", "linknames.txt", names);
    Source("NODETRF", "rules.txt", rules);
    Source("LINKTRF", "oneways.txt", one_ways);
    Source("LINKSHAPE", "shapes.txt", shapes);
    control_ = Control();
    ASSERT_EQ(BRN_PathOneZat(nullptr, kFormatZat, control_.c_str()), 1);
    first_half_ = Files();
  }

  std::map<std::string, std::string> Files() const {
    std::map<std::string, std::string> files;
    for (const std::string& name : OutputNames()) files[name] = Out(name);
    return files;
  }

  // The second half on a machine with so much memory; 0 = the real one.
  int Build(uint64_t limit) {
    for (const std::string& name : OutputNames()) platform::RemoveFile(OutPath(name).c_str());
    for (const auto& [name, bytes] : first_half_) WriteBytes(OutPath(name), bytes);
    ClearLog();
    platform::PlayMachine(0, limit);
    const int result = BRN_PathTwo(nullptr, kFormatZat, control_.c_str());
    platform::PlayMachine(0, 0);
    return result;
  }

  bool Heard(const std::string& line) const {
    return std::find(log().begin(), log().end(), line) != log().end();
  }

  // The reports of the last build: "[message][title]".
  Lines Reports() const {
    Lines reports;
    for (const std::string& line : log()) {
      if (line.size() > 3 && line.front() == '[' && line.find("][") != std::string::npos) {
        reports.push_back(line);
      }
    }
    return reports;
  }

  std::string control_;
  std::map<std::string, std::string> first_half_;
};

INSTANTIATE_TEST_SUITE_P(Networks, MemoryLimits,
                         ::testing::Values(Size{12, 60}, Size{900, 90}, Size{20011, 25}));

TEST_P(MemoryLimits, WhatTheTrialTriedIsEnough) {
  MakeStores();
  ASSERT_EQ(Build(0), 1);
  ASSERT_TRUE(Heard("*** memory operation ***"));
  const auto good = Files();
  ASSERT_EQ(good.count("rtweight.dat"), 1u);
  // The whole trial takes 181 bytes a node and 64 a link, or 148 and 112; and its blocks begin at
  // whole pages.
  const auto n = static_cast<uint64_t>(GetParam().nodes);
  const uint64_t links = good.at("linknode.idx").size() / 16;
  const uint64_t most = std::max(181 * n + 64 * links, 148 * n + 112 * links) + 24 * kPage;
  std::set<std::string> choices;
  uint64_t step = most / static_cast<uint64_t>(GetParam().machines) / kPage * kPage;
  if (step == 0) step = kPage;
  for (uint64_t limit = kPage; limit <= most + step; limit += step) {
    SCOPED_TRACE(std::to_string(limit / kPage) + " pages");
    const int result = Build(limit);
    const Lines reports = Reports();
    std::string choice = "none";
    for (const char* line : {"*** memory operation ***", "*** file operation ***"}) {
      if (Heard(line)) choice = line;
    }
    choices.insert(choice);
    if (choice != "none") {
      EXPECT_EQ(result, 1) << choice << ": " << (reports.empty() ? "" : reports.front());
      const auto files = Files();
      for (const auto& [name, bytes] : good) {
        // The links between partners stand in the stores in either operation, the slots not.
        if (name == "nodestr.~wk") continue;
        EXPECT_TRUE(files.count(name) != 0 && files.at(name) == bytes) << name;
      }
    } else {
      EXPECT_EQ(result, 0);
      EXPECT_FALSE(reports.empty());
    }
    for (const std::string& report : reports) {
      EXPECT_TRUE(report.find("emory") != std::string::npos) << report;
      EXPECT_EQ(report.find("Can't open the"), std::string::npos) << report;
      EXPECT_EQ(report.find("Can't read"), std::string::npos) << report;
    }
  }
  EXPECT_EQ(choices.count("none"), 1u);
  EXPECT_EQ(choices.count("*** memory operation ***"), 1u);
  // With a page for each block, however small it is, both operations need the same.
  if (GetParam().nodes > 12) {
    EXPECT_EQ(choices.count("*** file operation ***"), 1u);
  }
}

#ifdef __GLIBC__
// The memory that threads take for a heap of their own is 64 MiB of the address space for each,
// and is never given back: under a limit of the address space what was tried would not be there.
class ThreadHeapsDeathTest : public MemoryLimits {
 protected:
  static int Heaps() {
    char* text = nullptr;
    size_t size = 0;
    FILE* stream = ::open_memstream(&text, &size);
    if (stream == nullptr || ::malloc_info(0, stream) != 0) return -1;
    std::fclose(stream);
    int heaps = 0;
    for (const char* at = text; (at = std::strstr(at, "<heap nr=")) != nullptr; ++at) ++heaps;
    std::free(text);
    return heaps;
  }
};

INSTANTIATE_TEST_SUITE_P(Networks, ThreadHeapsDeathTest, ::testing::Values(Size{20011, 1}));

TEST_P(ThreadHeapsDeathTest, TheThreadsOfABuildHaveNone) {
  // In a process of its own, since heaps of earlier threads would be used again.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto build_on_four_threads = [this] {
    MakeStores();
    SetThreadCount(4);
    const int result = Build(0);
    std::exit(result == 1 ? Heaps() : 100);
  };
  EXPECT_EXIT(build_on_four_threads(), ::testing::ExitedWithCode(1), "");
  GTEST_FLAG_SET(death_test_style, "fast");
}
#endif

}  // namespace
}  // namespace zatlib::test
