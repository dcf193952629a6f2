// Questions about runs of tokens, which all statements that are taken apart are asked.
#pragma once

#include <initializer_list>
#include <string_view>
#include <vector>

#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/dialect/SqlStructure.h"

namespace hostlinux {

using SqlTokens = std::vector<SqlToken>;

// True if one of `words` (in capitals) stands in the span, and if a token of one of `kinds` does.
bool HasAnyWord(const SqlTokens& tokens, SqlSpan span, std::initializer_list<std::u16string_view> words);
bool HasAnyKind(const SqlTokens& tokens, SqlSpan span, std::initializer_list<SqlTokenKind> kinds);

// True if both hold the same tokens; words in any case of letters.
bool Same(const SqlTokens& tokens, SqlSpan span, const SqlTokens& other, SqlSpan otherSpan);
bool Same(const SqlTokens& tokens, SqlSpan span, const SqlTokens& other);

bool IsNamePart(const SqlToken& token);
// A column's name, with or without qualifiers.
bool IsColumn(const SqlTokens& tokens, SqlSpan span);

}  // namespace hostlinux
