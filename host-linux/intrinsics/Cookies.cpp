#include "host-linux/intrinsics/Cookies.h"

#include <algorithm>

#include "host-linux/base/Ascii.h"
#include "host-linux/base/Percent.h"
#include "host-linux/base/Utf8.h"
#include "host-linux/web/HttpDate.h"

namespace hostlinux {

namespace {

constexpr std::size_t kMaxCookies = 300;

std::string_view Trim(std::string_view text) {
  const std::size_t begin = std::min(text.find_first_not_of(" \t"), text.size());
  text.remove_prefix(begin);
  return text.substr(0, text.find_last_not_of(" \t") + 1);
}

std::string_view WithoutQuotes(std::string_view text) {
  const bool quoted = text.size() >= 2 && text.front() == '"' && text.back() == '"';
  return quoted ? text.substr(1, text.size() - 2) : text;
}

std::string Decoded(std::string_view text) {
  std::string decoded;
  if (PercentDecode(text, false, decoded) && IsUtf8(decoded)) return decoded;
  return std::string(text);
}

std::string Encoded(std::string_view text) {
  return PercentEncode(
      text, [](char c) { return IsAlphanumeric(c) || c == '-' || c == '_' || c == '.' || c == '~'; });
}

// A ";" in an attribute would begin another one.
std::string Attribute(const char* name, std::string text) {
  text.erase(std::remove(text.begin(), text.end(), ';'), text.end());
  return text.empty() ? std::string() : std::string("; ") + name + "=" + text;
}

}  // namespace

std::vector<FormField> ParseCookies(std::string_view header) {
  std::vector<FormField> cookies;
  while (!header.empty() && cookies.size() < kMaxCookies) {
    const std::size_t end = std::min(header.find(';'), header.size());
    const std::string_view piece = Trim(header.substr(0, end));
    header.remove_prefix(std::min(end + 1, header.size()));
    const std::size_t equals = piece.find('=');
    if (equals == std::string_view::npos || equals == 0 || !IsUtf8(piece)) continue;
    cookies.push_back(
        {Decoded(Trim(piece.substr(0, equals))), Decoded(WithoutQuotes(Trim(piece.substr(equals + 1))))});
  }
  return cookies;
}

std::string CookieHeaderOf(const HeaderList& headers) {
  std::string header;
  for (const HeaderList::Field& field : headers) {
    if (EqualsIgnoreCase(field.name, "Cookie")) header += (header.empty() ? "" : "; ") + field.value;
  }
  return header;
}

std::string FormatCookie(const Cookie& cookie) {
  std::string text = Encoded(cookie.name) + "=" + Encoded(cookie.value);
  if (cookie.expires) text += "; Expires=" + FormatHttpDate(*cookie.expires);
  text += Attribute("Path", cookie.path);
  text += Attribute("Domain", cookie.domain);
  if (cookie.secure) text += "; Secure";
  if (cookie.httpOnly) text += "; HttpOnly";
  return text + Attribute("SameSite", cookie.sameSite);
}

}  // namespace hostlinux
