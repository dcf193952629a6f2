// Text in the platform's code pages and back, by the C library's iconv. ASCII text is the same in all of them
// and never gets there.
#pragma once

#include <string>
#include <string_view>

#include "varnel/automation/String.h"

namespace hostlinux {

bool IsAscii(varnel::StringView text);

// False for a number that names no code page; 65001 is UTF-8.
bool HasCodePage(int codePage);

// A character that the code page hasn't becomes "?", a blank of another width one that it has. In an unknown
// code page that is all but ASCII.
std::string ToCodePage(varnel::StringView text, int codePage);

// A byte that means nothing there becomes U+FFFD.
varnel::String FromCodePage(std::string_view bytes, int codePage);

}  // namespace hostlinux
