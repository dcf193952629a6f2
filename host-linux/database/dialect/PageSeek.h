// The read of a page, so written that an index finds its rows instead of walking to them. Behind an anchor row lie, for
// each key, the rows that are equal to it in the keys before and behind it in this one. Each of these "arms" is a
// statement of its own, the nearest rows first; they are run one after the other until the page is full:
//   SELECT ... WHERE (w) AND e0 = 'k0' and e1 > 'k1' ORDER BY ... LIMIT n
//   SELECT ... WHERE (w) AND e0 > 'k0' ORDER BY ... LIMIT n
// A descending key has two arms, as NULLs lie behind all values: e0 < 'k0', and e0 is null unless it never is.
// The keys at the end of the order that are read one way, of one table, are compared as a row value, in one statement:
//   SELECT ... WHERE (w) AND (e0, e1) > ('k0', 'k1') ORDER BY ... LIMIT n
// Read downward, only the first one of them may be NULL, for which one more arm stands behind.
// Where no index gives the order to its end (`name DESC, id ASC` over an index on the name), the engine would sort all
// rows of the next name, which may be half the table's NULLs. Read alone, they come in order:
//   SELECT ... WHERE (w) AND e0 is (SELECT e0 ... WHERE (w) ORDER BY e0 DESC LIMIT 1) ORDER BY ... LIMIT n
//   SELECT ... WHERE (w) AND e0 is not (SELECT e0 ...) ORDER BY ... LIMIT n
// Rows whose name is NULL are alike in it. An engine that doesn't see this would sort them all by what comes behind the name;
// so the name goes the way of the next key, which an index on (name, id) gives in either direction:
//   SELECT ... WHERE (w) AND e0 is null ORDER BY e0 ASC, e1 ASC LIMIT n
// An arm of a union is the union of its branches' arms.
//
// Of a condition that isn't one of the sort's own, an index may give few rows, to be sorted, or so many that it is quicker
// to walk through the order until enough of them have come by. No engine knows beforehand. Where it would sort, the walk is
// written beside: a table in front that only gives the order,
//   SELECT ... FROM (SELECT _rowid_ AS "page row", e0 AS "page key" FROM t) AS "page" CROSS JOIN t ...
//     WHERE (t._rowid_ = +"page row") AND (w) AND "page key" > 'k0' ORDER BY "page key" ASC, e1 ASC LIMIT n
// Further columns of t that it is sorted by stand in front as well, so that an index which goes on with them gives all of the
// order, also among many rows with one e0.
#pragma once

#include <vector>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineWords.h"
#include "host-linux/database/dialect/PageParts.h"
#include "varnel/host/Paging.h"

namespace hostlinux {

// One statement, and another one for the same rows, or none.
struct PageStep {
  SqlTokens text;
  SqlTokens walk;
};

// The statements of `page`, in the library's SQL but for LIMIT. Each goes on where those before it end, and has `rows`
// rows at most, or those of the `way` of a jump: the last `rows` of all are the page's then, turned around. None where
// that isn't surely what the page's text reads.
std::vector<PageStep> SeekPage(const varnel::host::PageSpec& page, PageTokens tokens, IColumnFacts& facts,
                               const IEngineWords& words);

}  // namespace hostlinux
