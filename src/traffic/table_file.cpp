#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr char kFileTitle[] = "File Error";
constexpr char kMemoryTitle[] = "Memory Error";

}  // namespace

int LoadTable(WindowHandle owner, const char* folder, const char* name, TableFile* table) {
  table->path = PathIn(folder, name);
  const char* path = table->path.c_str();
  switch (LoadWholeFile(path, &table->content)) {
    case LoadResult::kLoaded:
      return 1;
    case LoadResult::kNoMemory:
      ReportError(owner, kMemoryTitle, "Can't allocate memory for %s !", path);
      return 0;
    case LoadResult::kNotOpened:
      ReportError(owner, kFileTitle, "Can't open %s !", path);
      return 0;
    case LoadResult::kNotRead:
      break;
  }
  ReportError(owner, kFileTitle, "Can't read %s !", path);
  return 0;
}

int LoadStore(WindowHandle owner, const char* folder, const char* name, TableFile* store) {
  bool read_only = false;
  if (platform::GetAttributes(PathIn(folder, name).c_str(), &read_only)) {
    return LoadTable(owner, folder, name, store);
  }
  store->Free();
  return 1;
}

SaveResult SaveTable(WindowHandle owner, const TableFile& table) {
  const SaveResult result =
      SaveFile(table.path.c_str(), table.content.bytes.data(), table.content.size);
  if (result == SaveResult::kNotOpened) {
    ReportError(owner, kFileTitle, "Can't open %s !", table.path.c_str());
  }
  return result;
}

}  // namespace zatlib
