// A connection to a PostgreSQL server, each of whose calls ends in time.
#pragma once

#include <libpq-fe.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

struct PostgresqlCloser {
  void operator()(PGconn* connection) const { PQfinish(connection); }
  void operator()(PGresult* result) const { PQclear(result); }
};
using PostgresqlResult = std::unique_ptr<PGresult, PostgresqlCloser>;

// Everything raises ProviderFailure. Used by one thread at a time.
class PostgresqlConnection {
 public:
  using Clock = std::chrono::steady_clock;
  using Options = std::vector<std::pair<std::string, std::string>>;  // libpq's keywords
  using Deadline = std::optional<Clock::time_point>;

  // Of several hosts the first one that answers and that is of the kind which `options` ask for; one that is silent is left out.
  PostgresqlConnection(const Options& options, Deadline deadline);

  // For the calls from now on; none: they take as long as they take. A call that comes to it is cancelled on the server.
  void SetDeadline(Deadline deadline) { m_deadline = deadline; }

  // One or more statements without parameters or rows: the result of the last one.
  PostgresqlResult Execute(const std::string& sql);
  // `sql` under a name; the empty one is that of the last such statement only.
  void Prepare(const std::string& name, const std::string& sql);
  // The columns of a prepared statement, without rows.
  PostgresqlResult Describe(const std::string& name);
  // All rows of a prepared statement.
  PostgresqlResult Run(const std::string& name, const std::vector<BoundValue>& values);

  // The same row by row. Until NextRows gives null nothing else may be called but it and Stop.
  void Start(const std::string& name, const std::vector<BoundValue>& values);
  // A result of one row, or the last one, which has none and tells what the statement did; then null.
  PostgresqlResult NextRow();
  // Ends a statement whose rows nobody reads any more.
  void Stop() noexcept;

  // Not any more after a failure that the server told of.
  bool IsUsable() const { return PQstatus(m_connection.get()) == CONNECTION_OK && !m_isLost; }
  // False where the server has said goodbye meanwhile, or anything else. Costs no round trip.
  bool IsAlive() const;
  PGTransactionStatusType Transaction() const { return PQtransactionStatus(m_connection.get()); }
  // A setting that the server reports, or the empty text.
  std::string Setting(const char* name) const;

 private:
  void Open(const Options& options);
  std::chrono::milliseconds PatienceWith(std::size_t hosts) const;
  bool TryOpen(const Options& options, std::chrono::milliseconds patience);
  void Await(short events);
  bool AwaitUntil(short events, Deadline end);
  void AwaitAnswer();
  [[noreturn]] void RaiseLate() const;
  void Send(int sent);
  void Cancel() noexcept;
  PostgresqlResult OnlyResult();
  void Require(const PGresult* result);

  std::unique_ptr<PGconn, PostgresqlCloser> m_connection;
  Deadline m_deadline;
  bool m_isLost = false;  // in the middle of an answer that nobody waits for
};

}  // namespace hostlinux
