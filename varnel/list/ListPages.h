// Which pages a page of a list leads to.
#pragma once

#include "varnel/list/ListReader.h"

namespace varnel {

struct ListStep {
  Long number = 1;  // of the page, from 1
  bool isCurrent = false;
  ListPosition position;
};

// Nothing where it would lead nowhere, or to the page itself.
struct ListWays {
  std::optional<ListPosition> first;
  std::optional<ListPosition> previous;
  std::optional<ListPosition> next;
  std::optional<ListPosition> last;
  std::vector<ListStep> numbers;  // a window of page numbers; empty where the page's own isn't known
};

// `context` goes into each position. At most `width` numbers; those that are further than one page away read all rows
// between, and a union, which can't do that, has none of them.
ListWays WaysFrom(const ListSource& source, const ListPage& page, Long pageSize, Long width,
                  std::uint32_t context);

}  // namespace varnel
