// SQL functions that SQLite lacks for the library's SQL.
#pragma once

#include <sqlite3.h>

namespace hostlinux {

// regexp(pattern, text): the operator REGEXP, which the dialect uses for LIKE patterns with classes.
void RegisterSqliteFunctions(sqlite3* database);

}  // namespace hostlinux
