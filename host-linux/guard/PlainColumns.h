// Whether a sort names a column that the list shows anyway.
#pragma once

#include <string_view>
#include <vector>

#include "varnel/automation/String.h"

namespace hostlinux {

// True if `column`, one entry of a sort text, is a plain column of the select list of every one of
// `branches`: a name, in brackets or with qualifiers if it likes, that the list holds as a plain column,
// under its own name and not with another qualifier. Names compare without regard to case. Behind `*` stands
// any plain name, behind `p.*` any that is p's. A computed column, and one that bears another name than its
// own, is none: in a condition that name could be a column that the list doesn't show.
bool IsPlainColumn(varnel::StringView column, const std::vector<varnel::String>& branches);

}  // namespace hostlinux
