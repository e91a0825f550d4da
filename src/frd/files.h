// Reading and writing files in large blocks.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "frd/memory.h"
#include "frd/text.h"
#include "frd/work_buffer.h"
#include "platform/file.h"

namespace zatlib {

inline constexpr uint32_t kWriteChunk = 0x800000;  // bytes of one system write of FRD_WriteFile
inline constexpr uint32_t kLineSize = 2048;        // bytes of a source line, its CR included

// Records of one file at most: record numbers are signed 32-bit numbers, -1 means none, and arrays
// by record number have room for two more.
inline constexpr int64_t kMaxRecords = 0x7FFFFFFF - 2;

// Writes `size` bytes in chunks of 8 MiB. A chunk refused outright is tried once more after ten
// seconds; when that succeeds the chunk is written again, so the file then holds it twice. The
// progress window is served meanwhile; a cancel ends no write. Returns 1 when all was written, else
// 0; failures go to the service log.
int FRD_WriteFile(platform::File& file, const void* data, uint64_t size);

// Creates the file, or writes over it in place (no sharing), with FRD_WriteFile; cuts it to what
// was written, flushes and closes.
enum class SaveResult { kSaved, kNotOpened, kNotWritten };
SaveResult SaveFile(const char* path, const void* data, uint64_t size);

// Size of a file in bytes; 0 when it cannot be opened.
uint64_t FileSize(const char* path);

// True when the file can be opened for reading, others reading.
bool CanOpen(const char* path);

// Reads exactly `size` bytes; false when the file ends first or cannot be read. The progress window
// is served meanwhile; a cancel ends no read.
bool ReadExactly(platform::File& file, void* data, uint64_t size);

// A source text file, read line by line out of large blocks; or whole lines of such a file that
// have been handed to a reader of their own (NextChunk), which another thread may use.
class LineReader {
 public:
  // Opens the file for reading (others may read); IsOpen() tells.
  bool Open(const char* path);
  bool IsOpen() const { return file_.IsOpen(); }
  const std::string& path() const { return path_; }

  // Number of the line read last, from 1. In a chunk it counts from the chunk's first line.
  int64_t line_number() const { return line_number_; }

  // True when the system refused a read: the lines then ended too early.
  bool failed() const { return failed_; }

  // True when the last read found no line end within the size asked for; false at the end of the
  // file.
  bool too_long() const { return too_long_; }

  // True once a read has found nothing left.
  bool drained() const { return drained_; }

  // Moves the next whole lines (some 256 KiB, all that is left at the end of the file) into
  // `chunk`, which reads them like a file. Lines of up to kLineSize bytes are never divided; lines
  // with more may be, but then no reader goes on behind them. False when there is nothing left or
  // the system refused memory or a read (failed() tells).
  bool NextChunk(LineReader* chunk);

  // Passes over the next line when that is an ordinary one and `unwanted(line)` holds; else leaves
  // it to be read.
  template <typename Unwanted>
  bool SkipLineIf(Unwanted unwanted) {
    char* const end = OrdinaryEnd(kLineSize);
    if (end == nullptr) return false;
    if (!unwanted(std::string_view(position_, static_cast<size_t>(end - position_)))) return false;
    PassOrdinary(end);
    return true;
  }

  // For a chunk: a field that is too long ends the reading (long_field() is then true) and not the
  // process.
  bool defers_long_fields() const { return is_chunk_; }
  bool long_field() const { return long_field_; }
  void NoteLongField() { long_field_ = true; }

  // Makes a chunk that noted a long field read that line once more, now as a line of `file`, which
  // has `lines_before` lines before the chunk.
  void ReturnToLongField(const LineReader& file, int64_t lines_before);

  // Makes failed() true: what was read cannot be used.
  void NoteFailure() { failed_ = true; }

  // Takes over how the reading of a chunk of this file ended, and its lines.
  void TakeEndOf(const LineReader& chunk) {
    too_long_ = chunk.too_long_;
    line_number_ += chunk.line_number_;
  }

 private:
  friend int FRD_ReadLine(LineReader& reader, uint32_t size, std::string_view* line);
  // The end of the next line where the first CR is sure to end it, as in nearly all lines; else
  // null.
  char* OrdinaryEnd(uint32_t size) const {
    if (!is_chunk_ || has_quotes_) return nullptr;
    const auto left = static_cast<size_t>(end_ - position_);
    return static_cast<char*>(std::memchr(position_, '\r', left < size ? left : size));
  }
  // Passes over that line.
  void PassOrdinary(char* end) {
    line_begin_ = position_;
    position_ = end_ - end < 2 ? end_ : end + 2;
    ++line_number_;
  }
  bool Fill(uint32_t wanted);
  int ReadAnyLine(uint32_t size, std::string_view* line);

  platform::File file_;
  std::string path_;
  PageArray<char> block_;
  char* position_ = nullptr;
  char* end_ = nullptr;
  char* line_begin_ = nullptr;  // of the line read last
  bool once_more_ = false;
  bool at_end_ = false;
  bool failed_ = false;
  bool too_long_ = false;
  bool drained_ = false;
  bool is_chunk_ = false;
  bool has_quotes_ = true;  // false: the chunk is known to hold none
  bool long_field_ = false;
  int64_t line_number_ = 0;
};

// The next line, as a view that stays good until the next call. A line ends at the first CR
// outside double quotes (CR LF is taken for granted: the byte behind CR is skipped); CR and LF
// inside quotes are removed. The last line needs no end. Returns 1, or 0 at the end of the file or
// when no line end lies within `size` bytes. A CR always stands behind the view, and the
// kLineMargin bytes from there can be read, whatever they hold.
inline constexpr size_t kLineMargin = 64;
inline int FRD_ReadLine(LineReader& reader, uint32_t size, std::string_view* line) {
  char* const end = reader.OrdinaryEnd(size);
  if (end == nullptr) return reader.ReadAnyLine(size, line);
  *line = std::string_view(reader.position_, static_cast<size_t>(end - reader.position_));
  reader.PassOrdinary(end);
  return 1;
}

// Creates a folder and its missing parents. Non-zero when the folder was created.
int FRD_CreateFolderTree(const char* path);

// A file of fixed-size records that grows at its end, written in large blocks. Beyond kMaxRecords
// it takes no record, as if the system had refused it.
class RecordWriter {
 public:
  // Opens for reading and writing without sharing: created anew, or at its end when `append`.
  bool Open(const char* path, uint32_t record_size, bool append);
  bool IsOpen() const { return file_.IsOpen(); }

  // Takes one record. False when the system refused records (this one or earlier ones).
  bool Append(const void* record);

  // Takes `count` records. False when the system refused records.
  bool AppendMany(const void* records, int64_t count);

  // Number of records taken; after a failure, of those that are whole in the file.
  int64_t count() const { return failed_ ? failed_record() : count_; }

  // Position in bytes behind the last record taken.
  int64_t offset() const { return offset_; }

  // Writes what is still held. False when the system refused it.
  bool WriteOut();

  // After a failure: number (from 0) of the first record that is not whole in the file.
  int64_t failed_record() const { return written_bytes_ / record_size_; }

  // Writes out, flushes and closes. False when the system refused the write.
  bool Close();

 private:
  bool RefuseMore();

  platform::File file_;
  WorkBuffer<char> block_;
  uint32_t record_size_ = 1;
  uint32_t used_ = 0;
  uint32_t capacity_ = 0;
  int64_t count_ = 0;
  int64_t offset_ = 0;
  int64_t limit_ = 0;  // offset that no record begins at or behind
  int64_t written_bytes_ = 0;
  bool failed_ = false;
};

}  // namespace zatlib
