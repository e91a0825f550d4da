#include "platform/code_page.h"

#include <windows.h>

namespace zatlib::platform {

namespace {

unsigned g_page = 0;  // of SetCodePage; 0 = none was set

}  // namespace

bool SetCodePage(unsigned page) {
  if (page == 0 || ::IsValidCodePage(page) == 0) return false;
  g_page = page;
  return true;
}

unsigned CodePage() { return g_page != 0 ? g_page : ::GetACP(); }

bool IsLeadByte(unsigned char byte) {
  return (g_page != 0 ? ::IsDBCSLeadByteEx(g_page, byte) : ::IsDBCSLeadByte(byte)) != 0;
}

std::string ForTerminal(const char* text) {
  // A console has a code page of its own; a file or a pipe gets the bytes as they are
  const std::string bytes(text);
  // in the code page of the system, and in UTF-8 those of another one, which nobody would guess.
  UINT console = ::GetConsoleOutputCP();
  if (console == 0 && g_page != 0) console = CP_UTF8;
  if (bytes.empty() || console == 0 || console == CodePage()) return bytes;
  const int size = static_cast<int>(bytes.size());
  std::wstring wide(bytes.size(), L'\0');
  const int units = ::MultiByteToWideChar(CodePage(), 0, bytes.data(), size, wide.data(), size);
  if (units <= 0) return bytes;
  std::string out(bytes.size() * 4, '\0');
  const int length = ::WideCharToMultiByte(console, 0, wide.data(), units, out.data(),
                                           static_cast<int>(out.size()), nullptr, nullptr);
  if (length <= 0) return bytes;
  out.resize(static_cast<size_t>(length));
  return out;
}

}  // namespace zatlib::platform
