#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr char kFileTitle[] = "File Error";
constexpr char kMemoryTitle[] = "Memory Error";

int Report(WindowHandle owner, LoadResult result, const PathText& path) {
  switch (result) {
    case LoadResult::kLoaded:
      return 1;
    case LoadResult::kNoMemory:
      return ReportNoMemory(owner, path);
    case LoadResult::kNotOpened:
      ReportError(owner, kFileTitle, "Can't open %s !", path.c_str());
      return 0;
    case LoadResult::kNotRead:
      break;
  }
  return ReportNotRead(owner, path);
}

}  // namespace

int ReportNotRead(WindowHandle owner, const PathText& path) {
  ReportError(owner, kFileTitle, "Can't read %s !", path.c_str());
  return 0;
}

int ReportNoMemory(WindowHandle owner, const PathText& path) {
  ReportError(owner, kMemoryTitle, "Can't allocate memory for %s !", path.c_str());
  return 0;
}

int LoadTable(WindowHandle owner, const char* folder, const char* name, TableFile* table) {
  table->path = PathIn(folder, name);
  return Report(owner, LoadWholeFile(table->path.c_str(), &table->content), table->path);
}

int OpenTable(WindowHandle owner, const char* folder, const char* name, uint32_t record_size,
              int64_t block_records, TableReader* table) {
  table->path = PathIn(folder, name);
  const LoadResult result = table->blocks.Open(table->path.c_str(), record_size, block_records);
  return Report(owner, result, table->path);
}

int OpenStore(WindowHandle owner, const char* folder, const char* name, uint32_t record_size,
              int64_t block_records, TableReader* store) {
  bool read_only = false;
  if (!platform::GetAttributes(PathIn(folder, name).c_str(), &read_only)) return 1;
  return OpenTable(owner, folder, name, record_size, block_records, store);
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
