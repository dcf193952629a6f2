// One state of the database for several statements of a connection.
#pragma once

#include <sqlite3.h>

#include <memory>

namespace hostlinux {

// Reads a row of the schema and stays on it: as long as a statement runs, all others of its connection see what it
// saw. Cheaper than a transaction, and it ends with whatever ends it.
class SqliteSnapshot {
 public:
  // Prepares it, in an unguarded connection. Raises SQLite's error.
  explicit SqliteSnapshot(sqlite3* database);

  // Begins to hold the state, in an unguarded connection; false if the schema has changed since the last time. Raises
  // SQLite's error, such as that of a locked database.
  bool Begin();
  void End() { sqlite3_reset(m_statement.get()); }

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  sqlite3* m_database;
  std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

}  // namespace hostlinux
