// How a form-based grid finds what was clicked, and what a grid refuses.
#include "tests/grid/GridFixture.h"

namespace varnel {
namespace {

constexpr StringView kSecondPage = u"1x5x3x  00x0x  2501x0x0x";  // behind id 2
constexpr StringView kLastPage = u"3x5x1x  00x1x0x0x";

class PostedClicks : public GridTest {
 protected:
  PostedClicks() { m_page->SetDGridViaPost(); }

  // Binds a form-based grid with two sortable columns, and gives the rows that are read.
  std::vector<Long> IdsShown() {
    const auto recordset = NewCounting();
    const auto grid = Bind(recordset, u"", true);
    Col(*grid, u"Id", u"id");
    Col(*grid, u"Name", u"name");
    Open(*recordset);
    return Ids(*recordset);
  }

  // The page and the read that a posted page number leads to. Page 3 of 6 rows, one a page, showed 2 to 4.
  std::pair<Long, std::vector<Long>> JumpTo(StringView number) {
    FillTable(6);
    Post(u"R_1_jv", number);
    Post(u"R_1_jp", u"2x6x2x  00x0x  2513x2x4x");
    Post(u"R_1_jn", u"1x6x4x  00x0x  2513x2x4x");
    const auto recordset = NewCounting(1);
    const auto grid = Bind(recordset, u"", true);
    Col(*grid, u"Id");
    Integer width = 3;
    grid->ShowPageJump(width, width, u"frm");
    Open(*recordset);
    return {recordset->m_lDisplayPage, Ids(*recordset)};
  }
};

using Jump = std::pair<Long, std::vector<Long>>;

TEST_F(PostedClicks, AButtonOfTheBarBringsItsState) {
  Press(u"R_13", kLastPage);
  EXPECT_EQ(IdsShown(), (std::vector<Long>{5}));
}

TEST_F(PostedClicks, TheFirstPressedButtonWithAStateWins) {
  Press(u"R_10", u"");
  Press(u"R_12", kSecondPage);
  Press(u"R_13", kLastPage);
  EXPECT_EQ(IdsShown(), (std::vector<Long>{3, 4}));
}

TEST_F(PostedClicks, AHiddenFieldAloneIsNoClick) {
  Post(u"R_12d", kSecondPage);
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"", true);
  Col(*grid, u"Id", u"id");
  recordset->SetState(u"");
  Open(*recordset);
  EXPECT_EQ(Ids(*recordset), (std::vector<Long>{1, 2}));
}

TEST_F(PostedClicks, AHeadBringsItsState) {
  Press(u"R_15", u"0x5x1x 14110+97+109+101z1x1x0x0x");
  EXPECT_EQ(IdsShown(), (std::vector<Long>{5, 4}));
}

TEST_F(PostedClicks, AHeadOfAColumnThatDoesntSortIsNotAsked) {
  Press(u"R_14", kLastPage);
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"", true);
  Col(*grid, u"Id");
  recordset->SetState(u"");
  Open(*recordset);
  EXPECT_EQ(Ids(*recordset), (std::vector<Long>{1, 2}));
}

TEST_F(PostedClicks, ALinkFormLooksAtNoField) {
  Press(u"R_13", kLastPage);
  Press(u"R_14", kLastPage);
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"", false);
  Col(*grid, u"Id", u"id");
  EXPECT_EQ(m_host.Request().Fields().Reads(u"R_13d"), 0);
  EXPECT_EQ(m_host.Request().Fields().Reads(u"R_14d"), 0);
}

// The posted state comes before the first column has set the default sort.
TEST_F(PostedClicks, APostedStateWithoutASortIsReadByTheKeys) {
  Press(u"R_13", kLastPage);
  IdsShown();
  EXPECT_THAT(ToUtf8(LastSql()), EndsWith(" ORDER BY id DESC"));
}

TEST_F(PostedClicks, AnyMarkWillDoForASubmittedState) {
  Post(u"CTATEC", kLastPage);
  Post(u"CHOWC", u"no");
  EXPECT_EQ(IdsShown(), (std::vector<Long>{5}));
}

TEST_F(PostedClicks, WithoutAMarkNothingWasSubmitted) {
  Post(u"CTATEC", kLastPage);
  const auto recordset = NewCounting();
  const auto grid = Bind(recordset, u"", true);
  recordset->SetState(u"");
  Open(*recordset);
  EXPECT_EQ(Ids(*recordset), (std::vector<Long>{1, 2}));
}

