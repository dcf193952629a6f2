// The elements of a collection for a caller's for-each.
#pragma once

#include "varnel/automation/Object.h"
#include "varnel/component/ComPointer.h"

namespace varnel::com {

// An IEnumVARIANT from the first element on; null if `collection` has no elements to walk through. Raises what the
// collection raises.
ComPointer<IUnknown> MakeElementEnumerator(const ObjectPtr& collection);

}  // namespace varnel::com
