// The SQL of a list, made of the page's own texts alone: what a visitor typed is only ever a parameter.
#pragma once

#include <vector>

#include "varnel/host/Ado.h"
#include "varnel/list/ListChoice.h"

namespace varnel {

// A condition and the values of the parameters that it names.
struct ListCondition {
  String text;  // empty: every row
  std::vector<host::StatementParameter> parameters;
};

// Names of parameters that begin so are the list's.
inline constexpr StringView kListParameter = u"VL_";

// The rows that have each word of `search` in one of `expressions`, in any case of letters, and the values of the
// filters. A search has 8 words at most; what stands behind them is one word with the last.
ListCondition ConditionOf(const ListDeclared& declared, const ListChoice& choice);

// The LIKE pattern of what contains `text`, whose own signs mean themselves.
String ContainsPattern(StringView text);

// `query` with blanks in place of its line ends and tabs, but for quoted ones: its words stand apart by blanks.
String OneLine(StringView query);

// The union's branches of `query`, each with `condition` beside its own.
std::vector<String> BranchesWith(const String& query, const String& condition);

// The first `most` different values of `field` in the rows of `branch`, in order; empty where the query isn't a plain
// one.
String DistinctQuery(const String& branch, const String& field, Integer most);

// The number of rows of `branch`, or `most` where there are as many or more.
String CappedCountQuery(const String& branch, Integer most);

}  // namespace varnel
