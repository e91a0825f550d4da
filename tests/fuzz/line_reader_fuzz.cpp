// The block reader against a reader that looks at one byte after the other.
#include <algorithm>
#include <string>

#include "compat/services.h"
#include "frd/line_source.h"
#include "naive.h"

namespace zatlib::fuzz {
namespace {

constexpr size_t kBlock = 1 << 20;    // bytes that the reader takes at a time
constexpr size_t kQuietLine = 1024;   // bytes of a line far in front of the block border
constexpr size_t kQuietLines = 1000;  // the same in every run
constexpr size_t kFiller = 16;        // bytes of a line nearer to the border

// Reads on with both, the sizes taking turns. A line that is too long is not the end: both go on
// behind the bytes that they have read.
void ReadOn(LineSource* reader, NaiveLines* naive, uint32_t first_size, uint32_t second_size) {
  int64_t number = reader->line_number();
  int refusals = 0;
  for (uint32_t size = first_size; refusals < 3;) {
    std::string_view line;
    std::string expected;
    const int result = FRD_ReadLine(*reader, size, &line);
    FUZZ_CHECK(result == naive->Next(size, &expected));
    FUZZ_CHECK(!IsCutShort(reader->end()));
    if (result == 0) {
      ++refusals;
    } else {
      FUZZ_CHECK(line == expected);
      FUZZ_CHECK(reader->line_number() == ++number);
    }
    size = size == first_size ? second_size : first_size;
  }
}

void Compare(const ScratchFile& file, const std::string& text, uint32_t first_size,
             uint32_t second_size) {
  file.Write(text);
  LineSource reader;
  FUZZ_CHECK(reader.Open(file.path()));
  NaiveLines naive(text);
  ReadOn(&reader, &naive, first_size, second_size);
  FUZZ_CHECK(FRD_CountLines(file.path()) == NaiveCount(text));
}

// The same text across the border of the reader's first block; `before` of its bytes lie in front.
// The lines in front of it are read with buffers so small that the reader keeps that border.
void CompareAtBorder(const ScratchFile& file, const std::string& text, size_t before,
                     uint32_t first_size, uint32_t second_size) {
  static const std::string quiet = [] {
    std::string lines;
    for (size_t i = 0; i < kQuietLines; ++i) {
      lines += std::string(kQuietLine - 2, 'x') + "\r\n";
    }
    return lines;
  }();
  std::string padded = quiet;
  size_t fillers = 0;
  for (; padded.size() + before + 2 < kBlock; ++fillers) {
    padded += std::string(std::min(kFiller, kBlock - before - padded.size()) - 2, 'y') + "\r\n";
  }
  const size_t start = padded.size();
  padded += text;
  file.Write(padded);
  LineSource reader;
  FUZZ_CHECK(reader.Open(file.path()));
  std::string_view line;
  for (size_t i = 0; i < kQuietLines; ++i) FUZZ_CHECK(FRD_ReadLine(reader, 2048, &line) == 1);
  for (size_t i = 0; i < fillers; ++i) FUZZ_CHECK(FRD_ReadLine(reader, kFiller, &line) == 1);
  NaiveLines naive(padded, start);
  ReadOn(&reader, &naive, first_size, second_size);
}

int Run(const uint8_t* data, size_t size) {
  static const ScratchFile file("lines.txt");
  static const uint32_t kSizes[] = {2048, 1024, 512, 16, 5, 2, 1, 2047};
  if (size < 2 || size > 8192) return 0;
  const std::string text(reinterpret_cast<const char*>(data) + 2, size - 2);
  const uint32_t first = kSizes[data[0] % 8];
  const uint32_t second = kSizes[data[0] / 8 % 8];
  Compare(file, text, first, second);
  // Now and then: a file of a mebibyte takes its time.
  if (data[1] < 64) {
    CompareAtBorder(file, text, std::min<size_t>(text.size(), data[1]), first, second);
  }
  return 0;
}

}  // namespace
}  // namespace zatlib::fuzz

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  return zatlib::fuzz::Run(data, size);
}
