#include "varnel/recordset/Arithmetic.h"

#include <cmath>

#include "varnel/automation/Convert.h"
#include "varnel/automation/Error.h"

namespace varnel {

Long PagesOf(Long iRecords, Integer iPageSize) {
  if (iPageSize == 0) RaiseRuntimeError(runtime_error::kDivisionByZero);
  return RoundToLong(std::ceil(static_cast<double>(iRecords) / iPageSize));
}

Long RestOf(Long iValue, Integer iDivisor) {
  if (iDivisor == 0) RaiseRuntimeError(runtime_error::kDivisionByZero);
  return static_cast<Long>(std::int64_t{iValue} % iDivisor);
}

}  // namespace varnel
