#pragma once

#include "varnel/automation/String.h"

namespace varnel::host {

// The platform's class factory and registration, behind the exports of an in-process component server.
// Results are the platform's codes: 0 is success.
class IComponentServer {
 public:
  virtual ~IComponentServer() = default;
  // Stores the class object of class `classID` as interface `interfaceID` into `object`. The ids are the
  // platform's 16 bytes each.
  virtual Long GetClassObject(const void* classID, const void* interfaceID, void** object) = 0;
  // 0 if no object of the library lives any more, else 1.
  virtual Long CanUnloadNow() = 0;
  virtual Long RegisterServer() = 0;
  virtual Long UnregisterServer() = 0;
};

}  // namespace varnel::host
