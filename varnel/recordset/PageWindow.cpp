#include "varnel/recordset/PageWindow.h"

#include <algorithm>

#include "varnel/recordset/Arithmetic.h"

namespace varnel {

namespace {

PageWindow StartingAt(Long left, Long pages, Integer width) {
  return {left, std::min(WrapLong(std::int64_t{left} + width - 1), pages)};
}

PageWindow MovedRight(Long left, Long pages, Integer width) {
  const Long next = WrapLong(std::int64_t{left} + width);
  return StartingAt(next > pages ? left : next, pages, width);
}

PageWindow MovedLeft(Long left, Long pages, Integer width) {
  const Long next = WrapLong(std::int64_t{left} - width);
  return StartingAt(next > 0 ? next : 1, pages, width);
}

PageWindow AtTheEnd(Long pages, Integer width) {
  const Long rest = RestOf(pages, width);
  if (rest == 0) return {WrapLong(std::int64_t{pages} - WrapInteger(std::int64_t{width} + 1)), pages};
  return {WrapLong(std::int64_t{pages} - rest + 1), pages};
}

}  // namespace

WindowMove MoveOfStep(const PersistedState& iState, WindowMove iBefore) {
  const auto page = std::int64_t{iState.DisplayPage};
  WindowMove move = iBefore;
  if (iState.NavType == nav_type::kPrevious && WrapLong(page - 1) < iState.LeftPage) move.left = true;
  if (iState.NavType == nav_type::kNext && WrapLong(page + 1) > iState.RightPage) move.right = true;
  return move;
}

PageWindow WindowAfterRead(const PersistedState& iState, Long iPages, Integer iWidth, WindowMove iMove) {
  const PageWindow before{iState.LeftPage, iState.RightPage};
  switch (iState.NavType) {
    case nav_type::kFirst:
      return {1, std::min(Long{iWidth}, iPages)};
    case nav_type::kNext:
      return iMove.right ? MovedRight(before.left, iPages, iWidth) : before;
    case nav_type::kPrevious:
      return iMove.left ? MovedLeft(before.left, iPages, iWidth) : before;
    case nav_type::kLast:
      return AtTheEnd(iPages, iWidth);
    default:
      return before;
  }
}

}  // namespace varnel
