#include "varnel/recordset/NavigationStates.h"

#include <algorithm>

#include "varnel/recordset/Arithmetic.h"
#include "varnel/recordset/StateText.h"

namespace varnel {

namespace {

Long ShownOr(const PageShown& page, std::int64_t fallback) {
  return page.displayPage != 0 ? page.displayPage : WrapLong(fallback);
}

// The page on which a text is made, told by the read that brought the page.
Long PageOfOrigin(const PersistedState& state, const PageShown& page) {
  switch (state.NavType) {
    case nav_type::kFirst:
      return 1;
    case nav_type::kNext:
      return ShownOr(page, std::int64_t{state.DisplayPage} + 1);
    case nav_type::kPrevious:
      return ShownOr(page, std::int64_t{state.DisplayPage} - 1);
    case nav_type::kLast:
      return page.totalPages;
    default:
      return 0;
  }
}

Long FirstRecordOf(Integer target, const PersistedState& state, Integer pageSize) {
  if (target == nav_type::kPrevious) return WrapLong(std::int64_t{state.FirstRecord} - pageSize);
  if (target == nav_type::kNext) return WrapLong(std::int64_t{state.FirstRecord} + pageSize);
  return 1;
}

// The window stays as it was, whether page numbers are kept or not.
PersistedState Repeated(const PersistedState& state, const PageShown& page) {
  PersistedState repeated = state;
  repeated.DisplayPage = page.pageJump ? state.DisplayPage : 1;
  return repeated;
}

PersistedState Leading(Integer target, const PersistedState& state, const PageShown& page,
                       const std::vector<Variant>& keys) {
  PersistedState leading;
  leading.NavType = target;
  leading.TotalRecords = state.TotalRecords;
  leading.FirstRecord = FirstRecordOf(target, state, page.pageSize);
  leading.SortFields = state.SortFields;
  leading.SortReversed = state.SortReversed;
  if (leading.HasKeys()) leading.KeyValues = keys;
  leading.DisplayPage = 1;
  if (page.pageJump) {
    leading.DisplayPage = std::max<Long>(PageOfOrigin(state, page), 1);
    leading.LeftPage = state.LeftPage;
    leading.RightPage = state.RightPage;
  }
  return leading;
}

// Takes away what leads nowhere from this page.
void BlankDeadEnds(NavigationTexts& texts, Integer navType, bool endsEarly) {
  if (navType == nav_type::kFirst) {
    texts.m_sStateFirst.clear();
    texts.m_sStatePrev.clear();
    if (endsEarly) texts.m_sStateNext.clear();
  }
  if (navType == nav_type::kLast) texts.m_sStateNext.clear();
  const bool atTheEnd = endsEarly && (navType == nav_type::kFirst || navType == nav_type::kNext);
  if (navType == nav_type::kLast || atTheEnd) texts.m_sStateLast.clear();
}

}  // namespace

bool PageShown::EndsEarly() const { return lastRow < WrapInteger(std::int64_t{pageSize} - 1); }

NavigationTexts BuildNavigationStates(const PersistedState& iState, const PageShown& iPage) {
  NavigationTexts texts;
  texts.m_sStateFirst = BuildNavigationState(nav_type::kFirst, iState, iPage, iPage.firstKeys);
  texts.m_sStatePrev = BuildNavigationState(nav_type::kPrevious, iState, iPage, iPage.firstKeys);
  texts.m_sStateNext = BuildNavigationState(nav_type::kNext, iState, iPage, iPage.lastKeys);
  texts.m_sStateLast = BuildNavigationState(nav_type::kLast, iState, iPage, iPage.lastKeys);
  texts.m_sStateCurrent = BuildNavigationState(kRepeatRead, iState, iPage, iPage.lastKeys);
  // Page links keep their base texts even where the arrows go.
  if (iPage.pageJump) {
    texts.m_sStatePrevPage = texts.m_sStatePrev;
    texts.m_sStateNextPage = texts.m_sStateNext;
  }
  BlankDeadEnds(texts, iState.NavType, iPage.EndsEarly());
  return texts;
}

String BuildNavigationState(Integer iTarget, const PersistedState& iState, const PageShown& iPage,
                            const std::vector<Variant>& iKeys) {
  const bool noNextPage = iTarget == nav_type::kNext && iPage.EndsEarly();
  if (iTarget == kRepeatRead || noNextPage) return SerializeState(Repeated(iState, iPage));
  const bool noPreviousPage = iTarget == nav_type::kPrevious && iPage.lastRow == -1;
  return SerializeState(Leading(noPreviousPage ? nav_type::kFirst : iTarget, iState, iPage, iKeys));
}

}  // namespace varnel
