// Auto extension: cells of a ragged table grow to the right, then down, over positions that nobody has taken.
#include "varnel/table/Table.h"

namespace varnel {

void Table::ExtendCells() {
  ExtendColSpans();
  ExtendRowSpans();
}

void Table::ExtendColSpans() {
  for (int row = 0; row <= m_iLastRow; ++row) {
    for (int col = 0; col <= m_iLastCol; ++col) ExtendToTheRight({row, col});
  }
}

void Table::ExtendRowSpans() {
  for (int col = 0; col <= m_iLastCol; ++col) {
    for (int row = 0; row <= m_iLastRow; ++row) ExtendDown({row, col});
  }
}

// A row span to the end has no rows to look at here: nothing limits the cell then, and nothing is covered.
void Table::ExtendToTheRight(CellPosition iPosition) {
  const auto [row, col] = iPosition;
  TableCell& cell = m_aCells.At(row, col);
  if (!cell.IsWritten() || cell.ColSpan == kSpanToEnd) return;
  const int lastRow = row + cell.RowSpan - 1;
  int limit = m_iLastCol + 1;
  for (int r = row; r <= lastRow; ++r) limit = FirstTakenCol(r, col + 1, limit);
  if (limit - col <= cell.ColSpan) return;
  cell.ColSpan = static_cast<Integer>(limit - col);
  m_aCells.Cover({row, col, lastRow, limit - 1}, iPosition);
}

// A column span to the end looks at all its columns, and yet covers nothing.
void Table::ExtendDown(CellPosition iPosition) {
  const auto [row, col] = iPosition;
  TableCell& cell = m_aCells.At(row, col);
  if (!cell.IsWritten() || cell.RowSpan == kSpanToEnd) return;
  const int lastCol = cell.ColSpan == kSpanToEnd ? m_iLastCol : col + cell.ColSpan - 1;
  int limit = m_iLastRow + 1;
  for (int c = col; c <= lastCol; ++c) limit = FirstTakenRow(row + 1, c, limit);
  if (limit - row <= cell.RowSpan) return;
  cell.RowSpan = static_cast<Integer>(limit - row);
  m_aCells.Cover({row, col, limit - 1, col + cell.ColSpan - 1}, iPosition);
}

// The first position at or behind `iCol` that is taken, or `iLimit`.
int Table::FirstTakenCol(int iRow, int iCol, int iLimit) const {
  while (iCol < iLimit && !m_aCells.At(iRow, iCol).IsTaken()) ++iCol;
  return iCol < iLimit ? iCol : iLimit;
}

// The first position at or below `iRow` that is taken, or `iLimit`.
int Table::FirstTakenRow(int iRow, int iCol, int iLimit) const {
  while (iRow < iLimit && !m_aCells.At(iRow, iCol).IsTaken()) ++iRow;
  return iRow < iLimit ? iRow : iLimit;
}

}  // namespace varnel
