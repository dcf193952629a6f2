// A connection to a database server by its ODBC driver, each of whose calls ends in time. Texts travel as UTF-16, or as UTF-8 where
// the driver has no wide functions: the driver manager's own way between the two loses what Latin-1 hasn't.
#pragma once

#include <sql.h>
#include <sqlext.h>
#include <sqlucode.h>

#include <memory>
#include <string>
#include <vector>

#include "host-linux/database/dialect/EngineStatement.h"
#include "host-linux/database/odbc/OdbcTimeLimit.h"
#include "host-linux/database/odbc/OdbcTypes.h"

namespace hostlinux {

// A handle of ODBC's.
class OdbcHandle {
 public:
  // Raises ProviderFailure, with what `parent` tells of it.
  OdbcHandle(SQLSMALLINT kind, SQLSMALLINT parentKind, SQLHANDLE parent);
  ~OdbcHandle() { SQLFreeHandle(m_kind, m_handle); }
  OdbcHandle(const OdbcHandle&) = delete;
  OdbcHandle& operator=(const OdbcHandle&) = delete;
  SQLHANDLE Get() const { return m_handle; }

 private:
  SQLSMALLINT m_kind;
  SQLHANDLE m_handle = SQL_NULL_HANDLE;
};

// An open connection's handles.
class OdbcLink {
 public:
  OdbcLink();
  // Of one that is open.
  ~OdbcLink();
  OdbcLink(const OdbcLink&) = delete;
  OdbcLink& operator=(const OdbcLink&) = delete;

  void Open(const std::u16string& text, bool isNarrow);
  SQLHDBC Get() const { return m_handle.Get(); }

 private:
  OdbcHandle m_environment;
  OdbcHandle m_handle;
  bool m_isOpen = false;
};

// A statement's handle, which keeps its connection.
class OdbcCall {
 public:
  explicit OdbcCall(std::shared_ptr<OdbcLink> link)
      : m_link(std::move(link)), m_handle(SQL_HANDLE_STMT, SQL_HANDLE_DBC, m_link->Get()) {}
  SQLHSTMT Get() const { return m_handle.Get(); }

 private:
  std::shared_ptr<OdbcLink> m_link;
  OdbcHandle m_handle;
};

class OdbcConnection;

// A statement that the server has prepared. Lives no longer than its connection. Everything raises ProviderFailure.
class OdbcStatement {
 public:
  OdbcStatement(OdbcConnection& connection, const std::string& sql);
  // PostgreSQL's driver lets go of what it has found out about a statement only when that is closed.
  ~OdbcStatement() { Close(); }
  OdbcStatement(const OdbcStatement&) = delete;
  OdbcStatement& operator=(const OdbcStatement&) = delete;

  // None for a statement that returns no rows.
  const std::vector<OdbcColumn>& Columns() const { return m_columns; }
  // The table and the name of a column, from 0, where it is a table's; else empty.
  std::u16string TableOf(std::size_t column) const;

  void Execute(const std::vector<BoundValue>& values);
  // False where the table has others by now. Of a statement that has run.
  bool HasItsColumns();
  // False behind the last row.
  bool Fetch();
  void AddRow(RowStore& rows, const std::vector<OdbcKind>& kinds, std::size_t mostOfValue);
  SQLLEN Affected();
  // Lets go of the rows that nobody has read.
  void Close() noexcept { SQLFreeStmt(m_call->Get(), SQL_CLOSE); }

 private:
  void Describe();
  OdbcColumn ColumnAt(SQLUSMALLINT position);

  OdbcConnection& m_connection;
  std::shared_ptr<OdbcCall> m_call;
  std::vector<OdbcColumn> m_columns;
  // What was handed over stays until the statement has run.
  std::vector<std::u16string> m_texts;
  std::vector<BoundValue> m_values;
  std::vector<SQLLEN> m_lengths;
};

class OdbcConnection {
 public:
  using Clock = OdbcTimeLimit::Clock;
  using Deadline = OdbcTimeLimit::Deadline;

  struct Options {
    std::u16string text;  // for the driver
    bool readsOnly = false;
    Deadline deadline;
    bool isNarrow = false;  // as SetNarrow says
    // For opening: a driver that is silent so long is left to itself; 0: waited for.
    std::chrono::milliseconds patience{0};
  };
  explicit OdbcConnection(const Options& options);

  // For the calls from now on; none: they take as long as they take. A call that comes to it is cancelled.
  void SetDeadline(Deadline deadline) { m_timeLimit.SetDeadline(deadline); }

  // Whether texts travel as UTF-8, for statements from now on.
  void SetNarrow(bool isNarrow) { m_isNarrow = isNarrow; }
  bool IsNarrow() const { return m_isNarrow; }

  // A statement without parameters whose rows nobody wants.
  void Execute(const std::string& sql);
  void SetAutoCommit(bool isOn);
  // The end of a transaction.
  void End(bool keeps);

  // "MariaDB", "PostgreSQL"; the name of the driver's file.
  std::u16string ServerName() const { return Info(SQL_DBMS_NAME); }
  std::u16string DriverName() const { return Info(SQL_DRIVER_NAME); }

  // Asks the driver, which may ask the server.
  bool IsAlive() const;
  // After a call was cancelled, its cancelling may still be on its way.
  bool WasCancelled() const { return m_wasCancelled; }
  SQLHDBC Get() const { return m_link->Get(); }

  std::shared_ptr<OdbcCall> NewCall() const { return std::make_shared<OdbcCall>(m_link); }
  // An action on `call` within the time: its result, which is a success or SQL_NO_DATA.
  template <typename Action>
  SQLRETURN Within(const std::shared_ptr<OdbcCall>& call, Action action);

 private:
  std::u16string Info(SQLUSMALLINT what) const;
  [[noreturn]] void RaiseCancelled();

  std::shared_ptr<OdbcLink> m_link;
  OdbcTimeLimit m_timeLimit;
  bool m_isNarrow;
  bool m_wasCancelled = false;
};

}  // namespace hostlinux
