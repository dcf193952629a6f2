// The SQL that reads one page: TOP of the page size, a sort that is total, and for the next or previous page
// a condition that selects the rows behind an anchor row. Texts differ by no character from what the database
// side expects, doubled blanks included.
#pragma once

#include "varnel/host/Paging.h"
#include "varnel/recordset/SortFields.h"

namespace varnel {

// How many rows a read takes.
struct PageTop {
  Integer pageSize = 0;
  bool nested = false;  // a page jump: the last `pageSize` rows of the first `rows`
  Long rows = -1;       // only if nested
};

// The SQL of one union branch. A nested one has its ORDER BY, another gets it behind all branches. The
// branch's own ORDER BY is dropped. Tabs in `ioSql` are blanks afterwards.
// Raises 9 for a text without any word, and for too few keys.
String BuildPageQuery(String& ioSql, const PersistedState& iState, const std::vector<SortField>& iFields,
                      const PageTop& iTop);

// The condition "behind the anchor row" for the fields from `iIndex` to `iLast`, both from 0. NULL sorts
// below every value. Raises 9 where `iState` has no key for a field.
String BuildKeysetPredicate(const PersistedState& iState, std::size_t iIndex, std::size_t iLast,
                            const std::vector<SortField>& iFields);

// A read as the text that is its contract, and as data for hosts that write their own.
struct PageQuery {
  String text;
  host::PageSpec page;
};

// The whole read: the branches, and behind them the ORDER BY. Raises 9 for no branch at all.
PageQuery BuildRead(std::vector<String>& ioBranches, const PersistedState& iState,
                    const std::vector<SortField>& iFields, const PageTop& iTop);

// The text of `BuildRead` alone.
String BuildReadQuery(std::vector<String>& ioBranches, const PersistedState& iState,
                      const std::vector<SortField>& iFields, const PageTop& iTop);

// A column's value as the text that the state keeps: Null stays Null, a value of ADO type 135 becomes the
// literal of a date, any other its text.
Variant KeyValueToText(const Variant& iValue, Integer iType);

// The text of `iValue` with every single quote doubled. Raises 94 for Null.
Variant QuoteSqlText(const Variant& iValue);

}  // namespace varnel
