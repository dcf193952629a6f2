#include "varnel/recordset/CountTail.h"

#include "varnel/recordset/SqlUtilities.h"

namespace varnel {

namespace {

bool EndsTail(const std::vector<String>& tokens, std::size_t at) {
  return IsKeyword(tokens[at], u"HAVING") || IsKeyword(tokens[at], u"COMPUTE") ||
         IsKeywordPair(tokens, at, u"ORDER", u"BY");
}

}  // namespace

CountTail CutCountTail(String iSql) {
  const std::vector<String> tokens = SplitSqlTokens(iSql);
  CountTail result;
  if (tokens.size() < 2) return result;
  result.distinct = IsKeyword(tokens[1], u"DISTINCT");
  bool inFrom = false;
  int depth = 0;
  for (std::size_t i = result.distinct ? 2 : 1; i < tokens.size(); ++i) {
    if (tokens[i] == u"(") ++depth;
    if (tokens[i] == u")") --depth;
    if (depth == 0) {
      if (IsKeyword(tokens[i], u"FROM")) {
        inFrom = true;
      } else if (IsKeywordPair(tokens, i, u"GROUP", u"BY")) {
        inFrom = false;
        result.grouped = true;
      } else if (EndsTail(tokens, i)) {
        inFrom = false;
      }
    }
    if (inFrom) result.tail.append(u" ").append(tokens[i]);
  }
  return result;
}

}  // namespace varnel
