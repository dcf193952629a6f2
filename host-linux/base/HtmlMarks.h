// The characters that HTML gives a meaning to, and what is written for them.
#pragma once

#include <string_view>

namespace hostlinux {

// One that can't stand for itself in HTML, neither in a text nor in an attribute in quotes.
constexpr bool IsHtmlMark(char16_t unit) {
  // All of them stand before the letters, which are most of a text.
  return unit <= u'>' && (unit == u'&' || unit == u'<' || unit == u'>' || unit == u'"');
}

// For a mark or an apostrophe.
constexpr std::string_view HtmlOfMark(char16_t mark) {
  switch (mark) {
    case u'&':
      return "&amp;";
    case u'<':
      return "&lt;";
    case u'>':
      return "&gt;";
    case u'\'':
      return "&#39;";
    default:
      return "&quot;";
  }
}

// The length of the longest one.
inline constexpr int kMostHtmlOfMark = 6;

}  // namespace hostlinux
