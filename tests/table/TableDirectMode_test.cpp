// A table that is written while the page runs. What it can't do is as fixed as what it can.
#include <gtest/gtest.h>

#include "TableHost.h"

namespace varnel {
namespace {

using hostfake::NumberOf;
using testing::ElementsAre;
using testing::IsEmpty;

class TableDirectMode : public TableTest {
 protected:
  // What the table has written since the last look, one line a write; line ends as blanks.
  std::vector<std::string> Written() {
    std::vector<std::string> lines;
    for (const String& write : m_host.Response().Writes()) {
      lines.push_back(Utf8(Replace(Replace(write, u"\r\n", u"~"), u"\n", u"|")));
    }
    m_host.Response().Clear();
    return lines;
  }

  // In direct mode, with one cell that was opened and closed; the cursor stands at row 1, column 2.
  std::shared_ptr<Table> DirectTable() {
    const auto table = NewTable();
    table->Deprecated_TableCellBegin();
    table->Deprecated_TableCellEnd();
    Written();
    return table;
  }
};

constexpr char kBegin[] =
    "~<!-- DirectMode: DirectMode Begin -->~~<!-- Begin Varnel.Table Object -->~"
    "<table  width=\"100%\"  border=\"0\" >~";
constexpr char kRowBegin[] = "~<!-- DirectMode: Row Begin -->~<tr>";
constexpr char kRowEnd[] = "~<!-- DirectMode: Row End -->~</tr>";
constexpr char kCellBegin[] = "~<!-- DirectMode: Cell Begin -->~<td>|";
constexpr char kCellEnd[] = "~<!-- DirectMode: Cell End -->~</td>";
constexpr char kClose[] = "\r\n</table>\r\n<!--End Varnel.Table Object -->\r\n";

std::string CellText(const std::string& data) { return "~<!-- DirectMode: Cell -->~<td>" + data + "</td>"; }

TEST_F(TableDirectMode, FirstOpenedCellBeginsTheTable) {
  const auto table = NewTable();
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), ElementsAre(kBegin, kRowBegin, kCellBegin));
}

// The line feed is data, so that no "&nbsp;" stands in front of what the script writes.
TEST_F(TableDirectMode, OpenedCellHoldsALineFeedOnly) {
  const auto table = NewTable();
  table->Deprecated_TableCellBegin();
  EXPECT_EQ(m_host.Response().Writes().back(), u"\r\n<!-- DirectMode: Cell Begin -->\r\n<td>\n");
}

TEST_F(TableDirectMode, WritesEachPieceAsItComes) {
  const auto table = DirectTable();
  table->Cell(u"b");
  EXPECT_THAT(Written(), ElementsAre(CellText("b")));
  table->NewRow();
  EXPECT_THAT(Written(), ElementsAre(kRowEnd));
  table->Cell(u"c");
  EXPECT_THAT(Written(), ElementsAre(kRowBegin, CellText("c")));
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), ElementsAre(kCellBegin));
  table->Deprecated_TableCellEnd();
  EXPECT_THAT(Written(), ElementsAre(kCellEnd));
}

TEST_F(TableDirectMode, EndsWithItsClosingTagsAlone) {
  const auto table = DirectTable();
  table->Cell(u"b");
  EXPECT_EQ(Utf8(table->GetHTML()), kClose);
  EXPECT_EQ(Utf8(table->GetHTML()), kClose);
  m_host.Response().Clear();
  m_page->Add(table);
  EXPECT_EQ(Utf8(m_host.Response().Text()), kClose);
}

TEST_F(TableDirectMode, RowThatWasNotEndedStaysOpen) {
  const auto table = DirectTable();
  EXPECT_EQ(Utf8(table->GetHTML()), kClose);
  EXPECT_THAT(Written(), IsEmpty());
}

TEST_F(TableDirectMode, WritesTheRowsThatAreThereWithoutEndingTheLastOne) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->NewRow();
  table->Cell(u"b");
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), ElementsAre(std::string(kBegin) + "<tr><td>a</td></tr>~<tr><td>b</td>", kCellBegin));
}

// The last row is full, and its end is never written.
TEST_F(TableDirectMode, BeginningInANewRowLeavesTheRowBeforeItOpen) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->NewRow();
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), ElementsAre(std::string(kBegin) + "<tr><td>a</td>", kRowBegin, kCellBegin));
}

TEST_F(TableDirectMode, CellsDoNotGrowAnyMore) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  table->NewRow();
  table->Cell(u"c");
  table->NewRow();
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), testing::Contains(std::string(kBegin) +
                                           "<tr><td>a</td><td>b</td></tr>~<tr><td>c</td><td>&nbsp;</td>"));
}

TEST_F(TableDirectMode, FirstCellWithASpanToTheEndSpansTwo) {
  const auto table = NewTable();
  table->SetNextCellColSpan(-1);
  table->Cell(u"title");
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), testing::Contains(std::string(kBegin) + "<tr><td  colspan=\"2\">title</td>"));
}

