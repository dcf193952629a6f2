// Failures of the host's own objects that are none of the run-time errors.
#pragma once

#include "varnel/automation/Error.h"

namespace hostlinux {

// "Unspecified failure", the number under which the host reports what has none of its own.
inline constexpr varnel::Long kHostFailure = static_cast<varnel::Long>(0x80004005);

[[noreturn]] inline void RaiseHostError(varnel::StringView source, varnel::StringView sentence) {
  throw varnel::Error({kHostFailure, varnel::String(source), varnel::String(sentence), {}, 0});
}

}  // namespace hostlinux
