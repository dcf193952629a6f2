#include "tests/model/ModelTokens.h"

#include "tests/model/ModelValues.h"

namespace model {

using varnel::String;
using varnel::StringView;

namespace {

bool IsDigit(char16_t c) { return c >= u'0' && c <= u'9'; }
bool IsLetter(char16_t c) {
  return (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || c == u'_' || c >= 0x80;
}
bool IsBlank(char16_t c) { return c == u' ' || c == u'\t' || c == u'\r' || c == u'\n'; }

class Lexer {
 public:
  explicit Lexer(StringView sql) : m_rest(sql) {}

  Token Next() {
    while (!m_rest.empty() && IsBlank(m_rest[0])) m_rest.remove_prefix(1);
    if (m_rest.empty()) return {};
    const char16_t c = m_rest[0];
    if (c == u'\'') return {TokenKind::Text, Quoted(u'\'')};
    if (c == u'"') return {TokenKind::QuotedName, Quoted(u'"')};
    if (c == u'[') return {TokenKind::QuotedName, Quoted(u']')};
    if (c == u'{') return DateEscape();
    if (IsDigit(c)) return {TokenKind::Number, While([](char16_t d) { return IsDigit(d) || d == u'.'; })};
    if (IsLetter(c)) return Word();
    if (c == u':') {
      m_rest.remove_prefix(1);
      return {TokenKind::Parameter, Name()};
    }
    return Sign();
  }

 private:
  template <typename Condition>
  String While(Condition condition) {
    std::size_t end = 0;
    while (end < m_rest.size() && condition(m_rest[end])) ++end;
    String text(m_rest.substr(0, end));
    m_rest.remove_prefix(end);
    return text;
  }

  String Name() {
    return While([](char16_t c) { return IsLetter(c) || IsDigit(c); });
  }

  // N'...' is a text too.
  Token Word() {
    String name = Name();
    if (varnel::EqualsNoCase(name, u"N") && m_rest.starts_with(u'\''))
      return {TokenKind::Text, Quoted(u'\'')};
    return {TokenKind::Word, std::move(name)};
  }

  // A doubled end is the sign itself.
  String Quoted(char16_t end) {
    String text;
    for (m_rest.remove_prefix(1); !m_rest.empty(); m_rest.remove_prefix(1)) {
      if (m_rest[0] == end) {
        const bool isDoubled = m_rest.size() > 1 && m_rest[1] == end;
        m_rest.remove_prefix(1);
        if (!isDoubled) return text;
      }
      text += m_rest[0];
    }
    throw Failure::Syntax(u"a literal that isn't closed");
  }

  // {d '2001-03-05'} and {ts '2001-03-05 14:07:09'}.
  Token DateEscape() {
    m_rest.remove_prefix(1);
    const String kind = Name();
    const Token text = Next();
    if ((kind != u"d" && kind != u"ts") || text.kind != TokenKind::Text || Next().text != u"}")
      throw Failure::Syntax(u"an escape that is no date");
    return {TokenKind::Date, text.text};
  }

  Token Sign() {
    for (const StringView pair : {StringView(u"<>"), StringView(u"<="), StringView(u">=")}) {
      if (!m_rest.starts_with(pair)) continue;
      m_rest.remove_prefix(2);
      return {TokenKind::Sign, String(pair)};
    }
    const char16_t c = m_rest[0];
    if (StringView(u"(),.*=<>+-?;}").find(c) == StringView::npos)
      throw Failure::Syntax(u"a sign that no statement has");
    m_rest.remove_prefix(1);
    return {TokenKind::Sign, String(1, c)};
  }

  StringView m_rest;
};

}  // namespace

std::vector<Token> TokensOf(StringView sql) {
  Lexer lexer(sql);
  std::vector<Token> tokens;
  do {
    tokens.push_back(lexer.Next());
  } while (tokens.back().kind != TokenKind::End);
  return tokens;
}

}  // namespace model
