#include "shape/shape_run.h"

#include <string>
#include <vector>

#include "fault_each.h"
#include "platform/fault.h"
#include "platform/memory.h"
#include "test_support.h"

namespace zatlib {
namespace {

using test::Bytes;
using test::Exists;
using test::ReadBytes;
using test::RunWithFault;
using test::WriteBytes;

// A builder that notes what it was given and fails at a chosen file.
struct Call {
  int32_t code_length, file_count, file_index, show_progress;
  float start, step;
  ShapeColumns columns;
  std::string path, folder;
};
std::vector<Call> g_calls;
int32_t g_fail_at = -1;

int NoteCall(ShapeContext* cs) {
  g_calls.push_back({cs->CodeLength, cs->FileCount, cs->FileIndex, cs->ShowProgress,
                     cs->ProgressStart, cs->ProgressStep, cs->Columns,
                     cs->Paths[cs->FileIndex].text, cs->Folder});
  return cs->FileIndex == g_fail_at ? 0 : 1;
}

constexpr ShapeSource kNotes = {"DKUKAN", NoteCall, {.Code = 2, .Area = 5}};

class ShapeRunTest : public test::LibraryTest {
 protected:
  // Runs the builder over [DKUKAN] of a control file in a band of the bar.
  static int Run(const std::string& control, int code_length) {
    const Step step(nullptr, control.c_str(), "BRN_CreateShape");
    return RunShapeSource(step, code_length, kNotes, {.start = 0.25f, .width = 0.05f});
  }

