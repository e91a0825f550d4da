// How the checks of the stores tell of a code that two records share.
#pragma once

#include "frd/cp932.h"
#include "frd/step.h"
#include "network/workstore/feature_code.h"

namespace zatlib {

// An invalid code length is reported under the name of the node index step by the others too.
inline constexpr char kCodeLengthTitle[] = "Logic Error in BRN_MakeDrotenNodeIndex";

// With the code as text.
inline constexpr MessageText<const char*> kNodeDuplicate =
    kCp932<u8"道路点 %s が重複しています。重複を取り除いてください。">;
inline constexpr MessageText<const char*> kLinkDuplicate =
    kCp932<u8"道路区間 %s が重複しています。重複を取り除いてください。">;

// Logs a duplicate and, unless silent, shows it with OK and Cancel. False when the user wants to
// see no more of them.
bool ShowDuplicate(const Step& step, MessageText<const char*> text, const CodeText& code,
                   const char* title);

}  // namespace zatlib
