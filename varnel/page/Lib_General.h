#pragma once

#include "varnel/automation/Object.h"

namespace varnel {

// The one way to create a component: inside the object context, or without one where there is none. A failure
// is logged and raised again as all handlers do it.
ObjectPtr Gen_GetComponent(const String& iProgID);

}  // namespace varnel
