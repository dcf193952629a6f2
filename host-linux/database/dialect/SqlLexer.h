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

// A token. The fields below the line are for rewriting: a dropped token prints nothing, not even its gap.
struct SqlToken {
  SqlTokenKind kind = SqlTokenKind::End;
  std::u16string gap;   // blanks and line breaks in front
  std::u16string text;  // as written, quotes included
  // ---
  bool dropped = false;
  std::u16string before;  // printed between gap and text
  std::u16string after;   // printed behind the text
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

// `value` as a text literal, quotes doubled.
std::u16string TextLiteral(std::u16string_view value);

// `text` with ASCII letters in upper case.
std::u16string UpperAscii(std::u16string_view text);

}  // namespace hostlinux
