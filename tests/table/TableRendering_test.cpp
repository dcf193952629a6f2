#include <gtest/gtest.h>

#include "TableHost.h"

namespace varnel {
namespace {

using TableRendering = TableTest;
using ::testing::HasSubstr;

TEST_F(TableRendering, TwoCellsWithoutABorderTable) {
  Configure(u"TableCellSpacing", u"1");
  Configure(u"TableCellPadding", u"2");
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  EXPECT_EQ(Utf8(table->GetHTML()),
            "\r\n"
            "<!-- Begin Varnel.Table Object -->\r\n"
            "<table  width=\"100%\"  cellspacing=\"1\" cellpadding=\"2\" border=\"0\" >\r\n"
            "<tr><td>a</td><td>b</td></tr>\r\n"
            "\r\n"
            "</table>\r\n"
            "<!--End Varnel.Table Object -->\r\n");
}

TEST_F(TableRendering, TwoCellsInABorderTable) {
  Configure(u"TableCellSpacing", u"1");
  Configure(u"TableCellPadding", u"2");
  Configure(u"TableBorderWidth", u"1");
  Configure(u"TableRowBorderColor", u"#000000");
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  EXPECT_EQ(Utf8(table->GetHTML()),
            "\r\n"
            "<!-- Begin Varnel.Table Object -->\r\n"
            "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"0\" border=\"1\"><tr><td "
            "bgcolor=\"#000000\">\r\n"
            "<table width=\"100%\" cellspacing=\"1\" cellpadding=\"2\" border=\"0\" >\r\n"
            "<tr><td>a</td><td>b</td></tr>\r\n"
            "\r\n"
            "</table></td></tr></table>\r\n"
            "<!--End Varnel.Table Object -->\r\n");
}

TEST_F(TableRendering, AnEmptyTableHasNoRows) {
  const auto table = NewTable();
  EXPECT_EQ(Utf8(table->GetHTML()),
            "\r\n"
            "<!-- Begin Varnel.Table Object -->\r\n"
            "<table  width=\"100%\"  border=\"0\" >\r\n"
            "\r\n"
            "</table>\r\n"
            "<!--End Varnel.Table Object -->\r\n");
}

TEST_F(TableRendering, ABorderWidthThatIsNotConfiguredAsksForTheBorderTable) {
  Configure(u"TableBorderWidth", u"");
  const auto table = NewTable();
  EXPECT_EQ(Utf8(table->GetHTML()),
            "\r\n"
            "<!-- Begin Varnel.Table Object -->\r\n"
            "<table  width=\"100%\"  cellspacing=\"0\" cellpadding=\"0\"><tr><td>\r\n"
            "<table width=\"100%\" border=\"0\" >\r\n"
            "\r\n"
            "</table></td></tr></table>\r\n"
            "<!--End Varnel.Table Object -->\r\n");
}

TEST_F(TableRendering, ABorderColorAsksForTheBorderTableUnlessCellsTouch) {
  Configure(u"TableRowBorderColor", u"red");
  EXPECT_THAT(Utf8(NewTable()->GetHTML()), HasSubstr(" border=\"0\"><tr><td bgcolor=\"red\">\r\n"));
  Configure(u"TableCellSpacing", u"0");
  EXPECT_EQ(Utf8(NewTable()->GetHTML()),
            "\r\n"
            "<!-- Begin Varnel.Table Object -->\r\n"
            "<table  width=\"100%\"  cellspacing=\"0\" border=\"0\" >\r\n"
            "\r\n"
            "</table>\r\n"
            "<!--End Varnel.Table Object -->\r\n");
}

TEST_F(TableRendering, AWidthOfZeroWritesNone) {
  Configure(u"TableCellSpacing", u"1");
  const auto table = NewTable();
  table->SetTableWidth(0);
  EXPECT_THAT(Utf8(table->GetHTML()),
              HasSubstr("-->\r\n<table  cellspacing=\"1\" border=\"0\" >\r\n\r\n</table>"));
}

TEST_F(TableRendering, WidthImageAndHeightOfTheTable) {
  const auto table = NewTable();
  table->SetTableWidth(50);
  table->SetTableBgImage(u"bg.gif");
  table->SetTableHeight(u"100%");
  EXPECT_THAT(Utf8(table->GetHTML()),
              HasSubstr("<table  width=\"50%\"  background=\"bg.gif\" height=\"100%\" border=\"0\" >\r\n"));
}

TEST_F(TableRendering, TheBorderTableTakesTheWidthAndTheInnerTableTheRest) {
  Configure(u"TableBorderWidth", u"2");
  const auto table = NewTable();
  table->SetTableWidth(50);
  table->SetTableBgImage(u"bg.gif");
  table->SetTableHeight(u"9");
  EXPECT_THAT(Utf8(table->GetHTML()),
              HasSubstr("<table  width=\"50%\"  cellspacing=\"0\" cellpadding=\"0\" border=\"2\"><tr><td>\r\n"
                        "<table width=\"100%\" background=\"bg.gif\" height=\"9\" border=\"0\" >\r\n"));
}

TEST_F(TableRendering, ACellWithOnlyAnAlignmentKeepsTheDoubleBlank) {
  const auto table = NewTable();
  table->SetNextCellAlign(AlignLeft);
  table->Cell(u"a");
  EXPECT_EQ(RowsOf(*table), "<tr><td  align=\"left\">a</td></tr>\r\n");
}

TEST_F(TableRendering, Alignments) {
  const auto table = NewTable();
  for (const Integer align : {Integer{-2}, Integer{-1}, Integer{0}, Integer{1}, Integer{2}, Integer{-3}}) {
    table->SetNextCellAlign(align);
    table->SetNextCellVAlign(align);
    table->Cell(u"x");
  }
  EXPECT_EQ(RowsOf(*table),
            "<tr><td>x</td>"
            "<td  align=\"left\" valign=\"top\">x</td>"
            "<td  align=\"center\" valign=\"middle\">x</td>"
            "<td  nowrap align=\"right\" valign=\"bottom\">x</td>"
            "<td>x</td><td>x</td></tr>\r\n");
}

TEST_F(TableRendering, ACellsOwnAlignmentWinsOverItsColumns) {
  const auto table = NewTable();
  table->SetColAlign(2, AlignRight);
  table->SetColVAlign(2, VAlignTop);
  table->SetColWidth(2, 30);
  table->SetColWidth(1, -5);
  table->Cell(u"a");
  table->Cell(u"b");
  table->NewRow();
  table->Cell(u"c");
  table->SetNextCellAlign(AlignLeft);
  table->SetNextCellVAlign(VAlignBottom);
  table->Cell(u"d");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td>a</td><td  nowrap align=\"right\" valign=\"top\" width=\"30%\">b</td></tr>\r\n"
            "<tr><td>c</td><td  align=\"left\" valign=\"bottom\" width=\"30%\">d</td></tr>\r\n");
}

TEST_F(TableRendering, ANoWrapRightAlignedCellSaysItTwice) {
  const auto table = NewTable();
  table->SetNextCellAlign(AlignRight);
  table->SetNextCellNoWrap();
  table->Cell(u"a");
  table->SetNextCellNoWrap();
  table->Cell(u"b");
  EXPECT_EQ(RowsOf(*table), "<tr><td  nowrap align=\"right\" nowrap>a</td><td  nowrap>b</td></tr>\r\n");
}

TEST_F(TableRendering, HeightsArePercentOrPixels) {
  const auto table = NewTable();
  for (const Integer height : {Integer{-20}, Integer{20}, Integer{0}, Integer{-32768}}) {
    table->SetNextCellHeight(height);
    table->Cell(u"x");
  }
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  height=\"20\">x</td><td  height=\"20%\">x</td><td>x</td>"
            "<td  height=\"32768\">x</td></tr>\r\n");
}