TEST_F(TableDirectMode, AnotherSpanToTheEndReachesTheLastColumn) {
  const auto table = NewTable();
  table->Cell(u"a");
  table->Cell(u"b");
  table->Cell(u"c");
  table->NewRow();
  table->SetNextCellColSpan(-1);
  table->Cell(u"title");
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), testing::Contains(std::string(kBegin) + "<tr><td>a</td><td>b</td><td>c</td></tr>~"
                                                                 "<tr><td  colspan=\"3\">title</td>"));
}

TEST_F(TableDirectMode, BorderTableIsOpenedAndClosed) {
  Configure(u"TableBorderWidth", u"1");
  const auto table = NewTable();
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written().front(), testing::HasSubstr(" border=\"1\"><tr><td>~<table width=\"100%\""));
  EXPECT_THAT(Utf8(table->GetHTML()), testing::StartsWith("\r\n</table></td></tr></table>\r\n"));
}

TEST_F(TableDirectMode, SpannedCellWritesNothing) {
  const auto table = DirectTable();
  table->SetNextCellColSpan(2);
  table->Cell(u"wide");
  EXPECT_THAT(Written(), IsEmpty());
  table->SetNextCellRowSpan(2);
  table->Cell(u"high");
  EXPECT_THAT(Written(), IsEmpty());
}

TEST_F(TableDirectMode, WideCellAtTheFirstColumnBeginsNoRow) {
  const auto table = DirectTable();
  table->NewRow();
  Written();
  table->SetNextCellColSpan(2);
  table->Cell(u"wide");
  EXPECT_THAT(Written(), IsEmpty());
  table->Cell(u"next");
  EXPECT_THAT(Written(), ElementsAre(CellText("next")));
}

TEST_F(TableDirectMode, HighCellAtTheFirstColumnBeginsTheRowAlone) {
  const auto table = DirectTable();
  table->NewRow();
  Written();
  table->SetNextCellRowSpan(2);
  table->Cell(u"high");
  EXPECT_THAT(Written(), ElementsAre(kRowBegin));
}

TEST_F(TableDirectMode, WideAndHighCellAtTheFirstColumnBeginsNoRow) {
  const auto table = DirectTable();
  table->NewRow();
  Written();
  table->SetNextCellRowSpan(2);
  table->SetNextCellColSpan(2);
  table->Cell(u"both");
  EXPECT_THAT(Written(), IsEmpty());
}

// A span to the end stays where it began, ends the row by itself, and reaches as far as cells were written.
TEST_F(TableDirectMode, SpanToTheEndIsWrittenAndEndsTheRow) {
  const auto table = DirectTable();
  table->Cell(u"b");
  table->NewRow();
  Written();
  table->SetNextCellColSpan(-1);
  table->Cell(u"all");
  EXPECT_THAT(Written(),
              ElementsAre(kRowBegin, "~<!-- DirectMode: Cell -->~<td  colspan=\"2\">all</td>", kRowEnd));
}

TEST_F(TableDirectMode, NewRowAtTheStartOfARowWritesNothing) {
  const auto table = DirectTable();
  table->NewRow();
  Written();
  table->NewRow();
  EXPECT_THAT(Written(), IsEmpty());
}

TEST_F(TableDirectMode, CellAtAPositionIsWrittenToo) {
  const auto table = DirectTable();
  table->CellAt(3, 1, u"x");
  EXPECT_THAT(Written(), ElementsAre(kRowBegin, CellText("x")));
  table->CellAt(3, 2, u"y");
  EXPECT_THAT(Written(), ElementsAre(CellText("y")));
}

TEST_F(TableDirectMode, BlankCellIsDrawn) {
  const auto table = DirectTable();
  table->Cell(u" ");
  table->Cell(Null());
  EXPECT_THAT(Written(), ElementsAre(CellText("&nbsp;"), CellText("&nbsp;")));
}

TEST_F(TableDirectMode, NestedTableIsWrittenIntoItsCell) {
  const auto table = DirectTable();
  const auto inner = NewTable();
  inner->Cell(u"in");
  table->Cell(inner);
  EXPECT_THAT(Written(), ElementsAre(CellText(
                             "~<!-- Begin Varnel.Table Object -->~<table  width=\"100%\"  border=\"0\" >~"
                             "<tr><td>in</td></tr>~~</table>~<!--End Varnel.Table Object -->~")));
}

TEST_F(TableDirectMode, GridInACellFails) {
  const auto table = DirectTable();
  EXPECT_EQ(NumberOf([&] { table->Cell(std::make_shared<SomeGrid>()); }), 13);
}

TEST_F(TableDirectMode, SettingsOfTheNextCellAreWritten) {
  const auto table = DirectTable();
  table->SetNextCellAlign(AlignRight);
  table->SetNextCellBgColor(u"red");
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(),
              ElementsAre("~<!-- DirectMode: Cell Begin -->~<td  nowrap align=\"right\" bgcolor=\"red\">|"));
}

