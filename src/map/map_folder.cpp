#include "map/map_folder.h"

#include "frd/control.h"
#include "frd/files.h"
#include "frd/record_file.h"
#include "frd/text.h"
#include "map/record_fields.h"
#include "network/network_files.h"
#include "platform/file.h"
#include "shape/shape_files.h"

namespace zatlib::map {

std::string PathOf(const MapFolder& folder, const char* name) {
  return PathIn(folder.path.c_str(), name).c_str();
}

bool HasFile(const MapFolder& folder, const char* name) {
  return CanOpen(PathOf(folder, name).c_str());
}

std::string RoadDefinitionPath(const std::string& folder) {
  return PathIn(folder.c_str(), kRoadDefinitionFile).c_str();
}

int64_t CountRecords(const MapFolder& folder, const char* name, size_t size) {
  return zatlib::CountRecords(PathOf(folder, name).c_str(), size);
}

Error OpenMapFolder(const std::string& path, MapFolder* folder) {
  if (!platform::IsFolder(path.c_str())) return {ErrorKind::kNoFolder};
  folder->path = platform::AbsolutePath(path.c_str());
  if (PathOf(*folder, kShapeIndexFile).size() + 1 >= kPathSize) return {ErrorKind::kPathTooLong};
  folder->code_length = BRN_GetCodeLength(RoadDefinitionPath(folder->path).c_str());
  folder->nodes = CountRecords(*folder, kCalcNodeFile, sizeof(CalcNode));
  folder->links = CountRecords(*folder, kLinkNodeFile, sizeof(LinkNodes));
  for (const FileLayout& layout : FileLayouts()) {
    if (HasFile(*folder, layout.name)) return {};
  }
  return {ErrorKind::kNoMap};
}

}  // namespace zatlib::map
