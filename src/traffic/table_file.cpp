#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr char kFileTitle[] = "File Error";
constexpr char kMemoryTitle[] = "Memory Error";

int Load(WindowHandle owner, uint64_t size, TableFile* table) {
  const char* path = table->path.c_str();
  switch (LoadWholeFile(path, size, &table->content)) {
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

}  // namespace

int LoadTable(WindowHandle owner, const char* folder, const char* name, TableFile* table) {
  table->path = PathIn(folder, name);
  return Load(owner, FileSize(table->path.c_str()), table);
}

int LoadStore(WindowHandle owner, const char* folder, const char* name, uint64_t record_size,
              TableFile* store) {
  store->path = PathIn(folder, name);
  store->Free();
  const uint64_t size = FileSize(store->path.c_str());
  return size < record_size ? 1 : Load(owner, size, store);
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
