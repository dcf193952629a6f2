// The error that a call raises, as a value to compare.
#pragma once

#include "varnel/automation/Error.h"

namespace hostfake {

// The record of what `call` raises; number 0 if it raises nothing.
template <typename F>
varnel::ErrInfo ErrorOf(F&& call) {
  try {
    call();
  } catch (const varnel::Error& error) {
    return error.Info();
  }
  return {};
}

}  // namespace hostfake
