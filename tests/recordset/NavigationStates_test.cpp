// The texts that lead away from a page.
#include "varnel/recordset/NavigationStates.h"

#include <gtest/gtest.h>

namespace varnel {
namespace {

// Ten rows a page, keys "7" of the first row and "42" of the last.
PageShown FullPage() {
  PageShown page;
  page.pageSize = 10;
  page.lastRow = 9;
  page.firstKeys = {u"7"};
  page.lastKeys = {u"42"};
  return page;
}

PersistedState State(Integer navType) {
  PersistedState state;
  state.NavType = navType;
  state.TotalRecords = 57;
  state.FirstRecord = 11;
  if (state.HasKeys()) state.KeyValues = {u"A"};
  state.DisplayPage = 3;
  state.LeftPage = 1;
  state.RightPage = 5;
  return state;
}

PageShown Jumping(Long displayPage) {
  PageShown page = FullPage();
  page.pageJump = true;
  page.displayPage = displayPage;
  page.totalPages = 6;
  return page;
}

TEST(NavigationStates, APageInTheMiddleLeadsEverywhere) {
  const NavigationTexts texts = BuildNavigationStates(State(1), FullPage());
  EXPECT_EQ(texts.m_sStateFirst, u"0x57x1x  00x1x0x0x");
  EXPECT_EQ(texts.m_sStatePrev, u"2x57x1x  00x0x  2551x0x0x");
  EXPECT_EQ(texts.m_sStateNext, u"1x57x21x  00x0x  552+501x0x0x");
  EXPECT_EQ(texts.m_sStateLast, u"3x57x1x  00x1x0x0x");
  EXPECT_EQ(texts.m_sStatePrevPage, u"");
  EXPECT_EQ(texts.m_sStateNextPage, u"");
}

TEST(NavigationStates, TheCurrentTextRepeatsTheReadAndKeepsTheWindow) {
  EXPECT_EQ(BuildNavigationStates(State(1), FullPage()).m_sStateCurrent, u"1x57x11x  00x0x  2651x1x5x");
  EXPECT_EQ(BuildNavigationStates(State(1), Jumping(4)).m_sStateCurrent, u"1x57x11x  00x0x  2653x1x5x");
}

TEST(NavigationStates, TheFirstPageLeadsForwardOnly) {
  const NavigationTexts texts = BuildNavigationStates(State(0), FullPage());
  EXPECT_EQ(texts.m_sStateFirst, u"");
  EXPECT_EQ(texts.m_sStatePrev, u"");
  EXPECT_NE(texts.m_sStateNext, u"");
  EXPECT_NE(texts.m_sStateLast, u"");
}

TEST(NavigationStates, TheLastPageLeadsBackOnly) {
  const NavigationTexts texts = BuildNavigationStates(State(3), FullPage());
  EXPECT_NE(texts.m_sStateFirst, u"");
  EXPECT_NE(texts.m_sStatePrev, u"");
  EXPECT_EQ(texts.m_sStateNext, u"");
  EXPECT_EQ(texts.m_sStateLast, u"");
}

TEST(NavigationStates, AFirstPageThatIsNotFullLeadsNowhere) {
  PageShown page = FullPage();
  page.lastRow = 4;
  const NavigationTexts texts = BuildNavigationStates(State(0), page);
  EXPECT_EQ(texts.m_sStateFirst + texts.m_sStatePrev + texts.m_sStateNext + texts.m_sStateLast, u"");
  EXPECT_EQ(texts.m_sStateCurrent, u"0x57x11x  00x1x1x5x");
}

TEST(NavigationStates, AShortNextPageRepeatsItself) {
  PageShown page = FullPage();
  page.lastRow = 4;
  const NavigationTexts texts = BuildNavigationStates(State(1), page);
  EXPECT_EQ(texts.m_sStateLast, u"");
  EXPECT_EQ(texts.m_sStateNext, texts.m_sStateCurrent);
  EXPECT_NE(texts.m_sStateFirst, u"");
  EXPECT_NE(texts.m_sStatePrev, u"");
}

TEST(NavigationStates, AShortPreviousPageKeepsAllTexts) {
  PageShown page = FullPage();
  page.lastRow = 4;
  const NavigationTexts texts = BuildNavigationStates(State(2), page);
  EXPECT_EQ(texts.m_sStateNext, texts.m_sStateCurrent);
  EXPECT_NE(texts.m_sStateLast, u"");
}

TEST(NavigationStates, MoreRowsThanAPageHasAreNoEnd) {
  PageShown page = FullPage();
  page.lastRow = 12;
  const NavigationTexts texts = BuildNavigationStates(State(0), page);
  EXPECT_EQ(texts.m_sStateNext, u"1x57x21x  00x0x  552+501x0x0x");
  EXPECT_EQ(texts.m_sStateLast, u"3x57x1x  00x1x0x0x");
}

TEST(NavigationStates, AnEmptyPageLeadsBackToTheFirst) {
  PageShown page;
  page.pageSize = 10;
  EXPECT_EQ(BuildNavigationStates(State(1), page).m_sStatePrev, u"0x57x1x  00x1x0x0x");
}

TEST(NavigationStates, PageLinksKeepTheTextsOfArrowsThatGo) {
  const NavigationTexts texts = BuildNavigationStates(State(0), Jumping(1));
  EXPECT_EQ(texts.m_sStatePrev, u"");
  EXPECT_EQ(texts.m_sStatePrevPage, u"2x57x1x  00x0x  2551x1x5x");
  EXPECT_EQ(texts.m_sStateNextPage, texts.m_sStateNext);
}

TEST(NavigationStates, WithPageNumbersATextSaysWhereItWasMade) {
  EXPECT_EQ(BuildNavigationState(0, State(0), Jumping(4), {}), u"0x57x1x  00x1x1x5x");
  EXPECT_EQ(BuildNavigationState(0, State(1), Jumping(4), {}), u"0x57x1x  00x4x1x5x");
  EXPECT_EQ(BuildNavigationState(0, State(1), Jumping(0), {}), u"0x57x1x  00x4x1x5x");
  EXPECT_EQ(BuildNavigationState(0, State(2), Jumping(0), {}), u"0x57x1x  00x2x1x5x");
  EXPECT_EQ(BuildNavigationState(0, State(2), Jumping(5), {}), u"0x57x1x  00x5x1x5x");
  EXPECT_EQ(BuildNavigationState(0, State(3), Jumping(4), {}), u"0x57x1x  00x6x1x5x");
  EXPECT_EQ(BuildNavigationState(0, State(-1), Jumping(4), {}), u"0x57x1x  00x1x1x5x");
  EXPECT_EQ(BuildNavigationState(0, State(2), Jumping(-7), {}), u"0x57x1x  00x1x1x5x");
}

TEST(NavigationStates, RecordNumbersWrap) {
  PersistedState state = State(0);
  state.FirstRecord = INT32_MAX - 5;
  EXPECT_EQ(BuildNavigationState(1, state, FullPage(), {u"1"}), u"1x57xz2147483644x  00x0x  2491x0x0x");
}

}  // namespace
}  // namespace varnel
