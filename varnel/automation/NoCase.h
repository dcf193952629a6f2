// Maps whose keys ignore the case of letters. Keys are compared as they are asked for: no folded copy of one
// is made.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

// FNV-1a over the folded characters.
struct HashNoCase {
  using is_transparent = void;
  std::size_t operator()(StringView key) const {
    std::uint64_t hash = 0xCBF29CE484222325U;
    for (const char16_t unit : key) hash = (hash ^ FoldCase(unit)) * 0x100000001B3U;
    return static_cast<std::size_t>(hash);
  }
};

struct EqualNoCase {
  using is_transparent = void;
  bool operator()(StringView left, StringView right) const { return EqualsNoCase(left, right); }
};

}  // namespace varnel
