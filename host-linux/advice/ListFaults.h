// What lists get wrong, as far as their texts tell. Pure functions: no database is asked.
#pragma once

#include <vector>

#include "varnel/automation/String.h"

namespace hostlinux {

// A list as its page has opened it.
struct ListTexts {
  varnel::String query;
  varnel::String keys;                        // with commas between
  varnel::String sort;                        // of this read
  std::vector<varnel::String> declaredSorts;  // that its heads offer
  bool counts = false;                        // all rows are counted
};

// Sentences, each with what is wrong and what helps, in this order: a line break beside a keyword, a WITH clause in
// front, an ORDER BY of the query's own, a sort by an aggregate, a sort text that no link can carry.
std::vector<varnel::String> FindListFaults(const ListTexts& list);

// The sort and key columns of `list`, under the names by which a result is asked for them, each once.
std::vector<varnel::String> ColumnsNeeded(const ListTexts& list);

// A sentence for those of `needed` that aren't among `columns`, the names of the result; empty where all are.
varnel::String MissingColumns(const std::vector<varnel::String>& needed,
                              const std::vector<varnel::String>& columns);

}  // namespace hostlinux
