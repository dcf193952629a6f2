// Database access as the library uses it: connections that run statements of the library's SQL, and recordsets that
// hold their rows.
//
// Used on the thread of its request alone. What a database refuses is raised with its own number and stands among
// its connection's Errors() then. Misuse is raised as 0x800A0000 and 3704 (closed), 3705 (open already), 3709 (no open
// connection), 3021 (no current row) or 3265 (no such field).
#pragma once

#include <memory>
#include <vector>

#include "varnel/automation/Variant.h"

namespace varnel::host {

// Values of the properties that the library sets.
namespace ado {
inline constexpr Integer kTypeTimeStamp = 135;  // Field.Type of a date with time
inline constexpr Long kUnspecified = -1;        // cursor type, lock type, options
inline constexpr Long kOpenForwardOnly = 0;
inline constexpr Long kOpenKeyset = 1;
inline constexpr Long kOpenStatic = 3;
inline constexpr Long kUseServer = 2;
inline constexpr Long kUseClient = 3;
inline constexpr Long kLockReadOnly = 1;
inline constexpr Long kReadCommitted = 4096;
inline constexpr Long kCommandText = 1;  // options: the source is a statement
}  // namespace ado

// One error of the database provider.
struct ProviderError {
  Long Number = 0;       // as it is raised, such as 0x80040E14 for bad SQL
  String Source;         // the provider's name
  String Description;    // a sentence of the engine
  Long NativeError = 0;  // the engine's own number
  String SQLState;       // five characters, or empty
};

// Rows in a block: value (column, row), both from 0.
class RowBlock {
 public:
  RowBlock() = default;
  RowBlock(std::size_t columns, std::size_t rows)
      : m_columns(columns), m_rows(rows), m_values(columns * rows) {}

  std::size_t Columns() const { return m_columns; }
  std::size_t Rows() const { return m_rows; }
  Variant& At(std::size_t column, std::size_t row) { return m_values[row * m_columns + column]; }
  const Variant& At(std::size_t column, std::size_t row) const { return m_values[row * m_columns + column]; }

 private:
  std::size_t m_columns = 0;
  std::size_t m_rows = 0;
  std::vector<Variant> m_values;  // row by row
};

// A value that a statement names by `:name`, in any case of letters.
struct StatementParameter {
  String Name;    // without its colon
  Variant Value;  // Null, or a plain value; no object and no array
};

// The values of a statement's parameters. They travel beside the text and never become a part of it.
struct StatementParameters {
  std::vector<StatementParameter> values;
  bool byOrder = false;  // each "?" of the text takes the next of them, too
};

// What a statement gets for `value`: the value itself, or the default value of an object, whose Empty is the empty
// text. Raises 5 for what can stand for no parameter: a left-out value, an array, an object without a plain value.
Variant ToParameterValue(const Variant& value);

class IRecordset;

// A connection to a database, closed at first. Its last owner closes it.
class IConnection {
 public:
  virtual ~IConnection() = default;
  // For the next Open, in seconds; 0 waits without end. A host may have a lower limit of its own.
  virtual void SetConnectionTimeout(Long seconds) = 0;
  // For each statement, and each reading of its rows, from now on; in seconds as above.
  virtual void SetCommandTimeout(Long seconds) = 0;
  // kUseServer or kUseClient: what the recordsets of Execute get from now on.
  virtual void SetCursorLocation(Long location) = 0;
  // kReadCommitted. An engine with one level of its own may ignore it.
  virtual void SetIsolationLevel(Long level) = 0;
  // `connectionString` is a list of "Key=value" with ";" between them; `options` kUnspecified. Raises 3705 where it
  // is open, and the provider's error; the connection stays closed then.
  virtual void Open(const String& connectionString, const String& user, const String& password,
                    Long options) = 0;
  // Runs one statement; `options` kCommandText or kUnspecified. The recordset stands on its first row, and is closed
  // where the statement returns no rows. Raises 3704 on a closed connection, and the provider's error.
  virtual std::shared_ptr<IRecordset> Execute(const String& sql, Long options) = 0;
  // The same; `o_affected` becomes the number of rows that the statement changed, -1 for a query. It stays as it
  // was where the call raises.
  virtual std::shared_ptr<IRecordset> ExecuteCounting(const String& sql, Long& o_affected, Long options) = 0;
  // What wasn't committed is rolled back; recordsets keep the rows of their statements. Raises 3704 where it is
  // closed.
  virtual void Close() = 0;
  // The provider's errors of the last failed operation; empty where none failed yet.
  virtual std::vector<ProviderError> Errors() const = 0;
};

// The rows of one statement, closed at first, and the current one among them.
class IRecordset {
 public:
  virtual ~IRecordset() = default;
  // kOpenForwardOnly, kOpenKeyset or kOpenStatic, for the next Open.
  virtual void SetCursorType(Long type) = 0;
  // As it was set or given to Open; kOpenStatic for the rows of a client-side one.
  virtual Long CursorType() const = 0;
  // kUseServer or kUseClient, for the next Open.
  virtual void SetCursorLocation(Long location) = 0;
  // kLockReadOnly; rows are never written through a recordset.
  virtual void SetLockType(Long type) = 0;
  // Cuts what the next statement returns. 0 is no limit, a negative number counts by its absolute value.
  virtual void SetMaxRecords(Long count) = 0;
  virtual Long MaxRecords() const = 0;
  // A hint, in rows; 0 and negative numbers do no harm.
  virtual void SetCacheSize(Long count) = 0;
  // The values of the parameters in the texts of every further Open. A text may use some of them only; one that
  // names another fails with 0x80040E10.
  virtual void SetParameters(const StatementParameters& parameters) = 0;
  // Runs `sql` on an open connection and stands on its first row, or at the end where there is none; closed where
  // the statement returns no rows. kUnspecified leaves a property as it was set. Raises 3705 where it is open, 3709
  // without an open connection, and the provider's error: it is closed then.
  virtual void Open(const String& sql, const std::shared_ptr<IConnection>& connection, Long cursorType,
                    Long lockType, Long options) = 0;
  // The connection of the rows: null where the recordset is detached or was never opened.
  virtual std::shared_ptr<IConnection> GetActiveConnection() const = 0;
  // ActiveConnection = Nothing: the rows stay, the connection is free.
  virtual void DetachConnection() = 0;
  // Behind the last row. Raises 3704 on a closed recordset.
  virtual bool IsEOF() const = 0;
  // 0 on a closed recordset.
  virtual Long FieldCount() const = 0;
  // Name, type code and value in the current row of the field at `position`, from 0. Raises 3265 for another
  // position; the value raises 3704 on a closed recordset and 3021 at the end.
  virtual String FieldName(Long position) const = 0;
  virtual Integer FieldType(Long position) const = 0;
  virtual Variant FieldValue(Long position) const = 0;
  // All rows from the current one on; the recordset stands at its end then. Raises 3704, 3021 at the end, and the
  // provider's error.
  virtual RowBlock GetRows() = 0;
  // Raises 3704, 3021 at the end, and the provider's error.
  virtual void MoveNext() = 0;
  // Exact for static, keyset and client-side recordsets, else -1. Raises 3704, and the provider's error.
  virtual Long RecordCount() const = 0;
  // Lets its rows go. Raises 3704 where it is closed.
  virtual void Close() = 0;
};

}  // namespace varnel::host