TEST_F(PostedClicks, WithoutAPostTheMarkStandsInTheQuery) {
  m_host.Request().Variables().Set(u"REQUEST_METHOD", u"post");
  m_host.Request().Query().Set(u"CTATEC", kLastPage);
  m_host.Request().Query().Set(u"CHOWC", u"0");
  m_host.Request().Fields().Set(u"CTATEC", kSecondPage);
  m_host.Request().Fields().Set(u"CHOWC", u"1");
  EXPECT_EQ(IdsShown(), (std::vector<Long>{5}));
}

TEST_F(PostedClicks, ABarButtonGoesBeforeASubmittedState) {
  Press(u"R_12", kSecondPage);
  Post(u"CTATEC", kLastPage);
  Post(u"CHOWC", u"1");
  EXPECT_EQ(IdsShown(), (std::vector<Long>{3, 4}));
}

// Nothing was posted, and the page didn't say what then: no sort, no count, and numbers from 0.
TEST_F(PostedClicks, AFirstVisitWithoutAStateNumbersFromZero) {
  const auto recordset = NewCounting(10);
  const auto grid = Bind(recordset, u"", true);
  Col(*grid, u"Name", u"name");
  Open(*recordset);
  EXPECT_THAT(HtmlOf(*grid), HasSubstr(">Records 0-4 of 4</td>"));
  EXPECT_EQ(m_host.Database().Statements(),
            (std::vector<String>{u"SELECT TOP 10 id, name FROM t ORDER BY id ASC"}));
}

TEST_F(PostedClicks, AFirstVisitOfAPageThatSetsTheEmptyStateCountsFromOne) {
  const auto recordset = NewCounting(10);
  const auto grid = Bind(recordset, u"", true);
  Col(*grid, u"Name", u"name");
  recordset->SetState(u"");
  Open(*recordset);
  EXPECT_THAT(HtmlOf(*grid), HasSubstr(">Records 1-5 of 5</td>"));
  EXPECT_THAT(ToUtf8(LastSql()), EndsWith(" ORDER BY name ASC,id ASC"));
}

TEST_F(PostedClicks, AnOpenRecordsetTakesNoStateAndRefusesAHead) {
  Press(u"R_12", kSecondPage);
  Press(u"R_14", kLastPage);
  const auto recordset = NewCounting();
  recordset->SetState(u"");
  Open(*recordset);
  const auto grid = Bind(recordset, u"", true);
  EXPECT_EQ(m_host.Request().Fields().Reads(u"R_12d"), 0);
  const ErrInfo error = ErrorOf([&] { Col(*grid, u"Id", u"id"); });
  EXPECT_EQ(error.Number, -1);
  EXPECT_EQ(error.Description, u"SetState: Operation not allowed when the DRecordset is open.");
}

TEST_F(PostedClicks, ANumberAheadWalksFromTheForwardState) {
  EXPECT_EQ(JumpTo(u"5"), (Jump{5, {5}}));
  EXPECT_EQ(JumpTo(u" 4 "), (Jump{4, {4}}));
  EXPECT_EQ(JumpTo(u"+5"), (Jump{5, {5}}));
}

TEST_F(PostedClicks, ANegativeNumberWalksFromTheBackwardState) {
  EXPECT_EQ(JumpTo(u"-2"), (Jump{2, {2}}));
  EXPECT_EQ(JumpTo(u"-1"), (Jump{1, {1}}));
  EXPECT_EQ(JumpTo(u"- 2"), (Jump{2, {2}}));
}

TEST_F(PostedClicks, ANumberIsReadAsFarAsItGoesAndRoundedToTheEvenOne) {
  EXPECT_EQ(JumpTo(u"4.5").first, 4);
  EXPECT_EQ(JumpTo(u"5.5").first, 6);
  EXPECT_EQ(JumpTo(u"5, 6").first, 5);
  EXPECT_EQ(JumpTo(u"5 pages").first, 5);
}

// Three pages back from page 3 lie before the first one, which is shown then.
TEST_F(PostedClicks, ATextThatIsNoNumberIsZeroAndGoesBack) {
  for (const StringView text : {u"0", u"abc", u"-", u"inf", u"nan", u"-inf", u"--5", u"x5", u"0.4"}) {
    const int before = m_host.Request().Fields().Reads(u"R_1_jp");
    EXPECT_EQ(JumpTo(text), (Jump{1, {1}})) << ToUtf8(text);
    EXPECT_EQ(m_host.Request().Fields().Reads(u"R_1_jp"), before + 1) << ToUtf8(text);
  }
  EXPECT_EQ(m_host.Request().Fields().Reads(u"R_1_jn"), 0);
}

