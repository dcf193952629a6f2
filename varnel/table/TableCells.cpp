#include "varnel/table/TableCells.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "varnel/automation/Error.h"

namespace varnel {

namespace {

constexpr int kRowStep = 20;
constexpr int kColStep = 10;
constexpr int kForgetStep = 200;

// A quarter of a gigabyte of cells. One cell at a far position asks for all cells before it.
constexpr std::size_t kMaxCells = 4'000'000;

// The count after as many steps as it takes to hold `position`.
int GrownCount(int count, int position, int step) {
  while (count <= position) count += step;
  return count;
}

}  // namespace

void TableCells::Dimension() {
  m_rows = kRowStep;
  m_cols = kColStep;
  m_cells.clear();
  m_cells.resize(static_cast<std::size_t>(m_rows * m_cols));
  m_openSpans.clear();
  m_forgottenRows = 0;
  m_forgottenFlags.clear();
  m_forgottenSpans.clear();
}

void TableCells::Reach(int row, int col) const {
  if (!Contains(row, col)) RaiseRuntimeError(runtime_error::kSubscript);
  if (row < m_forgottenRows) Remember();
}

void TableCells::Forget(int row) {
  if (row - m_forgottenRows < kForgetStep || row > m_rows) return;
  std::vector<OpenSpan> spans;
  for (const CellPosition top : m_openSpans) {
    if (top.row >= row) continue;
    const TableCell& cell = At(top.row, top.col);
    if (cell.RowSpan == kSpanToEnd) return;
    spans.push_back({top, cell.RowSpan, cell.ColSpan});
  }
  std::erase_if(m_openSpans, [&](CellPosition top) { return top.row < row; });
  m_forgottenSpans.insert(m_forgottenSpans.end(), spans.begin(), spans.end());
  const auto end = m_cells.begin() + static_cast<std::ptrdiff_t>(CountOf(row - m_forgottenRows));
  for (auto cell = m_cells.begin(); cell != end; ++cell) m_forgottenFlags.push_back(cell->Flags);
  m_cells.erase(m_cells.begin(), end);
  m_forgottenRows = row;
}

void TableCells::Remember() const {
  std::vector<TableCell> cells(m_forgottenFlags.size());
  for (std::size_t i = 0; i < cells.size(); ++i) cells[i].Flags = m_forgottenFlags[i];
  std::move(m_cells.begin(), m_cells.end(), std::back_inserter(cells));
  m_cells = std::move(cells);
  m_forgottenRows = 0;
  m_forgottenFlags.clear();
  for (const OpenSpan& span : m_forgottenSpans) {
    TableCell& cell = m_cells[IndexOf(span.top.row, span.top.col)];
    cell.RowSpan = span.rowSpan;
    cell.ColSpan = span.colSpan;
    m_openSpans.push_back(span.top);
  }
  m_forgottenSpans.clear();
}

void TableCells::Cover(const CellRange& range, CellPosition top) {
  for (int row = range.firstRow; row <= range.lastRow; ++row) {
    for (int col = range.firstCol; col <= range.lastCol; ++col) {
      if (CellPosition{row, col} != top) At(row, col).Flags = CellCovered;
    }
  }
}

void TableCells::Grow(int row, int col) {
  if (m_rows == 0) RaiseRuntimeError(runtime_error::kSubscript);
  const int rows = GrownCount(m_rows, row, kRowStep);
  const int cols = GrownCount(m_cols, col, kColStep);
  const std::size_t count = static_cast<std::size_t>(rows) * static_cast<std::size_t>(cols);
  if (count > kMaxCells) RaiseRuntimeError(runtime_error::kOutOfMemory, u"too many cells in a table");
  Widen(cols);
  // Further rows stand behind the block, so the vector's own reserve spares most of the copying.
  m_cells.resize(count - CountOf(m_forgottenRows));
  m_rows = rows;
  FollowBounds();
}

void TableCells::Widen(int cols) {
  if (cols == m_cols) return;
  if (m_forgottenRows > 0) Remember();
  std::vector<TableCell> wider(static_cast<std::size_t>(m_rows) * static_cast<std::size_t>(cols));
  for (int row = 0; row < m_rows; ++row) {
    const auto from = m_cells.begin() + static_cast<std::ptrdiff_t>(row) * m_cols;
    std::move(from, from + m_cols, wider.begin() + static_cast<std::ptrdiff_t>(row) * cols);
  }
  m_cells = std::move(wider);
  m_cols = cols;
}

// Row by row: a cell that an earlier span has just covered is no longer a written one.
void TableCells::FollowBounds() {
  std::sort(m_openSpans.begin(), m_openSpans.end());
  for (const CellPosition top : m_openSpans) {
    const TableCell& cell = At(top.row, top.col);
    if (!cell.IsWritten()) continue;
    const int lastRow = cell.RowSpan == kSpanToEnd ? RowBound() : top.row + cell.RowSpan - 1;
    const int lastCol = cell.ColSpan == kSpanToEnd ? ColBound() : top.col + cell.ColSpan - 1;
    if (cell.RowSpan == kSpanToEnd || cell.ColSpan == kSpanToEnd) {
      Cover({top.row, top.col, lastRow, lastCol}, top);
    }
  }
}

void TableColumns::Dimension() { m_columns.assign(kColStep, TableColumn()); }

void TableColumns::Ensure(int col) {
  if (m_columns.empty()) RaiseRuntimeError(runtime_error::kSubscript);
  const auto count = static_cast<int>(m_columns.size());
  m_columns.resize(static_cast<std::size_t>(GrownCount(count, col, kColStep)));
}

std::size_t TableColumns::IndexOf(int col) const {
  if (col < 0 || col > UpperBound()) RaiseRuntimeError(runtime_error::kSubscript);
  return static_cast<std::size_t>(col);
}

TableColumn& TableColumns::At(int col) { return m_columns[IndexOf(col)]; }

const TableColumn& TableColumns::At(int col) const { return m_columns[IndexOf(col)]; }

}  // namespace varnel
