// The system code page of 8-bit texts.
#pragma once

#include <string>

namespace zatlib::platform {

// Number of the code page: the one that SetCodePage was given; else the system's on Windows, and
// elsewhere ZATLIB_CODEPAGE, default 932.
unsigned CodePage();

// Takes another code page for texts, for the whole process. For programs, before they look at any
// text; the library itself never calls it. False when the system has no such code page: nothing
// changes.
bool SetCodePage(unsigned page);

// True when the byte opens a double-byte character in the code page.
bool IsLeadByte(unsigned char byte);

// The text for a person at a terminal: UTF-8 as far as the bytes can be understood.
std::string ForTerminal(const char* text);

}  // namespace zatlib::platform
