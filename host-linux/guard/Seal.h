// The seal of a state text: what tells that this site made it, for one page and one recordset.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "varnel/automation/String.h"

namespace hostlinux {

// 128 bits, known to the site's servers alone.
using SealKey = std::array<unsigned char, 16>;

// The key that 32 hexadecimal digits write; nothing for any other text.
std::optional<SealKey> ParseSealKey(std::string_view digits);
// A new key, as 32 hexadecimal digits.
std::string MakeSealKey();

// What a state text is made for.
struct SealedPlace {
  std::string_view file;       // the page, below the site's pages: "list.asp"
  std::string_view recordset;  // "R_1"
};

// `state` with its seal behind it: "s" and 32 hexadecimal digits, none of which means anything to a reader of
// state texts. Takes ASCII only; gives nothing for any other text.
std::optional<varnel::String> WithSeal(varnel::StringView state, const SealedPlace& place,
                                       const SealKey& key);

// True if `text` is a state text with its seal by one of `keys`. Takes as long for any wrong seal.
bool HasSeal(varnel::StringView text, const SealedPlace& place, const std::vector<SealKey>& keys);

}  // namespace hostlinux