TEST_F(TableRendering, AllAttributesInTheirOrder) {
  const auto table = NewTable();
  table->SetColWidth(1, 40);
  table->SetNextCellAlign(AlignCenter);
  table->SetNextCellVAlign(VAlignMiddle);
  table->SetNextCellBgColor(u"#FFF");
  table->SetNextCellBgImage(u"i.gif");
  table->SetNextCellNoWrap();
  table->SetNextCellHeight(5);
  table->SetNextCellRowSpan(2);
  table->SetNextCellColSpan(3);
  table->Cell(u"x");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  align=\"center\" valign=\"middle\" width=\"40%\" bgcolor=\"#FFF\" "
            "background=\"i.gif\" nowrap height=\"5%\" rowspan=\"2\" colspan=\"3\">x</td></tr>\r\n"
            "<tr></tr>\r\n");
}

TEST_F(TableRendering, BlankTextIsDrawnAsAHardSpaceAndOtherTextAsItStands) {
  const auto table = NewTable();
  table->Cell(u"");
  table->Cell(u"  ");
  table->Cell(Null());
  table->Cell(u" x ");
  table->Cell(u"\n");
  table->Cell(u"<b>&</b>");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td>&nbsp;</td><td>&nbsp;</td><td>&nbsp;</td><td> x </td><td>\n</td>"
            "<td><b>&</b></td></tr>\r\n");
}

