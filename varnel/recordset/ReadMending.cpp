#include "varnel/recordset/ReadMending.h"

#include "varnel/recordset/Arithmetic.h"

namespace varnel {

namespace {

Integer TotalAfter(const PageRead& read, const PersistedState& state) {
  if (state.NavType != nav_type::kPrevious)
    return WrapInteger(std::int64_t{state.FirstRecord} + read.lastRow);
  return WrapInteger(std::int64_t{state.TotalRecords} - read.pageSize - state.FirstRecord + read.lastRow + 2);
}

void AskFor(Integer navType, PersistedState& state, std::vector<SortField>& fields) {
  ReverseSort(fields);
  state.FirstRecord = 1;
  state.DisplayPage = 1;
  state.NavType = navType;
}

}  // namespace

bool PageRead::IsShort() const { return lastRow != WrapInteger(std::int64_t{pageSize} - 1); }

bool MendRead(const PageRead& iRead, bool iMayReadAgain, PersistedState& ioState,
              std::vector<SortField>& ioFields, Long& ioDisplayPage) {
  const bool looksRight = !iRead.IsShort() && ioState.FirstRecord > 0;
  if (looksRight || ioState.NavType == nav_type::kLast) return false;

  const bool wasPrevious = ioState.NavType == nav_type::kPrevious;
  ioState.TotalRecords = TotalAfter(iRead, ioState);
  if (wasPrevious) {
    ioState.FirstRecord = 1;
    ioState.DisplayPage = 1;
    ioDisplayPage = 1;
  }
  if (!iMayReadAgain) return false;

  if (wasPrevious && iRead.IsShort()) {
    AskFor(nav_type::kFirst, ioState, ioFields);
    return true;
  }
  if (ioState.NavType == nav_type::kNext && iRead.lastRow == -1) {
    AskFor(nav_type::kLast, ioState, ioFields);
    return true;
  }
  return false;
}

}  // namespace varnel
