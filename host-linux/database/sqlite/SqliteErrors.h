// SQLite's errors as those of a database provider.
#pragma once

#include <sqlite3.h>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// Raises the last error of `database`.
[[noreturn]] void RaiseSqlite(sqlite3* database);

// Raises an error of our own: no native number.
[[noreturn]] void RaiseSqlite(varnel::Long number, varnel::StringView description,
                              varnel::StringView sqlState);

// Raises the error of a result beyond the limit of results.
[[noreturn]] void RaiseTooLarge();

}  // namespace hostlinux