TEST_F(TableRendering, ARightmostSpanReachesTheLastUsedColumnAndRow) {
  const auto table = NewTable();
  table->SetNextCellColSpan(-1);
  table->Cell(u"all");
  table->SetNextCellRowSpan(-1);
  table->Cell(u"down");
  table->Cell(u"b");
  table->Cell(u"c");
  table->NewRow();
  table->Cell(u"d");
  table->Cell(u"e");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  colspan=\"3\">all</td></tr>\r\n"
            "<tr><td  rowspan=\"2\" colspan=\"3\">down</td><td>b</td><td>c</td></tr>\r\n"
            "<tr><td>d</td><td>e</td></tr>\r\n");
}

TEST_F(TableRendering, SpansOfOneAndBelowWriteNothing) {
  const auto table = NewTable();
  table->SetAutoCellExtending(false);
  table->SetNextCellColSpan(0);
  table->SetNextCellRowSpan(0);
  table->CellAt(1, 1, u"a");
  table->SetNextCellColSpan(-7);
  table->CellAt(1, 2, u"b");
  EXPECT_EQ(RowsOf(*table), "<tr><td>a</td><td>b</td></tr>\r\n");
}

TEST_F(TableRendering, AlternateColorsBeginWithTheFirstRow) {
  Configure(u"TableRowBgColor", u"one");
  Configure(u"TableRowBgColor2", u"two");
  const auto table = NewTable();
  bool alternate = true;
  table->SetAlternateColor(alternate);
  for (int i = 0; i < 3; ++i) {
    table->Cell(u"x");
    table->NewRow();
  }
  table->HeaderCellInNormalCell(u"n");
  table->NewRow();
  table->HeaderCellInNormalCell(u"n");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  bgcolor=\"two\">x</td></tr>\r\n"
            "<tr><td  bgcolor=\"one\">x</td></tr>\r\n"
            "<tr><td  bgcolor=\"two\">x</td></tr>\r\n"
            "<tr><td  bgcolor=\"one\">n</td></tr>\r\n"
            "<tr><td  bgcolor=\"one\">n</td></tr>\r\n");
}

TEST_F(TableRendering, AnEmptyAlternateColorWritesNoAttribute) {
  Configure(u"TableRowBgColor", u"one");
  const auto table = NewTable();
  bool alternate = true;
  table->SetAlternateColor(alternate);
  table->Cell(u"x");
  table->NewRow();
  table->Cell(u"y");
  table->NewRow();
  table->SetNextCellBgColor(u"own");
  table->Cell(u"z");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td>x</td></tr>\r\n"
            "<tr><td  bgcolor=\"one\">y</td></tr>\r\n"
            "<tr><td  bgcolor=\"own\">z</td></tr>\r\n");
}

