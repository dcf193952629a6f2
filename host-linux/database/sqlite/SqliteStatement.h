// One prepared statement of SQLite: its parameters, its columns as ADO types, its rows as a store.
#pragma once

#include <sqlite3.h>

#include <memory>
#include <optional>

#include "host-linux/database/dialect/ColumnFacts.h"
#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

class SqliteStatement {
 public:
  // Prepares the first statement of `sql`. Raises SQLite's error, and a syntax error where nothing or more
  // than one statement stands in the text.
  SqliteStatement(sqlite3* database, const std::string& sql);

  // Runs it from its beginning, with its parameters bound to `values`, and reads at most `limits.maxRecords`
  // rows, of `mostBytes` altogether; somebody else looks at the time. It is reset afterwards, also when it
  // fails. A query that has more rows than `limits.batchRows` is left running instead: `values` must stay
  // then until it ends.
  StatementResult Run(const std::vector<BoundValue>& values, const StatementLimits& limits,
                      std::size_t mostBytes);
  // The same for one of several statements that give the rows of one result, with `o_result`'s before it: adds its rows
  // until there are `most` in all, and its text. With `keeps` only the last so many are kept. The columns are those of
  // the statement that gives the first row, or with `keeps` the last one. Returns how many rows it gave.
  std::size_t AddTo(StatementResult& o_result, const std::vector<BoundValue>& values, std::size_t most,
                    std::optional<std::size_t> keeps, const StatementLimits& limits, std::size_t mostBytes);
  bool IsRunning() const { return m_onRow; }
  // Adds at most `most` rows, and not many more than a batch's bytes, to `rows`, which have at most
  // `mostBytes` together. After the last row, and when it fails, it is reset; what was added before a failure
  // stays.
  void ReadBatch(RowStore& rows, std::size_t most, std::size_t mostBytes);
  void End();

  // Reads only, gives rows, and may be a part of another query.
  bool IsQuery() const { return m_isQuery; }
  std::size_t Columns() const { return m_kinds.size(); }
  const std::string& Sql() const { return m_sql; }

  // How a parameter is written that `values` values don't reach; nothing where there is none.
  std::optional<varnel::String> ParameterBehind(std::size_t values) const;

  // How often SQLite had to prepare it again: the schema changed, or a value asked for another plan.
  int TimesPreparedAgain() const;
  std::vector<ColumnFact> Facts() const;

 private:
  struct Finalizer {
    void operator()(sqlite3_stmt* statement) const { sqlite3_finalize(statement); }
  };

  // Binds the values and makes the first step; the columns are known then.
  void Start(const std::vector<BoundValue>& values);
  bool Step();
  // Up to `most` rows, and beyond `batchBytes` of texts and blobs by one row. Raises where `rows` would have
  // more than `mostBytes`.
  void ReadRows(RowStore& rows, std::size_t most, std::size_t batchBytes, std::size_t mostBytes);
  void AddRow(RowStore& rows, std::size_t mostBytes) const;
  void AddCell(RowStore& rows, int column, ColumnKind kind) const;
  void Bind(const std::vector<BoundValue>& values);
  varnel::String Sent() const;
  void LearnColumns();
  void GuessTypes(bool hasRow);

  sqlite3* m_database;
  std::string m_sql;
  std::unique_ptr<sqlite3_stmt, Finalizer> m_statement;
  bool m_readsOnly = false;
  bool m_isQuery = false;
  bool m_onRow = false;    // it runs, and stands on a row that wasn't read yet
  std::size_t m_left = 0;  // rows that it may still give, that one among them
  // What is known of the columns, for results to share; null before the first run.
  ResultColumns m_columns;
  std::vector<ColumnKind> m_kinds;
  int m_learnedAt = 0;  // TimesPreparedAgain at that time
  // How large the last result was.
  std::size_t m_lastRows = 0;
  std::size_t m_lastBytes = 0;
};

}  // namespace hostlinux
