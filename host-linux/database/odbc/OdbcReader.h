// The rows that a running statement has still to give.
#pragma once

#include <exception>
#include <memory>

#include "host-linux/database/odbc/OdbcConnection.h"

namespace hostlinux {

class OdbcSession;

// A statement with the columns of its result.
struct OdbcPrepared {
  std::shared_ptr<OdbcStatement> statement;
  ResultColumns columns;  // null for one that returns no rows
  std::vector<OdbcKind> kinds;
};

class OdbcReader : public IRowReader {
 public:
  // Of the statement that `session` has run and read the first batch of.
  OdbcReader(OdbcSession& session, OdbcPrepared prepared, const StatementLimits& limits);
  OdbcReader(const OdbcReader&) = delete;
  OdbcReader& operator=(const OdbcReader&) = delete;
  ~OdbcReader() override;

  bool HasMore() const override { return m_session != nullptr || m_ahead.Rows() > 0 || m_failure != nullptr; }
  RowStore Read(std::size_t held) override;
  // The server isn't asked while it may still send.
  std::optional<RowCount> Count() override { return std::nullopt; }

  // Reads what is left into memory and lets go of the session. A failure, such as that of the time or of too large a result,
  // is kept for the Read that would have met it.
  void ReadAhead() noexcept;

 private:
  void ReadOn(std::size_t rows, std::size_t most);

  OdbcSession* m_session;  // null once it is let go
  OdbcPrepared m_prepared;
  StatementLimits m_limits;
  std::size_t m_most;  // bytes of a result
  RowStore m_ahead;
  std::exception_ptr m_failure;  // comes behind the rows of m_ahead
};

}  // namespace hostlinux
