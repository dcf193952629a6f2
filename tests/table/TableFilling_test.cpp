#include <gtest/gtest.h>

#include "TableHost.h"
#include "tests/automation/Holder.h"

namespace varnel {
namespace {

using TableFilling = TableTest;
using test::Holder;

String TextAt(const Table& table, int row, int col) {
  return ToText(table.Cells().At(row - 1, col - 1).Data);
}

TEST_F(TableFilling, AFreshTableIsAnEmptyPropertyTable) {
  const auto table = NewTable();
  EXPECT_EQ(table->Type(), TableTypeProperty);
  EXPECT_EQ(table->LastUsed(), (CellPosition{-1, -1}));
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 1}));
  EXPECT_EQ(table->Cells().RowBound(), 19);
  EXPECT_EQ(table->Cells().ColBound(), 9);
  EXPECT_EQ(table->Columns().UpperBound(), 9);
}

TEST_F(TableFilling, TwentyFiveCellsInARowGrowCellsAndColumnsToThirty) {
  const auto table = NewTable();
  for (Long i = 1; i <= 25; ++i) table->Cell(i);
  EXPECT_EQ(table->Cells().ColBound(), 29);
  EXPECT_EQ(table->Cells().RowBound(), 19);
  EXPECT_EQ(table->Columns().UpperBound(), 29);
  for (int i = 1; i <= 25; ++i) EXPECT_EQ(TextAt(*table, 1, i), DecimalText(i));
}

TEST_F(TableFilling, AColumnSettingGrowsTheColumnsAlone) {
  const auto table = NewTable();
  table->SetColWidth(25, 10);
  EXPECT_EQ(table->Columns().UpperBound(), 29);
  EXPECT_EQ(table->Columns().At(24).Width, 10);
  EXPECT_EQ(table->Cells().ColBound(), 9);
}

TEST_F(TableFilling, AColumnBelowOneIsError9) {
  const auto table = NewTable();
  EXPECT_EQ(ErrorOf([&] { table->SetColWidth(0, 10); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { table->SetColAlign(-1, 0); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { table->SetColVAlign(-32768, 0); }).Number, 9);
}

TEST_F(TableFilling, ACellAtAPositionLeavesTheCursor) {
  const auto table = NewTable();
  table->CellAt(3, 3, u"x");
  EXPECT_EQ(table->LastUsed(), (CellPosition{2, 2}));
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 1}));
  table->Cell(u"a");
  table->Cell(u"b");
  EXPECT_EQ(TextAt(*table, 1, 1), u"a");
  EXPECT_EQ(TextAt(*table, 1, 2), u"b");
  EXPECT_EQ(TextAt(*table, 3, 3), u"x");
}

TEST_F(TableFilling, WritingTwiceAtOnePositionFails) {
  const auto table = NewTable();
  table->CellAt(1, 1, u"a");
  const ErrInfo error = ErrorOf([&] { table->CellAt(1, 1, u"b"); });
  EXPECT_EQ(error.Number, -1);
  EXPECT_EQ(Utf8(error.Source), "Varnel.Table");
  EXPECT_EQ(Utf8(error.Description), "Trying to overwrite data at row 1 colunmn 1. Data: b");
  EXPECT_EQ(error.HelpFile, u"");
  EXPECT_EQ(error.HelpContext, 0);
  EXPECT_EQ(TextAt(*table, 1, 1), u"a");
}

TEST_F(TableFilling, AFailedStoreLeavesWhatItPassedCoveredAndKeepsTheSettings) {
  const auto table = NewTable();
  table->CellAt(2, 2, u"taken");
  table->SetNextCellColSpan(2);
  table->SetNextCellRowSpan(2);
  const ErrInfo error = ErrorOf([&] { table->Cell(Long{5}); });
  EXPECT_EQ(Utf8(error.Description), "Trying to overwrite data at row 2 colunmn 2. Data: 5");
  EXPECT_EQ(table->Cells().At(0, 0).Flags, CellCovered);
  EXPECT_EQ(table->Cells().At(0, 1).Flags, CellCovered);
  EXPECT_EQ(table->Cells().At(1, 0).Flags, CellCovered);
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 1}));
  table->CellAt(5, 5, u"x");
  EXPECT_EQ(table->Cells().At(4, 4).ColSpan, 2);
  EXPECT_EQ(table->Cells().At(4, 4).RowSpan, 2);
}

