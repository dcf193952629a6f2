#include "varnel/table/TableCells.h"

#include <gtest/gtest.h>

#include "TableHost.h"

namespace varnel {
namespace {

TableCells Dimensioned() {
  TableCells cells;
  cells.Dimension();
  return cells;
}

void Write(TableCells& cells, CellPosition at, Integer rowSpan, Integer colSpan) {
  TableCell& cell = cells.At(at.row, at.col);
  cell.Flags = CellHasData;
  cell.RowSpan = rowSpan;
  cell.ColSpan = colSpan;
  if (rowSpan == kSpanToEnd || colSpan == kSpanToEnd) cells.AddOpenSpan(at);
}

TEST(TableCells, StartWithTwentyRowsAndTenColumns) {
  const TableCells cells = Dimensioned();
  EXPECT_EQ(cells.RowBound(), 19);
  EXPECT_EQ(cells.ColBound(), 9);
  EXPECT_EQ(cells.At(19, 9).Flags, 0);
}

TEST(TableCells, PositionsOutsideAreError9) {
  TableCells cells = Dimensioned();
  EXPECT_EQ(ErrorOf([&] { cells.At(20, 0); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { cells.At(0, 10); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { cells.At(-1, 0); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { cells.At(0, -1); }).Number, 9);
}

TEST(TableCells, GrowInStepsOfTwentyRowsAndTenColumnsOnTheirOwn) {
  TableCells cells = Dimensioned();
  cells.Grow(20, 0);
  EXPECT_EQ(cells.RowBound(), 39);
  EXPECT_EQ(cells.ColBound(), 9);
  cells.Grow(0, 25);
  EXPECT_EQ(cells.RowBound(), 39);
  EXPECT_EQ(cells.ColBound(), 29);
  cells.Grow(100, 30);
  EXPECT_EQ(cells.RowBound(), 119);
  EXPECT_EQ(cells.ColBound(), 39);
}

TEST(TableCells, GrowthKeepsEveryCellAtItsPosition) {
  TableCells cells = Dimensioned();
  for (int row = 0; row < 20; ++row) {
    for (int col = 0; col < 10; ++col) cells.At(row, col).Data = Long{100 * row + col};
  }
  cells.Grow(45, 15);
  for (int row = 0; row < 20; ++row) {
    for (int col = 0; col < 10; ++col) EXPECT_EQ(cells.At(row, col).Data, Variant(Long{100 * row + col}));
  }
  EXPECT_TRUE(cells.At(0, 10).Data.IsEmpty());
  EXPECT_TRUE(cells.At(20, 0).Data.IsEmpty());
}

TEST(TableCells, ASpanToTheEndFollowsTheBounds) {
  TableCells cells = Dimensioned();
  Write(cells, {2, 3}, 2, kSpanToEnd);
  cells.Grow(0, 10);
  EXPECT_EQ(cells.At(2, 3).Flags, CellHasData);
  EXPECT_EQ(cells.At(2, 19).Flags, CellCovered);
  EXPECT_EQ(cells.At(3, 3).Flags, CellCovered);
  EXPECT_EQ(cells.At(3, 19).Flags, CellCovered);
  EXPECT_EQ(cells.At(4, 19).Flags, 0);
  EXPECT_EQ(cells.At(2, 2).Flags, 0);
}

TEST(TableCells, GrowthErasesWhatWasWrittenUnderASpanToTheEnd) {
  TableCells cells = Dimensioned();
  Write(cells, {0, 0}, 1, kSpanToEnd);
  Write(cells, {0, 5}, 1, 1);
  cells.Grow(20, 0);
  EXPECT_EQ(cells.At(0, 5).Flags, CellCovered);
}

TEST(TableCells, ACellJustCoveredByAnEarlierOneNoLongerSpans) {
  TableCells cells = Dimensioned();
  // Added last, but the first one row by row.
  Write(cells, {1, 1}, kSpanToEnd, 1);
  Write(cells, {0, 0}, kSpanToEnd, 2);
  cells.Grow(20, 0);
  EXPECT_EQ(cells.At(1, 1).Flags, CellCovered);
  EXPECT_EQ(cells.At(39, 1).Flags, CellCovered);

  TableCells other = Dimensioned();
  Write(other, {1, 1}, kSpanToEnd, kSpanToEnd);
  Write(other, {0, 0}, 2, kSpanToEnd);
  other.Grow(20, 0);
  EXPECT_EQ(other.At(1, 1).Flags, CellCovered);
  EXPECT_EQ(other.At(5, 5).Flags, 0);
}

TEST(TableCells, ASpanOfZeroCoversNothingAsItGrows) {
  TableCells cells = Dimensioned();
  Write(cells, {0, 0}, 0, kSpanToEnd);
  cells.Grow(20, 0);
  EXPECT_EQ(cells.At(0, 1).Flags, 0);
}

TEST(TableCells, MoreThanFourMillionCellsAreError7AndNothingGrows) {
  TableCells cells = Dimensioned();
  EXPECT_EQ(ErrorOf([&] { cells.Grow(32766, 32766); }).Number, 7);
  EXPECT_EQ(ErrorOf([&] { cells.Grow(1999, 2000); }).Number, 7);  // 2000 rows, 2010 columns
  EXPECT_EQ(cells.RowBound(), 19);
  EXPECT_EQ(cells.ColBound(), 9);
  cells.Grow(32766, 9);
  EXPECT_EQ(cells.RowBound(), 32779);
}

TEST(TableCells, WithoutDimensionsNothingGrows) {
  TableCells cells;
  TableColumns columns;
  EXPECT_EQ(ErrorOf([&] { cells.Grow(0, 0); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { columns.Ensure(0); }).Number, 9);
}

TEST(TableColumns, GrowByTensAndKeepTheirSettings) {
  TableColumns columns;
  columns.Dimension();
  EXPECT_EQ(columns.UpperBound(), 9);
  columns.At(9).Width = 7;
  columns.Ensure(9);
  EXPECT_EQ(columns.UpperBound(), 9);
  columns.Ensure(10);
  EXPECT_EQ(columns.UpperBound(), 19);
  columns.Ensure(40);
  EXPECT_EQ(columns.UpperBound(), 49);
  EXPECT_EQ(columns.At(9).Width, 7);
  EXPECT_EQ(ErrorOf([&] { columns.At(50); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { columns.At(-1); }).Number, 9);
}

}  // namespace
}  // namespace varnel
