// Where a list begins whose link was refused.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "host-linux/intrinsics/FormFields.h"

namespace hostlinux {

// The address of page `path` with the parameters `query` but for those that carry lists' positions: "R_1" and
// its like, "CHOWC" and "CTATEC", "L1-at" and all others of a list.
std::string FirstPageLink(std::string_view path, const std::vector<FormField>& query);

}  // namespace hostlinux
