// What the words of a statement tell before a driver gets it: whether it is one, what it leaves behind, what it calls.
#pragma once

#include <vector>

#include "host-linux/database/dialect/SqlLexer.h"
#include "host-linux/database/odbc/OdbcServers.h"

namespace hostlinux {

// More than one statement, or what a driver or server may take for more: some drivers send all that they find, and a T-SQL server
// needs no semicolon between two. Not judged are a T-SQL server's definitions and grants, in which such words may stand.
bool IsBatch(OdbcServer server, const std::vector<SqlToken>& tokens);

// What a statement leaves behind on the server: settings, temporary tables, locks.
bool LeavesSomething(OdbcServer server, const std::vector<SqlToken>& tokens);

// True for a call of a function that isn't known, which may change settings.
bool MayChangeSettings(OdbcServer server, const std::vector<SqlToken>& tokens);

// A call of a function that the driver adds or lets in, and that does more than to calculate: reads and writes files, loads code.
// Of a session that only reads, a call of any function that isn't known to calculate.
bool CallsForbidden(OdbcServer server, const std::vector<SqlToken>& tokens, bool readsOnly);

// Where the server has no sessions that only read: false for what isn't surely a query.
bool OnlyReads(const std::vector<SqlToken>& tokens);

}  // namespace hostlinux
