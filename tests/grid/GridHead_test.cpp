// Record counter, navigation bar and row of page numbers.
#include "tests/grid/GridFixture.h"
#include "varnel/grid/GridMarkup.h"

namespace varnel {
namespace {

std::string Off(const std::string& text, const std::string& file) {
  return "<img border=0 hspace=0 vspace=0 alt=\"" + text + "\" title=\"" + text + "\" src=\"/shop/images/" +
         file + "\">";
}

const std::string kAllOff = Off("First", "BtnNavBarNavyFirstOff.gif") +
                            Off("Previous", "BtnNavBarNavyPrevOff.gif") +
                            Off("Next", "BtnNavBarNavyNextOff.gif") + Off("Last", "BtnNavBarNavyLastOff.gif");

class GridHead : public GridTest {
 protected:
  // A grid over `rows` rows, two a page, with a row of `width` page numbers.
  std::string Numbered(Long rows, Integer width, StringView state = u"", bool formBased = false) {
    FillTable(rows);
    m_host.Request().Query().Set(u"R_1", state);
    const auto recordset = NewCounting();
    const auto grid = Bind(recordset, u"", formBased);
    Col(*grid, u"A");
    Col(*grid, u"B");
    grid->ShowPageJump(width, width, u"frm");
    Open(*recordset);
    return HtmlOf(*grid);
  }

  // What stands in the row of page numbers; "none" if there is no such row.
  static std::string NumbersOf(const std::string& html) {
    const std::string open =
        "<tr><td  colspan=\"2\">" + kHeadOpen + "<tr><td  nowrap align=\"right\" nowrap>";
    const std::string close = "</td></tr>\r\n" + kClose + "</td></tr>\r\n<tr><td>A</td>";
    const auto from = html.find(open);
    const auto to = html.find(close);
    if (from == std::string::npos || to == std::string::npos) return "none";
    return html.substr(from + open.size(), to - from - open.size());
  }
};

TEST_F(GridHead, TheOnlyPageHasNoActiveButton) {
  for (const bool formBased : {false, true}) {
    const auto recordset = NewCounting(10);
    const auto grid = Bind(recordset, u"", formBased);
    Col(*grid, u"A");
    recordset->SetState(u"");
    Open(*recordset);
    const std::string html = HtmlOf(*grid);
    EXPECT_THAT(html, HasSubstr(">Records 1-5 of 5</td><td  nowrap align=\"right\" valign=\"top\">" +
                                kAllOff + "</td></tr>"));
    EXPECT_THAT(html, Not(HasSubstr("<input")));
  }
}

TEST_F(GridHead, WithoutCountingAnEmptyCellStandsBeforeTheBar) {
  const auto recordset = New();
  const auto grid = Bind(recordset, u"Products");
  Col(*grid, u"A");
  Open(*recordset);
  EXPECT_THAT(HtmlOf(*grid),
              HasSubstr("Products</td><td  nowrap align=\"right\" valign=\"top\" nowrap>&nbsp;</td>"
                        "<td  nowrap align=\"right\" valign=\"top\">" +
                        kAllOff + "</td>"));
}

TEST_F(GridHead, NoRecordsIsAllThatTheCounterSays) {
  FillTable(0);
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"");
  Col(*grid, u"A");
  Open(*recordset);
  EXPECT_THAT(HtmlOf(*grid), HasSubstr(" nowrap>No records</td>"));
}

TEST_F(GridHead, TheCounterFillsEveryPlaceAndKeepsOtherWords) {
  SetText(u"SLBGE0016",
          u"[%CurrentRecord%]/[%RecordCount%]/[%RecordCount%]/[%CurrentRecord%]/[%recordcount%]");
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"");
  Col(*grid, u"A");
  Open(*recordset);
  EXPECT_THAT(HtmlOf(*grid), HasSubstr(">Records 1-2/5/5/2/[%recordcount%]</td>"));
}

TEST_F(GridHead, ATextThatIsMissingShowsItsKey) {
  m_host.User().SetLanguageID(Long{1031});
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"");
  Col(*grid, u"A", u"name");
  Open(*recordset);
  const std::string html = HtmlOf(*grid);
  EXPECT_THAT(html, HasSubstr(">SLBGE0015-1031 1-SLBGE0016-1031</td>"));
  EXPECT_THAT(html, HasSubstr("alt=\"SLBGE0034-1031\""));
}

TEST_F(GridHead, NumbersAreLinksWithThePageBehindTheState) {
  EXPECT_EQ(NumbersOf(Numbered(6, 2)),
            "<B>1</B> &nbsp;&nbsp;"
            "<A href=\"/shop/list.asp?R%5F1=1x6x3x++00x0x++2501x1x2x2x\">2</A> &nbsp;&nbsp;"
            "<A href=\"/shop/list.asp?R%5F1=1x6x3x++00x0x++2501x1x2x3x\">[&gt;&gt;]</A> &nbsp;&nbsp;");
}

