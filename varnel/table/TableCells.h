// The cells and columns of a table: what a position holds, and how both grow. Positions count from 0 here.
#pragma once

#include <memory>
#include <vector>

#include "varnel/automation/Variant.h"

namespace varnel {

// Bits of TableCell::Flags. A free cell has none.
enum CellFlag : Integer {
  CellHasData = 1,          // written: the top left cell of its span
  CellCovered = 2,          // occupied by the span of another cell
  CellTitle = 4,            // title font and background
  CellHeader = 8,           // heading font and background
  CellNoWrap = 16,          // its text stays on one line
  CellDirectBegin = 32,     // the opening of a cell that the script writes itself
  CellHeaderInNormal = 64,  // row font and background, never the alternate one
};

// A span that reaches to the last row or column.
inline constexpr Integer kSpanToEnd = -1;

// Alignments are stored 2 higher than their enumerations count, so that 0 means "nothing stored".
inline constexpr Long kAlignOffset = 2;

// What few cells have: a background of their own.
struct CellBackground {
  String Image;
  String Color;
};

// A table has many more cells than are written, so one is no larger than a line of the processor's cache.
struct TableCell {
  Variant Data;                                // text, or the nested component
  std::unique_ptr<CellBackground> Background;  // null: none of its own
  Long Align = 0;                              // AlignType and VAlignType, plus kAlignOffset
  Long VAlign = 0;
  Integer Flags = 0;
  Integer ColSpan = 0;  // kSpanToEnd reaches to the last column
  Integer RowSpan = 0;
  Integer Height = 0;  // 0 none, above 0 percent, below 0 pixels (negated)

  bool IsWritten() const { return (Flags & CellHasData) != 0; }
  bool IsTaken() const { return (Flags & (CellHasData | CellCovered)) != 0; }
  // Drawn as part of another cell's span.
  bool IsHidden() const { return Flags != 0 && !IsWritten(); }
};

struct TableColumn {
  Integer Width = 0;  // percent; below 1 none
  Long Align = 0;     // AlignType and VAlignType, plus kAlignOffset
  Long VAlign = 0;
};

struct CellPosition {
  int row;
  int col;
  auto operator<=>(const CellPosition&) const = default;
};

// All positions between two corners, both included; empty where the last lies before the first.
struct CellRange {
  int firstRow;
  int firstCol;
  int lastRow;
  int lastCol;
};

// The cells as one flat block, row by row. It has no cell until `Dimension`.
class TableCells {
 public:
  // 20 rows and 10 columns of free cells.
  void Dimension();

  int RowBound() const { return m_rows - 1; }
  int ColBound() const { return m_cols - 1; }
  bool Contains(int row, int col) const { return row >= 0 && row < m_rows && col >= 0 && col < m_cols; }

  // Raises 9 for a position outside.
  TableCell& At(int row, int col) { return m_cells[IndexOf(row, col)]; }
  const TableCell& At(int row, int col) const { return m_cells[IndexOf(row, col)]; }

  // Marks all positions of `range` but `top` as covered, written or not. Raises 9 for a position outside.
  void Cover(const CellRange& range, CellPosition top);

  // A written cell with a span to the end: its span follows the bounds from now on.
  void AddOpenSpan(CellPosition position) { m_openSpans.push_back(position); }

  // Adds 20 rows until there is a row `row`, and 10 columns until there is a column `col`; keeps all cells.
  // Spans to the end then cover up to the new bounds, and what was written there is lost. Raises 9 before
  // `Dimension`, and 7 where that would be more than 4,000,000 cells; nothing has grown then.
  void Grow(int row, int col);

  // The rows before `row` were written out: keeps of their cells only whether they are taken, and how, once
  // there are enough of them. A look at such a cell brings it back without its data. Does nothing where a
  // span to the last row stands in one of them.
  void Forget(int row);

 private:
  struct OpenSpan {
    CellPosition top;
    Integer rowSpan;
    Integer colSpan;
  };

  // Cells are looked at many times for each that is written.
  std::size_t IndexOf(int row, int col) const {
    if (!Contains(row, col) || row < m_forgottenRows) Reach(row, col);
    return CountOf(row - m_forgottenRows) + static_cast<std::size_t>(col);
  }
  std::size_t CountOf(int rows) const {
    return static_cast<std::size_t>(rows) * static_cast<std::size_t>(m_cols);
  }
  // Brings a forgotten cell back. Raises 9 for a position outside.
  void Reach(int row, int col) const;
  void Remember() const;
  void Widen(int cols);
  void FollowBounds();

  int m_rows = 0;
  int m_cols = 0;
  // A look may bring forgotten cells back, which changes nothing of what they say.
  mutable std::vector<TableCell> m_cells;  // of the rows from m_forgottenRows on
  mutable std::vector<CellPosition> m_openSpans;
  mutable int m_forgottenRows = 0;
  mutable std::vector<Integer> m_forgottenFlags;
  mutable std::vector<OpenSpan> m_forgottenSpans;
};

// The settings of the columns. There is none until `Dimension`.
class TableColumns {
 public:
  // 10 columns.
  void Dimension();

  int UpperBound() const { return static_cast<int>(m_columns.size()) - 1; }

  // Grows by tens until there is a column `col`. Raises 9 before `Dimension`.
  void Ensure(int col);

  // Raises 9 for a position outside.
  TableColumn& At(int col);
  const TableColumn& At(int col) const;

 private:
  std::size_t IndexOf(int col) const;

  std::vector<TableColumn> m_columns;
};

}  // namespace varnel