TEST_F(TableDirectMode, EndOutsideWritesAllTheSameAndChangesNothing) {
  const auto table = NewTable();
  table->Deprecated_TableCellEnd();
  EXPECT_THAT(Written(), ElementsAre(kCellEnd));
  table->Cell(u"a");
  EXPECT_THAT(Written(), IsEmpty());
  EXPECT_EQ(RowsOf(*table), "<tr><td>a</td></tr>\r\n");
}

// The opened cell has no font, the heading behind it has one.
TEST_F(TableDirectMode, EndClosesByTheLookOfThePositionBehindTheCell) {
  Configure(u"TableHeadingFont", u"Arial");
  const auto table = NewTable();
  table->HeaderCellAt(1, 2, u"b");
  table->Deprecated_TableCellBegin();
  EXPECT_THAT(Written(), testing::Contains(kCellBegin));
  table->Deprecated_TableCellEnd();
  EXPECT_THAT(Written(), ElementsAre("~<!-- DirectMode: Cell End -->~</font></td>"));
}

TEST_F(TableDirectMode, EndWritesNoTagWhereThePositionBehindIsCovered) {
  const auto table = NewTable();
  table->SetNextCellRowSpan(2);
  table->CellAt(1, 2, u"high");
  table->Cell(u"a");
  table->NewRow();
  table->Deprecated_TableCellBegin();
  Written();
  table->Deprecated_TableCellEnd();
  EXPECT_THAT(Written(), ElementsAre("~<!-- DirectMode: Cell End -->~"));
}

TEST_F(TableDirectMode, EndBehindTheLastColumnFails) {
  const auto table = NewTable();
  table->SkipCell(9);
  table->Deprecated_TableCellBegin();
  EXPECT_EQ(NumberOf([&] { table->Deprecated_TableCellEnd(); }), 9);
}

TEST_F(TableDirectMode, FailureOfTheResponsePasses) {
  m_host.Response().Fail(hostfake::Failure(hostfake::kGeneralFailure, u"gone"));
  const auto table = NewTable();
  EXPECT_EQ(NumberOf([&] { table->Deprecated_TableCellBegin(); }), hostfake::kGeneralFailure);
}

TEST_F(TableDirectMode, TableThatNoPageMadeFails) {
  const auto table = CastObject<Table>(MakeTable());
  EXPECT_EQ(NumberOf([&] { table->Deprecated_TableCellBegin(); }), 9);
  EXPECT_EQ(NumberOf([&] { table->Deprecated_TableCellEnd(); }), 9);
}

// Rows are forgotten once they are written; what they say about their positions stays.
TEST_F(TableDirectMode, TakenPositionStaysTakenAfterManyRows) {
  const auto table = DirectTable();
  for (int row = 0; row < 500; ++row) {
    table->NewRow();
    table->Cell(u"a");
  }
  Written();
  EXPECT_EQ(NumberOf([&] { table->CellAt(2, 1, u"b"); }), -1);
  table->CellAt(2, 2, u"c");
  EXPECT_THAT(Written(), ElementsAre(CellText("c")));
  EXPECT_EQ(NumberOf([&] { table->CellAt(2, 2, u"d"); }), -1);
  for (int row = 0; row < 500; ++row) {
    table->NewRow();
    table->Cell(u"a");
  }
  EXPECT_EQ(NumberOf([&] { table->CellAt(2, 2, u"d"); }), -1);
  EXPECT_EQ(NumberOf([&] { table->CellAt(999, 1, u"d"); }), -1);
}

TEST_F(TableDirectMode, SpanToTheEndFollowsTheColumnsAfterManyRows) {
  const auto table = DirectTable();
  table->NewRow();
  table->SetNextCellColSpan(-1);
  table->Cell(u"title");
  for (int row = 0; row < 500; ++row) {
    table->Cell(u"a");
    table->NewRow();
  }
  table->CellAt(1, 15, u"wide");
  EXPECT_EQ(NumberOf([&] { table->CellAt(2, 15, u"b"); }), -1);
  EXPECT_EQ(NumberOf([&] { table->CellAt(3, 15, u"b"); }), 0);
}

TEST_F(TableDirectMode, SpanToTheLastRowFollowsTheRowsAfterManyRows) {
  const auto table = DirectTable();
  table->SetNextCellRowSpan(-1);
  table->CellAt(1, 3, u"side");
  for (int row = 0; row < 500; ++row) {
    table->NewRow();
    table->Cell(u"a");
  }
  EXPECT_EQ(NumberOf([&] { table->CellAt(400, 3, u"b"); }), -1);
  EXPECT_EQ(NumberOf([&] { table->CellAt(519, 3, u"b"); }), -1);
  EXPECT_EQ(NumberOf([&] { table->CellAt(400, 4, u"b"); }), 0);
}

TEST_F(TableDirectMode, RowsBeyondTheCountersFail) {
  const auto table = DirectTable();
  const auto fill = [&] {
    while (true) {
      table->NewRow();
      table->Cell(u"a");
    }
  };
  EXPECT_EQ(NumberOf(fill), 9);
  EXPECT_EQ(table->LastUsed().row, 32766);
}

}  // namespace
}  // namespace varnel
