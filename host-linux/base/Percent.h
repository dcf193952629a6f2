// Bytes as %XX and back.
#pragma once

#include <string>
#include <string_view>

namespace hostlinux {

// Decodes %XX; with `plusIsBlank` also "+" to a blank, as forms have it. False where a "%" isn't followed by
// two hexadecimal digits; `decoded` then holds what stood before it.
bool PercentDecode(std::string_view text, bool plusIsBlank, std::string& decoded);

// Appends the byte `c` to a text of any characters as "%" and two capital digits.
template <typename Text>
void AppendEscaped(Text& text, char c) {
  using Unit = typename Text::value_type;
  constexpr std::string_view kDigits = "0123456789ABCDEF";
  const auto byte = static_cast<unsigned char>(c);
  text += {Unit('%'), static_cast<Unit>(kDigits[byte >> 4]), static_cast<Unit>(kDigits[byte & 15])};
}

// `text` with each byte as %XX for which `stays` doesn't hold.
template <typename Predicate>
std::string PercentEncode(std::string_view text, Predicate stays) {
  std::string encoded;
  for (const char c : text) {
    if (stays(c)) {
      encoded += c;
    } else {
      AppendEscaped(encoded, c);
    }
  }
  return encoded;
}

}  // namespace hostlinux
