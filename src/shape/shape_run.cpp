#include "shape/shape_run.h"

#include "frd/memory.h"

namespace zatlib {
namespace {

constexpr double kFinishBand = 0.01;  // the part of the bar that the finishing gets

}  // namespace

int RunShapeSource(const Step& step, int code_length, const ShapeSource& source, ShapeBand band) {
  ShapeContext cs;
  if (!IsValidCodeLength(code_length)) return 0;
  cs.CodeLength = code_length;
  cs.FileCount = ControlInt(step.control_file(), source.section, "FILENUM", 0);
  if (cs.FileCount < 1) return 1;

  PageArray<char> folder;
  PageArray<PathText> paths;
  if (!folder.Allocate(kPathSize) || !paths.Allocate(cs.FileCount)) {
    return AsResult(step.FailModal(kMemoryError, "Can't initialize the CS structure !"));
  }
  FRD_CopyText(folder.data(), kPathSize, step.folder());
  for (int32_t i = 0; i < cs.FileCount; ++i) {
    paths[i] = ControlFile(step.control_file(), source.section, i + 1);
    // The builder stops at a file without a name. The names behind it are not needed, and a
    // nonsense FILENUM does not cost the time to look for them all.
    if (paths[i].text[0] == 0) break;
  }
  cs.Folder = folder.data();
  cs.Paths = paths.data();
  cs.Columns = source.columns;

  cs.ShowProgress = g_silent == 0 ? 1 : 0;
  cs.ProgressStep = static_cast<float>((band.width - kFinishBand) / cs.FileCount);
  for (cs.FileIndex = 0; cs.FileIndex < cs.FileCount; ++cs.FileIndex) {
    cs.ProgressStart = band.start + static_cast<float>(cs.FileIndex) * cs.ProgressStep;
    if (source.build(&cs) == 0) return 0;
  }
  cs.ProgressStep = static_cast<float>(kFinishBand);
  cs.ProgressStart = static_cast<float>(band.start + band.width - kFinishBand);
  return SHAPE_FinishShapeIndex(&cs);
}

}  // namespace zatlib
