// Numbers of records and pages: mending, the window of page links, divisions.
#include <gtest/gtest.h>

#include "host-fake/ErrorOf.h"
#include "varnel/recordset/Arithmetic.h"
#include "varnel/recordset/PageWindow.h"
#include "varnel/recordset/ReadMending.h"

namespace varnel {
namespace {

using hostfake::NumberOf;

TEST(PageCount, IsRoundedUpTowardsPlusInfinity) {
  EXPECT_EQ(PagesOf(57, 10), 6);
  EXPECT_EQ(PagesOf(60, 10), 6);
  EXPECT_EQ(PagesOf(0, 10), 0);
  EXPECT_EQ(PagesOf(-1, 10), 0);
  EXPECT_EQ(PagesOf(-15, 10), -1);
}

TEST(PageCount, APageSizeOfZeroIsADivisionByZero) {
  EXPECT_EQ(NumberOf([] { PagesOf(5, 0); }), 11);
  EXPECT_EQ(NumberOf([] { PagesOf(0, 0); }), 11);
  EXPECT_EQ(NumberOf([] { RestOf(5, 0); }), 11);
}

TEST(PageCount, ARestHasTheSignOfTheTotal) {
  EXPECT_EQ(RestOf(57, 10), 7);
  EXPECT_EQ(RestOf(-57, 10), -7);
  EXPECT_EQ(RestOf(57, -10), 7);
  EXPECT_EQ(RestOf(INT32_MIN, -1), 0);
}

TEST(PageCount, OnlyTheConversionOfAQuotientOverflows) {
  EXPECT_EQ(NumberOf([] { PagesOf(INT32_MIN, -1); }), 6);
}

PersistedState State(Integer navType, Long displayPage, Long left, Long right) {
  PersistedState state;
  state.NavType = navType;
  state.DisplayPage = displayPage;
  state.LeftPage = left;
  state.RightPage = right;
  return state;
}

// A single step in a list of 12 pages with a window of 5.
PageWindow Step(const PersistedState& state, Long pages = 12, Integer width = 5) {
  return WindowAfterRead(state, pages, width, MoveOfStep(state, {}));
}

TEST(PageWindowMove, TheFirstPageShowsTheFirstNumbers) {
  EXPECT_EQ(Step(State(0, 1, 0, 0)), (PageWindow{1, 5}));
  EXPECT_EQ(Step(State(0, 1, 0, 0), 3), (PageWindow{1, 3}));
  EXPECT_EQ(Step(State(0, 1, 0, 0), 0), (PageWindow{1, 0}));
}

TEST(PageWindowMove, AStepInsideTheWindowLeavesIt) {
  EXPECT_EQ(Step(State(1, 4, 1, 5)), (PageWindow{1, 5}));
  EXPECT_EQ(Step(State(2, 7, 6, 10)), (PageWindow{6, 10}));
}

TEST(PageWindowMove, AStepOutOfTheWindowMovesItByItsWidth) {
  EXPECT_EQ(Step(State(1, 5, 1, 5)), (PageWindow{6, 10}));
  EXPECT_EQ(Step(State(1, 10, 6, 10)), (PageWindow{11, 12}));
  EXPECT_EQ(Step(State(2, 11, 11, 12)), (PageWindow{6, 10}));
  EXPECT_EQ(Step(State(2, 6, 6, 10)), (PageWindow{1, 5}));
}

TEST(PageWindowMove, BehindTheLastPageTheLeftEndStays) {
  EXPECT_EQ(Step(State(1, 12, 11, 12)), (PageWindow{11, 12}));
}

TEST(PageWindowMove, TheLeftEndNeverFallsBelowOne) { EXPECT_EQ(Step(State(2, 3, 3, 7)), (PageWindow{1, 5})); }

TEST(PageWindowMove, TheLastPageShowsTheLastNumbers) {
  EXPECT_EQ(Step(State(3, 1, 0, 0)), (PageWindow{11, 12}));
  EXPECT_EQ(Step(State(3, 1, 0, 0), 23, 10), (PageWindow{21, 23}));
}

TEST(PageWindowMove, AMultipleOfTheWidthGivesALastWindowTwoWider) {
  EXPECT_EQ(Step(State(3, 1, 0, 0), 20, 10), (PageWindow{9, 20}));
  EXPECT_EQ(Step(State(3, 1, 0, 0), 10, 10), (PageWindow{-1, 10}));
}

TEST(PageWindowMove, AWidthOfZeroFailsOnTheLastPageOnly) {
  EXPECT_EQ(NumberOf([] { Step(State(3, 1, 0, 0), 12, 0); }), 11);
  EXPECT_EQ(Step(State(0, 1, 0, 0), 12, 0), (PageWindow{1, 0}));
}

TEST(PageWindowMove, AReadOfNoKindLeavesTheWindow) {
  EXPECT_EQ(Step(State(-1, 9, 3, 4)), (PageWindow{3, 4}));
}

struct Mended {
  bool again;
  PersistedState state;
  Long displayPage;
  bool ascending;
};

Mended Mend(PersistedState state, Integer lastRow, bool mayReadAgain = true, Integer pageSize = 10) {
  std::vector<SortField> fields = {{u"id", u"", true}};
  Long displayPage = 4;
  const bool again = MendRead({pageSize, lastRow}, mayReadAgain, state, fields, displayPage);
  return {again, state, displayPage, fields[0].Ascending};
}

PersistedState Records(Integer navType, Long total, Long first) {
  PersistedState state;
  state.NavType = navType;
  state.TotalRecords = total;
  state.FirstRecord = first;
  state.DisplayPage = 3;
  return state;
}

TEST(Mending, AFullPageIsLeftAlone) {
  const Mended mended = Mend(Records(1, 57, 21), 9);
  EXPECT_FALSE(mended.again);
  EXPECT_EQ(mended.state, Records(1, 57, 21));
  EXPECT_EQ(mended.displayPage, 4);
}

TEST(Mending, ALastPageIsLeftAlone) { EXPECT_EQ(Mend(Records(3, 57, 1), 2).state, Records(3, 57, 1)); }

TEST(Mending, AShortForwardPageTellsTheTotal) {
  EXPECT_EQ(Mend(Records(1, 99, 51), 6).state.TotalRecords, 57);
  EXPECT_EQ(Mend(Records(0, -1, 1), 3).state.TotalRecords, 4);
  EXPECT_EQ(Mend(Records(0, -1, 1), -1).state.TotalRecords, 0);
}

TEST(Mending, AShortPreviousPageBecomesTheFirstPage) {
  // Four rows were left in front of the anchor, where record 11 had been.
  const Mended mended = Mend(Records(2, 57, 1), 3);
  EXPECT_TRUE(mended.again);
  EXPECT_EQ(mended.state.TotalRecords, 57 - 10 - 1 + 3 + 2);
  EXPECT_EQ(mended.state.NavType, 0);
  EXPECT_EQ(mended.state.FirstRecord, 1);
  EXPECT_EQ(mended.state.DisplayPage, 1);
  EXPECT_EQ(mended.displayPage, 1);
  EXPECT_FALSE(mended.ascending);
}

TEST(Mending, AFullPreviousPageBelowRecordOneIsRenumberedOnly) {
  const Mended mended = Mend(Records(2, 57, -3), 9);
  EXPECT_FALSE(mended.again);
  EXPECT_EQ(mended.state.TotalRecords, 61);
  EXPECT_EQ(mended.state.NavType, 2);
  EXPECT_EQ(mended.state.FirstRecord, 1);
  EXPECT_EQ(mended.state.DisplayPage, 1);
  EXPECT_EQ(mended.displayPage, 1);
  EXPECT_TRUE(mended.ascending);
}

TEST(Mending, AnEmptyNextPageBecomesTheLastPage) {
  const Mended mended = Mend(Records(1, 57, 61), -1);
  EXPECT_TRUE(mended.again);
  EXPECT_EQ(mended.state.TotalRecords, 60);
  EXPECT_EQ(mended.state.NavType, 3);
  EXPECT_EQ(mended.state.FirstRecord, 1);
  EXPECT_EQ(mended.state.DisplayPage, 1);
  EXPECT_EQ(mended.displayPage, 4);  // not the last page's number
  EXPECT_FALSE(mended.ascending);
}

TEST(Mending, AShortNextPageIsNotReadAgain) { EXPECT_FALSE(Mend(Records(1, 57, 51), 0).again); }

TEST(Mending, WithoutAPageNothingIsReadAgain) {
  const Mended previous = Mend(Records(2, 57, 1), 3, false);
  EXPECT_FALSE(previous.again);
  EXPECT_EQ(previous.state.NavType, 2);
  EXPECT_EQ(previous.state.TotalRecords, 51);
  EXPECT_EQ(previous.state.FirstRecord, 1);
  const Mended next = Mend(Records(1, 57, 61), -1, false);
  EXPECT_FALSE(next.again);
  EXPECT_EQ(next.state.NavType, 1);
  EXPECT_EQ(next.state.TotalRecords, 60);
}

TEST(Mending, TotalsWrapAt16Bits) {
  EXPECT_EQ(Mend(Records(1, 40000, 32761), 7).state.TotalRecords, -32768);
  EXPECT_EQ(Mend(Records(2, 53085, 1), 3).state.TotalRecords, 53085 - 6 - 65536);
}

TEST(Mending, APageSizeOfZeroMakesAnEmptyPageAFullOne) {
  const Mended mended = Mend(Records(0, -1, 1), -1, true, 0);
  EXPECT_FALSE(mended.again);
  EXPECT_EQ(mended.state.TotalRecords, -1);
}

}  // namespace
}  // namespace varnel
