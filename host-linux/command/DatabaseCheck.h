// What can be said of a database without knowing the pages' queries.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace hostlinux {

// Sentences on the SQLite file `database`, which is only read: on each table of more than 1,000 rows that has
// no index besides its key, so that every sort reads all of it, or for which ANALYZE was never run, so that
// the engine guesses which index to take. A file that can't be read gives none.
std::vector<std::string> CheckIndexes(const std::filesystem::path& database);

}  // namespace hostlinux
