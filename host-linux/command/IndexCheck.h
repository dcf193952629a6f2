// The indexes that the lists of a site lack.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace hostlinux {

class ScriptRuntime;

// Asks each page of the site once, as a visitor without parameters does and with connections that only read, and
// gives a line for each list and sort whose first, next, previous or last page no index serves, with the CREATE INDEX
// that does: tried on a copy of the schema with its statistics. Sorts are those that the list has and those that its
// heads offer. `lists` becomes the number of lists that were seen. Raises ConfigurationError.
std::vector<std::string> AdviseIndexes(const std::filesystem::path& site, ScriptRuntime& runtime,
                                       std::size_t& lists);

}  // namespace hostlinux
