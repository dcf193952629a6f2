// A catalogue's database file to a database server.
#pragma once

#include <filesystem>
#include <string>

namespace shop {

// Makes the tables of `file`, which WriteDatabase wrote, with all rows and indexes in the database that
// `connectionString` names (Provider=PostgreSQL;...), in place of those that are there. All in one transaction: who reads
// the old ones isn't disturbed. The database needs the extension citext, which this makes where its user may.
// Throws std::exception with the server's words; nothing has changed then.
void WriteToServer(const std::filesystem::path& file, const std::string& connectionString);

}  // namespace shop