TEST_F(TableFilling, NullHasNoTextForTheMessageOfAnOverwrite) {
  const auto table = NewTable();
  table->CellAt(1, 1, u"a");
  EXPECT_EQ(ErrorOf([&] { table->CellAt(1, 1, Null()); }).Number, 94);
}

TEST_F(TableFilling, TheCursorPassesCellsThatAreCovered) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(2);
  table->Cell(u"tall");
  table->NewRow();
  table->Cell(u"next");
  EXPECT_EQ(TextAt(*table, 2, 2), u"next");
  EXPECT_EQ(table->Cursor(), (CellPosition{2, 3}));
  EXPECT_EQ(Utf8(ErrorOf([&] { table->CellAt(2, 1, u"no"); }).Description),
            "Trying to overwrite data at row 2 colunmn 1. Data: no");
}

TEST_F(TableFilling, AFullRowIsLeftAtItsEndAndTheTableGrows) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(2);
  table->SetNextCellColSpan(10);
  table->Cell(u"wide");
  table->NewRow();
  table->Cell(u"behind");
  EXPECT_EQ(table->Cells().ColBound(), 19);
  EXPECT_EQ(TextAt(*table, 2, 11), u"behind");
}

TEST_F(TableFilling, ASpanOfThreeAtColumnNineGrowsTheTable) {
  const auto table = NewTable();
  table->SkipCell(8);
  table->SetNextCellColSpan(3);
  table->Cell(u"x");
  EXPECT_EQ(table->Cells().ColBound(), 19);
  EXPECT_EQ(table->Cells().At(0, 10).Flags, CellCovered);
  EXPECT_EQ(table->LastUsed(), (CellPosition{0, 10}));
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 12}));
}

TEST_F(TableFilling, ASpanToTheEndEndsTheRowAndLiftsNothing) {
  const auto table = NewTable();
  table->SetNextCellColSpan(-1);
  table->Cell(u"all");
  EXPECT_EQ(table->Cursor(), (CellPosition{2, 1}));
  EXPECT_EQ(table->LastUsed(), (CellPosition{0, 0}));
  EXPECT_EQ(table->Cells().At(0, 0).ColSpan, -1);
  EXPECT_EQ(table->Cells().At(0, 9).Flags, CellCovered);
}

TEST_F(TableFilling, ARowSpanToTheEndCoversTheCapacityAndLiftsNothing) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(-1);
  table->Cell(u"all");
  EXPECT_EQ(table->LastUsed(), (CellPosition{0, 0}));
  EXPECT_EQ(table->Cells().At(19, 0).Flags, CellCovered);
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 2}));
  table->CellAt(21, 2, u"far");
  EXPECT_EQ(table->Cells().At(39, 0).Flags, CellCovered);
}

TEST_F(TableFilling, GrowthGoesBeforeAFailingStore) {
  const auto table = NewTable();
  table->SetNextCellColSpan(-1);
  table->SetNextCellRowSpan(2);
  table->Cell(u"wide");
  // The cursor passes the covered row to column 11; growing makes that one covered too.
  EXPECT_EQ(Utf8(ErrorOf([&] { table->Cell(u"x"); }).Description),
            "Trying to overwrite data at row 2 colunmn 11. Data: x");
  EXPECT_EQ(table->Cells().ColBound(), 19);
  EXPECT_EQ(table->Cursor(), (CellPosition{2, 11}));
}

TEST_F(TableFilling, GrowthErasesACellWrittenUnderASpanToTheEnd) {
  const auto table = NewTable();
  table->SetAutoCellExtending(false);
  table->SetNextCellColSpan(-1);
  table->Cell(u"wide");
  // A span of 0 isn't checked, so this cell gets where another one reaches.
  table->SetNextCellColSpan(0);
  table->CellAt(1, 3, u"lost");
  EXPECT_EQ(RowsOf(*table), "<tr><td  colspan=\"3\">wide</td><td>lost</td></tr>\r\n");
  table->CellAt(21, 1, u"far");
  EXPECT_EQ(table->Cells().At(0, 2).Flags, CellCovered);
  EXPECT_THAT(RowsOf(*table), ::testing::StartsWith("<tr><td  colspan=\"3\">wide</td></tr>\r\n"));
}

