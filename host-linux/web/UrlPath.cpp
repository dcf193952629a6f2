#include "host-linux/web/UrlPath.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "host-linux/base/Ascii.h"
#include "host-linux/base/Percent.h"
#include "host-linux/base/Utf8.h"

namespace hostlinux {

namespace {

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

bool HasPrefixIgnoreCase(std::string_view text, std::string_view prefix) {
  return text.size() >= prefix.size() && EqualsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

UrlTarget Refuse(std::string_view sentence) {
  UrlTarget refused;
  refused.error = sentence;
  return refused;
}

// Takes "http://host" off an absolute target; `rest` is then its path and query.
bool TakeAuthority(std::string_view target, std::string& host, std::string_view& rest) {
  const std::size_t skip = HasPrefixIgnoreCase(target, "http://")    ? 7
                           : HasPrefixIgnoreCase(target, "https://") ? 8
                                                                     : 0;
  if (skip == 0) return false;
  const std::size_t end = std::min(target.find_first_of("/?", skip), target.size());
  host = target.substr(skip, end - skip);
  rest = target.substr(end);
  return !host.empty() && host.find('@') == std::string::npos;
}

}  // namespace

bool NormalisePath(std::string_view decoded, std::string& path) {
  std::vector<std::string_view> kept;
  std::size_t begin = 1;
  bool endsWithSlash = true;
  while (begin <= decoded.size()) {
    const std::size_t end = std::min(decoded.find('/', begin), decoded.size());
    const std::string_view segment = decoded.substr(begin, end - begin);
    begin = end + 1;
    endsWithSlash = segment.empty() || segment == "." || segment == "..";
    if (segment.empty() || segment == ".") continue;
    if (segment != "..") {
      kept.push_back(segment);
      continue;
    }
    if (kept.empty()) return false;
    kept.pop_back();
  }
  path.clear();
  for (const std::string_view segment : kept) path.append("/").append(segment);
  if (endsWithSlash || kept.empty()) path += '/';
  return true;
}

UrlTarget ParseTarget(std::string_view target) {
  UrlTarget parsed;
  std::string_view rest = target;
  if (target.empty() || target.front() != '/') {
    if (!TakeAuthority(target, parsed.host, rest)) return Refuse("The address of the request is not a path.");
  }
  if (rest.find('#') != std::string_view::npos) return Refuse("The address of the request contains a \"#\".");
  const std::size_t mark = std::min(rest.find('?'), rest.size());
  if (mark < rest.size()) parsed.rawQuery = rest.substr(mark + 1);

  std::string decoded;
  if (!PercentDecode(rest.substr(0, mark), false, decoded)) {
    return Refuse("The path of the request contains a \"%\" without two hexadecimal digits behind it.");
  }
  if (decoded.empty()) decoded = "/";
  if (std::any_of(decoded.begin(), decoded.end(), IsControl)) {
    return Refuse("The path of the request contains a control character.");
  }
  if (decoded.find('\\') != std::string::npos) return Refuse("The path of the request contains a backslash.");
  if (!IsUtf8(decoded)) return Refuse("The path of the request is not UTF-8.");
  if (!NormalisePath(decoded, parsed.path)) return Refuse("The path of the request leads above the root.");
  return parsed;
}

}  // namespace hostlinux
