// The rows that a running statement has still to give.
#pragma once

#include <exception>

#include "host-linux/database/sqlite/SqliteStatement.h"
#include "host-linux/database/sqlite/SqliteTimeLimit.h"

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
  RowStore Read(std::size_t held) override;
  std::optional<RowCount> Count() override;

  // Reads what is left into memory, in what is left of one call's time since `begin`, and lets go of the
  // statement and the session. A failure, such as that of the time or of too large a result, is kept for the
  // Read that would have met it.
  void ReadAhead(SqliteTimeLimit::Clock::time_point begin) noexcept;

 private:
  void ReadOn(std::size_t most, std::chrono::milliseconds timeout);
  void LetGo();

  SqliteSession* m_session;                      // null once it is let go
  std::shared_ptr<SqliteStatement> m_statement;  // likewise
  std::vector<BoundValue> m_values;
  StatementLimits m_limits;
  std::size_t m_most;  // bytes of a result
  RowStore m_ahead;
  std::exception_ptr m_failure;  // comes behind the rows of m_ahead
};

}  // namespace hostlinux
