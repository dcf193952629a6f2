// Whether bytes are UTF-8: no overlong forms, no surrogates, nothing above U+10FFFF.
#pragma once

#include <cstddef>
#include <string_view>

namespace hostlinux {

// The position of the first byte that begins no well-formed sequence; npos where there is none.
std::size_t FindBadUtf8(std::string_view bytes);

bool IsUtf8(std::string_view bytes);

}  // namespace hostlinux
