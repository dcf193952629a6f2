// A database in memory that answers SQL texts with what a test has laid out, and tells what it was asked.
#pragma once

#include <functional>
#include <map>
#include <optional>

#include "host-fake/Fault.h"
#include "host-fake/Trace.h"
#include "varnel/automation/Object.h"
#include "varnel/host/Ado.h"
#include "varnel/host/KeptTexts.h"

namespace hostfake {

// Type codes of columns that tests use.
inline constexpr varnel::Integer kTypeLong = 3;
inline constexpr varnel::Integer kTypeDouble = 5;
inline constexpr varnel::Integer kTypeText = 202;

struct FakeColumn {
  varnel::String name;
  varnel::Integer type = kTypeText;
};

// What a statement gives: rows, or an error. Without columns it is a statement that returns no rows.
struct FakeAnswer {
  std::vector<FakeColumn> columns;
  std::vector<std::vector<varnel::Variant>> rows;
  Fault error;
  std::vector<varnel::host::ProviderError> providerErrors;
  varnel::Long affected = -1;  // rows that the statement changed
};

// A text with all that was given beside it.
struct FakeStatement {
  varnel::String sql;
  varnel::host::StatementParameters parameters;
  varnel::String connectionString;
};

enum class FakeTransaction { Begin, Commit, Rollback };

class FakeConnection;
class FakeRecordset;

class FakeDatabase {
 public:
  explicit FakeDatabase(TracePtr trace) : m_trace(std::move(trace)) {}

  // The answer to exactly that text, in place of an earlier one.
  void Answer(varnel::StringView sql, FakeAnswer answer);
  // A function that may answer any text; empty: the next one is asked. Exact texts go before functions, and
  // functions are asked in the order in which they came. A text without an answer fails with 80040E14.
  void AnswerWith(std::function<std::optional<FakeAnswer>(const varnel::String& sql)> function);
  // The same for one that wants to know more than the text.
  void AnswerStatementsWith(
      std::function<std::optional<FakeAnswer>(const FakeStatement& statement)> function);

  // Switches: every further call fails so, with these errors in `IConnection::Errors`.
  void FailOpen(varnel::ErrInfo failure, std::vector<varnel::host::ProviderError> errors = {});
  void FailExecute(varnel::ErrInfo failure, std::vector<varnel::host::ProviderError> errors = {});
  void FailGetRows(varnel::ErrInfo failure, std::vector<varnel::host::ProviderError> errors = {});
  // Every read gives at most so many rows.
  void CutReads(std::size_t rows) { m_mostRows = rows; }
  void ClearFaults();
  // From here on it keeps texts (varnel/host/KeptTexts.h), whatever changes, until somebody forgets them.
  void KeepTexts() { m_keepsTexts = true; }
  void ForgetTexts() { m_texts.clear(); }
  const std::map<varnel::String, varnel::String>& Texts() const { return m_texts; }

  // Called before the connection is opened, before a text is run, and with the rows before they are handed
  // over. Each may raise; the third may change the rows. The last is called when a connection's transaction begins or ends.
  std::function<void(const varnel::String& connectionString)> onOpen;
  std::function<void(const varnel::String& sql)> onRun;
  std::function<void(varnel::host::RowBlock& rows)> onGetRows;
  std::function<void(FakeTransaction step)> onTransaction;

  // Every property set and every call, in order: "Connection 1: CommandTimeout 30",
  // "Recordset 1: Open SELECT ... (-1, -1, -1)". Connections and recordsets are numbered from 1.
  std::vector<std::string> Lines() const;
  // The SQL texts that were run, in order, by whichever object.
  const std::vector<varnel::String>& Statements() const { return m_statements; }
  // How many of them are still held by someone.
  int LiveConnections() const { return m_liveConnections; }
  int LiveRecordsets() const { return m_liveRecordsets; }

 private:
  friend class FakeConnection;
  friend class FakeRecordset;

  struct Switch {
    Fault fault;
    std::vector<varnel::host::ProviderError> errors;
  };

  FakeAnswer AnswerTo(const FakeStatement& statement) const;

