#include "site/loader/ServerWriter.h"

#include <sqlite3.h>

#include <functional>
#include <memory>
#include <regex>
#include <stdexcept>
#include <vector>

#include "host-linux/database/odbc/OdbcEngine.h"
#include "host-linux/database/odbc/OdbcProvider.h"
#include "host-linux/database/odbc/OdbcSession.h"
#include "host-linux/database/postgresql/PostgresqlProvider.h"
#include "host-linux/database/postgresql/PostgresqlSession.h"
#include "site/loader/BuiltIn.h"

namespace shop {
namespace {

struct Closer {
  void operator()(sqlite3* database) const { sqlite3_close_v2(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, Closer>;
using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

// Of one INSERT.
constexpr std::size_t kMostBytes = 1 << 20;

Database Open(const std::filesystem::path& file) {
  sqlite3* handle = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &handle, SQLITE_OPEN_READONLY, nullptr);
  Database database(handle);
  if (result != SQLITE_OK) throw std::runtime_error(file.string() + ": " + sqlite3_errmsg(handle));
  return database;
}

Statement Prepare(const Database& database, const std::string& sql) {
  sqlite3_stmt* handle = nullptr;
  if (sqlite3_prepare_v2(database.get(), sql.c_str(), -1, &handle, nullptr) != SQLITE_OK)
    throw std::runtime_error(sqlite3_errmsg(database.get()));
  return Statement(handle);
}

std::vector<std::string> Tables(const Database& database) {
  const Statement names = Prepare(database,
                                  "SELECT name FROM sqlite_schema WHERE type = 'table' AND name NOT LIKE "
                                  "'sqlite\\_%' ESCAPE '\\' ORDER BY rowid");
  std::vector<std::string> tables;
  while (sqlite3_step(names.get()) == SQLITE_ROW)
    tables.emplace_back(reinterpret_cast<const char*>(sqlite3_column_text(names.get(), 0)));
  return tables;
}

// What is compared without regard to case is so by its type here, in the order of the letters' codes; a date has whole
// seconds, as the keys of lists have.
std::string ServersWords(std::string sql) {
  sql = std::regex_replace(sql, std::regex("VARCHAR\\(\\d+\\)((?: NOT NULL| PRIMARY KEY)*) COLLATE NOCASE"),
                           "citext COLLATE \"C\"$1");
  return std::regex_replace(sql, std::regex("\\bDATETIME\\b"), "timestamp(0)");
}

// The same in MariaDB's words. A TEXT has 64 KB there.
std::string MariadbWords(std::string sql) {
  sql = std::regex_replace(sql, std::regex("COLLATE NOCASE"), "COLLATE utf8mb4_general_nopad_ci");
  sql = std::regex_replace(sql, std::regex(" REFERENCES \\w+"), "");
  return std::regex_replace(sql, std::regex("\\bTEXT\\b"), "LONGTEXT");
}

std::string Value(sqlite3_stmt* row, int column) {
  if (sqlite3_column_type(row, column) == SQLITE_NULL) return "NULL";
  const std::string text(reinterpret_cast<const char*>(sqlite3_column_text(row, column)),
                         static_cast<std::size_t>(sqlite3_column_bytes(row, column)));
  std::string literal = "'";
  for (const char c : text) literal.append(c == '\'' ? 2 : 1, c);
  return literal + "'";
}

std::string Values(sqlite3_stmt* row) {
  std::string values = "(";
  for (int i = 0; i < sqlite3_column_count(row); ++i) values += (i == 0 ? "" : ", ") + Value(row, i);
  return values + ")";
}

using Running = std::function<void(const std::string&)>;

void CopyRows(const Database& database, const std::string& table, const Running& run) {
  const Statement rows = Prepare(database, "SELECT * FROM " + table);
  const std::string head = "INSERT INTO " + table + " VALUES ";
  std::string sql;
  while (sqlite3_step(rows.get()) == SQLITE_ROW) {
    sql += (sql.empty() ? head : ",\n") + Values(rows.get());
    if (sql.size() < kMostBytes) continue;
    run(sql);
    sql.clear();
  }
  if (!sql.empty()) run(sql);
}

void WriteToPostgresql(const Database& database, const hostlinux::ConnectionString& connection) {
  const std::vector<std::string> tables = Tables(database);
  const auto server = hostlinux::OpenPostgresql(connection, {});
  const Running run = [&](const std::string& sql) { server->RunScript(sql); };
  run("CREATE EXTENSION IF NOT EXISTS citext");
  run("BEGIN");
  for (const std::string& table : tables) run("DROP TABLE IF EXISTS " + table + " CASCADE");
  run(ServersWords(kTablesSql));
  for (const std::string& table : tables) CopyRows(database, table, run);
  run(ServersWords(kIndexesSql));
  run("COMMIT");
  run("ANALYZE");
}

void WriteByOdbc(const Database& database, const hostlinux::ConnectionString& connection) {
  const std::vector<std::string> tables = Tables(database);
  const hostlinux::OdbcEngine engine;
  const auto server = hostlinux::OpenOdbc(connection, {});
  if (server->Server() != hostlinux::OdbcServer::Mariadb)
    throw std::runtime_error("by ODBC only MariaDB is filled");
  const Running run = [&](const std::string& sql) { server->RunOwn(sql); };
  for (const std::string& table : tables) run("DROP TABLE IF EXISTS " + table);
  engine.MakeDatabase(connection, {}, MariadbWords(kTablesSql));
  for (const std::string& table : tables) CopyRows(database, table, run);
  engine.MakeDatabase(connection, {}, MariadbWords(kIndexesSql));
  for (const std::string& table : tables) run("ANALYZE TABLE " + table);
}

}  // namespace

void WriteToServer(const std::filesystem::path& file, const std::string& connectionString) {
  const Database database = Open(file);
  const hostlinux::ConnectionString connection(varnel::FromUtf8(connectionString));
  const bool isOdbc = !connection.Get(u"Driver").empty() || !connection.Get(u"DSN").empty();
  isOdbc ? WriteByOdbc(database, connection) : WriteToPostgresql(database, connection);
}

}  // namespace shop
