#pragma once

#include <memory>

#include "varnel/automation/Error.h"

namespace varnel {

// The object behind `pointer`. Raises 91 for Nothing.
template <typename T>
T& Required(const std::shared_ptr<T>& pointer) {
  if (pointer == nullptr) RaiseRuntimeError(runtime_error::kObjectNotSet);
  return *pointer;
}

}  // namespace varnel
