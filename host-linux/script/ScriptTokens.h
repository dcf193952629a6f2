// A page's script in words, as far as reading it over needs: no grammar, and no error.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace hostlinux {

struct ScriptToken {
  enum class Kind {
    Word,     // a name, a keyword, a number
    Text,     // a literal of a string or a pattern, without its quotes
    Operator  // a sign, of up to four characters
  };
  Kind kind = Kind::Operator;
  std::string text;
  int line = 0;  // how many lines lie before it

  bool Is(std::string_view sign) const { return kind == Kind::Operator && text == sign; }
  bool IsWord(std::string_view word) const { return kind == Kind::Word && text == word; }
};

// Comments are left out. What a template puts in, `${...}`, stands between "(" and ")" of its own, with a "+"
// before it and behind it, so that a template reads as texts that are added up.
std::vector<ScriptToken> TokensOf(std::string_view script);

}  // namespace hostlinux
