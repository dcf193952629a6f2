#include "host-linux/command/DatabaseCheck.h"

#include <sqlite3.h>

#include <functional>
#include <memory>

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

std::vector<std::string> CheckIndexes(const std::filesystem::path& file) {
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

}  // namespace hostlinux
