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

varnel::Long VARNEL_EXPORT_CALL DllGetClassObject(const void* classID, const void* interfaceID,
                                                  void** object) {
  if (Installed() != nullptr) return Installed()->GetClassObject(classID, interfaceID, object);
  if (object == nullptr) return component_result::kInvalidPointer;
  *object = nullptr;
  return component_result::kClassNotAvailable;
}

varnel::Long VARNEL_EXPORT_CALL DllCanUnloadNow() {
  return Installed() != nullptr ? Installed()->CanUnloadNow() : component_result::kKeepLoaded;
}

varnel::Long VARNEL_EXPORT_CALL DllRegisterServer() {
  return Installed() != nullptr ? Installed()->RegisterServer() : component_result::kRegistrationFailed;
}

varnel::Long VARNEL_EXPORT_CALL DllUnregisterServer() {
  return Installed() != nullptr ? Installed()->UnregisterServer() : component_result::kRegistrationFailed;
}