// On page 4 of 6, of the numbers 3 and 4. The pages before go by the backward state, without a sign.
TEST_F(GridHead, NumbersBeforeThePageShownGoByTheBackwardState) {
  EXPECT_EQ(NumbersOf(Numbered(12, 2, u"1x12x7x  00x0x  2543x3x4x")),
            "<A href=\"/shop/list.asp?R%5F1=2x12x5x++00x0x++2554x3x4x2x\">[&lt;&lt;]</A> &nbsp;&nbsp;"
            "<A href=\"/shop/list.asp?R%5F1=2x12x5x++00x0x++2554x3x4x3x\">3</A> &nbsp;&nbsp;"
            "<B>4</B> &nbsp;&nbsp;"
            "<A href=\"/shop/list.asp?R%5F1=1x12x9x++00x0x++2564x3x4x5x\">[&gt;&gt;]</A> &nbsp;&nbsp;");
}

TEST_F(GridHead, AtTheEndsThereIsNowhereToGo) {
  const std::string all = NumbersOf(Numbered(6, 3));
  EXPECT_THAT(all, StartsWith("<B>1</B>"));
  EXPECT_THAT(all, HasSubstr(">3</A> &nbsp;&nbsp;"));
  EXPECT_THAT(all, Not(HasSubstr("[&lt;&lt;]")));
  EXPECT_THAT(all, Not(HasSubstr("[&gt;&gt;]")));
}

TEST_F(GridHead, NumbersOfTheFormKeepTheirSign) {
  m_page->SetDGridViaPost();
  Post(u"CHOWC", u"1");
  Post(u"CTATEC", u"1x12x7x  00x0x  2543x3x4x");
  EXPECT_EQ(NumbersOf(Numbered(12, 2, u"", true)),
            "<A href=\"javascript:window.document.frm.submit()\" name=\"R_1_j-2\" "
            "onclick=\"javascript:window.document.frm.R_1_jv.value=-2\">[&lt;&lt;]</A> &nbsp;&nbsp;"
            "<A href=\"javascript:window.document.frm.submit()\" name=\"R_1_j-3\" "
            "onclick=\"javascript:window.document.frm.R_1_jv.value=-3\">3</A> &nbsp;&nbsp;"
            "<B>4</B> &nbsp;&nbsp;"
            "<A href=\"javascript:window.document.frm.submit()\" name=\"R_1_j5\" "
            "onclick=\"javascript:window.document.frm.R_1_jv.value=5\">[&gt;&gt;]</A> &nbsp;&nbsp;"
            "<input type=\"hidden\" name=\"R_1_jp\" value=\"2x12x5x  00x0x  2554x3x4x\">"
            "<input type=\"hidden\" name=\"R_1_jn\" value=\"1x12x9x  00x0x  2564x3x4x\">"
            "<input type=\"hidden\" name=\"R_1_jv\" value=\"\" > ");
}

TEST_F(GridHead, FromTheNumbersElevenOnTheFormGoesBackToTen) {
  Post(u"CHOWC", u"1");
  Post(u"CTATEC", u"1x24x21x  00x0x  550+4810x6x10x");  // page 11 of 12, behind id 20, out of 6 to 10
  const std::string numbers = NumbersOf(Numbered(24, 5, u"", true));
  EXPECT_THAT(numbers, StartsWith("<A href=\"javascript:window.document.frm.submit()\" name=\"R_1_j-10\" "
                                  "onclick=\"javascript:window.document.frm.R_1_jv.value=-10\">[&lt;&lt;]</A>"
                                  " &nbsp;&nbsp;<B>11</B> &nbsp;&nbsp;"));
}

// With as many pages as numbers the last page's window begins below 1.
TEST_F(GridHead, AWindowThatBeginsBelowOneIsntWritten) {
  const std::string html = Numbered(6, 3, u"3x6x1x  00x1x1x3x");
  EXPECT_EQ(NumbersOf(html), "none");
  EXPECT_THAT(html, HasSubstr(">Records 5-6 of 6<"));
}

TEST_F(GridHead, AnEmptyListHasNoNumbers) { EXPECT_EQ(NumbersOf(Numbered(0, 3)), "none"); }

TEST_F(GridHead, AStateThatAsksForMillionsOfNumbersIsRefused) {
  const auto number = [&](StringView state) { return ErrorOf([&] { Numbered(12, 2, state); }).Number; };
  EXPECT_EQ(number(u"1x12x7x  00x0x  2543x1x2147483647x"), 7);
  EXPECT_EQ(number(u"1x12x7x  00x0x  2543x1x300x"), 0);
}

TEST_F(GridHead, TheSmallerNumberIsTheWidthOfTheRow) {
  const auto recordset = NewCounting(1);
  const auto grid = Bind(recordset, u"");
  Col(*grid, u"A");
  Integer displayed = 4;
  Integer allowed = 3;
  grid->ShowPageJump(displayed, allowed, u"");
  Open(*recordset);
  EXPECT_TRUE(recordset->GetPageJump());
  EXPECT_EQ(recordset->m_rightPageNumber, 3);
  EXPECT_EQ(std::pair(displayed, allowed), (std::pair<Integer, Integer>{4, 3}));
}

