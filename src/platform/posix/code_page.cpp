#include "platform/code_page.h"

#include <iconv.h>

#include <cstdlib>
#include <string>

#include "platform/posix/native_path.h"

namespace zatlib::platform {
namespace {

constexpr unsigned kUtf8 = 65001;

unsigned g_page = 0;  // of SetCodePage; 0 = none was set

// A converter from a code page to UTF-8; (iconv_t)-1 when the system has none.
iconv_t OpenConverter(unsigned page) {
  return ::iconv_open("UTF-8", ("CP" + std::to_string(page)).c_str());
}

// iconv_open reports a failure as (iconv_t)-1.
bool Failed(iconv_t converter) { return reinterpret_cast<intptr_t>(converter) == -1; }

}  // namespace

bool SetCodePage(unsigned page) {
  if (page != kUtf8) {
    iconv_t converter = OpenConverter(page);
    if (Failed(converter)) return false;
    ::iconv_close(converter);
  }
  g_page = page;
  return true;
}

unsigned CodePage() {
  if (g_page != 0) return g_page;
  static const unsigned page = [] {
    const char* text = std::getenv("ZATLIB_CODEPAGE");
    const long number = text != nullptr ? std::strtol(text, nullptr, 10) : 0;
    return number > 0 && number < 65536 ? static_cast<unsigned>(number) : 932u;
  }();
  return page;
}

bool IsLeadByte(unsigned char byte) {
  switch (CodePage()) {
    case 932:
      return (byte >= 0x81 && byte <= 0x9F) || (byte >= 0xE0 && byte <= 0xFC);
    case 936:
    case 949:
    case 950:
      return byte >= 0x81 && byte <= 0xFE;
    default:
      return false;
  }
}

bool IsUtf8(const std::string& text) {
  bool high = false;
  for (size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte < 0x80) continue;
    high = true;
    const int more = byte >= 0xF0 && byte < 0xF5   ? 3
                     : byte >= 0xE0 && byte < 0xF0 ? 2
                     : byte >= 0xC2 && byte < 0xE0 ? 1
                                                   : -1;
    if (more < 0 || i + static_cast<size_t>(more) >= text.size()) return false;
    for (int k = 0; k < more; ++k) {
      if ((static_cast<unsigned char>(text[++i]) & 0xC0) != 0x80) return false;
    }
  }
  return high;
}

std::string ForTerminal(const char* text) {
  std::string bytes(text);
  bool ascii = true;
  for (const char c : bytes) ascii = ascii && static_cast<unsigned char>(c) < 0x80;
  if (ascii || IsUtf8(bytes)) return bytes;
  iconv_t converter = OpenConverter(CodePage());
  if (Failed(converter)) return bytes;
  std::string out(bytes.size() * 4 + 4, '\0');
  char* in = bytes.data();
  size_t in_left = bytes.size();
  char* to = out.data();
  size_t to_left = out.size();
  // A path of plain bytes may stand inside a Japanese text: what the code page lacks passes as is.
  while (in_left > 0) {
    const size_t done = ::iconv(converter, &in, &in_left, &to, &to_left);
    if (done != static_cast<size_t>(-1)) break;
    if (in_left == 0 || to_left == 0) break;
    *to++ = *in++;
    --in_left;
    --to_left;
  }
  ::iconv_close(converter);
  out.resize(static_cast<size_t>(to - out.data()));
  return out;
}

}  // namespace zatlib::platform
