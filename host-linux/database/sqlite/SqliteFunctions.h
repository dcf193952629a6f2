// The engine's functions: those that it lacks for the library's SQL, those that would run without an end, and
// the names of those that may be called where it is only read.
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

// True for functions of their arguments alone, aggregates, window functions, and those of full-text search
// that show what was found. Not among them are functions that load code or look at the connection, the
// schema or files, blobs made out of nothing, and those that change JSON texts, whose time grows with the
// square of their lengths. `name` in lower case.
bool IsCalculating(const std::string& name);

// True for those of them that always give the same for the same arguments: that know no clock and no chance.
bool IsSteadyFunction(const std::string& name);

}  // namespace hostlinux
