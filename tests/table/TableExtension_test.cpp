#include <gtest/gtest.h>

#include "TableHost.h"

namespace varnel {
namespace {

using TableExtension = TableTest;

TEST_F(TableExtension, AShortRowIsFilledByItsLastCell) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  table->NewRow();
  table->Cell(u"c");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td>a</td><td>b</td></tr>\r\n"
            "<tr><td  colspan=\"2\">c</td></tr>\r\n");
}

TEST_F(TableExtension, TurnedOffAMissingCellIsDrawnEmpty) {
  const auto table = NewTable();
  table->SetAutoCellExtending(false);
  table->Cell(u"a");
  table->Cell(u"b");
  table->NewRow();
  table->Cell(u"c");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td>a</td><td>b</td></tr>\r\n"
            "<tr><td>c</td><td>&nbsp;</td></tr>\r\n");
}

TEST_F(TableExtension, ASkippedTopLeftPositionIsDrawnEmpty) {
  const auto table = NewTable();
  table->SkipCell(1);
  table->Cell(u"b");
  EXPECT_EQ(RowsOf(*table), "<tr><td>&nbsp;</td><td>b</td></tr>\r\n");
}

TEST_F(TableExtension, ASkippedPositionIsFilledFromAbove) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  table->NewRow();
  table->SkipCell(1);
  table->Cell(u"d");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  rowspan=\"2\">a</td><td>b</td></tr>\r\n"
            "<tr><td>d</td></tr>\r\n");
}

TEST_F(TableExtension, ASkippedPositionIsRatherFilledFromTheLeft) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  table->Cell(u"c");
  table->NewRow();
  table->Cell(u"d");
  table->SkipCell(1);
  table->Cell(u"f");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td>a</td><td>b</td><td>c</td></tr>\r\n"
            "<tr><td  colspan=\"2\">d</td><td>f</td></tr>\r\n");
}

TEST_F(TableExtension, AWidenedCellGrowsDownAsAWhole) {
  const auto table = NewTable();
  table->CellAt(1, 1, u"a");
  table->CellAt(3, 3, u"x");
  // "a" takes the first row, then all rows above the one that is taken in its third column.
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  rowspan=\"2\" colspan=\"3\">a</td></tr>\r\n"
            "<tr></tr>\r\n"
            "<tr><td>&nbsp;</td><td>&nbsp;</td><td>x</td></tr>\r\n");
}

TEST_F(TableExtension, ATallCellIsWidenedOnlyAsFarAsAllItsRowsAreFree) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(2);
  table->CellAt(1, 1, u"a");
  table->CellAt(2, 3, u"x");
  table->CellAt(3, 4, u"y");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  rowspan=\"2\" colspan=\"2\">a</td><td>&nbsp;</td><td>&nbsp;</td></tr>\r\n"
            "<tr><td  colspan=\"2\">x</td></tr>\r\n"
            "<tr><td>&nbsp;</td><td>&nbsp;</td><td>&nbsp;</td><td>y</td></tr>\r\n");
}

TEST_F(TableExtension, ASpanOfTwoIsNeverWidenedInItsDirection) {
  const auto table = NewTable();
  table->SetNextCellColSpan(2);
  table->CellAt(1, 1, u"wide");
  table->CellAt(2, 4, u"x");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  rowspan=\"2\" colspan=\"2\">wide</td><td>&nbsp;</td><td>&nbsp;</td></tr>\r\n"
            "<tr><td>&nbsp;</td><td>x</td></tr>\r\n");
  const auto other = NewTable();
  other->SetNextCellRowSpan(2);
  other->CellAt(1, 1, u"tall");
  other->CellAt(4, 1, u"x");
  EXPECT_EQ(RowsOf(*other),
            "<tr><td  rowspan=\"2\">tall</td></tr>\r\n<tr></tr>\r\n"
            "<tr><td>&nbsp;</td></tr>\r\n<tr><td>x</td></tr>\r\n");
}

TEST_F(TableExtension, ARowSpanToTheEndLooksAtNoRowAndCoversNothing) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(-1);
  table->Cell(u"a");
  table->Cell(u"b");
  EXPECT_EQ(RowsOf(*table), "<tr><td  colspan=\"2\">a</td><td>b</td></tr>\r\n");
}

TEST_F(TableExtension, AColumnSpanToTheEndGrowsDownAndCoversNothing) {
  const auto table = NewTable();
  table->SetNextCellColSpan(-1);
  table->CellAt(1, 1, u"a");
  table->CellAt(3, 2, u"x");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  rowspan=\"2\" colspan=\"2\">a</td></tr>\r\n"
            "<tr><td>&nbsp;</td><td>&nbsp;</td></tr>\r\n"
            "<tr><td>&nbsp;</td><td>x</td></tr>\r\n");
}

TEST_F(TableExtension, ASpanOfZeroBecomesOneOrMore) {
  const auto table = NewTable();
  table->SetNextCellColSpan(0);
  table->SetNextCellRowSpan(1);
  table->CellAt(1, 1, u"a");
  table->CellAt(2, 2, u"x");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  colspan=\"2\">a</td></tr>\r\n"
            "<tr><td>&nbsp;</td><td>x</td></tr>\r\n");
}

TEST_F(TableExtension, ASecondDrawingFindsNothingMoreToDo) {
  const auto table = NewTable();
  table->CellAt(1, 1, u"a");
  table->CellAt(2, 3, u"b");
  table->CellAt(4, 2, u"c");
  const std::string first = RowsOf(*table);
  EXPECT_EQ(RowsOf(*table), first);
  EXPECT_EQ(RowsOf(*table), first);
}

TEST_F(TableExtension, FilledPositionsAreTakenAfterwards) {
  const auto table = NewTable();
  table->CellAt(1, 1, u"a");
  table->CellAt(2, 2, u"b");
  table->GetHTML();
  EXPECT_EQ(Utf8(ErrorOf([&] { table->CellAt(1, 2, u"c"); }).Description),
            "Trying to overwrite data at row 1 colunmn 2. Data: c");
}

}  // namespace
}  // namespace varnel
