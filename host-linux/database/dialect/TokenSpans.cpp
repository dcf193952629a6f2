#include "host-linux/database/dialect/TokenSpans.h"

#include <algorithm>
#include <cstddef>

namespace hostlinux {

bool HasAnyWord(const SqlTokens& tokens, SqlSpan span, std::initializer_list<std::u16string_view> words) {
  for (std::size_t i = span.begin; i < span.end; ++i) {
    for (const std::u16string_view word : words) {
      if (IsWord(tokens[i], word)) return true;
    }
  }
  return false;
}

bool HasAnyKind(const SqlTokens& tokens, SqlSpan span, std::initializer_list<SqlTokenKind> kinds) {
  return std::any_of(tokens.begin() + static_cast<std::ptrdiff_t>(span.begin),
                     tokens.begin() + static_cast<std::ptrdiff_t>(span.end), [&](const SqlToken& token) {
                       return std::find(kinds.begin(), kinds.end(), token.kind) != kinds.end();
                     });
}

namespace {

bool SameToken(const SqlToken& a, const SqlToken& b) {
  if (a.kind != b.kind) return false;
  return a.kind == SqlTokenKind::Word ? UpperAscii(a.text) == UpperAscii(b.text) : a.text == b.text;
}

}  // namespace

bool Same(const SqlTokens& tokens, SqlSpan span, const SqlTokens& other, SqlSpan otherSpan) {
  if (span.end - span.begin != otherSpan.end - otherSpan.begin) return false;
  for (std::size_t i = 0; i < span.end - span.begin; ++i) {
    if (!SameToken(tokens[span.begin + i], other[otherSpan.begin + i])) return false;
  }
  return true;
}
bool Same(const SqlTokens& tokens, SqlSpan span, const SqlTokens& other) {
  return Same(tokens, span, other, {0, other.size()});
}

bool IsNamePart(const SqlToken& token) {
  return token.kind == SqlTokenKind::Word || token.kind == SqlTokenKind::QuotedName;
}

bool IsColumn(const SqlTokens& tokens, SqlSpan span) {
  for (std::size_t i = span.begin; i < span.end; ++i) {
    const bool isName = (i - span.begin) % 2 == 0;
    if (isName ? !IsNamePart(tokens[i]) : tokens[i].kind != SqlTokenKind::Dot) return false;
  }
  return (span.end - span.begin) % 2 == 1;
}

}  // namespace hostlinux
