// The switches by which a test makes a fake fail.
#pragma once

#include <optional>

#include "varnel/automation/Error.h"

namespace hostfake {

// A failure to raise; empty while the fake works.
using Fault = std::optional<varnel::ErrInfo>;

inline constexpr varnel::Long kGeneralFailure = static_cast<varnel::Long>(0x80004005);
inline constexpr varnel::Long kCannotCreate = 429;  // an unknown class

inline varnel::ErrInfo Failure(varnel::Long number, varnel::StringView description,
                               varnel::StringView source = u"Fake") {
  return {number, varnel::String(source), varnel::String(description), {}, 0};
}

inline void RaiseIf(const Fault& fault) {
  if (fault) throw varnel::Error(*fault);
}

}  // namespace hostfake
