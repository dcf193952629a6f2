#include "varnel/recordset/QueryClauses.h"

#include "varnel/recordset/SqlUtilities.h"

namespace varnel {

QueryClauses SplitQueryClauses(String& ioSql) {
  const std::vector<String> tokens = SplitSqlTokens(ioSql);
  QueryClauses clauses;
  String* section = &clauses.select;
  int depth = 0;
  for (std::size_t i = 0; i < tokens.size(); ++i) {
    const String& token = tokens[i];
    if (token == u"(") ++depth;
    if (token == u")") --depth;
    bool dropped = false;
    if (depth == 0) {
      if (IsKeyword(token, u"WHERE")) {
        section = &clauses.where;
        dropped = true;  // the word goes, its blank stays
      } else if (IsKeywordPair(tokens, i, u"GROUP", u"BY") || IsKeyword(token, u"HAVING")) {
        section = &clauses.groupBy;
      } else if (IsKeywordPair(tokens, i, u"ORDER", u"BY")) {
        section = &clauses.orderBy;
      } else if (IsKeyword(token, u"COMPUTE")) {
        section = &clauses.compute;
      }
    }
    section->append(u" ");
    if (!dropped) section->append(token);
  }
  return clauses;
}

}  // namespace varnel
