// The tables of the output folder as the traffic steps open, load and save them: with one set of
// messages.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "frd/block_reader.h"
#include "frd/record_file.h"
#include "frd/step.h"

namespace zatlib {

// kDone, or the report of what became of a file of the folder: "Can't open %s !", "Can't read %s !"
// or "Can't write %s !" ("File Error"), "Can't allocate memory for %s !" ("Memory Error"), with the
// full path.
Outcome TellResult(const Step& step, const char* file, FileResult result);

// Loads a file of the folder whole; an empty file loads. Where memory is short, readers that stand
// at their first block give way. Fails as TellResult tells.
Outcome LoadTable(const Step& step, const char* file, WholeFile* table,
                  std::initializer_list<BlockReader*> give_way = {});

// Opens a file of the folder for reading in blocks of `block_records` records of `record_size`
// bytes and reads the first one. Fails likewise.
Outcome OpenTable(const Step& step, const char* file, uint32_t record_size, int64_t block_records,
                  BlockReader* table);

}  // namespace zatlib
