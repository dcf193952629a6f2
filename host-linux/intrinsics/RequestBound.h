// How values that outlive a request know the objects that must not: they can't be stored in a session or in
// the application.
#pragma once

namespace hostlinux {

class RequestBound {
 public:
  virtual ~RequestBound() = default;
};

}  // namespace hostlinux
