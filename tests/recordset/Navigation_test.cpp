// URLs, sorted links, page numbers and jumps of an open recordset.
#include "tests/recordset/RecordsetFixture.h"

namespace varnel {
namespace {

using hostfake::ErrorOf;

class Navigation : public RecordsetTest {
 protected:
  Navigation() { FillTable(57); }

  std::vector<Long> Window(const DRecordset& recordset) {
    return {recordset.m_lDisplayPage, recordset.m_lTotalPages, recordset.m_leftPageNumber,
            recordset.m_rightPageNumber};
  }

  // The state text that the link to `position` carries.
  String StateForPage(DRecordset& recordset, Long position) {
    const Long page = std::abs(position);
    const String base = position < 0 ? recordset.GetStatePrevPage() : recordset.GetStateNextPage();
    EXPECT_EQ(recordset.GetUrlForPage(position),
              u"/shop/list.asp?R%5F1=" + m_host.Server().URLEncode(base + DecimalText(page) + u"x"));
    EXPECT_EQ(position, page);
    return base + DecimalText(page) + u"x";
  }

  std::shared_ptr<DRecordset> Jump(StringView state) { return OpenAt(state, 5, true, 4); }
};

TEST_F(Navigation, UrlsCarryTheStateBehindAllOtherParameters) {
  m_host.Request().Query().Add(u"r_1", u"");
  m_host.Request().Query().Add(u"a b", u"1 & 2");
  m_host.Request().Query().Add(u"R_2", u"0x");
  auto recordset = New();
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(recordset->GetUrlNext(),
            u"/shop/list.asp?a+b=1+%26+2&R%5F2=0x&R%5F1=1x10x11x++00x0x++549%2B481x0x0x");
  EXPECT_EQ(recordset->GetUrlLast(), u"/shop/list.asp?a+b=1+%26+2&R%5F2=0x&R%5F1=3x10x1x++00x1x0x0x");
  EXPECT_EQ(recordset->GetUrlFirst(), u"");
  EXPECT_EQ(recordset->GetUrlPrev(), u"");
}

TEST_F(Navigation, AFirstPageThatIsNotFullLeadsNowhere) {
  const auto recordset = OpenAt(u"", 100);
  EXPECT_EQ(
      recordset->GetUrlFirst() + recordset->GetUrlPrev() + recordset->GetUrlNext() + recordset->GetUrlLast(),
      u"");
  EXPECT_EQ(recordset->GetCurrentState(), u"0x57x1x  00x1x0x0x");
}

TEST_F(Navigation, AShortNextPageRepeatsItself) {
  const auto recordset = OpenAt(u"1x57x51x  00x0x  553+481x0x0x");
  EXPECT_EQ(recordset->GetUrlLast(), u"");
  EXPECT_EQ(recordset->GetStateNext(), u"1x57x51x  00x0x  553+481x0x0x");
}

TEST_F(Navigation, SortLinksTurnTheCurrentSortAround) {
  auto recordset = New();
  recordset->SetDefaultSortFields(u"Name");
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(recordset->GetCurrentSortOrder(u"name"), 1);
  EXPECT_EQ(recordset->GetCurrentSortOrder(u"name "), 0);
  EXPECT_EQ(recordset->GetStateSorted(u"name"), u"0x10x1x 14110+97+109+101z1x1x0x0x");
  EXPECT_EQ(recordset->GetStateSorted(u"id"), u"0x10x1x  7105+1000x1x0x0x");
  EXPECT_EQ(recordset->GetUrlSorted(u"id"), u"/shop/list.asp?R%5F1=0x10x1x++7105%2B1000x1x0x0x");
  const auto reversed = OpenAt(recordset->GetStateSorted(u"name"));
  EXPECT_EQ(reversed->GetCurrentSortOrder(u"NAME"), -1);
  EXPECT_EQ(reversed->GetStateSorted(u"name"), u"0x10x1x 14110+97+109+1010x1x0x0x");
}

TEST_F(Navigation, PageLinksNeedPageJump) {
  const auto recordset = OpenAt(u"", 5, true);
  Long position = 3;
  EXPECT_EQ(recordset->GetUrlForPage(position), u"");
  position = -3;
  EXPECT_EQ(recordset->GetUrlForPage(position), u"");
  EXPECT_EQ(position, 3);
  EXPECT_EQ(recordset->m_lTotalPages, 0);
}

TEST_F(Navigation, AFirstPageHasALinkToTheLeftAllTheSame) {
  const auto recordset = Jump(u"");
  EXPECT_EQ(Window(*recordset), (std::vector<Long>{1, 12, 1, 4}));
  EXPECT_EQ(recordset->GetStatePrev(), u"");
  StateForPage(*recordset, -3);
}

TEST_F(Navigation, AJumpAheadReadsTheLastOfTheRowsOnTheWay) {
  const auto first = Jump(u"");
  const auto fourth = Jump(StateForPage(*first, 4));
  EXPECT_EQ(LastSql(),
            u"SELECT TOP  5 * FROM (SELECT TOP 15 id, name FROM t WHERE id > '5' ORDER BY id ASC) as OUTPUT  "
            u"ORDER BY id DESC");
  EXPECT_EQ(Ids(*fourth), Range(16, 20));
  EXPECT_EQ(fourth->GetRecordNumberForFirstRecordOnPage(), 16);
  EXPECT_EQ(Window(*fourth), (std::vector<Long>{4, 12, 1, 4}));
}

TEST_F(Navigation, AJumpOfOnePageIsAPlainRead) {
  const auto second = Jump(StateForPage(*Jump(u""), 2));
  EXPECT_EQ(LastSql(), u"SELECT TOP 5 id, name FROM t WHERE id > '5' ORDER BY id ASC");
  EXPECT_EQ(Window(*second), (std::vector<Long>{2, 12, 1, 4}));
}

TEST_F(Navigation, AJumpBackReadsTowardsTheFront) {
  const auto fourth = Jump(StateForPage(*Jump(u""), 4));
  const auto second = Jump(StateForPage(*fourth, -2));
  EXPECT_EQ(LastSql(),
            u"SELECT TOP  5 * FROM (SELECT TOP 10 id, name FROM t WHERE (id < '16' or id is null) ORDER BY "
            u"id DESC) "
            u"as OUTPUT  ORDER BY id ASC");
  EXPECT_EQ(Ids(*second), Range(6, 10));
  EXPECT_EQ(second->GetRecordNumberForFirstRecordOnPage(), 6);
  EXPECT_EQ(Window(*second), (std::vector<Long>{2, 12, 1, 4}));
}

TEST_F(Navigation, AJumpToTheFirstOrLastPageIsThatRead) {
  const auto fourth = Jump(StateForPage(*Jump(u""), 4));
  const auto first = Jump(StateForPage(*fourth, -1));
  EXPECT_EQ(LastSql(), u"SELECT TOP 5 id, name FROM t ORDER BY id ASC");
  EXPECT_EQ(Window(*first), (std::vector<Long>{1, 12, 1, 4}));
  EXPECT_EQ(first->GetRecordNumberForFirstRecordOnPage(), 1);
  const auto last = Jump(StateForPage(*fourth, 12));
  EXPECT_EQ(LastSql(), u"SELECT TOP 5 id, name FROM t ORDER BY id DESC");
  EXPECT_EQ(Ids(*last), Range(56, 57));
  // Page 12 is beyond the window but no page too far. 12 is a multiple of 4: the window is two wider.
  EXPECT_EQ(Window(*last), (std::vector<Long>{12, 12, 7, 12}));
}

TEST_F(Navigation, AStepOutOfTheWindowMovesIt) {
  const auto fourth = Jump(StateForPage(*Jump(u""), 4));
  const auto fifth = Jump(fourth->GetStateNext());
  EXPECT_EQ(Ids(*fifth), Range(21, 25));
  EXPECT_EQ(Window(*fifth), (std::vector<Long>{5, 12, 5, 8}));
  const auto back = Jump(fifth->GetStatePrev());
  EXPECT_EQ(Ids(*back), Range(16, 20));
  EXPECT_EQ(Window(*back), (std::vector<Long>{4, 12, 1, 4}));
}

TEST_F(Navigation, AJumpOutOfTheWindowMovesItByItsWidth) {
  const auto fourth = Jump(StateForPage(*Jump(u""), 4));
  const auto sixth = Jump(StateForPage(*fourth, 6));
  EXPECT_EQ(Ids(*sixth), Range(26, 30));
  EXPECT_EQ(Window(*sixth), (std::vector<Long>{6, 12, 5, 8}));
  const auto third = Jump(StateForPage(*sixth, -3));
  EXPECT_EQ(Ids(*third), Range(11, 15));
  EXPECT_EQ(Window(*third), (std::vector<Long>{3, 12, 1, 4}));
}

// A step from page 4 would leave the window; the jump doesn't, and it alone decides.
TEST_F(Navigation, AJumpInsideTheWindowLeavesItWhereverAStepWouldGo) {
  auto forward = New(5);
  bool jump = true;
  Integer width = 4;
  forward->SetPageJump(jump, width);
  forward->SetPageState(u"1x57x21x  00x0x  550+484x1x4x", 3);
  forward->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(Window(*forward), (std::vector<Long>{3, 12, 1, 4}));
  auto back = New(5);
  back->SetPageJump(jump, width);
  back->SetPageState(u"2x57x16x  00x0x  550+495x5x8x", 7);
  back->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(Window(*back), (std::vector<Long>{7, 12, 5, 8}));
}

// The page on which a jump was made stays in the state; the record numbers count the whole way.
TEST_F(Navigation, RecordNumbersOfAJumpAreCountedFromThePageBeside) {
  const auto firstRecord = [&](StringView state, Long page) {
    auto recordset = New(5);
    recordset->SetPageState(String(state), page);
    recordset->OpenRS(String(kListQuery), u"id");
    return recordset->GetRecordNumberForFirstRecordOnPage();
  };
  EXPECT_EQ(firstRecord(u"1x57x6x  00x0x  2531x1x9x", 4), 16);
  EXPECT_EQ(LastSql(), u"SELECT TOP 5 id, name FROM t WHERE id > '5' ORDER BY id ASC");  // page jump is off
  EXPECT_EQ(firstRecord(u"1x57x6x  00x0x  2531x1x9x", 2), 6);
  EXPECT_EQ(firstRecord(u"2x57x31x  00x0x  551+548x1x9x", 3), 11);
  // One page to the other side of what the text reads: nothing is added or taken.
  EXPECT_EQ(firstRecord(u"2x57x31x  00x0x  551+548x1x9x", 9), 31);
  // Sums wrap at 32 bits: 2147483646 and 10 more.
  EXPECT_EQ(firstRecord(u"1x57x2147483646x  00x0x  2531x1x9x", 4), -2147483640);
}

TEST_F(Navigation, AJumpToThePageItselfTakesNoRow) {
  const auto fourth = Jump(StateForPage(*Jump(u""), 4));
  Jump(StateForPage(*fourth, 4));
  EXPECT_EQ(
      m_host.Database().Statements()[m_host.Database().Statements().size() - 2],
      u"SELECT TOP  5 * FROM (SELECT TOP 0 id, name FROM t WHERE id > '20' ORDER BY id ASC) as OUTPUT  ORDER "
      u"BY id DESC");
}

TEST_F(Navigation, APageTooFarIsTheEndOfTheWindow) {
  auto recordset = New(5);
  recordset->SetPageState(u"1x57x6x  00x0x  2531x1x4x", 99);
  EXPECT_EQ(Window(*recordset), (std::vector<Long>{4, 0, 4, 4}));  // both numbers take the right end
}

TEST_F(Navigation, ANegativePageIsTheFirst) {
  auto recordset = New(5);
  recordset->SetPageState(u"2x57x6x  00x0x  2534x1x4x", -2);
  EXPECT_EQ(Window(*recordset), (std::vector<Long>{1, 0, 4, 4}));
}

TEST_F(Navigation, WithOnePageTheLastPageWins) {
  FillTable(3);
  auto recordset = New(5);
  recordset->SetPageState(u"1x3x6x  00x0x  2531x1x1x", 1);
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(recordset->GetState().substr(0, 2), u"3x");
}

TEST_F(Navigation, AnEmptyPageStateIsTheFirstPage) {
  auto recordset = New(5);
  recordset->SetDefaultSortFields(u"name");
  recordset->m_lTotalPages = recordset->m_leftPageNumber = recordset->m_rightPageNumber = 7;
  recordset->SetPageState(u"", 3);
  EXPECT_EQ(Window(*recordset), (std::vector<Long>{1, 0, 0, 0}));
  recordset->OpenRS(String(kListQuery), u"id");
  EXPECT_EQ(LastSql(), u"SELECT TOP 5 id, name FROM t ORDER BY name ASC,id ASC");
}

TEST_F(Navigation, ATotalOfZeroTurnsPageJumpOff) {
  FillTable(0);
  const auto recordset = Jump(u"");
  EXPECT_FALSE(recordset->GetPageJump());
  EXPECT_EQ(Window(*recordset), (std::vector<Long>{1, 0, 1, 0}));
  EXPECT_EQ(recordset->GetStateNextPage(), u"");
}

TEST_F(Navigation, AWindowWithoutWidthFailsOnTheLastPage) {
  m_host.Request().Query().Set(u"R_1", u"3x57x1x  00x1x0x0x");
  auto recordset = New(5);
  bool jump = true;
  Integer width = 0;
  recordset->SetPageJump(jump, width);
  EXPECT_EQ(ErrorOf([&] { recordset->OpenRS(String(kListQuery), u"id"); }).Number, 11);
  EXPECT_FALSE(recordset->IsOpen());
}

TEST_F(Navigation, ScriptsPassTheJumpByReference) {
  ObjectPtr recordset = New(5);
  Variant arguments[] = {true, Integer{4}};
  recordset->Call(u"SetPageJump", arguments);
  EXPECT_EQ(recordset->CallWith(u"GetPageJump"), Variant(true));
  recordset->CallWith(u"OpenRS", kListQuery, u"id");
  Variant position = Long{-3};
  recordset->Call(u"GetUrlForPage", Arguments(&position, 1));
  EXPECT_EQ(position, Variant(Long{3}));
}

}  // namespace
}  // namespace varnel
