// The names under which this machine calls itself.
#pragma once

#include <string>

namespace hostlinux {

// Whether the Host of a request, with or without a port, is localhost, 127.x.x.x or [::1].
bool IsLoopbackName(const std::string& host);

}  // namespace hostlinux
