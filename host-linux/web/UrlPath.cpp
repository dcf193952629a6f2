#include "host-linux/web/UrlPath.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "host-linux/web/HttpMessage.h"

namespace hostlinux {

namespace {

int HexValue(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool IsControl(char c) { return static_cast<unsigned char>(c) < 0x20 || c == 0x7f; }

// How many continuation bytes a lead byte asks for; -1 for a byte that can't lead.
int ContinuationCount(unsigned char lead) {
  if (lead < 0x80) return 0;
  if (lead >= 0xC2 && lead <= 0xDF) return 1;
  if (lead >= 0xE0 && lead <= 0xEF) return 2;
  if (lead >= 0xF0 && lead <= 0xF4) return 3;
  return -1;
}

// The second byte carries the limits that rule out overlong forms, surrogates and codes above U+10FFFF.
bool IsSecondByte(unsigned char lead, unsigned char second) {
  switch (lead) {
    case 0xE0:
      return second >= 0xA0 && second <= 0xBF;
    case 0xED:
      return second >= 0x80 && second <= 0x9F;
    case 0xF0:
      return second >= 0x90 && second <= 0xBF;
    case 0xF4:
      return second >= 0x80 && second <= 0x8F;
    default:
      return second >= 0x80 && second <= 0xBF;
  }
}

bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; }

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

bool IsUtf8(std::string_view bytes) {
  for (std::size_t i = 0; i < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[i]);
    const int more = ContinuationCount(lead);
    if (more < 0 || bytes.size() - i <= static_cast<std::size_t>(more)) return false;
    if (more > 0 && !IsSecondByte(lead, static_cast<unsigned char>(bytes[i + 1]))) return false;
    for (int k = 2; k <= more; ++k) {
      if (!IsContinuation(bytes[i + static_cast<std::size_t>(k)])) return false;
    }
    i += static_cast<std::size_t>(more) + 1;
  }
  return true;
}

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
