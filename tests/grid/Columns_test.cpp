// Columns, cells and the heads above them.
#include "tests/grid/GridFixture.h"

namespace varnel {
namespace {

class GridColumns : public GridTest {
 protected:
  GridColumns() : m_recordset(New()) { m_recordset->SetState(u""); }

  // A grid that draws into m_table.
  std::shared_ptr<DGrid> BindToTable(bool formBased = false) {
    m_table = CastObject<Table>(m_page->Table());
    return Bind(m_recordset, u"", formBased, ObjectPtr(m_table));
  }

  // The rows from the column heads on.
  static std::string RowsOf(DGrid& grid) {
    const std::string html = HtmlOf(grid);
    const std::string endOfHead = "</table>\r\n<!--End Varnel.Table Object -->\r\n</td></tr>\r\n";
    const auto from = html.find(endOfHead) + endOfHead.size();
    return html.substr(from, html.size() - from - kClose.size());
  }

  std::shared_ptr<DRecordset> m_recordset;
  std::shared_ptr<Table> m_table;
};

TEST_F(GridColumns, ARowEndsByTheCountOfItsCells) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A");
  Col(*grid, u"B");
  Open(*m_recordset);
  grid->Cell(u"1");
  grid->Cell(u"2");
  grid->Cell(u"3");
  m_recordset->MoveNext();
  EXPECT_EQ(RowsOf(*grid),
            "<tr><td>A</td><td>B</td></tr>\r\n<tr><td>1</td><td>2</td></tr>\r\n"
            "<tr><td  colspan=\"2\">3</td></tr>\r\n");
}

TEST_F(GridColumns, WithoutColumnsTheCellsComeTwoToARow) {
  const auto grid = Bind(m_recordset);
  Open(*m_recordset);
  for (const StringView text : {u"1", u"2", u"3", u"4", u"5"}) grid->Cell(String(text));
  EXPECT_EQ(RowsOf(*grid),
            "<tr><td>1</td><td>2</td></tr>\r\n<tr><td>3</td><td>4</td></tr>\r\n"
            "<tr><td  colspan=\"2\">5</td></tr>\r\n");
}

TEST_F(GridColumns, TheEleventhAndTheTwentyFirstLoseNothing) {
  for (const int columns : {11, 21}) {
    const auto recordset = New();
    const auto grid = Bind(recordset, u"", true);
    std::string heads;
    for (int i = 1; i <= columns; ++i) {
      Col(*grid, DecimalText(i));
      heads += "<td>" + std::to_string(i) + "</td>";
    }
    recordset->SetState(u"");
    Open(*recordset);
    EXPECT_THAT(HtmlOf(*grid), HasSubstr("<tr>" + heads + "</tr>"));
  }
}

TEST_F(GridColumns, TheFieldsOfTheHeadsBeginAtFour) {
  const auto grid = Bind(m_recordset, u"", true);
  for (int i = 0; i < 11; ++i) Col(*grid, u"C", i == 0 || i == 10 ? u"name" : u"");
  Open(*m_recordset);
  const std::string html = HtmlOf(*grid);
  EXPECT_THAT(html, HasSubstr("name=\"R_14\""));
  EXPECT_THAT(html, HasSubstr("name=\"R_14d\""));
  EXPECT_THAT(html, HasSubstr("name=\"R_114\""));
  EXPECT_THAT(html, HasSubstr("name=\"R_114d\""));
}

TEST_F(GridColumns, TheVerticalAlignmentTakesTheAlign) {
  const auto grid = BindToTable();
  const auto setting = [&](int column) {
    const TableColumn& set = m_table->Columns().At(column);
    return std::pair{set.Align - kAlignOffset, set.VAlign - kAlignOffset};
  };
  const auto unset = setting(9);
  Col(*grid, u"A", u"", AlignDefault, VAlignTop);
  Col(*grid, u"A", u"", AlignRight, VAlignDefault);
  Col(*grid, u"A", u"", AlignRight, VAlignTop);
  Col(*grid, u"A", u"", AlignCenter, VAlignBottom);
  Col(*grid, u"A");
  EXPECT_EQ(setting(0), (std::pair<Long, Long>{unset.first, -2}));
  EXPECT_EQ(setting(1), (std::pair<Long, Long>{1, unset.second}));
  EXPECT_EQ(setting(2), (std::pair<Long, Long>{1, 1}));
  EXPECT_EQ(setting(3), (std::pair<Long, Long>{0, 0}));
  EXPECT_EQ(setting(4), unset);
}

// A default that was set isn't the same as nothing set: the column then stands at -2, 0 in the record.
TEST_F(GridColumns, AVerticalAlignmentAloneStillMakesTheCall) {
  const auto grid = BindToTable();
  m_table->SetColVAlign(1, VAlignBottom);
  Col(*grid, u"A", u"", AlignDefault, VAlignTop);
  EXPECT_EQ(m_table->Columns().At(0).VAlign, VAlignDefault + kAlignOffset);
}

TEST_F(GridColumns, AWidthGoesToTheTable) {
  const auto grid = BindToTable();
  grid->Col(u"A", u"", 30, AlignDefault, VAlignDefault, 1);
  grid->Col(u"B", u"", 0, AlignDefault, VAlignDefault, 1);
  EXPECT_EQ(m_table->Columns().At(0).Width, 30);
  EXPECT_EQ(m_table->Columns().At(1).Width, 0);
}

TEST_F(GridColumns, TheControlStandsBeforeARightAlignedTitleOnly) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"Right", u"name", AlignRight);
  Col(*grid, u"Center", u"name", AlignCenter);
  Col(*grid, u"Left", u"name", AlignLeft);
  Col(*grid, u"Default", u"name");
  Open(*m_recordset);
  const std::string html = HtmlOf(*grid);
  EXPECT_THAT(html, HasSubstr("</a>Right</td>"));
  EXPECT_THAT(html, HasSubstr(">Center<a href="));
  EXPECT_THAT(html, HasSubstr(">Left<a href="));
  EXPECT_THAT(html, HasSubstr(">Default<a href="));
}

