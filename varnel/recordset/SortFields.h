// The sort of one read: the columns of the sort text, and behind them the key columns that make it total.
#pragma once

#include "varnel/recordset/PersistedState.h"

namespace varnel {

struct SortField {
  String Name;            // in an ORDER BY, and among the result's fields: the alias, where there is one
  String Expression;      // in a WHERE condition; empty for a key column that the sort doesn't name
  bool Ascending = true;  // the direction of this read, turned around for a backward one

  bool operator==(const SortField&) const = default;

  // What a condition compares.
  const String& Compared() const { return Expression.empty() ? Name : Expression; }
};

// The columns of `iState.SortFields`, then those of the key list `iPrimaryKeyFields` that no entry names yet,
// ascending. SortReversed turns all directions around, and a NavType of 2 or more does so once more.
std::vector<SortField> ParseSortFields(const PersistedState& iState, const String& iPrimaryKeyFields);

// The entries of `iSortText` without their directions, as the fields are made of them; none for a blank text.
std::vector<String> SortColumns(StringView iSortText);

// Turns all directions around.
void ReverseSort(std::vector<SortField>& ioFields);

}  // namespace varnel