TEST_F(TableFilling, ASpanOfZeroChecksAndCoversNothingAndIsWrittenAllTheSame) {
  const auto table = NewTable();
  table->CellAt(1, 1, u"a");
  table->SetNextCellColSpan(0);
  table->CellAt(1, 1, u"b");
  EXPECT_EQ(TextAt(*table, 1, 1), u"b");
  table->SetNextCellRowSpan(0);
  table->CellAt(1, 1, u"c");
  EXPECT_EQ(TextAt(*table, 1, 1), u"c");
  EXPECT_EQ(table->LastUsed(), (CellPosition{0, 0}));
}

TEST_F(TableFilling, ASpanOfZeroLeavesTheCursor) {
  const auto table = NewTable();
  table->SetNextCellColSpan(0);
  table->Cell(u"a");
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 1}));
  table->Cell(u"b");
  EXPECT_EQ(TextAt(*table, 1, 2), u"b");
}

TEST_F(TableFilling, ASpanOfZeroDoesNotGrowTheTable) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(0);
  EXPECT_EQ(ErrorOf([&] { table->CellAt(21, 1, u"x"); }).Number, 9);
}

TEST_F(TableFilling, PositionsBelowOneAreError9AndMinusOneIsTheCursor) {
  const auto table = NewTable();
  EXPECT_EQ(ErrorOf([&] { table->CellAt(0, 1, u"x"); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { table->CellAt(1, 0, u"x"); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { table->CellAt(-2, 1, u"x"); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { table->CellAt(1, -32768, u"x"); }).Number, 9);
  table->SkipCell(2);
  table->CellAt(-1, -1, u"here");
  EXPECT_EQ(TextAt(*table, 1, 3), u"here");
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 3}));
}

TEST_F(TableFilling, DataIsKeptAsTextOrAsAComponent) {
  const auto table = NewTable();
  const auto nested = NewTable();
  table->Cell(Null());
  table->Cell(u"");
  table->Cell(Empty());
  table->Cell(1.5);
  table->Cell(true);
  table->Cell(nested);
  EXPECT_EQ(table->Cells().At(0, 0).Data, Variant(u"&nbsp;"));
  EXPECT_EQ(table->Cells().At(0, 1).Data, Variant(u""));
  EXPECT_EQ(table->Cells().At(0, 2).Data, Variant(u""));
  EXPECT_EQ(table->Cells().At(0, 3).Data, Variant(u"1.5"));
  EXPECT_EQ(table->Cells().At(0, 4).Data, Variant(u"True"));
  EXPECT_EQ(table->Cells().At(0, 5).Data, Variant(nested));
}

TEST_F(TableFilling, AnObjectStandsForItsValueAlsoWhereThatIsNull) {
  const auto table = NewTable();
  table->Cell(std::make_shared<Holder>(u"n1"));
  table->Cell(std::make_shared<Holder>(Null()));
  EXPECT_EQ(table->Cells().At(0, 0).Data, Variant(u"n1"));
  EXPECT_EQ(table->Cells().At(0, 1).Data, Variant(u"&nbsp;"));
}

TEST_F(TableFilling, AnObjectThatIsNoComponentGivesItsValueOrFails) {
  const auto table = NewTable();
  EXPECT_EQ(ErrorOf([&] { table->Cell(nullptr); }).Number, 91);
  EXPECT_EQ(ErrorOf([&] { table->CellAt(2, 1, m_page); }).Number, 13);
}

TEST_F(TableFilling, NewRowNeverLeavesAnEmptyRow) {
  const auto table = NewTable();
  table->NewRow();
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 1}));
  table->Cell(u"a");
  table->NewRow();
  table->NewRow();
  EXPECT_EQ(table->Cursor(), (CellPosition{2, 1}));
}

