// A catalogue to a database file.
#pragma once

#include <filesystem>

#include "site/loader/Catalogue.h"

namespace shop {

// Writes the catalogue's tables with all rows to `path`, indexed and analysed. The rows go in one transaction
// into a file beside it, which takes the place of `path` when it is complete: a reader of the old file is not
// disturbed. Throws std::runtime_error with the engine's words; `path` is then as it was.
void WriteDatabase(const Catalogue& catalogue, const std::filesystem::path& path);

}  // namespace shop
