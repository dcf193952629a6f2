#include "varnel/component/ComponentServer.h"

namespace varnel {

namespace {

host::IComponentServer*& Installed() {
  static host::IComponentServer* server = nullptr;
  return server;
}

}  // namespace

void SetComponentServer(host::IComponentServer* server) { Installed() = server; }

}  // namespace varnel

using varnel::Installed;
namespace component_result = varnel::component_result;

varnel::Long DllGetClassObject(const void* classID, const void* interfaceID, void** object) {
  if (Installed() != nullptr) return Installed()->GetClassObject(classID, interfaceID, object);
  if (object == nullptr) return component_result::kInvalidPointer;
  *object = nullptr;
  return component_result::kClassNotAvailable;
}

varnel::Long DllCanUnloadNow() {
  return Installed() != nullptr ? Installed()->CanUnloadNow() : component_result::kKeepLoaded;
}

varnel::Long DllRegisterServer() {
  return Installed() != nullptr ? Installed()->RegisterServer() : component_result::kRegistrationFailed;
}

varnel::Long DllUnregisterServer() {
  return Installed() != nullptr ? Installed()->UnregisterServer() : component_result::kRegistrationFailed;
}
