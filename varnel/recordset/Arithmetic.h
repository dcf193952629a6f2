// Record and page numbers: sums wrap at their width and never fail, divisions fail by zero.
#pragma once

#include "varnel/automation/String.h"

namespace varnel {

// The low 16 or 32 bits of a sum.
constexpr Integer WrapInteger(std::int64_t value) { return static_cast<Integer>(value); }
constexpr Long WrapLong(std::int64_t value) { return static_cast<Long>(value); }

// The number of pages of `iRecords` rows, rounded up towards plus infinity. Raises 11 for a page size of 0,
// also without any row, and 6 where the result doesn't fit.
Long PagesOf(Long iRecords, Integer iPageSize);

// The rest of the division, with the sign of `iValue`. Raises 11 for a divisor of 0.
Long RestOf(Long iValue, Integer iDivisor);

}  // namespace varnel