TEST_F(TableFilling, SkippingMovesTheCursorAloneAndWraps) {
  const auto table = NewTable();
  table->SkipCell(3);
  EXPECT_EQ(table->Cursor(), (CellPosition{1, 4}));
  EXPECT_EQ(table->LastUsed(), (CellPosition{-1, -1}));
  table->SkipCell(32767);
  EXPECT_EQ(table->Cursor(), (CellPosition{1, -32765}));
  EXPECT_EQ(ErrorOf([&] { table->Cell(u"x"); }).Number, 9);
}

TEST_F(TableFilling, SettingsOfTheNextCellAreUsedUp) {
  const auto table = NewTable();
  table->SetNextCellAlign(AlignRight);
  table->SetNextCellVAlign(VAlignBottom);
  table->SetNextCellHeight(7);
  table->SetNextCellBgImage(u"i.gif");
  table->SetNextCellBgColor(u"red");
  table->SetNextCellNoWrap();
  table->Cell(u"a");
  table->Cell(u"b");
  const TableCell& first = table->Cells().At(0, 0);
  EXPECT_EQ(first.Flags, CellHasData | CellNoWrap);
  EXPECT_EQ(first.Align, 3);
  EXPECT_EQ(first.VAlign, 3);
  EXPECT_EQ(first.Height, 7);
  ASSERT_NE(first.Background, nullptr);
  EXPECT_EQ(first.Background->Image, u"i.gif");
  EXPECT_EQ(first.Background->Color, u"red");
  const TableCell& second = table->Cells().At(0, 1);
  EXPECT_EQ(second.Flags, CellHasData);
  EXPECT_EQ(second.Align, 0);
  EXPECT_EQ(second.VAlign, 0);
  EXPECT_EQ(second.Height, 0);
  EXPECT_EQ(second.Background, nullptr);
}

TEST_F(TableFilling, TheKindsOfCellsLeaveTheirFlags) {
  const auto table = NewTable();
  table->HeaderCell(u"h");
  table->HeaderCellInNormalCell(u"n");
  table->HeaderCellAt(2, 1, u"p");
  table->TitleCell(u"t");
  EXPECT_EQ(table->Cells().At(0, 0).Flags, 9);
  EXPECT_EQ(table->Cells().At(0, 1).Flags, 65);
  EXPECT_EQ(table->Cells().At(1, 0).Flags, 9);
  EXPECT_EQ(table->Cells().At(0, 2).Flags, 5);
}

TEST_F(TableFilling, ATitleCellIsLeftAndTopAlignedUnlessToldOtherwise) {
  const auto table = NewTable();
  table->TitleCell(u"a");
  table->SetNextCellAlign(AlignCenter);
  table->SetNextCellVAlign(VAlignBottom);
  table->TitleCell(u"b");
  EXPECT_EQ(table->Cells().At(0, 0).Align, AlignLeft + 2);
  EXPECT_EQ(table->Cells().At(0, 0).VAlign, VAlignTop + 2);
  EXPECT_EQ(table->Cells().At(0, 1).Align, AlignCenter + 2);
  EXPECT_EQ(table->Cells().At(0, 1).VAlign, VAlignBottom + 2);
}

TEST_F(TableFilling, TheLastRowsWrapWithoutHarm) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(32767);
  // The end of the span wraps to a row before the table: nothing is checked, and the row isn't there.
  EXPECT_EQ(ErrorOf([&] { table->CellAt(32767, 1, u"x"); }).Number, 9);
}

