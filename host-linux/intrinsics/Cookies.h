// Cookies as they travel in headers.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host-linux/intrinsics/FormFields.h"
#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

// Takes a Cookie header apart. Values are percent-decoded; one that can't be, or isn't UTF-8 then, stays as
// it came. Pieces without a name or "=", or not in UTF-8, are left out: cookies come from other sites of the
// host too, and none of them may break a page. More than 300 are not looked at.
std::vector<FormField> ParseCookies(std::string_view header);

// The Cookie headers of a request as one: a browser may send several.
std::string CookieHeaderOf(const HeaderList& headers);

struct Cookie {
  std::string name;
  std::string value;                   // as it is; FormatCookie encodes it
  std::string path;                    // empty: not written
  std::string domain;                  // empty: not written
  std::optional<std::time_t> expires;  // nothing: until the browser ends
  bool secure = false;
  bool httpOnly = true;
  std::string sameSite = "Lax";  // empty: not written
};

// The value of a Set-Cookie header. All but letters, digits and -_.~ of the name and value becomes %XX.
std::string FormatCookie(const Cookie& cookie);

}  // namespace hostlinux
