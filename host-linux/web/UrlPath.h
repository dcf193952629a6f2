// Reading the target of a request: the path that never leaves the root.
#pragma once

#include <string>
#include <string_view>

namespace hostlinux {

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
