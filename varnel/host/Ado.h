// Database access as the library uses it.
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
  Long Number = 0;
  String Source;
  String Description;
  Long NativeError = 0;
  String SQLState;
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

class IRecordset;

class IConnection {
 public:
  virtual ~IConnection() = default;
  virtual void SetConnectionTimeout(Long seconds) = 0;
  virtual void SetCommandTimeout(Long seconds) = 0;
  virtual void SetCursorLocation(Long location) = 0;
  virtual void SetIsolationLevel(Long level) = 0;
  // Raises the provider's error; the connection stays closed then.
  virtual void Open(const String& connectionString, const String& user, const String& password,
                    Long options) = 0;
  // Runs one statement. The recordset is closed where the statement returns no rows.
  virtual std::shared_ptr<IRecordset> Execute(const String& sql, Long options) = 0;
  // The same; `o_affected` becomes the number of rows that the statement changed, -1 for a query.
  virtual std::shared_ptr<IRecordset> ExecuteCounting(const String& sql, Long& o_affected, Long options) = 0;
  virtual void Close() = 0;
  // The provider's errors of the last failed operation.
  virtual std::vector<ProviderError> Errors() const = 0;
};

class IRecordset {
 public:
  virtual ~IRecordset() = default;
  virtual void SetCursorType(Long type) = 0;
  virtual Long CursorType() const = 0;
  virtual void SetCursorLocation(Long location) = 0;
  virtual void SetLockType(Long type) = 0;
  // Cuts what a statement returns. 0 is no limit, a negative number counts by its absolute value.
  virtual void SetMaxRecords(Long count) = 0;
  virtual Long MaxRecords() const = 0;
  virtual void SetCacheSize(Long count) = 0;
  // Runs `sql` on an open connection; -1 leaves a property as it was set.
  virtual void Open(const String& sql, const std::shared_ptr<IConnection>& connection, Long cursorType,
                    Long lockType, Long options) = 0;
  // The connection of the rows: null where the recordset is detached or was never opened.
  virtual std::shared_ptr<IConnection> GetActiveConnection() const = 0;
  // ActiveConnection = Nothing: the rows stay, the connection is free.
  virtual void DetachConnection() = 0;
  virtual bool IsEOF() const = 0;
  virtual Long FieldCount() const = 0;
  // Name, type code and value in the current row of the field at `position`, from 0.
  virtual String FieldName(Long position) const = 0;
  virtual Integer FieldType(Long position) const = 0;
  virtual Variant FieldValue(Long position) const = 0;
  // All rows from the current one on; the recordset stands at its end then. Raises at the end.
  virtual RowBlock GetRows() = 0;
  virtual void MoveNext() = 0;
  // Exact for static, keyset and client-side recordsets, else -1.
  virtual Long RecordCount() const = 0;
  virtual void Close() = 0;
};

}  // namespace varnel::host
