#include "host-linux/base/Percent.h"

namespace hostlinux {

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

}  // namespace

bool PercentDecode(std::string_view text, bool plusIsBlank, std::string& decoded) {
  decoded.clear();
  decoded.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '+' && plusIsBlank) {
      decoded += ' ';
    } else if (text[i] != '%') {
      decoded += text[i];
    } else {
      const int high = i + 1 < text.size() ? HexValue(text[i + 1]) : -1;
      const int low = i + 2 < text.size() ? HexValue(text[i + 2]) : -1;
      if (high < 0 || low < 0) return false;
      decoded += static_cast<char>(static_cast<unsigned char>(high * 16 + low));
      i += 2;
    }
  }
  return true;
}

}  // namespace hostlinux
