// Reads behind an anchor row, so written that an index finds the row instead of walking to it:
//   SELECT TOP n ... WHERE (w) AND (e0 > 'k0' or (e0 = 'k0' and e1 > 'k1')) ORDER BY ...
// becomes one SELECT for each key ("arm"), the nearest rows first, of at most n rows each:
//   SELECT * FROM (SELECT TOP n ... WHERE (w) AND e0 = 'k0' and e1 > 'k1' ORDER BY ...) UNION ALL
//   SELECT * FROM (SELECT TOP n ... WHERE (w) AND e0 > 'k0' ORDER BY ...) ORDER BY 2 ASC,1 ASC LIMIT n
#pragma once

#include <vector>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

// The tokens of a statement in the library's SQL with each such read in arms; still the library's SQL, but
// for the LIMITs behind the arms. Plain, DISTINCT, nested and union forms are known. A read is left as it
// stands where it isn't exactly such a form, is grouped or aggregated, or where a column of its ORDER BY
// isn't surely one of its result: the same rows must come in the same order, under the same names and types.
// The tokens must be followed by a few empty ones; so is the result.
std::vector<SqlToken> SeekPages(std::vector<SqlToken> tokens, IColumnFacts& facts);

}  // namespace hostlinux
