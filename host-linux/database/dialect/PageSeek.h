// Reads behind an anchor row, so written that an index finds the row instead of walking to it:
//   SELECT TOP n ... WHERE (w) AND (e0 > 'k0' or (e0 = 'k0' and e1 > 'k1')) ORDER BY ...
// becomes one SELECT for each key ("arm"), the nearest rows first, each for the rows that those before it
// left open:
//   SELECT * FROM (WITH
//     "page 0" AS MATERIALIZED (
//       SELECT TOP n ... WHERE (w) AND e0 = 'k0' and e1 > 'k1' ORDER BY ...),
//     "page 1" AS MATERIALIZED (
//       SELECT * FROM "page 0" UNION ALL SELECT * FROM (SELECT ... WHERE (w) AND e0 > 'k0'
//       ORDER BY ... LIMIT n - (SELECT COUNT("id" IS NULL) FROM "page 0")))
//   SELECT * FROM "page 1") ORDER BY 2 ASC,1 ASC LIMIT n
// The order of UNION ALL isn't promised, so that the n rows are sorted in the end.
// Where all keys of one table are read upward, a row value is half as dear:
//   SELECT TOP n ... WHERE (w) AND (e0, e1) > ('k0', 'k1') ORDER BY ...
// A first or last page whose order no index gives to its end (`name DESC, id ASC` over an index on the name)
// would sort all rows of the leading value, which may be half the table's NULLs. Read alone, they come in
// order:
//   SELECT * FROM (WITH
//     "page 0" AS MATERIALIZED (
//       SELECT TOP n ... WHERE e0 is (SELECT e0 ... WHERE w ORDER BY e0 LIMIT 1) and (w) ORDER BY ...),
//     "page 1" AS MATERIALIZED (... WHERE e0 is not (SELECT e0 ...) and (w) ...) as above
#pragma once

#include <vector>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

// The tokens of a statement in the library's SQL with each such read rewritten; still the library's SQL, but
// for the LIMITs behind the arms. Plain, DISTINCT, nested and union forms are known; of first and last pages
// those of one SELECT. A read is left as it stands where it isn't exactly such a form, is grouped or
// aggregated, or where a column of its ORDER BY isn't surely one of its result: the same rows must come in the
// same order, under the same names and types.
// The tokens must be followed by a few empty ones; so is the result.
std::vector<SqlToken> SeekPages(std::vector<SqlToken> tokens, IColumnFacts& facts);

}  // namespace hostlinux
