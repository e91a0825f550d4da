#include "input_zat/name_store.h"

#include <string>

#include "platform/code_page.h"
#include "zat_test.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Concat;
using test::Exists;
using test::Lines;
using test::NameBytes;
using test::Report;
using test::Reported;
using test::WriteBytes;

// ---- Node names ----------------------------------------------------------------------------

constexpr char kNodeTitle[] = "Setting Node Name Storage...";

std::string FromNodes(const char* result, int count) {
  return "Setting Node Name Storage from Node Data end " + std::string(result) +
         " : set count = " + std::to_string(count);
}

std::string FromNodeNames(const char* result, int count) {
  return "Setting Node Name Storage from Node Name Data end " + std::string(result) +
         " : set count = " + std::to_string(count);
}

// A line of node data with a name in column 13.
std::string Node(const std::string& code, const std::string& value, const std::string& name) {
  return code + "," + value + ",,,,,,,,,,," + name + ",1,2\r\n";
}

class NodeNameStoreTest : public test::ZatTest {
 protected:
  int Run(const std::string& text) {
    return BRN_ZAT_SetNodeNameStore(nullptr, WriteControl(text).c_str());
  }
  std::string Store() const { return Output("nnamestr.~wk"); }
};

TEST_F(NodeNameStoreTest, NamesOfTheNodeData) {
  Source("nodes.mid", Node("10000020000001", "513", "\"Central\"") + Node("2", "1", "") +
                          Node("3", "2", "\"\"") + "4,5\r\n" + Node("5", "3", "East"));
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.mif"}, 1)), 1);
  EXPECT_EQ(Store(),
            Concat({NameBytes{10000020000001.0, "Central", 0, 513}, NameBytes{5, "East", 0, 3}}));
  // Without [NODENAME] only the names of the node data are stored.
  EXPECT_EQ(log(), (Lines{kNodeTitle, FromNodes("OK", 2), FromNodeNames("OK", 0)}));
}

TEST_F(NodeNameStoreTest, TheMidIsReadAlsoWhereTheNodesAreText) {
  Source("nodes.txt", Node("1", "1", "Text"));
  Source("nodes.mid", Node("2", "2", "Mid"));
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.txt"}, 0)), 1);
  EXPECT_EQ(Store(), std::string(NameBytes{2, "Mid", 0, 2}));
}

TEST_F(NodeNameStoreTest, ATextFileWithoutAMid) {
  Source("nodes.txt", Node("1", "1", "Text"));
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.txt"}, 0)), 0);
  EXPECT_TRUE(
      Reported(log(), "Can't open the node MID (FILE01) [" + (folder_ / "nodes.mid") + "] !"));
  EXPECT_EQ(log().size(), 3u);
  EXPECT_EQ(log().back(), FromNodes("ERROR", 0));
  EXPECT_TRUE(Exists(folder_ / "nnamestr.~wk"));
}

TEST_F(NodeNameStoreTest, APathWithoutAnExtensionLosesItsLastElement) {
  Source("data", "");
  Source("data.mid", Node("1", "1", "N"));
  const std::string path = (folder_ / "data") + "\\nodes";
  EXPECT_EQ(Run(Files("NODE", {path}, 0)), 1);
  EXPECT_EQ(Store(), std::string(NameBytes{1, "N", 0, 1}));
}

TEST_F(NodeNameStoreTest, NamesOfTheNameDataFollow) {
  Source("nodes.mid", Node("1", "1", "From Nodes"));
  const std::string a = Source("a.txt", "1,7,From Names\r\n2,8,\r\n");
  const std::string b = Source("b.txt", "3,9,\"Last\"");
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.mif"}, 1) + Files("NODENAME", {a, b})), 1);
  EXPECT_EQ(Store(), Concat({NameBytes{1, "From Nodes", 0, 1}, NameBytes{1, "From Names", 0, 7},
                             NameBytes{3, "Last", 0, 9}}));
  EXPECT_EQ(log(), (Lines{kNodeTitle, FromNodes("OK", 1), FromNodeNames("OK", 2)}));
}

TEST_F(NodeNameStoreTest, LongNamesAreCutAtACharacter) {
  if (platform::CodePage() != 932) GTEST_SKIP() << "needs code page 932";
  std::string name = "x";
  for (int i = 0; i < 12; ++i) name += "\x95\x5C";
  ASSERT_EQ(name.size(), 25u);
  Source("nodes.mid", Node("1", "0", name) + Node("2", "0", "abcdefghijklmnopqrstuvwxy"));
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.mif"}, 1)), 1);
  EXPECT_EQ(Store(), Concat({NameBytes{1, name.substr(0, 19), 0, 0},
                             NameBytes{2, "abcdefghijklmnopqrst", 0, 0}}));
}

