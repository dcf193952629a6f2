// Short texts in a code page of single bytes and back, as the number call writes them. ASCII is the same in
// all of them and is never looked up.
#pragma once

#include <string>
#include <string_view>

#include "varnel/automation/String.h"

namespace hostlinux {

// A character that the code page hasn't becomes "?", a blank of another width one that it has. In a code page
// whose characters take more bytes, or that isn't known, that is all but ASCII.
std::string ToCodePage(varnel::StringView text, int codePage);

// A byte that means nothing there becomes U+FFFD.
varnel::String FromCodePage(std::string_view bytes, int codePage);

}  // namespace hostlinux
