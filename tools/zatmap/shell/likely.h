// The word that somebody who mistyped one probably meant.
#pragma once

#include <string>
#include <vector>

namespace zatmap {

// The word of a list that is probably meant: the nearest within one change of a letter, or two from
// five letters on; "" when there is none.
std::string Likely(const std::string& word, const std::vector<std::string>& words);

}  // namespace zatmap
