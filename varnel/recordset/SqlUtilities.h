// The small lexer that all rewriting of SQL texts stands on, and the literal of a date.
#pragma once

#include <vector>

#include "varnel/automation/Date.h"

namespace varnel {

// The words of `ioSql`: a token is a word, a single parenthesis, a single "*", or a whole quoted string with
// its quotes (N'...' keeps its N). Tabs in `ioSql`, also quoted ones, are blanks afterwards. Only blanks and
// tabs separate words; line breaks, comments, brackets and double quotes mean nothing here.
// Raises 9 for a text without any token.
std::vector<String> SplitSqlTokens(String& ioSql);

// "yyyymmdd hh:mm:ss", a literal that every server reads in the same way.
String DateToSqlText(Date iDate);

// The decimal text of `iNumber` with "0" in front up to `iWidth` characters; longer text stays.
String PadNumber(Integer iNumber, Integer iWidth);

// True where `iToken` is that keyword, or where the two tokens at `iAt` are those keywords, in any case of
// letters.
bool IsKeyword(const String& iToken, StringView iKeyword);
bool IsKeywordPair(const std::vector<String>& iTokens, std::size_t iAt, StringView iFirst,
                   StringView iSecond);

}  // namespace varnel
