#include "host-linux/database/provider/RowStore.h"

#include <algorithm>
#include <bit>

namespace hostlinux {

using varnel::Variant;

void RowStore::Reserve(std::size_t rows, std::size_t bytes) {
  m_cells.reserve(rows * m_columns);
  m_bytes.reserve(bytes);
}

void RowStore::AddDouble(double value) { Add(Kind::Double, std::bit_cast<std::uint64_t>(value), 0); }
void RowStore::AddDate(varnel::Date value) { Add(Kind::Date, std::bit_cast<std::uint64_t>(value.days), 0); }

void RowStore::Add(Kind kind, std::uint64_t value, std::size_t length) {
  m_cells.push_back(Cell{value, static_cast<std::uint32_t>(length), kind});
}

void RowStore::AddBytes(Kind kind, std::string_view bytes) {
  Add(kind, m_bytes.size(), bytes.size());
  m_bytes += bytes;
}

void RowStore::DropUnfinishedRow() {
  while (m_columns != 0 && m_cells.size() % m_columns != 0) {
    const Cell& cell = m_cells.back();
    if (cell.kind == Kind::Text || cell.kind == Kind::Blob) m_bytes.resize(cell.value);
    m_cells.pop_back();
  }
}

void RowStore::Append(const RowStore& more) {
  const std::size_t shift = m_bytes.size();
  for (Cell cell : more.m_cells) {
    if (cell.kind == Kind::Text || cell.kind == Kind::Blob) cell.value += shift;
    m_cells.push_back(cell);
  }
  m_bytes += more.m_bytes;
}

RowStore RowStore::LastRows(std::size_t count, bool turned) const {
  const std::size_t kept = std::min(count, Rows());
  RowStore last(m_columns);
  last.Reserve(kept, 0);
  for (std::size_t i = 0; i < kept; ++i) last.AddRowOf(*this, turned ? Rows() - 1 - i : Rows() - kept + i);
  return last;
}

void RowStore::AddRowOf(const RowStore& other, std::size_t row) {
  for (std::size_t column = 0; column < m_columns; ++column) {
    const Cell& cell = other.m_cells[row * m_columns + column];
    if (cell.kind == Kind::Text || cell.kind == Kind::Blob) {
      AddBytes(cell.kind, std::string_view(other.m_bytes).substr(cell.value, cell.length));
    } else {
      m_cells.push_back(cell);
    }
  }
}

Variant RowStore::Value(std::size_t column, std::size_t row) const {
  const Cell& cell = m_cells[row * m_columns + column];
  switch (cell.kind) {
    case Kind::Null:
      return varnel::Null();
    case Kind::Long:
      return static_cast<varnel::Long>(cell.value);
    case Kind::Boolean:
      return cell.value != 0;
    case Kind::Double:
      return std::bit_cast<double>(cell.value);
    case Kind::Date:
      return varnel::Date{std::bit_cast<double>(cell.value)};
    case Kind::Text:
      return varnel::FromUtf8(std::string_view(m_bytes).substr(cell.value, cell.length));
    case Kind::Blob:
      break;
  }
  const std::string_view bytes = std::string_view(m_bytes).substr(cell.value, cell.length);
  return varnel::BytesPtr(std::make_shared<varnel::Bytes>(bytes.begin(), bytes.end()));
}

}  // namespace hostlinux
