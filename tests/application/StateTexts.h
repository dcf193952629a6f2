// State texts as a visitor would write them.
#pragma once

#include <cctype>
#include <string>

namespace hosttest {

// As a value of a query string.
inline std::string Encoded(const std::string& text) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string encoded;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    if (std::isalnum(byte) != 0) {
      encoded += c;
    } else {
      encoded += {'%', kDigits[byte >> 4], kDigits[byte & 15]};
    }
  }
  return encoded;
}

// A text as it stands in a state text: its length, then the codes of its characters.
inline std::string StateText(const std::string& text) {
  std::string body;
  for (const char c : text) body += (body.empty() ? "" : "+") + std::to_string(static_cast<int>(c));
  const std::string length = std::to_string(body.size());
  return std::string(3 - length.size(), ' ') + length + body;
}

// The first page of 10 rows in the order `sort`.
inline std::string FirstPageBy(const std::string& sort) { return "0x10x1x" + StateText(sort) + "0x1x0x0x"; }

}  // namespace hosttest
