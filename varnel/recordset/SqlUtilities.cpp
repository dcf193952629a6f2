#include "varnel/recordset/SqlUtilities.h"

#include <algorithm>

#include "varnel/automation/Error.h"

namespace varnel {

namespace {

// Collects tokens from the pieces between single quotes: those with an odd number lie inside quotes.
class TokenList {
 public:
  void AddQuoted(const String& piece) {
    const String quoted = u"'" + piece + u"'";
    const bool joins = m_glue || EndsInNationalPrefix();
    m_glue = false;
    if (joins && !m_tokens.empty()) {
      m_tokens.back() += quoted;
    } else {
      m_tokens.push_back(quoted);
    }
  }

  void AddWords(StringView piece) {
    std::size_t begin = 0;
    const auto endWord = [&](std::size_t end) {
      if (end > begin) m_tokens.emplace_back(piece.substr(begin, end - begin));
      begin = end + 1;
    };
    for (std::size_t i = 0; i < piece.size(); ++i) {
      const char16_t unit = piece[i];
      const bool isMark = unit == u'(' || unit == u')' || unit == u'*';
      if (isMark || unit == u' ') endWord(i);
      if (isMark) m_tokens.emplace_back(1, unit);
    }
    endWord(piece.size());
  }

  // Two quotes without anything between them: the string goes on.
  void GlueNext() { m_glue = true; }

  std::vector<String> Take() { return std::move(m_tokens); }

 private:
  bool EndsInNationalPrefix() const {
    if (m_tokens.empty()) return false;
    const StringView last = m_tokens.back();
    return last == u"N" || last.ends_with(u">N") || last.ends_with(u"=N") || last.ends_with(u"<N");
  }

  std::vector<String> m_tokens;
  bool m_glue = false;
};

}  // namespace

std::vector<String> SplitSqlTokens(String& ioSql) {
  std::replace(ioSql.begin(), ioSql.end(), u'\t', u' ');
  const std::vector<String> pieces = Split(ioSql, u"'");
  TokenList list;
  for (std::size_t i = 0; i < pieces.size(); ++i) {
    if (i % 2 == 1) {
      list.AddQuoted(pieces[i]);
    } else if (!pieces[i].empty()) {
      list.AddWords(pieces[i]);
    } else if (i > 0) {
      list.GlueNext();
    }
  }
  std::vector<String> tokens = list.Take();
  if (tokens.empty()) RaiseRuntimeError(runtime_error::kSubscript);
  return tokens;
}

String PadNumber(Integer iNumber, Integer iWidth) {
  String text = DecimalText(iNumber);
  if (iWidth > 0 && text.size() < static_cast<std::size_t>(iWidth)) {
    text.insert(0, static_cast<std::size_t>(iWidth) - text.size(), u'0');
  }
  return text;
}

String DateToSqlText(Date iDate) {
  const DateParts parts = SplitDate(iDate);
  const auto pad = [](int number, Integer width) { return PadNumber(static_cast<Integer>(number), width); };
  return pad(parts.year, 4) + pad(parts.month, 2) + pad(parts.day, 2) + u" " + pad(parts.hour, 2) + u":" +
         pad(parts.minute, 2) + u":" + pad(parts.second, 2);
}

bool IsKeyword(const String& iToken, StringView iKeyword) { return EqualsNoCase(iToken, iKeyword); }

bool IsKeywordPair(const std::vector<String>& iTokens, std::size_t iAt, StringView iFirst,
                   StringView iSecond) {
  return iAt + 1 < iTokens.size() && IsKeyword(iTokens[iAt], iFirst) && IsKeyword(iTokens[iAt + 1], iSecond);
}

}  // namespace varnel
