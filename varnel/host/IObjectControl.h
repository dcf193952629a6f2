#pragma once

namespace varnel::host {

// Implemented by components that are bound to the request that made them. A host calls `Activate` right after
// it has made such an object in a context, and `Deactivate` when the object is released.
class IObjectControl {
 public:
  virtual ~IObjectControl() = default;
  virtual void Activate() = 0;
  virtual void Deactivate() = 0;
};

}  // namespace varnel::host
