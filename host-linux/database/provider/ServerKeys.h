// Keys of connection strings that all servers have.
#pragma once

#include <chrono>

#include "host-linux/database/provider/ConnectionString.h"

namespace hostlinux {

// A connection string that can't be used, in the words of `source`. Raises 80004005 with SQLState 08001.
[[noreturn]] void RefuseConnection(varnel::StringView source, const varnel::String& sentence);

// Mode=Read, or `readOnly`. Refuses a Mode that isn't known.
bool ReadsOnly(const ConnectionString& connection, bool readOnly, varnel::StringView source);

// CountsFor=30s, or 500ms; 0 where it isn't there. Refuses what is no time.
std::chrono::milliseconds KeepsCounts(const ConnectionString& connection, varnel::StringView source);

// Refuses Tables and Functions, which are granted on a server.
void RefuseLimits(const ConnectionString& connection, varnel::StringView source);

}  // namespace hostlinux