TEST_F(TableFilling, ATableThatNoPageInitialisedHasNoCells) {
  const auto table = CastObject<Table>(MakeTable());
  EXPECT_EQ(ErrorOf([&] { table->Cell(u"x"); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { table->SetColWidth(1, 10); }).Number, 9);
  EXPECT_EQ(ErrorOf([&] { table->Title(u"x"); }).Number, 91);
}

TEST_F(TableFilling, WithoutAContextNoTableIsInitialised) {
  const auto table = CastObject<Table>(MakeTable());
  m_host.SetHasContext(false);
  EXPECT_EQ(ErrorOf([&] { table->InitFromPage(m_page); }).Number, 91);
}

TEST_F(TableFilling, EveryOperationIsCalledByItsName) {
  const ObjectPtr table = m_page->Table();
  table->CallWith(u"setnextcellcolspan", u"2");
  table->CallWith(u"CELL", u"a");
  table->CallWith(u"SkipCell");
  table->CallWith(u"Cell", u"b");
  EXPECT_EQ(ErrorOf([&] { table->CallWith(u"Cell"); }).Number, 450);
  EXPECT_EQ(ErrorOf([&] { table->CallWith(u"SetNextCellRowSpan", Long{40000}); }).Number, 6);
  EXPECT_EQ(ErrorOf([&] { table->CallWith(u"GetHTML"); }).Number, 438);
  EXPECT_EQ(TextAt(*CastObject<Table>(table), 1, 1), u"a");
  EXPECT_EQ(TextAt(*CastObject<Table>(table), 1, 4), u"b");
}

TEST_F(TableFilling, TheMembersStandInTheirPublicOrder) {
  const std::vector<String> names{u"SetTableTypePlain",
                                  u"SetTableTypeWizard",
                                  u"SetTableTypeProperty",
                                  u"SetTableTypeTitle",
                                  u"SkipCell",
                                  u"Cell",
                                  u"CellAt",
                                  u"HeaderCell",
                                  u"HeaderCellAt",
                                  u"TitleCell",
                                  u"Title",
                                  u"Deprecated_TableCellBegin",
                                  u"Deprecated_TableCellEnd",
                                  u"NewRow",
                                  u"SetTableBgImage",
                                  u"SetTableHeight",
                                  u"SetTableWidth",
                                  u"IncreaseTitleFontSize",
                                  u"SetNextCellColSpan",
                                  u"SetNextCellRowSpan",
                                  u"SetNextCellBgImage",
                                  u"SetNextCellBgColor",
                                  u"SetNextCellAlign",
                                  u"SetNextCellVAlign",
                                  u"SetNextCellNoWrap",
                                  u"SetNextCellHeight",
                                  u"SetColWidth",
                                  u"SetColAlign",
                                  u"SetColVAlign",
                                  u"SetAutoCellExtending",
                                  u"SetAlternateColor",
                                  u"HeaderCellInNormalCell"};
  const ClassInfo& info = MakeTable()->Class();
  EXPECT_EQ(info.name, u"Table");
  ASSERT_EQ(info.members.size(), names.size());
  for (std::size_t i = 0; i < names.size(); ++i) EXPECT_EQ(info.members[i].name, names[i]);
}

TEST_F(TableFilling, TheAlternateColorIsOnlyRead) {
  const ObjectPtr table = m_page->Table();
  Variant arguments[] = {Long{1}};
  table->Call(u"SetAlternateColor", arguments);
  EXPECT_EQ(arguments[0], Variant(Long{1}));
}

TEST(TableTypes, TheNamesOfTheEnumerationsHaveTheirNumbers) {
  const auto names = TableEnumerationNames();
  ASSERT_EQ(names.size(), 13U);
  const auto valueOf = [&](StringView name) {
    for (const EnumerationName& entry : names) {
      if (entry.name == name) return entry.value;
    }
    return Long{999};
  };
  EXPECT_EQ(valueOf(u"TableTypePlain"), 0);
  EXPECT_EQ(valueOf(u"TableTypeDataGrid"), 1);
  EXPECT_EQ(valueOf(u"TableTypeProperty"), 2);
  EXPECT_EQ(valueOf(u"TableTypeTitle"), 3);
  EXPECT_EQ(valueOf(u"TableTypeWizard"), 4);
  EXPECT_EQ(valueOf(u"AlignDefault"), -2);
  EXPECT_EQ(valueOf(u"AlignLeft"), -1);
  EXPECT_EQ(valueOf(u"AlignCenter"), 0);
  EXPECT_EQ(valueOf(u"AlignRight"), 1);
  EXPECT_EQ(valueOf(u"VAlignDefault"), -2);
  EXPECT_EQ(valueOf(u"VAlignTop"), -1);
  EXPECT_EQ(valueOf(u"VAlignMiddle"), 0);
  EXPECT_EQ(valueOf(u"VAlignBottom"), 1);
}

}  // namespace
}  // namespace varnel
