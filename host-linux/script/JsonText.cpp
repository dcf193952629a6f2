#include "host-linux/script/JsonText.h"

#include <cstdio>

namespace hostlinux {

std::string JsonText(varnel::StringView text) {
  std::string json = "\"";
  for (const char c : varnel::ToUtf8(text)) {
    if (c == '"' || c == '\\') {
      json += '\\';
      json += c;
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(static_cast<unsigned char>(c)));
      json += escape;
    } else {
      json += c;
    }
  }
  return json + "\"";
}

}  // namespace hostlinux
