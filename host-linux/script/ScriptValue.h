// How the host knows a script's own objects and functions, which it must not keep beyond a request.
#pragma once

namespace hostlinux {

// Implemented by the objects that stand for a script's object or function inside the library. Once the
// request is over each of their operations raises 91.
class IScriptValue {
 public:
  virtual ~IScriptValue() = default;
};

}  // namespace hostlinux
