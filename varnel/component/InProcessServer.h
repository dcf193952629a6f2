// The class factories behind the exports, over the binary interface that callers of every language share.
#pragma once

#include "varnel/host/IComponentServer.h"

namespace varnel::com {

// Hands out a class object for each class that is created by name, and knows whether anything of the library is still
// in use. What registration is, is the platform's affair: the functions that do it may be null, and then there is none,
// which is no failure.
class InProcessServer : public host::IComponentServer {
 public:
  using Registration = Long (*)();
  InProcessServer(Registration registerClasses, Registration unregisterClasses)
      : m_register(registerClasses), m_unregister(unregisterClasses) {}

  Long GetClassObject(const void* classID, const void* interfaceID, void** object) override;
  Long CanUnloadNow() override;
  Long RegisterServer() override;
  Long UnregisterServer() override;

 private:
  Registration m_register;
  Registration m_unregister;
};

}  // namespace varnel::com
