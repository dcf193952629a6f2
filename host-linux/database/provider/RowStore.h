// The rows of a result, kept compact until somebody looks at a value.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "varnel/automation/Variant.h"

namespace hostlinux {

// Cells are appended row by row, from left to right. Texts are kept as UTF-8 and become Variants when read.
class RowStore {
 public:
  // Of each value, besides those of texts and blobs.
  static constexpr std::size_t kCellBytes = 16;

  explicit RowStore(std::size_t columns = 0) : m_columns(columns) {}

  // Room for that much at once.
  void Reserve(std::size_t rows, std::size_t bytes);

  void AddNull() { Add(Kind::Null, 0, 0); }
  void AddLong(varnel::Long value) { Add(Kind::Long, static_cast<std::uint64_t>(value), 0); }
  void AddBoolean(bool value) { Add(Kind::Boolean, value ? 1 : 0, 0); }
  void AddDouble(double value);
  void AddDate(varnel::Date value);
  void AddText(std::string_view utf8) { AddBytes(Kind::Text, utf8); }
  void AddBlob(std::string_view bytes) { AddBytes(Kind::Blob, bytes); }

  // The cells of a row that isn't whole go.
  void DropUnfinishedRow();

  // The rows of `more`, which has as many columns, behind these.
  void Append(const RowStore& more);

  // The last `count` rows, or all where there are fewer; with `turned` the last one comes first.
  RowStore LastRows(std::size_t count, bool turned) const;

  std::size_t Columns() const { return m_columns; }
  std::size_t Rows() const { return m_columns == 0 ? 0 : m_cells.size() / m_columns; }
  // Of all texts and blobs together.
  std::size_t Bytes() const { return m_bytes.size(); }
  // Bytes of everything.
  std::size_t Size() const { return m_bytes.size() + m_cells.size() * sizeof(Cell); }
  // Both from 0 and inside the store.
  varnel::Variant Value(std::size_t column, std::size_t row) const;

 private:
  enum class Kind : std::uint8_t { Null, Long, Boolean, Double, Date, Text, Blob };
  struct Cell {
    std::uint64_t value;  // the value, or where its bytes begin
    std::uint32_t length;
    Kind kind;
  };
  static_assert(sizeof(Cell) == kCellBytes);

  void Add(Kind kind, std::uint64_t value, std::size_t length);
  void AddBytes(Kind kind, std::string_view bytes);
  void AddRowOf(const RowStore& other, std::size_t row);

  std::size_t m_columns;
  std::vector<Cell> m_cells;
  std::string m_bytes;
};

}  // namespace hostlinux
