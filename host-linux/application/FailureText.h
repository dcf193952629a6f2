// What is told of a page that failed: to the log, and to whoever develops it.
#pragma once

#include <string>

#include "host-linux/script/ScriptEngine.h"

namespace hostlinux {

// "list.asp, line 12: ", or nothing where the file isn't known.
std::string PlaceOf(const ScriptFailure& failure);

// One sentence with place, description, number and source. A very long description is cut.
std::string Describe(const ScriptFailure& failure);

}  // namespace hostlinux
