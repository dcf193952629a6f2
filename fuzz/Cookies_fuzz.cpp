// Cookie headers: whatever a browser sends, names and values are UTF-8 and write and read back.
#include "host-linux/base/Utf8.h"
#include "host-linux/intrinsics/Cookies.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  for (const hostlinux::FormField& field :
       hostlinux::ParseCookies({reinterpret_cast<const char*>(data), size})) {
    if (!hostlinux::IsUtf8(field.name) || !hostlinux::IsUtf8(field.value)) std::abort();
    hostlinux::Cookie cookie;
    cookie.name = field.name;
    cookie.value = field.value;
    const std::string text = hostlinux::FormatCookie(cookie);
    const auto again = hostlinux::ParseCookies(text.substr(0, text.find(';')));
    const bool hasName = !field.name.empty();
    if (hasName && (again.size() != 1 || again[0] != field)) std::abort();
  }
  return 0;
}
