// The bracket without a partner by which a script can't be compiled: where the compiler notices is often far from there.
#pragma once

#include <optional>
#include <string_view>

namespace hostlinux {

struct LooseBracket {
  char sign = '\0';      // as in "{": never closed; as in "}": closes nothing
  int line = 0;          // from 1
  char before = '\0';    // the closing bracket of another kind that an open one met; 0: the end of the script
  int lineOfBefore = 0;  // from 1
};

// Nothing where all brackets have their partners. Those in texts, patterns and comments are none.
std::optional<LooseBracket> FindLooseBracket(std::string_view script);

}  // namespace hostlinux