TEST_F(NodeNameStoreTest, CodesOf18Digits) {
  CodeLength(18);
  Source("nodes.mid", Node("100000000000000001", "1", "N"));
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.mif"}, 1)), 1);
  EXPECT_EQ(Store(), Bytes().I64(100000000000000001).Text("N", 20).Zero(8).I16(1).Zero(2).str());
}

TEST_F(NodeNameStoreTest, AnOldStoreIsReplaced) {
  WriteBytes(folder_ / "nnamestr.~wk", std::string(400, 'x'));
  EXPECT_EQ(Run(""), 1);
  EXPECT_TRUE(Exists(folder_ / "nnamestr.~wk"));
  EXPECT_EQ(Store(), "");
  EXPECT_EQ(log(), (Lines{kNodeTitle, FromNodes("OK", 0), FromNodeNames("OK", 0)}));
}

TEST_F(NodeNameStoreTest, AMissingSecondMid) {
  Source("a.mid", Node("1", "1", "A"));
  EXPECT_EQ(Run(Files("NODE", {folder_ / "a.mif", folder_ / "b.mif"}, 1) +
                Files("NODENAME", {Source("n.txt", "2,2,N\r\n")})),
            0);
  EXPECT_TRUE(Reported(log(), "Can't open the node MID (FILE02) [" + (folder_ / "b.mid") + "] !"));
  EXPECT_EQ(log().size(), 3u);
  EXPECT_EQ(log().back(), FromNodes("ERROR", 1));
  // Names of the name data come only after good node data.
  EXPECT_EQ(Store(), std::string(NameBytes{1, "A", 0, 1}));
}

TEST_F(NodeNameStoreTest, AMissingNameFile) {
  Source("nodes.mid", Node("1", "1", "A"));
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.mif"}, 1) + Files("NODENAME", {path})), 0);
  EXPECT_TRUE(Reported(log(), "Can't open the node MID (FILE01) [" + path + "] !"));
  ASSERT_EQ(log().size(), 4u);
  EXPECT_EQ(log()[1], FromNodes("OK", 1));
  EXPECT_EQ(log().back(), FromNodeNames("ERROR", 0));
}

TEST_F(NodeNameStoreTest, AStoreThatSomebodyElseHasForHimself) {
  WriteBytes(folder_ / "nnamestr.~wk", "old");
  const std::string report =
      Report("Can't open the NodeNameStorage " + (folder_ / "nnamestr.~wk") + " !",
             "File Error in BRN_ZAT_SetNodeNameStore");
  {
    const platform::File holder = Hold(folder_ / "nnamestr.~wk");
    EXPECT_EQ(Run(""), 0);
  }
  EXPECT_EQ(log(), (Lines{kNodeTitle, report}));
  EXPECT_EQ(Store(), "old");
}

TEST_F(NodeNameStoreTest, ALineThatDoesNotFitEndsItsFile) {
  Source("nodes.mid", Node("1", "1", "A") + std::string(2048, ',') + "\r\n" + Node("2", "2", "B"));
  EXPECT_EQ(Run(Files("NODE", {folder_ / "nodes.mif"}, 1)), 1);
  EXPECT_EQ(Store(), std::string(NameBytes{1, "A", 0, 1}));
  EXPECT_EQ(log(), (Lines{kNodeTitle, FromNodes("OK", 1), FromNodeNames("OK", 0)}));
}

TEST_F(NodeNameStoreTest, ACancelledRunDoesNotBegin) {
  WriteBytes(folder_ / "nnamestr.~wk", "old");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(""), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "old");
}

TEST_F(NodeNameStoreTest, EveryOperationMayFail) {
  const std::string mid = Source("nodes.mid", Node("1", "1", "A") + Node("2", "1", "B"));
  const std::string names = Source("names.txt", "3,3,C\r\n");
  const std::string store = folder_ / "nnamestr.~wk";
  const auto run = [&] {
    return Run(Files("NODE", {folder_ / "nodes.mif"}, 1) + Files("NODENAME", {names}));
  };
  const auto check = [&] {
    EXPECT_EQ(Store(),
              Concat({NameBytes{1, "A", 0, 1}, NameBytes{2, "B", 0, 1}, NameBytes{3, "C", 0, 3}}));
    EXPECT_EQ(log(), (Lines{kNodeTitle, FromNodes("OK", 2), FromNodeNames("OK", 1)}));
  };
  auto reports = FailEach(platform::Operation::kOpen, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 3u);
  EXPECT_TRUE(Reported(reports, "Can't open the NodeNameStorage " + store + " !"));
  EXPECT_TRUE(Reported(reports, "Can't open the node MID (FILE01) [" + mid + "] !"));
  EXPECT_TRUE(Reported(reports, "Can't open the node MID (FILE01) [" + names + "] !"));
  reports = FailEach(platform::Operation::kRead, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 2u);
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + mid + ") !"));
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + names + ") !"));
  for (const auto fault :
       {platform::WriteFault::kNothingWritten, platform::WriteFault::kHalfWritten}) {
    reports = FailEach(platform::Operation::kWrite,
                       {.run = run, .check_good = check, .write_fault = fault});
    EXPECT_FALSE(reports.empty());
    for (const std::string& report : reports) {
      EXPECT_TRUE(
          Reported(Lines{report}, "Can't write the NodeNameStore (" + store + ") at file=01 !"))
          << report;
    }
  }
  FailEach(platform::Operation::kAllocate, {.run = run, .check_good = check});
}

