// The host's functions among the global names of pages.
#pragma once

#include <vector>

#include "host-linux/script/ScriptEngine.h"

namespace hostlinux {

// FormToken(): what forms of this visitor bear. They work on the request of the thread that calls them.
std::vector<HostFunction> PageFunctions();

}  // namespace hostlinux
