// A connection to a PostgreSQL database.
#pragma once

#include <memory>
#include <unordered_map>

#include "host-linux/database/dialect/PostgresqlDialect.h"
#include "host-linux/database/postgresql/PostgresqlFacts.h"
#include "host-linux/database/postgresql/PostgresqlReader.h"
#include "host-linux/database/provider/LeastRecentlyUsed.h"

namespace hostlinux {

// How a database is reached and used.
struct PostgresqlAccess {
  PostgresqlConnection::Options options;
  bool readsOnly = false;
  bool prefersStandby = false;  // of several hosts
  PageReads reads = PageReads::InArms;
  std::chrono::milliseconds keepsCounts{0};  // how long a number of rows counts as true; 0: not at all
};

class PostgresqlSession : public ISession {
 public:
  // Connects, within the time of `options`.
  PostgresqlSession(const PostgresqlAccess& access, const OpenOptions& options);
  ~PostgresqlSession() override { FinishReader(); }

  StatementResult Run(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                      const StatementLimits& limits) override;
  // Several statements in the server's own SQL.
  void RunScript(const std::string& sql);
  void Begin() override;
  // Raises where the server took the transaction back instead.
  void Commit() override;
  void Rollback() override;
  // False after statements that leave something behind on the server: settings, temporary tables, locks, cursors.
  bool Recycle() override;
  // False too where a replica that was gone may be there again.
  bool IsCurrent() override;

  // For PostgresqlReader. Adds rows of the statement that was started: false after the last one.
  struct Batch {
    std::size_t rows;                   // the most
    std::size_t bytes;                  // the most of all together
    std::chrono::milliseconds timeout;  // 0: none
  };
  bool ReadRows(const PostgresqlShape& shape, RowStore& io_rows, const Batch& batch);
  void SetReader(PostgresqlReader* reader) { m_reader = reader; }
  // Nobody reads the statement's rows any more.
  void StopReader() noexcept;
  std::size_t MostResultBytes() const { return m_limits.maxResult; }

 private:
  // A statement that the server keeps under a name.
  struct Prepared {
    std::string name;
    std::shared_ptr<const PostgresqlShape> shape;  // null for one that returns no rows
  };
  struct KeptCount {
    PostgresqlConnection::Clock::time_point until;
    StatementResult Result() const;
    ResultColumns columns;
    RowStore rows;
  };

  template <typename Action>
  auto Within(std::chrono::milliseconds timeout, Action action);
  PostgresqlConnection::Deadline DeadlineIn(std::chrono::milliseconds timeout) const;
  void BoundOnServer(PostgresqlConnection::Deadline deadline);
  bool Tries(const std::function<void()>& action);
  bool IsInTransaction() const { return m_connection.Transaction() != PQTRANS_IDLE; }
  template <typename Action>
  auto AsOneStep(Action action);
  StatementResult RunAny(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                         const StatementLimits& limits);
  std::optional<StatementResult> RunPage(const varnel::String& sql,
                                         const varnel::host::StatementParameters& parameters,
                                         const StatementLimits& limits);
  StatementResult RunEstimate(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                              const StatementLimits& limits);
  StatementResult RunCount(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                           const StatementLimits& limits);
  StatementResult RunTranslated(EngineStatement statement, const varnel::String& spelled,
                                const StatementLimits& limits);
  StatementResult RunWhole(const EngineStatement& statement, const Prepared& prepared, std::size_t mostRows);
  StatementResult RunInBatches(const EngineStatement& statement, const Prepared& prepared,
                               const StatementLimits& limits);
  Prepared PreparedFor(const std::string& sql, const varnel::String& spelled);
  void ForgetStatements();
  void RequireSettings();
  void FinishReader() noexcept;
  void ForgetSchema();
  // What `sql` leaves behind on the server.
  void Note(const varnel::String& sql);

  const EngineLimits m_limits;
  const TimeLeft m_timeLeft;
  const bool m_readsOnly;
  const bool m_prefersStandby;
  const PostgresqlConnection::Clock::time_point m_openedAt = PostgresqlConnection::Clock::now();
  const std::chrono::milliseconds m_keepsCounts;
  PostgresqlConnection m_connection;
  PostgresqlFacts m_facts;
  SqlDialect m_dialect;
  PostgresqlConnection::Clock::time_point m_factsUntil;
  std::unordered_map<std::string, Prepared> m_statements;  // by the engine's text
  LeastRecentlyUsed<std::string, KeptCount> m_counts;      // by the engine's text and its values
  std::size_t m_names = 0;                                 // that were given to statements
  std::chrono::milliseconds m_serverTimeout{0};  // after which the server ends a statement by itself
  PostgresqlReader* m_reader = nullptr;          // whose statement is running
  PostgresqlResult m_next;                       // its next row, if it was looked at
  bool m_isUsed = false;                         // something is left behind on the server
};

}  // namespace hostlinux
