// Statements with named parameters, as a provider takes them that knows "?" only.
#pragma once

#include <vector>

#include "varnel/host/Ado.h"

namespace hostwindows {

struct OrderedStatement {
  varnel::String text;  // with "?" for each name
  std::vector<varnel::host::StatementParameter>
      values;  // one for each "?" that a name has become, in their order
};

// Puts "?" for each `:name` of `sql`, in any case of letters, that stands outside of texts, quoted names and comments.
// A name that `parameters` hasn't raises 0x80040E10.
OrderedStatement InOrder(const varnel::String& sql, const varnel::host::StatementParameters& parameters);

}  // namespace hostwindows
