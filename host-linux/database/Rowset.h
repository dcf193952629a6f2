// The rows of a recordset and the place in them; the recordset and its fields share it.
#pragma once

#include <vector>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// What becomes of the rows that the current one has left behind.
enum class PassedRows { Kept, LetGo };

// Either the result of a statement, which is read-only, or rows that a script makes by hand. The rows of a
// result are read in batches, when somebody asks for them; the provider's failure is raised then, and the
// place stays as it was.
class Rowset {
 public:
  // An open rowset of a statement's rows, at the first of them.
  static Rowset OfResult(StatementResult result, PassedRows passed = PassedRows::Kept);
  // A closed rowset without columns, to be made by hand.
  Rowset() = default;

  bool IsOpen() const { return m_open; }
  bool IsMade() const { return m_made; }
  const std::vector<ResultColumn>& Columns() const { return m_shared != nullptr ? *m_shared : m_columns; }
  // Only before the rowset is open.
  void AppendColumn(ResultColumn column) { m_columns.push_back(std::move(column)); }
  void OpenMade();

  // Of those that were read, also if they were let go since. The current row is one of them, or there is
  // none.
  std::size_t Rows() const { return m_made ? m_madeRows.size() : m_first + m_rows.Rows(); }
  bool HasMore() const { return m_rest != nullptr && m_rest->HasMore(); }
  // Of all rows; where there are more, the engine counts them.
  std::size_t Count();
  bool HasLetGo() const { return m_first > 0; }
  std::size_t HeldRows() const { return m_rows.Rows(); }
  std::size_t Position() const { return m_position; }
  bool IsBOF() const { return m_beforeFirst || Rows() == 0; }
  bool IsEOF() const { return !m_beforeFirst && m_position >= Rows(); }
  bool HasCurrent() const { return !m_beforeFirst && m_position >= m_first && m_position < Rows(); }
  // Behind the last row, where there are not so many.
  void MoveTo(std::size_t position);
  void MoveToLast();
  // Reads up to `position`, which isn't the current one yet; all rows from the current one on are kept.
  void ReadThrough(std::size_t position);
  void ReadAll();
  // What wasn't read yet is given up.
  void EndReading() { m_rest = nullptr; }
  // Closed and without rows from now on.
  void LetGo() noexcept;
  void MoveBeforeFirst() { m_beforeFirst = true; }

  // Of the current row, which there must be.
  varnel::Variant Value(std::size_t column) const { return ValueAt(column, m_position); }
  varnel::Variant ValueAt(std::size_t column, std::size_t row) const;

  // Made rowsets only. The new row is the current one and holds Nulls.
  void AddRow();
  // The value as the column's type; Null stays Null. Raises 13 or 6. A script may run for it.
  varnel::Variant ConvertFor(std::size_t column, const varnel::Variant& value) const;
  // Of the current row, which there must be; what ConvertFor gave.
  void SetValue(std::size_t column, varnel::Variant converted);

 private:
  void ReadNext(PassedRows passed);

  ResultColumns m_shared;               // of a statement's result
  std::vector<ResultColumn> m_columns;  // of rows made by hand
  RowStore m_rows;
  std::size_t m_first = 0;  // position of the first of m_rows
  std::unique_ptr<IRowReader> m_rest;
  PassedRows m_passed = PassedRows::Kept;
  std::optional<std::size_t> m_count;  // what the engine counted
  std::vector<std::vector<varnel::Variant>> m_madeRows;
  std::size_t m_position = 0;
  bool m_beforeFirst = false;
  bool m_open = false;
  bool m_made = false;
};

}  // namespace hostlinux
