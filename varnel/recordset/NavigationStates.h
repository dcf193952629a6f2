// The state texts that lead away from a page: made once, right after the page was read.
#pragma once

#include "varnel/recordset/PersistedState.h"

namespace varnel {

// The page that was read.
struct PageShown {
  Integer pageSize = 0;
  Integer lastRow = -1;            // highest row index, -1 for no row
  bool pageJump = false;           // page numbers are kept
  Long displayPage = 0;            // number of the page, 0 if it isn't known
  Long totalPages = 0;             // only with page numbers
  std::vector<Variant> firstKeys;  // of the first row, as texts or Null
  std::vector<Variant> lastKeys;   // of the last row

  // True if fewer rows came than a page has.
  bool EndsEarly() const;
};

// Empty where there is nothing to go to.
struct NavigationTexts {
  String m_sStateFirst;
  String m_sStatePrev;
  String m_sStateNext;
  String m_sStateLast;
  String m_sStatePrevPage;  // base of page links to the left; only with page numbers
  String m_sStateNextPage;  // to the right
  String m_sStateCurrent;   // repeats the read

  bool operator==(const NavigationTexts&) const = default;
};

// The reads that a text can ask for, beside those of NavType: the same page again.
inline constexpr Integer kRepeatRead = 4;

// The seven texts for the page `iPage`, which was read by `iState`.
NavigationTexts BuildNavigationStates(const PersistedState& iState, const PageShown& iPage);

// One text: `iTarget` is a NavType from 0 to 3 or kRepeatRead. A next page behind a page that ended early
// repeats the read; a previous page of an empty page is the first one.
String BuildNavigationState(Integer iTarget, const PersistedState& iState, const PageShown& iPage,
                            const std::vector<Variant>& iKeys);

}  // namespace varnel