TEST_F(GridHead, NoNumbersAreWantedBelowOne) {
  const auto recordset = NewCounting(1);
  const auto grid = Bind(recordset, u"");
  Col(*grid, u"A");
  Integer none = 0;
  Integer allowed = 3;
  grid->ShowPageJump(none, allowed, u"frm");
  EXPECT_FALSE(recordset->GetPageJump());
  Open(*recordset);
  EXPECT_EQ(NumbersOf(HtmlOf(*grid)), "none");
}

TEST_F(GridHead, TheFormsNameIsKeptEvenThen) {
  const auto recordset = NewCounting(1);
  const auto grid = Bind(recordset, u"", true);
  Col(*grid, u"A");
  Col(*grid, u"B");
  Integer none = 0;
  Integer wanted = 3;
  grid->ShowPageJump(wanted, wanted, u"one");
  grid->ShowPageJump(none, wanted, u"two");
  EXPECT_TRUE(recordset->GetPageJump());  // stays as it was
  recordset->SetState(u"");
  Open(*recordset);
  EXPECT_THAT(NumbersOf(HtmlOf(*grid)), HasSubstr("window.document.two.submit()"));
}

TEST_F(GridHead, ARecordsetsOwnPageJumpIsShownWithoutALookAtTheForm) {
  Post(u"R_1_jv", u"3");
  Post(u"R_1_jn", u"1x5x2x  00x0x  2491x1x3x");
  const auto recordset = NewCounting(1);
  bool jump = true;
  Integer width = 3;
  recordset->SetPageJump(jump, width);
  const auto grid = Bind(recordset, u"", true);
  Col(*grid, u"A");
  Col(*grid, u"B");
  grid->ShowPageJumpFromDRecordset(u"frm");
  recordset->SetState(u"");
  Open(*recordset);
  EXPECT_THAT(NumbersOf(HtmlOf(*grid)), StartsWith("<B>1</B>"));
  EXPECT_EQ(m_host.Request().Fields().Reads(u"R_1_jv"), 0);
}

TEST_F(GridHead, ThePageJumpOfTheRecordsetAloneShowsNothing) {
  const auto recordset = NewCounting(1);
  bool jump = true;
  Integer width = 3;
  recordset->SetPageJump(jump, width);
  const auto grid = Bind(recordset, u"");
  Col(*grid, u"A");
  Col(*grid, u"B");
  Open(*recordset);
  EXPECT_EQ(NumbersOf(HtmlOf(*grid)), "none");
}

TEST_F(GridHead, TheCurrentStateIsTheRecordsets) {
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset);
  EXPECT_EQ(ErrorOf([&] { grid->GetCurrentState(); }).Description,
            u"GetStateNextPage: Operation not allowed when the DRecordset is not open.");
  Open(*recordset);
  EXPECT_EQ(grid->GetCurrentState(), u"0x5x1x  00x1x0x0x");
}

TEST(GridMarkup, APageBeforeTheOneShownPostsItsSign) {
  EXPECT_EQ(FormPageLink(u"frm", u"R_j", false, u"-3", u""),
            u"<A href=\"javascript:window.document.frm.submit()\" name=\"R_j-3\" "
            u"onclick=\"javascript:window.document.frm.R_jv.value=-3\">3</A> &nbsp;&nbsp;");
}

TEST(GridMarkup, TheCurrentPageIsBoldWithoutASign) {
  EXPECT_EQ(FormPageLink(u"frm", u"R_j", true, u"-3", u""), u"<B>3</B> &nbsp;&nbsp;");
  EXPECT_EQ(FormPageLink(u"frm", u"R_j", true, u"3", u"x"), u"<B>x</B> &nbsp;&nbsp;");
  EXPECT_EQ(UrlPageLink(true, u"/u", u"3", u"x"), u"<B>3</B> &nbsp;&nbsp;");
  EXPECT_EQ(UrlPageLink(false, u"/u", u"0", u"[x]"), u"<A href=\"/u\">[x]</A> &nbsp;&nbsp;");
}

TEST(GridMarkup, QuotationMarksOfAStateAreKeptInThePageJumpAndWrittenAsTheyAreInHeads) {
  EXPECT_EQ(PageJumpHiddenFields(u"R_j", u"a\"b", u"\"\""),
            u"<input type=\"hidden\" name=\"R_jp\" value=\"a&quot;b\">"
            u"<input type=\"hidden\" name=\"R_jn\" value=\"&quot;&quot;\">"
            u"<input type=\"hidden\" name=\"R_jv\" value=\"\" > ");
  EXPECT_EQ(QuotedForAttribute(u"a\"b"), u"a&quot;b");
  EXPECT_EQ(FormControl(u"R_14", u"a\"b", {u"t", u"i"}),
            u"<input type=\"image\" border=0 hspace=0 vspace=0 name=\"R_14\" alt=\"t\" title=\"t\" src=\"i\">"
            u"<input type=\"hidden\" name=\"R_14d\" value=\"a\"b\">");
}

}  // namespace
}  // namespace varnel
