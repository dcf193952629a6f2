#include "host-linux/inspector/LoopbackName.h"

#include <algorithm>

#include "host-linux/base/Ascii.h"

namespace hostlinux {
namespace {

bool IsDigits(const std::string& text) {
  return !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
}

// "127." and three further numbers.
bool IsLoopbackNumber(const std::string& name) {
  return name.starts_with("127.") && std::count(name.begin(), name.end(), '.') == 3 &&
         name.find_first_not_of("0123456789.") == std::string::npos;
}

}  // namespace

bool IsLoopbackName(const std::string& host) {
  std::string name = host;
  const std::size_t colon = host.rfind(':');
  if (colon != std::string::npos && IsDigits(host.substr(colon + 1))) name.erase(colon);
  if (host == "[::1]" || name == "[::1]") return true;
  return EqualsIgnoreCase(name, "localhost") || IsLoopbackNumber(name);
}

}  // namespace hostlinux