TEST_F(GridColumns, TheControlOfTheFormStandsLikewise) {
  const auto grid = Bind(m_recordset, u"", true);
  Col(*grid, u"Right", u"name", AlignRight);
  Col(*grid, u"Left", u"name", AlignLeft);
  Open(*m_recordset);
  const std::string html = HtmlOf(*grid);
  EXPECT_THAT(html, HasSubstr("0x0x\">Right</td>"));
  EXPECT_THAT(html, HasSubstr(">Left<input type=\"image\""));
}

TEST_F(GridColumns, AWideColumnIsOneStep) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A", u"", AlignDefault, VAlignDefault, 2);
  Col(*grid, u"B");
  Open(*m_recordset);
  for (const StringView text : {u"1", u"2", u"3", u"4"}) grid->Cell(String(text));
  EXPECT_EQ(RowsOf(*grid),
            "<tr><td  colspan=\"2\">A</td><td>B</td></tr>\r\n<tr><td  colspan=\"2\">1</td><td>2</td></tr>\r\n"
            "<tr><td  colspan=\"2\">3</td><td>4</td></tr>\r\n");
}

TEST_F(GridColumns, SkippingTheFirstCellWritesTheHeadToo) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A");
  Col(*grid, u"B");
  Open(*m_recordset);
  grid->SkipCell();
  grid->Cell(u"2");
  // The head above grows over what was skipped.
  EXPECT_EQ(RowsOf(*grid), "<tr><td  rowspan=\"2\">A</td><td>B</td></tr>\r\n<tr><td>2</td></tr>\r\n");
}

TEST_F(GridColumns, SkippingAWideColumnSkipsItsSpan) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A", u"", AlignDefault, VAlignDefault, 2);
  Col(*grid, u"B");
  Open(*m_recordset);
  grid->SkipCell();
  grid->Cell(u"2");
  EXPECT_EQ(RowsOf(*grid),
            "<tr><td  rowspan=\"2\" colspan=\"2\">A</td><td>B</td></tr>\r\n<tr><td>2</td></tr>\r\n");
}

