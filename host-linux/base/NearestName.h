// The name that somebody may have meant who wrote another one.
#pragma once

#include <vector>

#include "varnel/automation/String.h"

namespace hostlinux {

// The one of `known` that differs from `wanted` by the fewest slips: letters that are left out, added, changed, or
// in the wrong order of two. The case of letters doesn't count. Empty where none is near: one slip in three letters
// is the most. The first of equally near ones counts. Names of more than 100 letters are near to none.
varnel::String NearestName(varnel::StringView wanted, const std::vector<varnel::String>& known);

// " Did you mean 'NAME'?" with the nearest name, or nothing.
varnel::String DidYouMean(varnel::StringView wanted, const std::vector<varnel::String>& known);

}  // namespace hostlinux