TEST_F(TableRendering, AFreePositionIsDrawnInTheStyleOfItsRowAndColumn) {
  Configure(u"TableRowBgColor", u"one");
  Configure(u"TableRowFont", u"Arial");
  const auto table = NewTable();
  table->SetColAlign(1, AlignCenter);
  table->SetColWidth(1, 10);
  table->CellAt(1, 2, u"x");
  EXPECT_EQ(RowsOf(*table),
            "<tr><td  align=\"center\" width=\"10%\" bgcolor=\"one\"><font face=\"Arial\">&nbsp;</font></td>"
            "<td  bgcolor=\"one\"><font face=\"Arial\">x</font></td></tr>\r\n");
}

TEST_F(TableRendering, ANestedTableStandsInItsCell) {
  const auto inner = NewTable();
  inner->Cell(u"in");
  const auto outer = NewTable();
  outer->Cell(inner);
  outer->Cell(u"out");
  EXPECT_EQ(RowsOf(*outer),
            "<tr><td>" + kBareOpen + "<tr><td>in</td></tr>\r\n" + kBareClose + "</td><td>out</td></tr>\r\n");
}

TEST_F(TableRendering, AGridInACellIsStoredAndFailsWhenDrawn) {
  const auto inner = NewTable();
  inner->Cell(std::make_shared<SomeGrid>());
  EXPECT_EQ(ErrorOf([&] { inner->GetHTML(); }).Number, 13);
  const auto outer = NewTable();
  outer->Cell(inner);
  EXPECT_EQ(ErrorOf([&] { outer->GetHTML(); }).Number, 13);
  // A failed attempt doesn't keep the table from being drawn once more.
  EXPECT_EQ(ErrorOf([&] { outer->GetHTML(); }).Number, 13);
  EXPECT_EQ(ErrorOf([&] { m_page->Add(outer); }).Number, 13);
  EXPECT_TRUE(m_host.Response().Writes().empty());
}

// Draws another table, as a table somewhere inside it would do.
class Mirror : public Object, public ITable {
 public:
  explicit Mirror(Table& iTable) : m_table(iTable) {}
  const ClassInfo& Class() const override {
    static const ClassInfo info{u"Mirror", {}};
    return info;
  }
  void InitFromPage(const std::shared_ptr<Page>&) override {}
  String GetHTML() override { return m_table.GetHTML(); }

 private:
  Table& m_table;
};

TEST_F(TableRendering, ATableInsideItselfIsAnError) {
  const auto table = NewTable();
  table->Cell(std::make_shared<Mirror>(*table));
  EXPECT_EQ(ErrorOf([&] { table->GetHTML(); }).Number, 7);
}

TEST_F(TableRendering, AddingATableTwiceWritesItTwiceTheSame) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  table->NewRow();
  table->Cell(u"c");
  m_page->Add(table);
  m_page->Add(table);
  const std::vector<String>& written = m_host.Response().Writes();
  ASSERT_EQ(written.size(), 2U);
  EXPECT_EQ(Utf8(written[0]), kBareOpen +
                                  "<tr><td>a</td><td>b</td></tr>\r\n"
                                  "<tr><td  colspan=\"2\">c</td></tr>\r\n" +
                                  kBareClose);
  EXPECT_EQ(Utf8(written[1]), Utf8(written[0]));
}

TEST_F(TableRendering, ARowAddedLaterIsDrawnToo) {
  const auto table = NewTable();
  table->Cell(u"a");
  EXPECT_EQ(RowsOf(*table), "<tr><td>a</td></tr>\r\n");
  table->NewRow();
  table->Cell(u"b");
  EXPECT_EQ(RowsOf(*table), "<tr><td>a</td></tr>\r\n<tr><td>b</td></tr>\r\n");
}

}  // namespace
}  // namespace varnel
