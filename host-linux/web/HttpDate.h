// Points in time as HTTP headers write them.
#pragma once

#include <ctime>
#include <optional>
#include <string>
#include <string_view>

namespace hostlinux {

// "Sun, 06 Nov 1994 08:49:37 GMT", whatever the locale.
std::string FormatHttpDate(std::time_t when);

// Reads exactly that form; nothing for any other text.
std::optional<std::time_t> ParseHttpDate(std::string_view text);

}  // namespace hostlinux
