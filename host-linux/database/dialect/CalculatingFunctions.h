// The names of SQLite's functions that may be called where it is only read.
#pragma once

#include <string>

namespace hostlinux {

// True for functions of their arguments alone, aggregates, window functions, and those of full-text search
// that show what was found. Not among them are functions that load code or look at the connection, the
// schema or files, blobs made out of nothing, and those that change JSON texts, whose time grows with the
// square of their lengths. `name` in lower case.
bool IsCalculating(const std::string& name);

}  // namespace hostlinux
