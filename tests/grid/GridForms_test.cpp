// Whole grids in both forms, byte for byte: the second page of five rows, two rows a page, sorted by name.
#include "tests/grid/GridFixture.h"

namespace varnel {
namespace {

constexpr StringView kSecondPage = u"1x5x3x 14110+97+109+1010x1x  6110+50  2501x0x0x";

class GridForms : public GridTest {
 protected:
  std::string SecondPage(bool formBased) {
    if (formBased) {
      Press(u"R_12", kSecondPage);
    } else {
      m_host.Request().Query().Set(u"R_1", kSecondPage);
    }
    const auto recordset = NewCounting();
    const auto grid = Bind(recordset, u"Products", formBased);
    Col(*grid, u"Id");
    Col(*grid, u"Name", u"name");
    Open(*recordset);
    FillRows(*grid, *recordset);
    m_page->Add(ObjectPtr(grid));
    return ToUtf8(m_host.Response().Text());
  }
};

TEST_F(GridForms, LinksCarryTheStatesOfTheLinkForm) {
  EXPECT_EQ(SecondPage(false),
            kOpen + "<tr><td  align=\"left\" colspan=\"2\">" + kHeadOpen +
                "<tr><td  align=\"left\" valign=\"top\" width=\"100%\">Products</td>"
                "<td  nowrap align=\"right\" valign=\"top\" nowrap>Records 3-4 of 5</td>"
                "<td  nowrap align=\"right\" valign=\"top\">"
                "<a href=\"/shop/list.asp?R%5F1=0x5x1x+14110%2B97%2B109%2B1010x1x0x0x\">"
                "<img border=0 hspace=0 vspace=0 alt=\"First\" title=\"First\" "
                "src=\"/shop/images/BtnNavBarNavyFirst.gif\"></a>"
                "<a href=\"/shop/list.asp?R%5F1=2x5x1x+14110%2B97%2B109%2B1010x1x++6110%2B51++2511x0x0x\">"
                "<img border=0 hspace=0 vspace=0 alt=\"Previous\" title=\"Previous\" "
                "src=\"/shop/images/BtnNavBarNavyPrev.gif\"></a>"
                "<a href=\"/shop/list.asp?R%5F1=1x5x5x+14110%2B97%2B109%2B1010x1x++6110%2B52++2521x0x0x\">"
                "<img border=0 hspace=0 vspace=0 alt=\"Next\" title=\"Next\" "
                "src=\"/shop/images/BtnNavBarNavyNext.gif\"></a>"
                "<a href=\"/shop/list.asp?R%5F1=3x5x1x+14110%2B97%2B109%2B1010x1x0x0x\">"
                "<img border=0 hspace=0 vspace=0 alt=\"Last\" title=\"Last\" "
                "src=\"/shop/images/BtnNavBarNavyLast.gif\"></a></td></tr>\r\n" +
                kClose +
                "</td></tr>\r\n"
                "<tr><td>Id</td><td>Name"
                "<a href=\"/shop/list.asp?R%5F1=0x5x1x+14110%2B97%2B109%2B101z1x1x0x0x\">"
                "<img border=0 hspace=0 vspace=0 \" title=\"Up\" alt=\"Up\" title=\"Up\" "
                "src=\"/shop/images/SortedUp.gif\"></a></td></tr>\r\n"
                "<tr><td>3</td><td>n3</td></tr>\r\n"
                "<tr><td>4</td><td>n4</td></tr>\r\n" +
                kClose);
  EXPECT_EQ(m_host.Response().Writes().size(), 1u);
}

TEST_F(GridForms, FieldsCarryTheStatesOfTheFormBasedForm) {
  EXPECT_EQ(
      SecondPage(true),
      kOpen + "<tr><td  align=\"left\" colspan=\"2\">" + kHeadOpen +
          "<tr><td  align=\"left\" valign=\"top\" width=\"100%\">Products</td>"
          "<td  nowrap align=\"right\" valign=\"top\" nowrap>Records 3-4 of 5</td>"
          "<td  nowrap align=\"right\" valign=\"top\">"
          "<input type=\"image\" border=0 hspace=0 vspace=0 name=\"R_10\" alt=\"First\" title=\"First\" "
          "src=\"/shop/images/BtnNavBarNavyFirst.gif\">"
          "<input type=\"hidden\" name=\"R_10d\" value=\"0x5x1x 14110+97+109+1010x1x0x0x\">"
          "<input type=\"image\" border=0 hspace=0 vspace=0 name=\"R_11\" alt=\"Previous\" "
          "title=\"Previous\" "
          "src=\"/shop/images/BtnNavBarNavyPrev.gif\">"
          "<input type=\"hidden\" name=\"R_11d\" "
          "value=\"2x5x1x 14110+97+109+1010x1x  6110+51  2511x0x0x\">"
          "<input type=\"image\" border=0 hspace=0 vspace=0 name=\"R_12\" alt=\"Next\" title=\"Next\" "
          "src=\"/shop/images/BtnNavBarNavyNext.gif\">"
          "<input type=\"hidden\" name=\"R_12d\" "
          "value=\"1x5x5x 14110+97+109+1010x1x  6110+52  2521x0x0x\">"
          "<input type=\"image\" border=0 hspace=0 vspace=0 name=\"R_13\" alt=\"Last\" title=\"Last\" "
          "src=\"/shop/images/BtnNavBarNavyLast.gif\">"
          "<input type=\"hidden\" name=\"R_13d\" value=\"3x5x1x 14110+97+109+1010x1x0x0x\"></td></tr>\r\n" +
          kClose +
          "</td></tr>\r\n"
          "<tr><td>Id</td><td>Name"
          "<input type=\"image\" border=0 hspace=0 vspace=0 name=\"R_15\" alt=\"Up\" title=\"Up\" "
          "src=\"/shop/images/SortedUp.gif\">"
          "<input type=\"hidden\" name=\"R_15d\" value=\"0x5x1x 14110+97+109+101z1x1x0x0x\"></td></tr>\r\n"
          "<tr><td>3</td><td>n3</td></tr>\r\n"
          "<tr><td>4</td><td>n4</td></tr>\r\n" +
          kClose);
}

// Every `SetState` the grid makes reads one hidden field; a second one would read a second.
TEST_F(GridForms, AButtonOfTheBarIsTakenOnceAndNoHeadAfterIt) {
  Post(u"R_14d", u"0x5x1x  00x1x0x0x");
  Post(u"R_15d", u"0x5x1x  00x1x0x0x");
  SecondPage(true);
  const auto& fields = m_host.Request().Fields();
  EXPECT_EQ(fields.Reads(u"R_12d"), 1);
  EXPECT_EQ(fields.Reads(u"R_14d"), 0);
  EXPECT_EQ(fields.Reads(u"R_15d"), 0);
}

TEST_F(GridForms, AnEmptyListHasItsHeadAndOneEmptyCellWithTheFirstColumnsSpan) {
  FillTable(0);
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"Products");
  Col(*grid, u"Id", u"", AlignDefault, VAlignDefault, 2);
  Col(*grid, u"Name");
  Open(*recordset);
  const std::string html = HtmlOf(*grid);
  EXPECT_THAT(html, StartsWith(kOpen + "<tr><td  align=\"left\" colspan=\"3\">" + kHeadOpen +
                               "<tr><td  align=\"left\" valign=\"top\" width=\"100%\">Products</td>"
                               "<td  nowrap align=\"right\" valign=\"top\" nowrap>No records</td>"
                               "<td  nowrap align=\"right\" valign=\"top\">"
                               "<img border=0 hspace=0 vspace=0 alt=\"First\" title=\"First\" "
                               "src=\"/shop/images/BtnNavBarNavyFirstOff.gif\">"));
  // The cell has its column's span, and the head beside it grows down over what is left free.
  EXPECT_THAT(html, EndsWith("<tr><td  colspan=\"2\">Id</td><td  rowspan=\"2\">Name</td></tr>\r\n"
                             "<tr><td  colspan=\"2\">&nbsp;</td></tr>\r\n" +
                             kClose));
}

TEST_F(GridForms, TheSecondTimeTheSameTextIsGiven) {
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset);
  Col(*grid, u"Id");
  Open(*recordset);
  const std::string first = HtmlOf(*grid);
  EXPECT_EQ(HtmlOf(*grid), first);
}

}  // namespace
}  // namespace varnel
