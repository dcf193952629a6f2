// Puts a statement together from pieces.
#pragma once

#include <string_view>
#include <utility>

#include "host-linux/database/dialect/TokenSpans.h"

namespace hostlinux {

// A statement is written into it, from runs of other statements' tokens and from words.
class StatementWriter {
 public:
  // As they stand, with the blanks between them.
  void Copy(const SqlTokens& tokens, SqlSpan span) {
    m_tokens.insert(m_tokens.end(), tokens.begin() + static_cast<std::ptrdiff_t>(span.begin),
                    tokens.begin() + static_cast<std::ptrdiff_t>(span.end));
  }
  // With `gap` in front instead of the blanks that stood there.
  void CopyBehind(std::u16string_view gap, const SqlTokens& tokens) {
    const std::size_t begin = m_tokens.size();
    Copy(tokens, {0, tokens.size()});
    m_tokens[begin].gap = gap;
  }
  void Add(std::u16string_view text) {
    SqlTokens tokens = LexSql(text);
    tokens.pop_back();
    for (SqlToken& token : tokens) token.literal = -1;  // none of the library's text
    Copy(tokens, {0, tokens.size()});
  }
  // The literal of a key, which the engine's words then write for the column beside it.
  void AddAnchor(const SqlToken& anchor, std::u16string_view gap, RowPart part = RowPart::None) {
    m_tokens.push_back(anchor);
    m_tokens.back().gap = gap;
    m_tokens.back().isKey = true;
    m_tokens.back().rowPart = part;
  }

  const SqlTokens& Written() const { return m_tokens; }
  // All of it, closed by a token of kind End.
  SqlTokens Take() {
    m_tokens.emplace_back();
    return std::move(m_tokens);
  }

 private:
  SqlTokens m_tokens;
};

}  // namespace hostlinux
