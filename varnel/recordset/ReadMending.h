// Mending a read: what a page that came back short or empty says about the total, and whether another read
// has to take its place. No row beyond the page is ever read to know better before.
#pragma once

#include "varnel/recordset/SortFields.h"

namespace varnel {

// What a read brought.
struct PageRead {
  Integer pageSize = 0;
  Integer lastRow = -1;  // highest row index, -1 for no row

  // True unless exactly as many rows came as a page has.
  bool IsShort() const;
};

// Puts the numbers of `ioState` right after a read, and `ioDisplayPage` after a previous page. A full page
// with a first record above 0 says nothing, and neither does a last page. Totals made here wrap at 16 bits.
// True if the page must be read again with `ioState` and `ioFields` as they then stand: the first page in
// place of a short previous one, the last page in place of an empty next one. Never true if `iMayReadAgain`
// isn't.
bool MendRead(const PageRead& iRead, bool iMayReadAgain, PersistedState& ioState,
              std::vector<SortField>& ioFields, Long& ioDisplayPage);

}  // namespace varnel
