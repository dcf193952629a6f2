// The rows that a running statement has still to give.
#pragma once

#include <exception>

#include "host-linux/database/sqlite/SqliteStatement.h"

namespace hostlinux {

class SqliteSession;

class SqliteReader : public IRowReader {
 public:
  // Of a statement that `session` runs with `values`.
  SqliteReader(SqliteSession& session, std::shared_ptr<SqliteStatement> statement,
               std::vector<BoundValue> values, const StatementLimits& limits);
  SqliteReader(const SqliteReader&) = delete;
  SqliteReader& operator=(const SqliteReader&) = delete;
  ~SqliteReader() override;

  bool HasMore() const override;
  RowStore Read() override;
  std::optional<RowCount> Count() override;

  // Reads what is left into memory and lets go of the statement and the session. A failure is kept for the
  // Read that would have met it.
  void ReadAhead() noexcept;

 private:
  void ReadOn(RowStore& rows);
  void LetGo();

  SqliteSession* m_session;                      // null once it is let go
  std::shared_ptr<SqliteStatement> m_statement;  // likewise
  std::vector<BoundValue> m_values;
  StatementLimits m_limits;
  RowStore m_ahead;
  std::exception_ptr m_failure;  // comes behind the rows of m_ahead
};

}  // namespace hostlinux
