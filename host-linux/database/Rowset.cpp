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

Rowset Rowset::OfResult(StatementResult result) {
  Rowset rowset;
  rowset.m_shared = std::move(result.columns);
  rowset.m_rows = std::move(result.rows);
  rowset.m_open = rowset.m_shared != nullptr;
  return rowset;
}

void Rowset::OpenMade() {
  m_open = true;
  m_made = true;
}

void Rowset::MoveTo(std::size_t position) {
  m_position = position;
  m_beforeFirst = false;
}

Variant Rowset::ValueAt(std::size_t column, std::size_t row) const {
  return m_made ? m_madeRows[row][column] : m_rows.Value(column, row);
}

void Rowset::AddRow() {
  m_madeRows.emplace_back(m_columns.size(), Variant(varnel::Null()));
  MoveTo(m_madeRows.size() - 1);
}

void Rowset::SetValue(std::size_t column, const Variant& value) {
  m_madeRows[m_position][column] = ConvertTo(m_columns[column].type, value);
}

}  // namespace hostlinux
