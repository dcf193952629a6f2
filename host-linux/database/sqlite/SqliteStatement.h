// One prepared statement of SQLite: its columns as ADO types, its rows as a store.
#pragma once

#include <sqlite3.h>

#include <memory>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

class SqliteStatement {
 public:
  // Prepares the first statement of `sql`. Raises SQLite's error, and a syntax error where nothing or more
  // than one statement stands in the text.
  SqliteStatement(sqlite3* database, const std::string& sql);

  // Runs it from its beginning with the values of its parameters and reads at most `maxRecords` rows (0:
  // all). It is reset afterwards, also when it fails.
  StatementResult Run(const std::vector<BoundValue>& values, varnel::Long maxRecords);

  // True if the schema changed since it was prepared, so that SQLite had to do so again.
  bool WasPreparedAgain() const;
  std::vector<ColumnFact> Facts() const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  void Bind(int parameter, const BoundValue& value);
  varnel::String Expanded() const;
  bool Step();
  void AddRow(RowStore& rows, const std::vector<ColumnKind>& kinds) const;
  void AddCell(RowStore& rows, int column, ColumnKind kind) const;
  ResultColumn Column(int column, ColumnKind kind, const varnel::String& declaredType, bool hasRow) const;

  sqlite3* m_database;
  std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
};

}  // namespace hostlinux