TEST_F(GridColumns, AColumnThatComesAfterTheHeadWidensTheRowsOnly) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A");
  Open(*m_recordset);
  grid->Cell(u"1");
  Col(*grid, u"B");
  grid->Cell(u"2");
  grid->Cell(u"3");
  grid->Cell(u"4");
  EXPECT_EQ(RowsOf(*grid),
            "<tr><td  colspan=\"2\">A</td></tr>\r\n<tr><td>1</td><td>2</td></tr>\r\n"
            "<tr><td>3</td><td>4</td></tr>\r\n");
}

TEST_F(GridColumns, ACellTakesATableOrNull) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A");
  Open(*m_recordset);
  const auto inner = CastObject<Table>(m_page->Table());
  inner->Cell(u"x");
  grid->Cell(ObjectPtr(inner));
  grid->Cell(Null());
  EXPECT_EQ(RowsOf(*grid), "<tr><td>A</td></tr>\r\n<tr><td>" + kOpen + "<tr><td>x</td></tr>\r\n" + kClose +
                               "</td></tr>\r\n<tr><td>&nbsp;</td></tr>\r\n");
}

TEST_F(GridColumns, WithoutATitleTheCounterIsTheFirstCellOfTheHead) {
  m_recordset->SetRecCountON();
  const auto grid = Bind(m_recordset, u"");
  Col(*grid, u"A");
  Open(*m_recordset);
  EXPECT_THAT(
      HtmlOf(*grid),
      StartsWith(kOpen + "<tr><td  align=\"left\">" + kHeadOpen +
                 "<tr><td  nowrap align=\"right\" valign=\"top\" width=\"100%\" nowrap>Records 1-5 of 5"
                 "</td><td  nowrap align=\"right\" valign=\"top\"><img "));
}

TEST_F(GridColumns, TheFirstSortableColumnIsTheDefaultSort) {
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A");
  Col(*grid, u"B", u"name");
  Col(*grid, u"C", u"id");
  EXPECT_EQ(m_recordset->GetDefaultSortFields(), u"name");
}

TEST_F(GridColumns, ADefaultSortThatIsThereStays) {
  m_recordset->SetDefaultSortFields(u"id");
  const auto grid = Bind(m_recordset);
  Col(*grid, u"B", u"name");
  EXPECT_EQ(m_recordset->GetDefaultSortFields(), u"id");
}

TEST_F(GridColumns, ASortableColumnOnAnOpenRecordsetNeedsADefaultSort) {
  Open(*m_recordset);
  const auto grid = Bind(m_recordset);
  const ErrInfo error = ErrorOf([&] { Col(*grid, u"A", u"name"); });
  EXPECT_EQ(error.Number, -1);
  EXPECT_EQ(error.Source, u"Varnel.DRecordset");
  EXPECT_EQ(error.Description, u"SetDefaultSortFields: Operation not allowed when the DRecordset is open.");
}

// Sorting once sorts up, twice turns round, three times is up again.
TEST_F(GridColumns, TheSortImageTellsTheOrder) {
  const auto head = [&](StringView state) {
    const auto recordset = New();
    recordset->SetState(String(state));
    const auto grid = Bind(recordset, u"");
    Col(*grid, u"Id", u"id");
    Col(*grid, u"Name", u"NAME");
    Open(*recordset);
    const std::string html = HtmlOf(*grid);
    const auto from = html.find("<td>Name");
    return html.substr(from, html.find("</td>", from) - from);
  };
  const std::string link = "<td>Name<a href=\"/shop/list.asp?R%5F1=0x5x1x+1178%2B65%2B77%2B69";
  const auto image = [](const std::string& text, const std::string& file) {
    return "<img border=0 hspace=0 vspace=0 \" title=\"" + text + "\" alt=\"" + text + "\" title=\"" + text +
           "\" src=\"/shop/images/" + file + "\"></a>";
  };
  EXPECT_EQ(head(u"0x5x1x  7105+1000x1x0x0x"), link + "0x1x0x0x\">" + image("Sort", "Sort.gif"));
  EXPECT_EQ(head(u"0x5x1x 14110+97+109+1010x1x0x0x"), link + "z1x1x0x0x\">" + image("Up", "SortedUp.gif"));
  EXPECT_EQ(head(u"0x5x1x 14110+97+109+101z1x1x0x0x"), link + "0x1x0x0x\">" + image("Down", "SortedDn.gif"));
}