// More names than are written at once.
TEST_F(NodeNameStoreTest, AFailedWriteOfManyNamesIsReported) {
  std::string names;
  for (int i = 1; i <= 60000; ++i) names += std::to_string(i) + ",3,Name\r\n";
  const std::string text =
      Files("NODE", {Source("nodes.mid", "1,7\r\n")}) + Files("NODENAME", {Source("n.txt", names)});
  EXPECT_EQ(test::RunWithFault({platform::Operation::kWrite, 1, true}, [&] { return Run(text); }),
            0);
  EXPECT_TRUE(Reported(
      log(), "Can't write the NodeNameStore (" + (folder_ / "nnamestr.~wk") + ") at file=01 !"));
}

// ---- Link names ----------------------------------------------------------------------------

constexpr char kLinkTitle[] = "Setting Link Name Storage...";

std::string FromLinks(int result, int count) {
  return "Setting Link Name Storage from Link Data end " + std::to_string(result) +
         " : set count = " + std::to_string(count);
}

std::string FromLinkNames(int result, int count) {
  return "Setting Link Name Storage from Link Name Data end " + std::to_string(result) +
         " : set count = " + std::to_string(count);
}

// A line of link data with a number in column 13 and a name in column 14.
std::string Link(const std::string& code, const std::string& number, const std::string& name) {
  return code + ",1,,,,,,,,,,," + number + "," + name + "\r\n";
}

class LinkNameStoreTest : public test::ZatTest {
 protected:
  int Run(const std::string& text) {
    return BRN_ZAT_SetLinkNameStore(nullptr, WriteControl(text).c_str());
  }
  std::string Store() const { return Output("lnamestr.~wk"); }
};

TEST_F(LinkNameStoreTest, NamesOfTheLinkData) {
  Source("links.mid", Link("10000020000001", "255", "\"Ring Road\"") + Link("2", "1", "") +
                          Link("3", "2", "\"\"") + "4,5\r\n" + Link("5", "3", "High Street"));
  EXPECT_EQ(Run(Files("LINK", {folder_ / "links.mif"}, 1)), 1);
  EXPECT_EQ(Store(), Concat({NameBytes{10000020000001.0, "Ring Road", 255, 0},
                             NameBytes{5, "High Street", 3, 0}}));
  // These lines print the result as a number.
  EXPECT_EQ(log(), (Lines{kLinkTitle, FromLinks(1, 2), FromLinkNames(1, 0)}));
}

TEST_F(LinkNameStoreTest, TextFilesAreReadAsTheyAre) {
  const std::string path = Source("links.txt", Link("1", "1", "Text"));
  Source("links.mid", Link("2", "2", "Mid"));
  EXPECT_EQ(Run(Files("LINK", {path}, 0)), 1);
  EXPECT_EQ(Store(), std::string(NameBytes{1, "Text", 1, 0}));
}

TEST_F(LinkNameStoreTest, NamesOfTheNameDataFollow) {
  const std::string links = Source("links.txt", Link("1", "1", "From Links"));
  const std::string a = Source("a.txt", "1,x,2,From Names\r\n2,x,3,\r\n");
  const std::string b = Source("b.txt", "3,,4,\"Last\"");
  EXPECT_EQ(Run(Files("LINK", {links}) + Files("LINKNAME", {a, b})), 1);
  EXPECT_EQ(Store(), Concat({NameBytes{1, "From Links", 1, 0}, NameBytes{1, "From Names", 2, 0},
                             NameBytes{3, "Last", 4, 0}}));
  EXPECT_EQ(log(), (Lines{kLinkTitle, FromLinks(1, 1), FromLinkNames(1, 2)}));
}

