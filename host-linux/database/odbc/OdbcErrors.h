// What a driver and its server tell of a failure, as errors of a database provider.
#pragma once

#include <sql.h>
#include <sqlext.h>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

inline constexpr varnel::StringView kOdbcSource = u"Varnel ODBC";

// Raises the failure that the last call on `handle` left, an error for each of its records.
[[noreturn]] void RaiseOdbc(SQLSMALLINT kind, SQLHANDLE handle);

// Raises an error of our own: no native number.
[[noreturn]] void RaiseOdbc(varnel::Long number, varnel::StringView description, varnel::StringView sqlState);

// Raises the error of a call that took longer than it may.
[[noreturn]] void RaiseOdbcTimeout();

}  // namespace hostlinux
