#include "host-linux/database/sqlite/SqliteEngine.h"

#include <sqlite3.h>

#include <stdexcept>

#include "host-linux/database/sqlite/SqliteProvider.h"
#include "host-linux/database/sqlite/SqliteUse.h"

namespace hostlinux {

namespace {

struct Closer {
  void operator()(sqlite3* database) const { sqlite3_close(database); }
  void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
};
using Database = std::unique_ptr<sqlite3, Closer>;
using Statement = std::unique_ptr<sqlite3_stmt, Closer>;

// The first column of all rows; none where the text can't be run.
std::vector<std::string> Column(sqlite3* database, const std::string& sql,
                                const std::string& parameter = "") {
  sqlite3_stmt* prepared = nullptr;
  std::vector<std::string> values;
  if (sqlite3_prepare_v2(database, sql.c_str(), -1, &prepared, nullptr) != SQLITE_OK) return values;
  const Statement statement(prepared);
  if (sqlite3_bind_parameter_count(prepared) > 0)
    sqlite3_bind_text(prepared, 1, parameter.c_str(), -1, SQLITE_TRANSIENT);
  while (sqlite3_step(prepared) == SQLITE_ROW) {
    const unsigned char* text = sqlite3_column_text(prepared, 0);
    values.emplace_back(text == nullptr ? "" : reinterpret_cast<const char*>(text));
  }
  return values;
}

bool IsLarge(sqlite3* database, const std::string& table) {
  std::string quoted;
  for (const char c : table) quoted += c == '"' ? "\"\"" : std::string(1, c);
  return Column(database, "SELECT COUNT(*) FROM (SELECT 1 FROM \"" + quoted + "\" LIMIT 1001)") ==
         std::vector<std::string>{"1001"};
}

bool HasRows(sqlite3* database, const std::string& sql, const std::string& table) {
  return !Column(database, sql, table).empty();
}

}  // namespace

SqliteEngine::SqliteEngine() { PrepareSqlite(); }

std::unique_ptr<IProvider> SqliteEngine::MakeProvider() const { return std::make_unique<SqliteProvider>(); }

std::vector<std::string> SqliteEngine::CheckIndexes(const ConnectionString& connection,
                                                    const std::filesystem::path& folder) const {
  const std::string source = varnel::ToUtf8(connection.Get(u"Data Source"));
  if (source == ":memory:") return {};
  const std::filesystem::path file = folder / source;
  sqlite3* opened = nullptr;
  const int result = sqlite3_open_v2(file.c_str(), &opened, SQLITE_OPEN_READONLY, nullptr);
  const Database database(opened);
  std::vector<std::string> sentences;
  if (result != SQLITE_OK) return sentences;
  for (const std::string& table :
       Column(opened,
              "SELECT name FROM pragma_table_list WHERE schema = 'main' AND type = 'table'"
              " AND name NOT LIKE 'sqlite\\_%' ESCAPE '\\' ORDER BY name")) {
    if (!IsLarge(opened, table)) continue;
    const std::string subject = "table " + table + " has more than 1,000 rows and ";
    // An index without a text is the engine's own, for a key.
    if (!HasRows(opened,
                 "SELECT 1 FROM sqlite_master WHERE type = 'index' AND tbl_name = ? AND sql IS NOT NULL",
                 table)) {
      sentences.push_back(subject + "no index besides its key: every sort by another column reads all of it");
    } else if (!HasRows(opened, "SELECT 1 FROM sqlite_stat1 WHERE tbl = ?", table)) {
      sentences.push_back(subject +
                          "was never analysed: run ANALYZE, or the engine guesses which index to take");
    }
  }
  return sentences;
}

void SqliteEngine::MakeDatabase(const ConnectionString& connection, const std::filesystem::path& folder,
                                const std::string& script) const {
  const std::filesystem::path file = folder / varnel::ToUtf8(connection.Get(u"Data Source"));
  sqlite3* opened = nullptr;
  int result = sqlite3_open(file.c_str(), &opened);
  const Database database(opened);
  if (result == SQLITE_OK) result = sqlite3_exec(opened, script.c_str(), nullptr, nullptr, nullptr);
  if (result != SQLITE_OK)
    throw std::runtime_error(file.string() + " can't be made: " + sqlite3_errmsg(opened));
}

}  // namespace hostlinux
