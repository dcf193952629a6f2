#include "host-linux/database/Rowset.h"

#include "varnel/automation/Convert.h"

namespace hostlinux {
namespace {

using varnel::Variant;

Variant ConvertTo(varnel::Integer type, const Variant& value) {
  if (value.IsNull()) return value;
  switch (type) {
    case ado_type::kInteger:
      return varnel::ToLong(value);
    case ado_type::kDouble:
      return varnel::ToDouble(value);
    case ado_type::kBoolean:
      return varnel::ToBoolean(value);
    case ado_type::kDate:
    case ado_type::kTimeStamp:
      return varnel::ToDate(value);
    case ado_type::kBstr:
    case ado_type::kVarWChar:
    case ado_type::kLongVarWChar:
      return varnel::ToText(value);
    default:
      return value;
  }
}

}  // namespace

Rowset Rowset::OfResult(StatementResult result, PassedRows passed) {
  Rowset rowset;
  rowset.m_shared = std::move(result.columns);
  rowset.m_rows = std::move(result.rows);
  rowset.m_rest = std::move(result.rest);
  rowset.m_passed = passed;
  rowset.m_open = rowset.m_shared != nullptr;
  return rowset;
}

void Rowset::OpenMade() {
  m_open = true;
  m_made = true;
}

std::size_t Rowset::Count() {
  if (m_count) return *m_count;
  if (HasMore()) {
    if (const std::optional<RowCount> counted = m_rest->Count()) {
      m_count = static_cast<std::size_t>(counted->rows);
      return *m_count;
    }
    ReadAll();
  }
  return Rows();
}

void Rowset::ReadNext(PassedRows passed) {
  RowStore next = m_rest->Read(passed == PassedRows::Kept ? m_rows.Size() : 0);
  if (passed == PassedRows::Kept) {
    m_rows.Append(next);
  } else {
    m_first += m_rows.Rows();
    m_rows = std::move(next);
  }
  if (!m_rest->HasMore()) m_rest = nullptr;
}

void Rowset::ReadThrough(std::size_t position) {
  while (position >= Rows() && HasMore()) ReadNext(PassedRows::Kept);
}

void Rowset::ReadAll() {
  while (HasMore()) ReadNext(PassedRows::Kept);
}

void Rowset::MoveToLast() {
  while (HasMore()) ReadNext(m_passed);
  MoveTo(Rows() - 1);
}

void Rowset::MoveTo(std::size_t position) {
  while (position >= Rows() && HasMore()) ReadNext(m_passed);
  m_position = position;
  m_beforeFirst = false;
}

Variant Rowset::ValueAt(std::size_t column, std::size_t row) const {
  return m_made ? m_madeRows[row][column] : m_rows.Value(column, row - m_first);
}

void Rowset::AddRow() {
  m_madeRows.emplace_back(m_columns.size(), Variant(varnel::Null()));
  MoveTo(m_madeRows.size() - 1);
}

Variant Rowset::ConvertFor(std::size_t column, const Variant& value) const {
  return ConvertTo(m_columns[column].type, value);
}

void Rowset::SetValue(std::size_t column, Variant converted) {
  m_madeRows[m_position][column] = std::move(converted);
}

// The columns stay: fields tell their names by them.
void Rowset::LetGo() noexcept {
  m_rest = nullptr;
  m_open = false;
  m_rows = RowStore();
  m_first = 0;
  m_madeRows.clear();
}

}  // namespace hostlinux
