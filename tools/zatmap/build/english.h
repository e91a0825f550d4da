// The library's Japanese texts in English.
#pragma once

#include <string>

namespace zatmap {

// The English of a text that the library has written in code page 932, with its values; "" for one
// that is not Japanese.
std::string EnglishOf(const std::string& text);

}  // namespace zatmap
