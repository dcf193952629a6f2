// The rows that a running statement has still to give.
#pragma once

#include <exception>

#include "host-linux/database/postgresql/PostgresqlConnection.h"
#include "host-linux/database/postgresql/PostgresqlTypes.h"

namespace hostlinux {

class PostgresqlSession;

// How the rows of a statement become those of a result.
struct PostgresqlShape {
  ResultColumns columns;
  std::vector<PostgresqlKind> kinds;
};

class PostgresqlReader : public IRowReader {
 public:
  // Of the statement that `session` has started and read the first batch of.
  PostgresqlReader(PostgresqlSession& session, std::shared_ptr<const PostgresqlShape> shape,
                   const StatementLimits& limits);
  PostgresqlReader(const PostgresqlReader&) = delete;
  PostgresqlReader& operator=(const PostgresqlReader&) = delete;
  ~PostgresqlReader() override;

  bool HasMore() const override { return m_session != nullptr || m_ahead.Rows() > 0 || m_failure != nullptr; }
  RowStore Read(std::size_t held) override;
  // The server can't be asked while it sends.
  std::optional<RowCount> Count() override { return std::nullopt; }

  // Reads what is left into memory and lets go of the session. A failure, such as that of the time or of too large a result,
  // is kept for the Read that would have met it.
  void ReadAhead() noexcept;

 private:
  void ReadOn(std::size_t rows, std::size_t most);

  PostgresqlSession* m_session;  // null once it is let go
  std::shared_ptr<const PostgresqlShape> m_shape;
  StatementLimits m_limits;
  std::size_t m_most;  // bytes of a result
  RowStore m_ahead;
  std::exception_ptr m_failure;  // comes behind the rows of m_ahead
};

}  // namespace hostlinux
