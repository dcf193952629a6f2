// Decimal text in the shape that a locale gives to numbers.
#pragma once

#include <optional>

#include "varnel/automation/String.h"

namespace hostlinux {

struct NumberShape {
  int digits = 2;  // behind the point: 0 to 9
  bool leadingZero = true;
  // The sizes of the groups in front of the point, from the right; `repeats`: the last size goes on to the
  // left.
  std::vector<int> groups;
  bool repeats = false;
  varnel::String decimal;
  varnel::String thousand;
  int negativeOrder = 1;  // 0 "(1)", 1 "-1", 2 "- 1", 3 "1-", 4 "1 -"
};

// The groups of a locale's text: "3;0" repeats its group, "3" is applied once, "3;2;0" goes on in twos.
void SetGroupsByText(NumberShape& shape, varnel::StringView grouping);

// The groups of a format's number: 3 repeats its group, 30 is applied once, 32 goes on in twos, 0 is no
// group.
void SetGroupsByNumber(NumberShape& shape, varnel::Long grouping);

// `number`, a minus sign where negative, digits, a point, digits, in that shape; empty for any other text. It
// is rounded half away from zero, and then grouped. A negative number keeps its sign where nothing but zeros
// is left.
std::optional<varnel::String> ShapeNumber(varnel::StringView number, const NumberShape& shape);

}  // namespace hostlinux
