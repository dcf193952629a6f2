// PostgreSQL's errors as those of a database provider.
#pragma once

#include <libpq-fe.h>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// Raises the failure that `result` tells of.
[[noreturn]] void RaisePostgresql(const PGresult* result);

// Raises the last failure of the connection itself: the server is gone, or never came.
[[noreturn]] void RaiseConnection(const PGconn* connection);

// Raises an error of our own: no native number.
[[noreturn]] void RaisePostgresql(varnel::Long number, varnel::StringView description,
                                  varnel::StringView sqlState);

// Raises the error of a call that took longer than it may.
[[noreturn]] void RaisePostgresqlTimeout();

}  // namespace hostlinux
