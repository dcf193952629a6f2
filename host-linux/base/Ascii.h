// Letters of ASCII; all other bytes are only themselves.
#pragma once

#include <string>
#include <string_view>

namespace hostlinux {

constexpr char LowerAscii(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

constexpr bool IsAlphanumeric(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9');
}

// `text` in lower case.
std::string LowerAscii(std::string_view text);

// True when the texts are equal but for the case of letters.
bool EqualsIgnoreCase(std::string_view left, std::string_view right);

}  // namespace hostlinux
