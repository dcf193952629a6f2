// The engine's functions: those that it lacks for the library's SQL, and those that would run without an end.
#pragma once

#include <sqlite3.h>

#include <string>

#include "host-linux/database/sqlite/SqliteTimeLimit.h"

namespace hostlinux {

// regexp(pattern, text): the operator REGEXP, which the dialect uses for LIKE patterns with classes.
// instr, replace, trim, ltrim, rtrim: what the engine's own give, in a time that grows with the lengths of
// their arguments and not with the product of these. What may take longer looks at `timeLimit`, which
// outlives the connection.
void RegisterSqliteFunctions(sqlite3* database, const SqliteTimeLimit& timeLimit);

// True for functions that calculate (IsCalculating) and always give the same for the same arguments: that know no clock and no chance.
bool IsSteadyFunction(const std::string& name);

}  // namespace hostlinux
