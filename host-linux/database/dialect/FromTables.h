// The tables that a FROM names, and which of them an outer join fills with NULLs.
#pragma once

#include <string>
#include <vector>

#include "host-linux/database/dialect/SqlStructure.h"

namespace hostlinux {

struct FromTable {
  size_t name = 0;         // the token of its name
  std::u16string called;   // its alias, or the name, as written
  bool mayBeNull = false;  // its columns are NULL where an outer join finds no row of it
};

struct FromTables {
  std::vector<FromTable> tables;  // those that stand directly in it, in order
  bool hasOthers = false;         // a subquery or a join in parentheses stands beside them
};

// `from` begins at the keyword; `tokens` go on for one token behind it at least.
FromTables ReadFromTables(const std::vector<SqlToken>& tokens, const SqlStructure& structure, SqlSpan from);

}  // namespace hostlinux
