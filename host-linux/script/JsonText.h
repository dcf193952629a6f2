// Texts for JSON.
#pragma once

#include <string>

#include "varnel/automation/String.h"

namespace hostlinux {

// A text as a JSON string, with its quotes.
std::string JsonText(varnel::StringView text);

}  // namespace hostlinux
