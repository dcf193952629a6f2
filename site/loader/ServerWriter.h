// A catalogue's database file to a database server.
#pragma once

#include <filesystem>
#include <string>

namespace shop {

// Makes the tables of `file`, which WriteDatabase wrote, with all rows and indexes in the database that
// `connectionString` names, in place of those that are there.
// Provider=PostgreSQL;...: all in one transaction, so that who reads the old ones isn't disturbed, and after a failure nothing
// has changed. The database needs the extension citext, which this makes where its user may.
// Driver={MariaDB Unicode};...: table by table, as the server knows no transaction that makes tables.
// Throws std::exception with the server's words.
void WriteToServer(const std::filesystem::path& file, const std::string& connectionString);

}  // namespace shop
