// The type library as text, from the member tables.
#pragma once

#include <string>

namespace hostwindows {

// In the language of Microsoft's interface definitions. Makes an object of each class: in a request.
std::string WriteTypes();

}  // namespace hostwindows
