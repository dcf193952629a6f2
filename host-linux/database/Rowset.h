// The rows of a recordset and the place in them; the recordset and its fields share it.
#pragma once

#include <vector>

#include "host-linux/database/provider/Provider.h"

namespace hostlinux {

// Either the result of a statement, which is read-only, or rows that a script makes by hand.
class Rowset {
 public:
  // An open rowset of a statement's rows, at the first of them.
  static Rowset OfResult(StatementResult result);
  // A closed rowset without columns, to be made by hand.
  Rowset() = default;

  bool IsOpen() const { return m_open; }
  bool IsMade() const { return m_made; }
  const std::vector<ResultColumn>& Columns() const { return m_shared != nullptr ? *m_shared : m_columns; }
  // Only before the rowset is open.
  void AppendColumn(ResultColumn column) { m_columns.push_back(std::move(column)); }
  void OpenMade();

  std::size_t Rows() const { return m_made ? m_madeRows.size() : m_rows.Rows(); }
  std::size_t Position() const { return m_position; }
  bool IsBOF() const { return m_beforeFirst || Rows() == 0; }
  bool IsEOF() const { return !m_beforeFirst && m_position >= Rows(); }
  bool HasCurrent() const { return !m_beforeFirst && m_position < Rows(); }
  void MoveTo(std::size_t position);
  void MoveBeforeFirst() { m_beforeFirst = true; }

  // Of the current row, which there must be.
  varnel::Variant Value(std::size_t column) const { return ValueAt(column, m_position); }
  varnel::Variant ValueAt(std::size_t column, std::size_t row) const;

  // Made rowsets only. The new row is the current one and holds Nulls.
  void AddRow();
  // Converts the value to the column's type; Null stays Null. Raises 13 or 6.
  void SetValue(std::size_t column, const varnel::Variant& value);

 private:
  ResultColumns m_shared;               // of a statement's result
  std::vector<ResultColumn> m_columns;  // of rows made by hand
  RowStore m_rows;
  std::vector<std::vector<varnel::Variant>> m_madeRows;
  std::size_t m_position = 0;
  bool m_beforeFirst = false;
  bool m_open = false;
  bool m_made = false;
};

}  // namespace hostlinux
