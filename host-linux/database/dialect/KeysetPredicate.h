// The condition by which a page's text asks for the rows behind an anchor row, read back into its keys:
//   (p0 or (e0 = 'k0' and (p1 or (e1 = 'k1' and p2))))
#pragma once

#include <optional>
#include <vector>

#include "host-linux/database/dialect/SqlStructure.h"

namespace hostlinux {

// One key: what is compared, the way it is read, and the anchor row's value.
struct PageKey {
  SqlSpan expression;  // empty only for a last key behind whose NULL nothing comes
  bool ascending = true;
  size_t literal = SqlStructure::kNone;  // the token of the value; kNone for NULL

  bool IsNull() const { return literal == SqlStructure::kNone; }
};

// The keys of the condition that fills `span`, the first sort column first. `partner` gives each parenthesis
// its partner. Nothing if it is not exactly such a condition, if an expression is more than one operand, or
// beyond eight keys.
std::optional<std::vector<PageKey>> ReadKeysetPredicate(const std::vector<SqlToken>& tokens,
                                                        const std::vector<size_t>& partner, SqlSpan span);

// True if both spans hold the same tokens; words in any case of letters.
bool SameTokens(const std::vector<SqlToken>& tokens, SqlSpan a, SqlSpan b);

}  // namespace hostlinux