  TracePtr m_trace;
  std::map<varnel::String, FakeAnswer> m_answers;
  std::vector<std::function<std::optional<FakeAnswer>(const FakeStatement&)>> m_functions;
  std::vector<varnel::String> m_statements;
  Switch m_open;
  Switch m_execute;
  Switch m_getRows;
  std::optional<std::size_t> m_mostRows;
  bool m_keepsTexts = false;
  std::map<varnel::String, varnel::String> m_texts;
  int m_connections = 0;
  int m_recordsets = 0;
  int m_liveConnections = 0;
  int m_liveRecordsets = 0;
};

using FakeDatabasePtr = std::shared_ptr<FakeDatabase>;

// Misuse is raised as on a real host: 3705 and so on stand for 0x800A0000 and that number.
class FakeConnection : public varnel::Object,
                       public varnel::host::IConnection,
                       public varnel::host::IKeptTexts {
 public:
  explicit FakeConnection(FakeDatabasePtr database);
  ~FakeConnection() override;
  const varnel::ClassInfo& Class() const override;

  bool IsOpen() const { return m_open; }
  const varnel::String& Name() const { return m_name; }  // "Connection 1"

  void SetConnectionTimeout(varnel::Long seconds) override;
  void SetCommandTimeout(varnel::Long seconds) override;
  void SetCursorLocation(varnel::Long location) override;
  void SetIsolationLevel(varnel::Long level) override;
  // 3705 if it is open already.
  void Open(const varnel::String& connectionString, const varnel::String& user,
            const varnel::String& password, varnel::Long options) override;
  // 3704 if it is closed.
  std::shared_ptr<varnel::host::IRecordset> Execute(const varnel::String& sql, varnel::Long options) override;
  std::shared_ptr<varnel::host::IRecordset> ExecuteCounting(const varnel::String& sql,
                                                            varnel::Long& o_affected,
                                                            varnel::Long options) override;
  void Close() override;
  // For scripts; 3704 where it is closed. The first returns the level of nesting, which is 1.
  varnel::Long BeginTrans();
  void CommitTrans();
  void RollbackTrans();
  std::vector<varnel::host::ProviderError> Errors() const override { return m_errors; }
  bool KeepsTexts() const override { return m_database->m_keepsTexts; }
  const varnel::String* KeptText(const varnel::String& key) override;
  void KeepText(const varnel::String& key, const varnel::String& text) override;

 private:
  friend class FakeRecordset;

  // The answer to `sql`; its error, or a switched one, is kept in `Errors` and raised.
  FakeAnswer Run(const varnel::String& sql, const varnel::host::StatementParameters& parameters);
  void Step(FakeTransaction step, const varnel::String& name);
  void Fail(const Fault& fault, const std::vector<varnel::host::ProviderError>& errors);
  void Tell(const varnel::String& what) const;
  void CloseByName() { Close(); }
  varnel::ObjectPtr ExecuteByName(const varnel::String& sql);
  void OpenByName(const varnel::String& connectionString);

  FakeDatabasePtr m_database;
  varnel::String m_name;
  varnel::String m_connectionString;
  bool m_open = false;
  std::vector<varnel::host::ProviderError> m_errors;
};

class FakeRecordset : public varnel::Object, public varnel::host::IRecordset {
 public:
  explicit FakeRecordset(FakeDatabasePtr database);
  ~FakeRecordset() override;
  const varnel::ClassInfo& Class() const override;

  bool IsOpen() const { return m_open; }

  // These raise 3705 while the recordset is open.
  void SetCursorType(varnel::Long type) override;
  varnel::Long CursorType() const override { return m_cursorType; }
  void SetCursorLocation(varnel::Long location) override;
  void SetLockType(varnel::Long type) override;
  void SetMaxRecords(varnel::Long count) override;
  varnel::Long MaxRecords() const override { return m_maxRecords; }
  void SetCacheSize(varnel::Long count) override;
  void SetParameters(const varnel::host::StatementParameters& parameters) override;
  // 3705 if the recordset is open, 3709 if the connection isn't.
  void Open(const varnel::String& sql, const std::shared_ptr<varnel::host::IConnection>& connection,
            varnel::Long cursorType, varnel::Long lockType, varnel::Long options) override;
  std::shared_ptr<varnel::host::IConnection> GetActiveConnection() const override;
  void DetachConnection() override;
  varnel::Long FieldCount() const override;  // 0 while the recordset is closed
  // From here on 3704 while the recordset is closed; 3021 where a row is needed and there is none.
  bool IsEOF() const override;
  varnel::String FieldName(varnel::Long position) const override;  // 3265 outside
  varnel::Integer FieldType(varnel::Long position) const override;
  varnel::Variant FieldValue(varnel::Long position) const override;
  varnel::host::RowBlock GetRows() override;
  void MoveNext() override;
  varnel::Long RecordCount() const override;
  void Close() override;

 private:
  friend class FakeConnection;

  void Take(FakeAnswer answer);
  void SetProperty(varnel::StringView name, varnel::Long& property, varnel::Long value);
  void RequireOpen() const;
  void RequireRow() const;
  const FakeColumn& ColumnAt(varnel::Long position) const;
  void Tell(const varnel::String& what) const;
  varnel::Variant FieldByName(const varnel::Variant& nameOrPosition);

  FakeDatabasePtr m_database;
  std::shared_ptr<FakeConnection> m_connection;  // null once detached
  varnel::String m_name;
  bool m_open = false;
  varnel::Long m_cursorType = varnel::host::ado::kOpenForwardOnly;
  varnel::Long m_cursorLocation = varnel::host::ado::kUseServer;
  varnel::Long m_lockType = varnel::host::ado::kLockReadOnly;
  varnel::Long m_maxRecords = 0;
  varnel::Long m_cacheSize = 1;
  varnel::host::StatementParameters m_parameters;
  FakeAnswer m_answer;
  std::size_t m_row = 0;
};

}  // namespace hostfake
