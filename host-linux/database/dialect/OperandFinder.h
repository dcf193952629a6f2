// The left side of a comparison, found backward from its operator.
#pragma once

#include <vector>

#include "host-linux/database/dialect/SqlLexer.h"

namespace hostlinux {

// True for = == <> != < <= > >=.
bool IsComparison(const SqlToken& token);

// True if nothing that binds tighter than a comparison follows an operand: `token` is the one behind it.
bool EndsOperand(const SqlToken& token);

// The first token of the operand in front of the comparison operator `op`: names, literals, calls, CASE and
// groups in parentheses, joined by arithmetic and ||. `op` itself if there is none. `partner` gives each
// parenthesis its partner.
size_t FindOperand(const std::vector<SqlToken>& tokens, const std::vector<size_t>& partner, size_t op);

}  // namespace hostlinux
