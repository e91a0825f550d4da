#include "build/english.h"

#include <string_view>
#include <vector>

#include "frd/cp932.h"

namespace zatmap {
namespace {

using zatlib::kCp932;

// A text as the library has it, %s and %d for its values, and the same in English.
struct Translation {
  const char* japanese;
  const char* english;
};

// Every Japanese message of the library and every Japanese title; a test holds this list to them.
const Translation kTranslations[] = {
    {kCp932<u8"道路点 %s が重複しています。重複を取り除いてください。">,
     "node %s is there more than once; remove all but one"},
    {kCp932<u8"道路区間 %s が重複しています。重複を取り除いてください。">,
     "link %s is there more than once; remove all but one"},
    {kCp932<u8"道路点オブジェクトがありません！\r\n%s (rec=%d)">,
     "a node has no point: %s, record %d"},
    {kCp932<u8"ノードとリンクが不整合であるため計算用道路データが作成できません。%s">,
     "nodes and links do not belong together, so that there is no map to make: fewer than two "
     "nodes have links%s"},
    {kCp932<u8"道路点重複チェック">, "check for nodes that are there twice"},
    {kCp932<u8"道路点データの重複エラー">, "nodes that are there twice"},
    {kCp932<u8"道路区間データの重複エラー">, "links that are there twice"},
    {kCp932<u8"データエラー">, "error in the data"},
};

// Takes the values of a text that was made from `pattern`; false when it was not.
bool Match(std::string_view pattern, std::string_view text, std::vector<std::string>* values) {
  while (true) {
    const size_t place = pattern.find('%');
    const std::string_view plain = pattern.substr(0, place);
    if (!text.starts_with(plain)) return false;
    text.remove_prefix(plain.size());
    if (place == std::string_view::npos) return text.empty();
    pattern.remove_prefix(place + 2);
    const std::string_view next = pattern.substr(0, pattern.find('%'));
    const size_t end = next.empty() ? text.size() : text.find(next);
    if (end == std::string_view::npos) return false;
    values->emplace_back(text.substr(0, end));
    text.remove_prefix(end);
  }
}

std::string Filled(std::string_view pattern, const std::vector<std::string>& values) {
  std::string text;
  for (const std::string& value : values) {
    const size_t place = pattern.find('%');
    text += std::string(pattern.substr(0, place)) + value;
    pattern.remove_prefix(place + 2);
  }
  return text + std::string(pattern);
}

}  // namespace

std::string EnglishOf(const std::string& text) {
  for (const Translation& translation : kTranslations) {
    std::vector<std::string> values;
    if (Match(translation.japanese, text, &values)) return Filled(translation.english, values);
  }
  return {};
}

}  // namespace zatmap
