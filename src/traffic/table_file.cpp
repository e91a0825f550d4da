#include "traffic/table_file.h"

namespace zatlib {
namespace {

constexpr char kFileTitle[] = "File Error";
constexpr char kMemoryTitle[] = "Memory Error";

int Report(WindowHandle owner, FileResult result, const PathText& path) {
  if (result == FileResult::kDone) return 1;
  if (result == FileResult::kNoMemory) return ReportNoMemory(owner, path);
  if (result != FileResult::kNotOpened) return ReportNotRead(owner, path);
  ReportError(owner, kFileTitle, "Can't open %s !", path.c_str());
  return 0;
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

int LoadTable(WindowHandle owner, const char* folder, const char* name, TableFile* table,
              std::initializer_list<BlockReader*> give_way) {
  table->path = PathIn(folder, name);
  FileResult result = LoadFile(table->path.c_str(), &table->content);
  if (result == FileResult::kNoMemory) {
    bool given = false;
    for (BlockReader* reader : give_way) given |= reader->Shrink();
    if (given) result = LoadFile(table->path.c_str(), &table->content);
  }
  return Report(owner, result, table->path);
}

int OpenTable(WindowHandle owner, const char* folder, const char* name, uint32_t record_size,
              int64_t block_records, TableReader* table) {
  table->path = PathIn(folder, name);
  const FileResult result = table->blocks.Open(table->path.c_str(), record_size, block_records);
  return Report(owner, result, table->path);
}

int OpenStore(WindowHandle owner, const char* folder, const char* name, uint32_t record_size,
              int64_t block_records, TableReader* store) {
  const PathText path = PathIn(folder, name);
  bool read_only = false;
  if (!platform::GetAttributes(path.c_str(), &read_only)) return 1;
  const int64_t size = platform::SizeAtPath(path.c_str());
  if (size >= 0 && size < record_size) return 1;
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
