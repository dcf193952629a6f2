// ADODB.Connection, over any provider.
#pragma once

#include "host-linux/database/AdoDatabase.h"
#include "host-linux/database/AdoErrors.h"
#include "varnel/automation/Object.h"
#include "varnel/host/KeptTexts.h"

namespace hostlinux {

class AdoRecordset;

class AdoConnection : public varnel::Object,
                      public varnel::host::IConnection,
                      public varnel::host::IKeptTexts {
 public:
  explicit AdoConnection(std::shared_ptr<AdoDatabase> database);
  const varnel::ClassInfo& Class() const override;

  // Seconds; 0 waits without end, up to the site's cap.
  varnel::Long ConnectionTimeout() { return m_connectionTimeout; }
  void SetConnectionTimeout(varnel::Long seconds) override { m_connectionTimeout = seconds; }
  varnel::Long CommandTimeout() { return m_commandTimeout; }
  void SetCommandTimeout(varnel::Long seconds) override { m_commandTimeout = seconds; }
  // 2 server side, 3 client side: what a recordset of `Execute` gets.
  varnel::Long CursorLocation() { return m_cursorLocation; }
  void SetCursorLocation(varnel::Long location) override { m_cursorLocation = location; }
  // Kept and given back; the engine has one level.
  varnel::Long IsolationLevel() { return m_isolationLevel; }
  void SetIsolationLevel(varnel::Long level) override { m_isolationLevel = level; }
  // 1 opens read-only.
  varnel::Long Mode() { return m_mode; }
  void SetMode(varnel::Long mode) { m_mode = mode; }
  varnel::String ConnectionText() { return m_connectionString; }
  void SetConnectionText(const varnel::String& text);
  varnel::Long State() { return IsOpen() ? 1 : 0; }

  // Raises 3705 on an open connection, and the provider's error. An empty text stands for ConnectionString.
  void Open(const varnel::String& connectionString, const varnel::String& user,
            const varnel::String& password, varnel::Long options) override;
  std::shared_ptr<varnel::host::IRecordset> Execute(const varnel::String& sql, varnel::Long options) override;
  std::shared_ptr<varnel::host::IRecordset> ExecuteCounting(const varnel::String& sql,
                                                            varnel::Long& o_affected,
                                                            varnel::Long options) override;
  // As above; `affected` is the number of rows that the statement changed, -1 for a query.
  std::shared_ptr<AdoRecordset> ExecuteText(const varnel::String& sql, varnel::Variant& affected,
                                            varnel::Long options);
  // Gives the session back, after a rollback. Raises 3704 on a closed connection.
  void Close() override;

  // Returns the level of nesting, which is 1.
  varnel::Long BeginTrans();
  void CommitTrans();
  void RollbackTrans();

  std::vector<varnel::host::ProviderError> Errors() const override { return m_errors->All(); }

  // Nothing is kept where somebody wants to see each statement.
  bool KeepsTexts() const override;
  const varnel::String* KeptText(const varnel::String& key) override;
  void KeepText(const varnel::String& key, const varnel::String& text) override;

  std::shared_ptr<AdoErrors> ErrorCollection() { return m_errors; }

  bool IsOpen() const { return m_lease != nullptr && m_lease->IsOpen(); }
  static constexpr std::size_t kAllRows = 0;
  static constexpr std::size_t kBatchRows = 256;
  // Runs a text for a recordset, and reads its first batch of rows. Raises 3709 on a closed connection; a
  // provider's error goes among `Errors` and is raised, also one of a later batch. The result may outlive the
  // connection.
  StatementResult Run(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                      const StatementOptions& options);
  // Runs a text of the host's own, which is no page's: it is neither traced nor warned of, its errors don't stand among
  // `Errors`, and the page's limits hold. Raises ProviderFailure, and 3709 on a closed connection.
  StatementResult Look(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                       varnel::Long timeoutSeconds);
  // Runs a text as Execute does, with the values of its parameters, within `timeoutSeconds`.
  std::shared_ptr<AdoRecordset> RunCommand(const varnel::String& sql,
                                           const varnel::host::StatementParameters& parameters,
                                           varnel::Long timeoutSeconds, varnel::Long& o_affected);

 private:
  ISession& Session();
  // Calls `action`; a ProviderFailure of it becomes the connection's errors and a raised error.
  template <typename Action>
  auto Guarded(Action action);
  StatementResult RunWithin(const varnel::String& sql, const varnel::host::StatementParameters& parameters,
                            varnel::Long timeoutSeconds, const StatementOptions& options);

  std::shared_ptr<AdoDatabase> m_database;
  std::shared_ptr<SessionLease> m_lease;
  std::shared_ptr<AdoErrors> m_errors;
  varnel::String m_connectionString;
  varnel::Long m_connectionTimeout = 15;
  varnel::Long m_commandTimeout = 30;
  varnel::Long m_cursorLocation = varnel::host::ado::kUseServer;
  varnel::Long m_isolationLevel = varnel::host::ado::kReadCommitted;
  varnel::Long m_mode = 0;
};

}  // namespace hostlinux
