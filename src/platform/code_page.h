// The system code page of 8-bit texts.
#pragma once

#include <string>

namespace zatlib::platform {

// Number of the code page: the system's on Windows; elsewhere ZATLIB_CODEPAGE, default 932.
unsigned CodePage();

// True when the byte opens a double-byte character in the system code page.
bool IsLeadByte(unsigned char byte);

// The text for a person at a terminal: UTF-8 as far as the bytes can be understood.
std::string ForTerminal(const char* text);

}  // namespace zatlib::platform
