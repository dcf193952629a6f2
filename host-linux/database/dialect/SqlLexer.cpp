#include "host-linux/database/dialect/SqlLexer.h"

#include <algorithm>
#include <array>

namespace hostlinux {
namespace {

bool IsBlank(char16_t c) { return c == u' ' || (c >= u'\t' && c <= u'\r'); }
bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

char16_t Upper(char16_t c) { return c >= u'a' && c <= u'z' ? static_cast<char16_t>(c - 32) : c; }

bool StartsWord(char16_t c) {
  const char16_t upper = Upper(c);
  return (upper >= u'A' && upper <= u'Z') || c == u'_' || c == u'@' || c == u'#' || c == u'$' || c >= 0x80;
}

bool ContinuesWord(char16_t c) { return StartsWord(c) || IsDigit(c); }

}  // namespace

SqlPiece SqlScanner::Next() {
  SqlPiece piece;
  piece.gap = m_pos;
  while (!AtEnd() && IsBlank(Peek())) ++m_pos;
  piece.begin = piece.end = m_pos;
  if (AtEnd()) return piece;
  piece.kind = Scan();
  piece.end = m_pos;
  return piece;
}

SqlTokenKind SqlScanner::Scan() {
  const char16_t c = Peek();
  if (c == u'\'') return Quoted(u'\'', SqlTokenKind::Text);
  if ((c == u'N' || c == u'n') && Peek(1) == u'\'') return ++m_pos, Quoted(u'\'', SqlTokenKind::WideText);
  if (c == u'"' || c == u'`') return Quoted(c, SqlTokenKind::QuotedName);
  if (c == u'[') return Quoted(u']', SqlTokenKind::QuotedName);
  if (c == u'{') return BracedEscape();
  if (c == u'-' && Peek(1) == u'-') return LineComment();
  if (c == u'/' && Peek(1) == u'*') return BlockComment();
  if (IsDigit(c) || (c == u'.' && IsDigit(Peek(1)))) return Number();
  if (StartsWord(c)) return Word();
  if (c == u'?' || (c == u':' && ContinuesWord(Peek(1)))) return Parameter();
  return Sign();
}

// From the opening quote to the closing one; a doubled closing quote stands for itself.
SqlTokenKind SqlScanner::Quoted(char16_t close, SqlTokenKind kind) {
  ++m_pos;
  while (!AtEnd()) {
    if (m_sql[m_pos++] != close) continue;
    if (Peek() != close || AtEnd()) return kind;
    ++m_pos;
  }
  return kind;
}

// Only {d '...'}, {t '...'} and {ts '...'} are one token; any other brace is a character.
SqlTokenKind SqlScanner::BracedEscape() {
  size_t pos = m_pos + 1;
  const auto skipBlanks = [&] {
    while (pos < m_sql.size() && IsBlank(m_sql[pos])) ++pos;
  };
  skipBlanks();
  const size_t word = pos;
  while (pos < m_sql.size() && ContinuesWord(m_sql[pos])) ++pos;
  const std::u16string name = UpperAscii(m_sql.substr(word, pos - word));
  skipBlanks();
  if ((name != u"D" && name != u"T" && name != u"TS") || pos >= m_sql.size() || m_sql[pos] != u'\'') {
    return ++m_pos, SqlTokenKind::Other;
  }
  pos = std::min(m_sql.find(u'\'', pos + 1), m_sql.size());
  if (pos < m_sql.size()) ++pos;
  skipBlanks();
  if (pos >= m_sql.size() || m_sql[pos] != u'}') return ++m_pos, SqlTokenKind::Other;
  m_pos = pos + 1;
  return SqlTokenKind::Escape;
}

SqlTokenKind SqlScanner::LineComment() {
  while (!AtEnd() && Peek() != u'\n') ++m_pos;
  return SqlTokenKind::Comment;
}

SqlTokenKind SqlScanner::BlockComment() {
  const size_t end = m_sql.find(u"*/", m_pos + 2);
  m_pos = end == std::u16string_view::npos ? m_sql.size() : end + 2;
  return SqlTokenKind::Comment;
}

SqlTokenKind SqlScanner::Number() {
  while (IsDigit(Peek()) || Peek() == u'.') ++m_pos;
  if (Upper(Peek()) != u'E') return SqlTokenKind::Number;
  const size_t sign = Peek(1) == u'+' || Peek(1) == u'-' ? 1 : 0;
  if (!IsDigit(Peek(1 + sign))) return SqlTokenKind::Number;
  m_pos += 1 + sign;
  while (IsDigit(Peek())) ++m_pos;
  return SqlTokenKind::Number;
}

SqlTokenKind SqlScanner::Word() {
  while (!AtEnd() && ContinuesWord(Peek())) ++m_pos;
  return SqlTokenKind::Word;
}

// Behind a question mark stands a number, or nothing; behind a colon a name.
SqlTokenKind SqlScanner::Parameter() {
  const bool isNamed = m_sql[m_pos++] == u':';
  while (isNamed ? !AtEnd() && ContinuesWord(Peek()) : IsDigit(Peek())) ++m_pos;
  return SqlTokenKind::Parameter;
}

SqlTokenKind SqlScanner::Sign() {
  static constexpr std::array<std::u16string_view, 11> kPairs = {u"<=", u">=", u"<>", u"!=", u"==", u"||",
                                                                 u"<<", u">>", u"!<", u"!>", u"::"};
  const std::u16string_view pair = m_sql.substr(m_pos, 2);
  if (std::find(kPairs.begin(), kPairs.end(), pair) != kPairs.end()) {
    return m_pos += 2, SqlTokenKind::Operator;
  }
  switch (m_sql[m_pos++]) {
    case u'(':
      return SqlTokenKind::Open;
    case u')':
      return SqlTokenKind::Close;
    case u',':
      return SqlTokenKind::Comma;
    case u'.':
      return SqlTokenKind::Dot;
    case u';':
      return SqlTokenKind::Semicolon;
    case u'=':
    case u'<':
    case u'>':
    case u'+':
    case u'-':
    case u'*':
    case u'/':
    case u'%':
    case u'&':
    case u'|':
    case u'~':
      return SqlTokenKind::Operator;
    default:
      return SqlTokenKind::Other;
  }
}

std::vector<SqlToken> LexSql(std::u16string_view sql) {
  std::vector<SqlToken> tokens;
  SqlScanner scanner(sql);
  SqlPiece piece;
  int literals = 0;
  do {
    piece = scanner.Next();
    SqlToken& token = tokens.emplace_back();
    token.kind = piece.kind;
    token.gap = sql.substr(piece.gap, piece.begin - piece.gap);
    token.text = sql.substr(piece.begin, piece.end - piece.begin);
    if (HasValue(piece.kind)) token.literal = literals++;
  } while (piece.kind != SqlTokenKind::End);
  return tokens;
}

std::u16string PrintSql(const std::vector<SqlToken>& tokens, size_t begin, size_t end, bool trimmed) {
  std::u16string text;
  for (size_t i = begin; i < end && i < tokens.size(); ++i) {
    const SqlToken& token = tokens[i];
    if (token.dropped) {
      text += token.before + token.after;
      continue;
    }
    if (!trimmed || !text.empty()) text += token.gap;
    text += token.before;
    text += token.text;
    text += token.after;
  }
  return text;
}

bool IsWord(const SqlToken& token, std::u16string_view word) {
  return token.kind == SqlTokenKind::Word && token.text.size() == word.size() &&
         std::equal(word.begin(), word.end(), token.text.begin(),
                    [](char16_t upper, char16_t c) { return upper == Upper(c); });
}

std::u16string TextValue(const SqlToken& token) { return TextValue(token.text); }

std::u16string TextValue(std::u16string_view text) {
  std::u16string_view body = text;
  body.remove_prefix(std::min(body.size(), body.find(u'\'') + 1));
  if (!body.empty() && body.back() == u'\'') body.remove_suffix(1);
  std::u16string value;
  for (size_t i = 0; i < body.size(); ++i) {
    value += body[i];
    if (body[i] == u'\'' && i + 1 < body.size() && body[i + 1] == u'\'') ++i;
  }
  return value;
}

std::u16string TextLiteral(std::u16string_view value) {
  std::u16string literal = u"'";
  for (char16_t c : value) {
    literal += c;
    if (c == u'\'') literal += c;
  }
  return literal + u"'";
}

std::u16string UpperAscii(std::u16string_view text) {
  std::u16string upper(text);
  std::transform(upper.begin(), upper.end(), upper.begin(), Upper);
  return upper;
}

}  // namespace hostlinux
