// SQL text to tokens and back. Nothing is lost: the gaps and texts of all tokens, joined, give the
// text again, whatever it was. That lets a dialect change single tokens and leave the rest as written.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hostlinux {

enum class SqlTokenKind {
  Word,        // keyword or plain identifier
  Number,      // 12, 1.5, 1E+20
  Text,        // 'it''s'
  WideText,    // N'it''s'
  QuotedName,  // "a b", [a b], `a b`
  Escape,      // {d '2024-03-05'} with its braces
  Parameter,   // :maker, ?, ?2
  Comment,     // -- to the end of the line, /* to */
  Operator,    // one operator, of up to two characters
  Open,
  Close,
  Comma,
  Dot,
  Semicolon,
  Other,  // any other single character
  End     // behind the last token: its gap holds the blanks at the end
};

// A literal within a row value, which is compared without a look at its column, and as what.
enum class RowPart { None, Text, Number };

// A token. The fields below the line are for rewriting: a dropped token prints nothing, not even its gap.
struct SqlToken {
  SqlTokenKind kind = SqlTokenKind::End;
  std::u16string gap;   // blanks and line breaks in front
  std::u16string text;  // as written, quotes included
  // ---
  bool dropped = false;
  std::u16string before;  // printed between gap and text
  std::u16string after;   // printed behind the text
  int literal = -1;       // which of the text's literals and parameters it is, from 0; -1 for anything else
  bool isKey = false;     // the value of a page's key
  RowPart rowPart = RowPart::None;
  bool lifted = false;     // a parameter stands for its value
  char16_t escape = 0;     // of a parameter that is a pattern: the character that escapes in it
  bool isPattern = false;  // a parameter that reaches the engine as a regular expression
};

// Where a token lies in its text: blanks from `gap` to `begin`, the token from there to `end`.
struct SqlPiece {
  SqlTokenKind kind = SqlTokenKind::End;
  std::size_t gap = 0;
  std::size_t begin = 0;
  std::size_t end = 0;
};

// True for what stands for a value: Text, WideText, Escape, Number.
constexpr bool IsLiteral(SqlTokenKind kind) {
  return kind == SqlTokenKind::Text || kind == SqlTokenKind::WideText || kind == SqlTokenKind::Escape ||
         kind == SqlTokenKind::Number;
}

// The same and what takes its value from beside the text.
constexpr bool HasValue(SqlTokenKind kind) { return IsLiteral(kind) || kind == SqlTokenKind::Parameter; }

// Reads a text token by token, without copies. The text outlives the scanner.
class SqlScanner {
 public:
  explicit SqlScanner(std::u16string_view sql) : m_sql(sql) {}

  // The next token; of kind End behind the last one.
  SqlPiece Next();

 private:
  char16_t Peek(std::size_t ahead = 0) const {
    return m_pos + ahead < m_sql.size() ? m_sql[m_pos + ahead] : u'\0';
  }
  bool AtEnd() const { return m_pos >= m_sql.size(); }
  SqlTokenKind Scan();
  SqlTokenKind Quoted(char16_t close, SqlTokenKind kind);
  SqlTokenKind BracedEscape();
  SqlTokenKind LineComment();
  SqlTokenKind BlockComment();
  SqlTokenKind Number();
  SqlTokenKind Word();
  SqlTokenKind Parameter();
  SqlTokenKind Sign();

  std::u16string_view m_sql;
  std::size_t m_pos = 0;
};

// The tokens of `sql`, closed by one of kind End. Takes any text; an unclosed quote, bracket or
// comment reaches to the end.
std::vector<SqlToken> LexSql(std::u16string_view sql);

// The text of the tokens from `begin` up to but not including `end`, with their rewriting. The gap of the
// first one is left out when `trimmed`.
std::u16string PrintSql(const std::vector<SqlToken>& tokens, size_t begin, size_t end, bool trimmed = false);

// True if the token is the word `word` (given in upper case ASCII), in any case of letters.
bool IsWord(const SqlToken& token, std::u16string_view word);

// The value of a Text or WideText token: without quotes, doubled quotes made single.
std::u16string TextValue(const SqlToken& token);
std::u16string TextValue(std::u16string_view text);

// `value` as a text literal, quotes doubled.
std::u16string TextLiteral(std::u16string_view value);

// `text` with ASCII letters in upper case.
std::u16string UpperAscii(std::u16string_view text);

}  // namespace hostlinux
