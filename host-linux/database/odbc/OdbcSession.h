// A connection to a database by its ODBC driver.
#pragma once

#include <memory>
#include <optional>
#include <unordered_map>

#include "host-linux/database/dialect/SqlDialect.h"
#include "host-linux/database/odbc/OdbcFacts.h"
#include "host-linux/database/odbc/OdbcReader.h"
#include "host-linux/database/odbc/OdbcServers.h"
#include "host-linux/database/provider/LeastRecentlyUsed.h"

namespace hostlinux {

// How a database is reached and used.
struct OdbcAccess {
  std::u16string text;     // for the driver
  varnel::String dialect;  // of the connection string; empty: the driver tells
  bool readsOnly = false;
  bool isNarrow = false;  // the driver seems to have no wide functions
  PageReads reads = PageReads::InArms;
  std::chrono::milliseconds keepsCounts{0};  // how long a number of rows counts as true; 0: not at all
  std::chrono::milliseconds patience{
      0};  // with a server that is silent at the opening; 0: all the time there is
};

class OdbcSession : public ISession {
 public:
  // Connects, within the time of `options`.
  OdbcSession(const OdbcAccess& access, const OpenOptions& options);
  ~OdbcSession() override { FinishReader(); }

  StatementResult Run(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                      const StatementLimits& limits) override;
  // One statement in the server's own SQL.
  void RunOwn(const std::string& sql);
  void Begin() override;
  // Raises where the server took the transaction back instead.
  void Commit() override;
  void Rollback() override;
  // False after statements that leave something behind on the server: settings, temporary tables, locks.
  bool Recycle() override;
  bool IsCurrent() override;

  OdbcServer Server() const { return m_server; }

  // For OdbcReader. Adds rows of the statement that was run: false after the last one.
  struct Batch {
    std::size_t rows;                   // the most
    std::size_t bytes;                  // the most of all together
    std::chrono::milliseconds timeout;  // 0: none
  };
  bool ReadRows(const OdbcPrepared& prepared, RowStore& io_rows, const Batch& batch);
  void SetReader(OdbcReader* reader) { m_reader = reader; }
  // Nobody reads the statement's rows any more.
  void StopReader(const OdbcPrepared& prepared) noexcept;
  std::size_t MostResultBytes() const { return m_limits.maxResult; }

 private:
  struct KeptCount {
    OdbcConnection::Clock::time_point until;
    ResultColumns columns;
    RowStore rows;
    StatementResult Result() const;
  };

  template <typename Action>
  auto Within(std::chrono::milliseconds timeout, Action action);
  OdbcConnection::Deadline DeadlineIn(std::chrono::milliseconds timeout) const;
  void BoundOnServer(OdbcConnection::Deadline deadline);
  void LearnTexts();
  void SetSession();
  EngineStatement Translate(const varnel::String& sql, const varnel::host::StatementParameters& parameters);
  StatementResult RunAny(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                         const StatementLimits& limits);
  std::optional<StatementResult> RunPage(const varnel::String& sql,
                                         const varnel::host::StatementParameters& parameters,
                                         const StatementLimits& limits);
  StatementResult RunEstimate(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                              const StatementLimits& limits);
  StatementResult RunCount(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                           const StatementLimits& limits);
  StatementResult CountRows(const EngineStatement& statement, const StatementLimits& limits);
  // `spelled`: the library's text, whose names the columns bear where the server keeps none.
  StatementResult RunTranslated(EngineStatement statement, const varnel::String& spelled,
                                const StatementLimits& limits);
  OdbcPrepared Execute(const EngineStatement& statement, const varnel::String& spelled);
  StatementResult RunWhole(const EngineStatement& statement, const varnel::String& spelled,
                           std::size_t mostRows);
  StatementResult RunInBatches(const EngineStatement& statement, const varnel::String& spelled,
                               const StatementLimits& limits);
  const OdbcPrepared& PreparedFor(const std::string& sql, const varnel::String& spelled);
  std::string OwnText(const std::string& query);
  std::string Settings() { return OwnText(SettingsQuery(m_server)); }
  void RequireSettings();
  void FinishReader() noexcept;
  void ForgetSchema();
  void EndTransaction(bool keeps);
  // What `sql` leaves behind on the server.
  void Note(const varnel::String& sql);
  void NoteFailure(const varnel::host::ProviderError& error);

  const EngineLimits m_limits;
  const TimeLeft m_timeLeft;
  const bool m_readsOnly;
  const std::chrono::milliseconds m_keepsCounts;
  OdbcConnection m_connection;
  const OdbcServer m_server;
  OdbcFacts m_facts;
  std::optional<SqlDialect> m_dialect;  // none for a server that gets texts as they stand
  OdbcConnection::Clock::time_point m_factsUntil;
  std::unordered_map<std::string, OdbcPrepared> m_statements;  // by the engine's text
  LeastRecentlyUsed<std::string, KeptCount> m_counts;          // by the engine's text and its values
  std::chrono::milliseconds m_serverTimeout{0};  // after which the server ends a statement by itself
  std::string m_settings;                        // as they must stay
  bool m_asksSettings = false;                   // what has run may have changed them
  OdbcReader* m_reader = nullptr;                // whose statement is running
  std::size_t m_rowsRead = 0;                    // of the statement that is running
  bool m_hasAhead = false;                       // the statement stands on a row that nobody has read
  bool m_isInTransaction = false;
  bool m_isTakenBack = false;  // the transaction, by the server
  bool m_isUsed = false;       // something is left behind on the server
  bool m_isLost = false;       // the server is gone
};

}  // namespace hostlinux