  ShapeRunTest() {
    g_calls.clear();
    g_fail_at = -1;
    WriteBytes(folder_ / "shapedbl.idx", Bytes().F64(5).I32(0).I32(2));
  }
};

TEST_F(ShapeRunTest, GivesEachFileItsPartOfTheBand) {
  const std::string control = WriteControl(
      "[DKUKAN]\r\nFILENUM=4\r\nFILE01=a.mif\r\nFILE02=b.mif\r\nFILE03=c.mif\r\nFILE04=d.mif\r\n");
  EXPECT_EQ(Run(control, 14), 1);
  ASSERT_EQ(g_calls.size(), 4u);
  const float starts[] = {0.25f, 0.26f, 0.27f, 0.28f};
  const char* const paths[] = {"a.mif", "b.mif", "c.mif", "d.mif"};
  for (int i = 0; i < 4; ++i) {
    const Call& call = g_calls[static_cast<size_t>(i)];
    EXPECT_EQ(call.code_length, 14);
    EXPECT_EQ(call.file_count, 4);
    EXPECT_EQ(call.file_index, i);
    EXPECT_EQ(call.show_progress, 0);
    EXPECT_NEAR(call.start, starts[i], 1e-6);
    EXPECT_NEAR(call.step, 0.01, 1e-6);
    EXPECT_EQ(call.columns.Code, 2);
    EXPECT_EQ(call.columns.Area, 5);
    EXPECT_EQ(call.path, paths[i]);
    EXPECT_EQ(call.folder, folder_.path());
  }
  EXPECT_EQ(ReadBytes(folder_ / "shapedat.inf"),
            "[INFORMATION]\r\nNumRec=1\r\nNumShape=2\r\nMaxShapeLink=00000000000005\r\n"
            "MaxNumShape=2\r\n");
}

TEST_F(ShapeRunTest, ShowsProgressOutsideSilentMode) {
  const std::string control = WriteControl("[DKUKAN]\r\nFILENUM=1\r\nFILE01=a.mif\r\n");
  g_silent = 0;
  EXPECT_EQ(Run(control, 18), 1);
  g_silent = 1;
  ASSERT_EQ(g_calls.size(), 1u);
  EXPECT_EQ(g_calls[0].show_progress, 1);
  EXPECT_EQ(g_calls[0].code_length, 18);
  EXPECT_NEAR(g_calls[0].step, 0.04, 1e-6);
}

TEST_F(ShapeRunTest, StopsAtTheFileThatFails) {
  const std::string control =
      WriteControl("[DKUKAN]\r\nFILENUM=3\r\nFILE01=a.mif\r\nFILE02=b.mif\r\nFILE03=c.mif\r\n");
  g_fail_at = 1;
  EXPECT_EQ(Run(control, 14), 0);
  EXPECT_EQ(g_calls.size(), 2u);
  EXPECT_FALSE(Exists(folder_ / "shapedat.inf"));
  EXPECT_TRUE(log().empty());
}

TEST_F(ShapeRunTest, PassesOnThatFinishingFailed) {
  const std::string control = WriteControl("[DKUKAN]\r\nFILENUM=1\r\nFILE01=a.mif\r\n");
  ASSERT_EQ(std::remove((folder_ / "shapedbl.idx").c_str()), 0);
  EXPECT_EQ(Run(control, 14), 0);
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "[Can't open the shape index DBL file for input (" +
                          (folder_ / "shapedbl.idx") +
                          ") !][File Error in SHAPE_FinishShapeIndex]");
}

TEST_F(ShapeRunTest, WithoutFilesThereIsNothingToDo) {
  for (const char* text : {"", "[DKUKAN]\r\nFILE01=a.mif\r\n", "[DKUKAN]\r\nFILENUM=0\r\n",
                           "[DKUKAN]\r\nFILENUM=-2\r\nFILE01=a.mif\r\n"}) {
    const std::string control = WriteControl(text);
    EXPECT_EQ(Run(control, 14), 1) << text;
  }
  EXPECT_TRUE(g_calls.empty());
  EXPECT_FALSE(Exists(folder_ / "shapedat.inf"));
}

TEST_F(ShapeRunTest, OtherCodeLengthsFailWithoutAMessage) {
  const std::string control = WriteControl("[DKUKAN]\r\nFILENUM=1\r\nFILE01=a.mif\r\n");
  for (const int length : {0, 13, 16, 19, -14}) {
    EXPECT_EQ(Run(control, length), 0) << length;
  }
  EXPECT_TRUE(g_calls.empty());
  EXPECT_TRUE(log().empty());
}

TEST_F(ShapeRunTest, MemoryThatIsRefusedIsReported) {
  const std::string control = WriteControl("[DKUKAN]\r\nFILENUM=1\r\nFILE01=a.mif\r\n");
  for (const int64_t nth : {1, 2}) {
    ClearLog();
    EXPECT_EQ(RunWithFault({platform::Operation::kAllocate, nth}, [&] { return Run(control, 14); }),
              0);
    ASSERT_EQ(log().size(), 1u);
    EXPECT_EQ(log()[0], "[Can't initialize the CS structure !][Memory Error in BRN_CreateShape]");
  }
  EXPECT_TRUE(g_calls.empty());
}

TEST_F(ShapeRunTest, ANonsenseNumberOfFilesEndsAtTheFirstThatHasNoName) {
  const std::string control = WriteControl("[DKUKAN]\r\nFILENUM=1000000\r\nFILE01=a.mif\r\n");
  g_fail_at = 1;
  EXPECT_EQ(Run(control, 14), 0);
  ASSERT_EQ(g_calls.size(), 2u);
  EXPECT_EQ(g_calls[1].path, "");

  // 2,147,483,647 paths do not fit.
  platform::PlayMachine(0, uint64_t{1} << 30);
  const std::string huge = WriteControl("[DKUKAN]\r\nFILENUM=2147483647\r\nFILE01=a.mif\r\n");
  EXPECT_EQ(Run(huge, 14), 0);
  ASSERT_EQ(log().size(), 1u);
  EXPECT_EQ(log()[0], "[Can't initialize the CS structure !][Memory Error in BRN_CreateShape]");
}

TEST_F(ShapeRunTest, TakesTheOutputFolderOfTheControlFile) {
  test::MakeFolder(folder_ / "out");
  WriteBytes(folder_ / "out/shapedbl.idx", Bytes().F64(6).I32(0).I32(0));
  const std::string control = WriteControl("[FOLDER]\r\nCALCMAPDIR=" + (folder_ / "out") +
                                           "\r\n[DKUKAN]\r\nFILENUM=1\r\nFILE01=a.mif\r\n");
  EXPECT_EQ(Run(control, 14), 1);
  ASSERT_EQ(g_calls.size(), 1u);
  EXPECT_EQ(g_calls[0].folder, folder_ / "out");
  EXPECT_TRUE(Exists(folder_ / "out/shapedat.inf"));
}

}  // namespace
}  // namespace zatlib
