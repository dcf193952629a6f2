// A query's text in the pieces from which the page query is put together.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

// A clause that holds anything begins with a blank; words are joined by single blanks.
struct QueryClauses {
  String select;   // the select list and FROM
  String where;    // the condition without its keyword, with two blanks in front
  String groupBy;  // GROUP BY and HAVING, with their keywords
  String orderBy;  // with its keywords
  String compute;  // with its keyword

  bool operator==(const QueryClauses&) const = default;
};

// Cuts `ioSql` at the keywords outside parentheses, in any case of letters; the order of the clauses isn't
// checked. Tabs in `ioSql` are blanks afterwards. Raises 9 for a text without any word.
QueryClauses SplitQueryClauses(String& ioSql);

}  // namespace varnel
