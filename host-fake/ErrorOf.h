// The error that a call raises, as a value to compare.
#pragma once

#include <utility>

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

// Its number alone.
template <typename F>
varnel::Long NumberOf(F&& call) {
  return ErrorOf(std::forward<F>(call)).Number;
}

}  // namespace hostfake
