// MIF files as `zatmap check` reads them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "check/control.h"
#include "check/shapes.h"
#include "check/source.h"

namespace zatmap::check {

// The header lines that the build keeps, of the file before.
struct MifHeader {
  std::string charset;
  std::string coord_sys;
  bool seen = false;
};

// A finding when the headers of nodes and links tell of different coordinate systems.
void CompareHeaders(Findings& findings, const MifHeader& nodes, const MifHeader& links,
                    const std::vector<std::string>& link_files);

// What a MIF file's objects are for.
enum class MifUse { kZatPoints, kMsrPoints, kLines };

class MifFile {
 public:
  MifFile(Findings& findings, MifUse use) : source_(findings), use_(use) {}

  // Opens file `number` of a section and reads its header. False when it cannot be opened or has
  // no data line (findings).
  bool Open(Control& control, const char* section, int number, const std::string& path,
            MifHeader* last_header);

  // The next object, taken for a point or for a line. `*good` tells whether the build takes it for
  // the same. False at the end of the file.
  bool NextPoint(int32_t* x, int32_t* y, bool* good);
  bool NextLine(ShapeChecker& shapes, zatlib::FeatureCode code, bool* good);

  // Compares the number of objects with that of records and ends the file.
  void Close(int64_t records);

  Place Here(int column = 0) const { return {source_.file(), objects_, column, source_.line()}; }

 private:
  bool NextObject(std::string_view* line, std::string_view* word);
  bool NextRaw(std::string_view* line);
  void CheckHeaderLine(std::string_view line, MifHeader* header);
  void CheckCoordSys(std::string_view line);
  void CutAtZeroByte(Place here, std::string_view* line);
  bool ReadPline(std::string_view line, ShapeChecker& shapes);

  Source source_;
  MifUse use_;
  int64_t objects_ = 0;
  std::string held_;  // a line that has been read too early
  bool holding_ = false;
};

}  // namespace zatmap::check