TEST_F(GridColumns, ConfiguredImagesTakeTheirPlaces) {
  m_host.Application().Set(u"BtnSort", u"My.gif");
  m_host.Application().Set(u"BtnNavBarNextOff", u"End.png");
  const auto grid = Bind(m_recordset);
  Col(*grid, u"A", u"id");
  Col(*grid, u"B", u"name");
  Open(*m_recordset);
  const std::string html = HtmlOf(*grid);
  EXPECT_THAT(html, HasSubstr("src=\"/shop/images/My.gif\""));
  EXPECT_THAT(html, HasSubstr("alt=\"Next\" title=\"Next\" src=\"/shop/images/End.png\""));
}

TEST_F(GridColumns, AlternateColoursAreWantedBeforeTheHead) {
  m_host.Application().Set(u"TableRowBgColor", u"white");
  m_host.Application().Set(u"TableRowBgColor2", u"grey");
  m_host.Application().Set(u"TableHeadingBgColor", u"blue");
  const auto rows = [&](bool before) {
    const auto recordset = New();
    recordset->SetState(u"");
    const auto grid = Bind(recordset, u"");
    if (before) grid->ShowAlternateColors();
    Col(*grid, u"A");
    Open(*recordset);
    grid->Cell(u"1");
    if (!before) grid->ShowAlternateColors();
    grid->Cell(u"2");
    return RowsOf(*grid);
  };
  EXPECT_EQ(rows(true),
            "<tr><td  bgcolor=\"blue\">A</td></tr>\r\n<tr><td  bgcolor=\"grey\">1</td></tr>\r\n"
            "<tr><td  bgcolor=\"white\">2</td></tr>\r\n");
  EXPECT_EQ(rows(false),
            "<tr><td  bgcolor=\"blue\">A</td></tr>\r\n<tr><td  bgcolor=\"white\">1</td></tr>\r\n"
            "<tr><td  bgcolor=\"white\">2</td></tr>\r\n");
}

TEST_F(GridColumns, TheGivenTableIsDrawnInto) {
  const auto grid = BindToTable();
  m_table->Cell(u"mine");
  Col(*grid, u"A");
  Open(*m_recordset);
  const std::string html = HtmlOf(*grid);
  EXPECT_EQ(html, ToUtf8(m_table->GetHTML()));
  EXPECT_THAT(html, StartsWith(kOpen + "<tr><td>mine</td></tr>\r\n<tr><td  align=\"left\">" + kHeadOpen));
}

TEST_F(GridColumns, WhatIsNoTableIsLeftOut) {
  const auto grid = Bind(m_recordset, u"", false, u"text");
  Col(*grid, u"A");
  Open(*m_recordset);
  EXPECT_THAT(HtmlOf(*grid), StartsWith(kOpen));
}

TEST_F(GridColumns, TheTitleIsAStyledCell) {
  m_host.Application().Set(u"TableTitleFont", u"Arial");
  m_host.Application().Set(u"TableTitleBgColor", u"navy");
  const auto grid = Bind(m_recordset, u"<b>&</b>");
  Col(*grid, u"A");
  Open(*m_recordset);
  EXPECT_THAT(HtmlOf(*grid),
              HasSubstr("<tr><td  align=\"left\" valign=\"top\" width=\"100%\" bgcolor=\"navy\">"
                        "<font face=\"Arial\"><b>&</b></font></td>"));
}

}  // namespace
}  // namespace varnel
