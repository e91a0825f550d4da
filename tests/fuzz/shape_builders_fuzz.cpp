// The shape builders over any bytes: whatever they read, the files they leave are consistent and
// can be read back, in memory and from disk.
#include <algorithm>
#include <string>

#include "compat/shape_points.h"
#include "frd/log.h"
#include "naive.h"
#include "shape/shape_access.h"
#include "shape/shape_builder.h"

namespace zatlib::fuzz {
namespace {

// A field of 64 bytes or more ends the process by design. Line ends inside quotes do not end one.
bool HasLongField(const std::string& text) {
  const bool quotes = text.find('"') != std::string::npos;
  size_t length = 0;
  for (const char c : text) {
    const bool ends = c == ',' || c == '\t' || (c == '\r' && !quotes);
    length = ends ? 0 : length + 1;
    if (length > kFieldLimit) return true;
  }
  return false;
}

std::string FolderOf(const char* path) {
  const std::string text(path);
  return text.substr(0, text.rfind('/'));
}

// Every entry of the finished index gives the same points both ways, and none beyond the data.
void CheckFiles(const std::string& folder, int64_t most_points) {
  ShapeHolder memory;
  ShapeHolder file;
  if (SHAPE_OpenShape(nullptr, &memory, folder.c_str(), 1) == 0) return;
  FUZZ_CHECK(SHAPE_OpenShape(nullptr, &file, folder.c_str(), 0) == 1);
  FUZZ_CHECK(memory.point_count() <= most_points);
  static ShapePoint a[kMaxShapePoints];
  static ShapePoint b[kMaxShapePoints];
  for (int32_t i = 0; i < memory.entry_count(); ++i) {
    const ShapeIndexEntry& entry = memory.entries()[i];
    if (i > 0) FUZZ_CHECK(memory.entries()[i - 1].Code.AsDouble() < entry.Code.AsDouble());
    const int count = SHAPE_GetShapePoints(entry.Code, a, &memory);
    FUZZ_CHECK(count == SHAPE_GetShapePoints(entry.Code, b, &file));
    FUZZ_CHECK(count <= kMaxShapePoints);
    FUZZ_CHECK(count <= 0 || std::memcmp(a, b, static_cast<size_t>(count) * sizeof *a) == 0);
    FUZZ_CHECK(count >= 0 ? count == std::min(entry.Count, kMaxShapePoints) : true);
  }
}

// The first byte chooses builder and code length; the rest is the MIF up to a 0xFF and the MID
// behind it, or the text.
int Run(const uint8_t* data, size_t size) {
  static const ScratchFile mif("shape.mif");
  static const ScratchFile mid("shape.mid");
  static const ScratchFile text("shape.txt");
  static const std::string folder = FolderOf(mif.path());
  if (size < 1 || size > 65536) return 0;
  const std::string rest(reinterpret_cast<const char*>(data + 1), size - 1);
  g_silent = 1;
  PathText path;
  ShapeContext cs;
  cs.CodeLength = (data[0] & 4) != 0 ? kIntegerCode : kDecimalCode;
  cs.FileCount = 1;
  cs.Folder = folder.c_str();
  cs.Paths = &path;
  int result = 0;
  if ((data[0] & 3) == 0) {
    if (HasLongField(rest)) return 0;
    text.Write(rest);
    FRD_CopyText(path.text, kPathSize, text.path());
    result = SHAPE_CreateShapeFileFromZatText(&cs);
  } else {
    const size_t split = std::min(rest.find('\xFF'), rest.size());
    mif.Write(rest.substr(0, split));
    const std::string records = rest.substr(std::min(split + 1, rest.size()));
    if (HasLongField(records)) return 0;
    mid.Write(records);
    FRD_CopyText(path.text, kPathSize, mif.path());
    const bool whole_codes = (data[0] & 3) == 1;
    if (!whole_codes) cs.Columns = {.Code = 1, .Area = 3};
    result = whole_codes ? SHAPE_CreateShapeFileFromZatMif(&cs) : SHAPE_CreateShapeFileFromMif(&cs);
  }
  // A point takes at least one byte of the source.
  const auto most_points = static_cast<int64_t>(size);
  if (result != 0 && SHAPE_FinishShapeIndex(&cs) != 0) CheckFiles(folder, most_points);
  return 0;
}

}  // namespace
}  // namespace zatlib::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return zatlib::fuzz::Run(data, size);
}
