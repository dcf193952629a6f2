// The words of a statement.
#pragma once

#include <vector>

#include "varnel/automation/String.h"

namespace model {

enum class TokenKind { Word, QuotedName, Number, Text, Date, Parameter, Sign, End };

struct Token {
  TokenKind kind = TokenKind::End;
  varnel::String text;  // of a literal or a quoted name without its quotes; of a date the text in its braces
};

// The last one is an End. Raises Failure for an open literal and for a sign that no statement has.
std::vector<Token> TokensOf(varnel::StringView sql);

}  // namespace model
