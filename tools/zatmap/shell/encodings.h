// The characters of the encodings that names come in.
#pragma once

#include <cstddef>
#include <string_view>

namespace zatmap {

inline constexpr unsigned kJapanese = 932;  // number of the Japanese code page
inline constexpr unsigned kUtf8 = 65001;    // number that stands for UTF-8

// Bytes (1 to 4) of the UTF-8 character at a place of a text, 0 where none begins or it is cut.
size_t Utf8Size(std::string_view text, size_t at);

// Bytes (1 or 2) of the character of code page 932 at a place of a text, 0 likewise.
size_t JapaneseSize(std::string_view text, size_t at);

}  // namespace zatmap
