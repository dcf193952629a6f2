// The ODBC drivers of this machine.
#pragma once

#include <string>

// True if the driver manager knows a driver of that name.
bool HasOdbcDriver(const std::string& name);
