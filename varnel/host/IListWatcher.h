// Somebody who looks at the lists of a site while it is being made, and says what is wrong with them. Nothing that a
// list does depends on it.
#pragma once

#include <memory>
#include <vector>

#include "varnel/host/Ado.h"

namespace varnel::host {

// A list that is about to be read.
struct ListInUse {
  StringView recordset;                      // such as "R_1"; empty for one without a page
  StringView query;                          // as the page gave it
  StringView keys;                           // the key columns, as the page gave them
  StringView sort;                           // the sort text of this read
  const std::vector<String>& declaredSorts;  // sort texts that the page offers
  bool counts = false;                       // all rows are counted with the first page
  const StatementParameters& parameters;
  const std::shared_ptr<IConnection>& connection;  // may be null
};

class IListWatcher {
 public:
  virtual ~IListWatcher() = default;
  // Before the list's first statement. Raises nothing; what the list reads stays the same.
  virtual void Opening(const ListInUse& list) noexcept = 0;
};

}  // namespace varnel::host
