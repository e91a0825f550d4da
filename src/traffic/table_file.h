// The tables of the output folder as the traffic steps load, change and save them: whole or block
// by block, and with one set of messages.
#pragma once

#include <cstdint>
#include <initializer_list>

#include "frd/block_reader.h"
#include "frd/control.h"
#include "frd/files.h"
#include "frd/record_file.h"

namespace zatlib {

// A table in memory and the path that it came from.
struct TableFile {
  PathText path;
  WholeFile content;

  template <typename Record>
  Record* records() {
    return content.records<Record>();
  }
  template <typename Record>
  const Record* records() const {
    return content.records<Record>();
  }
  template <typename Record>
  int64_t count() const {
    return content.count<Record>();
  }
  uint64_t size() const { return content.size; }
  void Free() { content.Free(); }
};

// A table that is read block by block, and the path that it comes from.
struct TableReader {
  PathText path;
  BlockReader blocks;
};

// Loads a file of the folder whole; an empty file loads. Where memory is short, readers that stand
// at their first block give way. Returns 1, or 0 after reporting "Can't open %s !" or "Can't read
// %s !" ("File Error") or "Can't allocate memory for %s !" ("Memory Error") with the full path.
int LoadTable(WindowHandle owner, const char* folder, const char* name, TableFile* table,
              std::initializer_list<BlockReader*> give_way = {});

// Opens a file of the folder for reading in blocks of `block_records` records of `record_size`
// bytes and reads the first one. Fails and reports as LoadTable does.
int OpenTable(WindowHandle owner, const char* folder, const char* name, uint32_t record_size,
              int64_t block_records, TableReader* table);

// The same for a work store: one that is missing or shorter than a record has no records, which is
// no error, also where it could not be opened.
int OpenStore(WindowHandle owner, const char* folder, const char* name, uint32_t record_size,
              int64_t block_records, TableReader* store);

// The report of LoadTable for a file whose next block cannot be read, and for one whose content
// finds no memory; 0.
int ReportNotRead(WindowHandle owner, const PathText& path);
int ReportNoMemory(WindowHandle owner, const PathText& path);

// Writes the table back over its file, with the size it was read with. A file that cannot be
// created is reported ("Can't open %s !", "File Error"); a failed write is the caller's to report.
SaveResult SaveTable(WindowHandle owner, const TableFile& table);

}  // namespace zatlib
