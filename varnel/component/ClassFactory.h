// The classes that a page script can create, by their names.
#pragma once

#include "varnel/automation/Object.h"

namespace varnel {

// A new object of class `progID`, such as "Varnel.Page", in any case of letters; null for a name that isn't
// one of the library's. Raises what the construction raises.
ObjectPtr CreateComponent(StringView progID);

// All those names.
std::vector<String> ComponentNames();

}  // namespace varnel
