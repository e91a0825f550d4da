#include "platform/code_page.h"

#include <windows.h>

namespace zatlib::platform {

unsigned CodePage() { return ::GetACP(); }

bool IsLeadByte(unsigned char byte) { return ::IsDBCSLeadByte(byte) != 0; }

std::string ForTerminal(const char* text) {
  // A console has a code page of its own; a file or a pipe gets the bytes as they are.
  const std::string bytes(text);
  const UINT console = ::GetConsoleOutputCP();
  if (bytes.empty() || console == 0 || console == ::GetACP()) return bytes;
  const int size = static_cast<int>(bytes.size());
  std::wstring wide(bytes.size(), L'\0');
  const int units = ::MultiByteToWideChar(CP_ACP, 0, bytes.data(), size, wide.data(), size);
  if (units <= 0) return bytes;
  std::string out(bytes.size() * 4, '\0');
  const int length = ::WideCharToMultiByte(console, 0, wide.data(), units, out.data(),
                                           static_cast<int>(out.size()), nullptr, nullptr);
  if (length <= 0) return bytes;
  out.resize(static_cast<size_t>(length));
  return out;
}

}  // namespace zatlib::platform