TEST_F(PostedClicks, ANumberOutOfRangeOverflows) {
  EXPECT_EQ(ErrorOf([&] { JumpTo(u"2147483648"); }).Number, 6);
  EXPECT_EQ(ErrorOf([&] { JumpTo(u"-2147483648"); }).Number, 6);
  EXPECT_EQ(ErrorOf([&] { JumpTo(u"1e400"); }).Number, 6);
  EXPECT_EQ(ErrorOf([&] { JumpTo(u"-1e400 pages"); }).Number, 6);
  EXPECT_EQ(JumpTo(u"1e-400"), JumpTo(u"0"));
}

TEST_F(PostedClicks, OnAnOpenRecordsetThePostedNumberIsNotRead) {
  Post(u"R_1_jv", u"2");
  const auto recordset = NewCounting();
  recordset->SetState(u"");
  Open(*recordset);
  const auto grid = Bind(recordset, u"", true);
  Integer width = 3;
  grid->ShowPageJump(width, width, u"frm");
  EXPECT_EQ(m_host.Request().Fields().Reads(u"R_1_jv"), 0);
}

class GridFailures : public GridTest {};

TEST_F(GridFailures, TheHeadNeedsAnOpenRecordset) {
  const auto description = [&](bool counting, bool formBased) {
    const auto recordset = New();
    if (counting) recordset->SetRecCountON();
    const auto grid = Bind(recordset, u"", formBased);
    Col(*grid, u"A");
    const ErrInfo error = ErrorOf([&] { grid->Cell(u"1"); });
    EXPECT_EQ(error.Number, -2);
    EXPECT_EQ(error.Source, u"Varnel.DRecordset");
    return ToUtf8(error.Description);
  };
  const std::string text = ": Operation not allowed when the DRecordset is not open.";
  EXPECT_EQ(description(true, false), "GetTotalNumberOfRecords" + text);
  EXPECT_EQ(description(false, false), "GetUrlFirst" + text);
  EXPECT_EQ(description(false, true), "GetStateFirst" + text);
}

TEST_F(GridFailures, AGridThatNoPageHasBoundHasNothingToDrawInto) {
  const auto grid = m_host.Create<DGrid>(u"varnel.dgrid");
  Integer number = 3;
  EXPECT_EQ(ErrorOf([&] { grid->Cell(u"1"); }).Number, 91);
  EXPECT_EQ(ErrorOf([&] { grid->SkipCell(); }).Number, 91);
  EXPECT_EQ(ErrorOf([&] { Col(*grid, u"A", u"id"); }).Number, 91);
  EXPECT_EQ(ErrorOf([&] { grid->ShowPageJump(number, number, u""); }).Number, 91);
  EXPECT_EQ(ErrorOf([&] { grid->GetCurrentState(); }).Number, 91);
  EXPECT_EQ(ErrorOf([&] { m_page->Add(ObjectPtr(grid)); }).Number, 91);
}

TEST_F(GridFailures, AGridNeedsARecordsetAndAContext) {
  EXPECT_EQ(ErrorOf([&] { m_page->DGrid(nullptr, u"", false, Missing()); }).Number, 91);
  EXPECT_EQ(ErrorOf([&] { m_page->CallWith(u"DGrid", m_page->Table(), u"", false); }).Number, 13);
  const auto recordset = New();
  m_host.SetHasContext(false);
  EXPECT_EQ(ErrorOf([&] { Bind(recordset); }).Number, 91);
}

TEST_F(GridFailures, MoreColumnsThanCanBeCountedAreRefused) {
  const auto grid = Bind(New());
  for (int i = 0; i < 32768; ++i) Col(*grid, u"A");
  EXPECT_EQ(ErrorOf([&] { Col(*grid, u"A"); }).Number, 9);
}

TEST_F(GridFailures, TheCallsByNameAreThese) {
  std::vector<String> names;
  const auto grid = Bind(New());
  for (const Member& member : grid->Class().members) names.push_back(member.name);
  EXPECT_EQ(names,
            (std::vector<String>{u"Col", u"SkipCell", u"Cell", u"ShowPageJump", u"ShowPageJumpFromDRecordset",
                                 u"ShowAlternateColors", u"GetCurrentState"}));
}

TEST_F(GridFailures, ACallByNameMayLeaveOutAllButTheTitleOfAColumn) {
  const auto table = CastObject<Table>(m_page->Table());
  const auto recordset = New();
  const auto grid = Bind(recordset, u"", false, ObjectPtr(table));
  grid->CallWith(u"COL", u"A");
  Open(*recordset);
  grid->CallWith(u"cell", Long{7});
  EXPECT_THAT(HtmlOf(*grid), HasSubstr("<tr><td>A</td></tr>\r\n<tr><td>7</td></tr>\r\n"));
  EXPECT_EQ(ErrorOf([&] { grid->CallWith(u"Initialize"); }).Number, 438);
}

}  // namespace
}  // namespace varnel