TEST_F(LinkNameStoreTest, CodesOf18Digits) {
  CodeLength(18);
  EXPECT_EQ(Run(Files("LINK", {Source("l.txt", Link("100000000000000001", "1", "N"))})), 1);
  EXPECT_EQ(Store(), Bytes().I64(100000000000000001).Text("N", 20).Zero(2).I8(1).Zero(9).str());
}

TEST_F(LinkNameStoreTest, WithoutFilesTheStoreIsEmpty) {
  WriteBytes(folder_ / "lnamestr.~wk", std::string(400, 'x'));
  EXPECT_EQ(Run(""), 1);
  EXPECT_TRUE(Exists(folder_ / "lnamestr.~wk"));
  EXPECT_EQ(Store(), "");
  EXPECT_EQ(log(), (Lines{kLinkTitle, FromLinks(1, 0), FromLinkNames(1, 0)}));
}

TEST_F(LinkNameStoreTest, AMissingLinkFile) {
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files("LINK", {path})), 0);
  ASSERT_GE(log().size(), 3u);
  EXPECT_EQ(log()[1][0], '[');
  EXPECT_NE(log()[1].find(path), std::string::npos);
  EXPECT_EQ(log()[2], FromLinks(0, 0));
}

TEST_F(LinkNameStoreTest, AMissingNameFile) {
  const std::string links = Source("links.txt", Link("1", "1", "A"));
  const std::string path = folder_ / "missing.txt";
  EXPECT_EQ(Run(Files("LINK", {links}) + Files("LINKNAME", {path})), 0);
  EXPECT_TRUE(Reported(log(), "Can't open the LINKNAME FILE01=" + path));
  ASSERT_EQ(log().size(), 4u);
  EXPECT_EQ(log()[1], FromLinks(1, 1));
  EXPECT_EQ(log().back(), FromLinkNames(0, 0));
  EXPECT_EQ(Store(), std::string(NameBytes{1, "A", 1, 0}));
}

TEST_F(LinkNameStoreTest, AStoreThatSomebodyElseHasForHimself) {
  WriteBytes(folder_ / "lnamestr.~wk", "old");
  {
    const platform::File holder = Hold(folder_ / "lnamestr.~wk");
    EXPECT_EQ(Run(""), 0);
  }
  EXPECT_EQ(log(), (Lines{kLinkTitle, Report("Can't open the Link Name Storage (" +
                                                 (folder_ / "lnamestr.~wk") + ")",
                                             "File Error in BRN_ZAT_SetLinkNameStore")}));
  EXPECT_EQ(Store(), "old");
}

TEST_F(LinkNameStoreTest, ACancelledRunDoesNotBegin) {
  WriteBytes(folder_ / "lnamestr.~wk", "old");
  g_silent = 0;
  FRD_SetCancelled(true);
  EXPECT_EQ(Run(""), 0);
  EXPECT_EQ(log(), Lines{});
  EXPECT_EQ(Store(), "old");
}

TEST_F(LinkNameStoreTest, EveryOperationMayFail) {
  const std::string links = Source("links.txt", Link("1", "1", "A") + Link("2", "1", "B"));
  const std::string names = Source("names.txt", "3,3,3,C\r\n");
  const std::string store = folder_ / "lnamestr.~wk";
  const auto run = [&] { return Run(Files("LINK", {links}) + Files("LINKNAME", {names})); };
  const auto check = [&] {
    EXPECT_EQ(Store(),
              Concat({NameBytes{1, "A", 1, 0}, NameBytes{2, "B", 1, 0}, NameBytes{3, "C", 3, 0}}));
    EXPECT_EQ(log(), (Lines{kLinkTitle, FromLinks(1, 2), FromLinkNames(1, 1)}));
  };
  auto reports = FailEach(platform::Operation::kOpen, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 3u);
  EXPECT_TRUE(Reported(reports, "Can't open the Link Name Storage (" + store + ")"));
  EXPECT_TRUE(Reported(reports, "Can't open the LINKNAME FILE01=" + names));
  reports = FailEach(platform::Operation::kRead, {.run = run, .check_good = check});
  EXPECT_EQ(reports.size(), 2u);
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + links + ") !"));
  EXPECT_TRUE(Reported(reports, "Can't read the file (" + names + ") !"));
  for (const auto fault :
       {platform::WriteFault::kNothingWritten, platform::WriteFault::kHalfWritten}) {
    reports = FailEach(platform::Operation::kWrite,
                       {.run = run, .check_good = check, .write_fault = fault});
    EXPECT_FALSE(reports.empty());
    for (const std::string& report : reports) {
      EXPECT_TRUE(
          Reported(Lines{report}, "Can't save the link name storage (" + store + ") at FILE01"))
          << report;
    }
  }
  FailEach(platform::Operation::kAllocate, {.run = run, .check_good = check});
}

}  // namespace
}  // namespace zatlib
