// TestTools.js, what the tests of sites find among their names.
#pragma once

#include <string_view>

namespace hostlinux {

std::string_view TestTools();

}  // namespace hostlinux
