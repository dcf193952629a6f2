// Which index a list lacks, tried on a copy of its database's schema.
#pragma once

#include <optional>

#include "host-linux/advice/ListFaults.h"
#include "host-linux/database/AdoConnection.h"
#include "host-linux/database/provider/IndexTrial.h"

namespace hostlinux {

// A list as it was opened, in one of its sorts.
struct SortedList {
  varnel::String query;
  varnel::String keys;
  varnel::String sort;
  varnel::host::StatementParameters parameters;
};

// What is to be said of a list whose pages no index serves.
struct IndexAdvice {
  std::vector<varnel::String> reads;  // of "first", "next", "previous" and "last" those that aren't served
  varnel::String createIndex;         // serves all four; empty where none that was tried does
};

// Nothing where all four reads of the list are served. `rows` is the list's own database, of which one page is read,
// so that the reads behind it have the keys of a row; `trial` is a copy of it, which stays as it was. Raises
// ProviderFailure where the engine refuses a read, and varnel::Error for a query that is none.
std::optional<IndexAdvice> AdviseIndex(const SortedList& list, AdoConnection& rows, IIndexTrial& trial);

}  // namespace hostlinux
