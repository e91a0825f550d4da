// Names and values of a control file as words: what they are made of, and what is a number.
#pragma once

#include <string>
#include <string_view>

#include "shell/likely.h"

namespace zatmap::check {

// The text with capital letters (of ASCII).
std::string Upper(std::string_view text);

// A key with its number taken off: "FILE03" is "FILE#". `*number` is -1 without one.
std::string Stem(const std::string& key, int* number);

// A key with a number of two digits or more: "FILE03".
std::string Numbered(const char* stem, int number);

// True for a sign or none and digits, between blanks.
bool IsInteger(std::string_view text);

// A value without the one pair of quotes that the profile calls drop.
std::string Unquoted(std::string_view value);

}  // namespace zatmap::check
