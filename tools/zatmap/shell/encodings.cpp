#include "shell/encodings.h"

namespace zatmap {

size_t Utf8Size(std::string_view text, size_t at) {
  const auto byte = static_cast<unsigned char>(text[at]);
  const size_t size = byte < 0x80                    ? 1
                      : byte >= 0xc2 && byte <= 0xdf ? 2
                      : byte >= 0xe0 && byte <= 0xef ? 3
                      : byte >= 0xf0 && byte <= 0xf4 ? 4
                                                     : 0;
  if (size == 0 || at + size > text.size()) return 0;
  for (size_t i = 1; i < size; ++i) {
    if ((static_cast<unsigned char>(text[at + i]) & 0xc0) != 0x80) return 0;
  }
  return size;
}

size_t JapaneseSize(std::string_view text, size_t at) {
  const auto byte = static_cast<unsigned char>(text[at]);
  if (byte < 0x80 || (byte >= 0xa1 && byte <= 0xdf)) return 1;
  if (byte == 0x80 || byte == 0xa0 || byte >= 0xfd || at + 1 >= text.size()) return 0;
  const auto trail = static_cast<unsigned char>(text[at + 1]);
  return trail < 0x40 || trail == 0x7f || trail > 0xfc ? 0 : 2;
}

}  // namespace zatmap
