// The branches of a union.
#pragma once

#include <vector>

#include "varnel/automation/String.h"

namespace varnel {

// Cuts `iQuery` at each " UNION ", in upper case with one blank on each side, also inside quotes. Each branch
// is trimmed and loses its opening parenthesis, and then the closing one. A query without a union has one
// branch, the empty text none.
std::vector<String> SplitUnionBranches(StringView iQuery);

}  // namespace varnel
