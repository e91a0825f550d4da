// Record files read from their start to their end in blocks, where the whole of a file would be too
// much to hold: the next block is read while the threads of frd/parallel.h work on the one before.
#pragma once

#include <cstdint>

#include "frd/memory.h"
#include "frd/record_file.h"
#include "platform/file.h"

namespace zatlib {

class BlockReader {
 public:
  // Opens the file for reading (others may read), takes memory for two blocks of `block_records`
  // records of `record_size` bytes and reads the first block. Where memory is short the blocks are
  // smaller, down to a page for both, and divide the size asked for. An empty file opens. Reports
  // nothing; nothing is held after a failure.
  FileResult Open(const char* path, uint32_t record_size, int64_t block_records);

  // Gives most of the memory back to somebody who cannot do without: the blocks become as small as
  // they may be. Only while the first block is the current one; what records() gave before is
  // gone. False when nothing is given back, or the first block cannot be read again.
  bool Shrink();

  // Records that a block may hold.
  int64_t block_limit() const { return block_limit_; }

  // Size of the file in bytes, and its whole records, when it was opened.
  uint64_t size() const { return size_; }
  int64_t count() const { return count_; }

  // The block: its records, the number of the first one and how many they are; 0 behind the end of
  // the file and after a failed read. It stays where it is until the second Advance from now.
  template <typename Record>
  const Record* records() const {
    return reinterpret_cast<const Record*>(block());
  }
  int64_t first() const { return first_; }
  int64_t records_in_block() const { return in_block_; }
  int64_t end() const { return first_ + in_block_; }

  // Goes on to the next block. False when it cannot be read whole.
  bool Advance();

  // True once a block could not be read.
  bool failed() const { return failed_; }

  // Closes the file and frees the blocks.
  void Close();

 private:
  const char* block() const { return blocks_.data() + (second_ ? block_size_ : 0); }
  bool TakeBlocks(int64_t most_bytes);
  bool ReadBlock();

  platform::File file_;
  PageArray<char> blocks_;
  uint64_t size_ = 0;
  int64_t count_ = 0;
  uint32_t record_size_ = 1;
  int64_t block_limit_ = 1;    // records that there is room for in a block
  int64_t block_records_ = 1;  // and that a block of this file has
  uint64_t block_size_ = 0;
  bool second_ = false;  // the second of the two blocks is the current one
  int64_t first_ = 0;
  int64_t in_block_ = 0;
  bool failed_ = false;
};

}  // namespace zatlib
