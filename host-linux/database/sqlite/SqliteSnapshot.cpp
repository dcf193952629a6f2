#include "host-linux/database/sqlite/SqliteSnapshot.h"

#include "host-linux/database/sqlite/SqliteErrors.h"

namespace hostlinux {

SqliteSnapshot::SqliteSnapshot(sqlite3* database) : m_database(database) {
  sqlite3_stmt* statement = nullptr;
  const int result =
      sqlite3_prepare_v2(database, "SELECT 1 FROM sqlite_schema LIMIT 1", -1, &statement, nullptr);
  m_statement.reset(statement);
  if (result != SQLITE_OK) RaiseSqlite(database);
}

bool SqliteSnapshot::Begin() {
  const int result = sqlite3_step(m_statement.get());
  if (result != SQLITE_ROW && result != SQLITE_DONE) {
    // The error's text goes with the statement's.
    struct Resetter {
      sqlite3_stmt* statement;
      ~Resetter() { sqlite3_reset(statement); }
    } const resetter{m_statement.get()};
    RaiseSqlite(m_database);
  }
  return sqlite3_stmt_status(m_statement.get(), SQLITE_STMTSTATUS_REPREPARE, 1) == 0;
}

}  // namespace hostlinux
