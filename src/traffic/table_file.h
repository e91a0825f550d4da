// The tables of the output folder as the traffic steps load, change and save them: whole, and with
// one set of messages.
#pragma once

#include <cstdint>

#include "frd/control.h"
#include "frd/files.h"
#include "frd/whole_file.h"

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

// Loads a file of the folder whole; an empty file loads. Returns 1, or 0 after reporting "Can't
// open %s !" or "Can't read %s !" ("File Error") or "Can't allocate memory for %s !" ("Memory
// Error") with the full path.
int LoadTable(WindowHandle owner, const char* folder, const char* name, TableFile* table);

// The same for a work store: one that is missing has no records, which is no error.
int LoadStore(WindowHandle owner, const char* folder, const char* name, TableFile* store);

// Writes the table back over its file, with the size it was read with. A file that cannot be
// created is reported ("Can't open %s !", "File Error"); a failed write is the caller's to report.
SaveResult SaveTable(WindowHandle owner, const TableFile& table);

}  // namespace zatlib
