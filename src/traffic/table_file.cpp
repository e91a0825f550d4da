#include "traffic/table_file.h"

namespace zatlib {
namespace {

MessageText<const char*> TextOf(FileResult result) {
  switch (result) {
    case FileResult::kNoMemory:
      return "Can't allocate memory for %s !";
    case FileResult::kNotOpened:
    case FileResult::kNotCreated:
      return "Can't open %s !";
    case FileResult::kNotRead:
      return "Can't read %s !";
    case FileResult::kNotWritten:
      return "Can't write %s !";
    case FileResult::kDone:
      break;
  }
  return "";
}

}  // namespace

Outcome TellResult(const Step& step, const char* file, FileResult result) {
  if (result == FileResult::kDone) return Outcome::kDone;
  const char* const title = result == FileResult::kNoMemory ? kMemoryError : kFileError;
  return step.FailAs(title, TextOf(result), step.Path(file).c_str());
}

Outcome LoadTable(const Step& step, const char* file, WholeFile* table,
                  std::initializer_list<BlockReader*> give_way) {
  const PathText path = step.Path(file);
  FileResult result = LoadFile(path.c_str(), table);
  if (result == FileResult::kNoMemory) {
    bool given = false;
    for (BlockReader* reader : give_way) given |= reader->Shrink();
    if (given) result = LoadFile(path.c_str(), table);
  }
  return TellResult(step, file, result);
}

Outcome OpenTable(const Step& step, const char* file, uint32_t record_size, int64_t block_records,
                  BlockReader* table) {
  return TellResult(step, file, table->Open(step.Path(file).c_str(), record_size, block_records));
}

}  // namespace zatlib
