// Reading the target of a request: percent decoding, UTF-8, and the path that never leaves the root.
#pragma once

#include <string>
#include <string_view>

namespace hostlinux {

// True for well-formed UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
bool IsUtf8(std::string_view bytes);

// Decodes %XX; with `plusIsBlank` also "+" to a blank, as forms have it. False where a "%" isn't followed by
// two hexadecimal digits; `decoded` then holds what stood before it.
bool PercentDecode(std::string_view text, bool plusIsBlank, std::string& decoded);

// Joins the segments of `decoded`, which begins with "/", to a path without "." and ".." segments and doubled
// slashes. False where ".." leads above the root.
bool NormalisePath(std::string_view decoded, std::string& path);

struct UrlTarget {
  std::string path;      // decoded, without "." and ".." segments and doubled slashes; begins with "/"
  std::string rawQuery;  // behind the first "?", still encoded
  std::string host;      // of an absolute target ("http://host/..."), otherwise empty
  std::string error;  // a sentence for the client; empty when all is well, the rest is then empty otherwise
};

// Takes a request's target apart. Refused: targets that are neither "/..." nor "http(s)://host...", a bad
// escape, control characters, backslashes, ill-formed UTF-8, a "#", and ".." above the root.
UrlTarget ParseTarget(std::string_view target);

}  // namespace hostlinux
