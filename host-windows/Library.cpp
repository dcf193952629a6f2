// The DLL itself: what the loader calls, and what isn't among the four exports of a component server.
#include "host-windows/Registration.h"
#include "host-windows/WindowsContext.h"
#include "host-windows/WindowsPlatform.h"
#include "varnel/component/Automation.h"
#include "varnel/component/InProcessServer.h"

namespace varnel {
// ComponentServer.h declares the exports otherwise than the system's headers do.
void SetComponentServer(host::IComponentServer* server);
}  // namespace varnel

namespace {

class WindowsServer : public varnel::com::InProcessServer {
 public:
  WindowsServer() : InProcessServer(hostwindows::RegisterClasses, hostwindows::UnregisterClasses) {}

  varnel::Long GetClassObject(const void* classID, const void* interfaceID, void** object) override {
    hostwindows::RequirePlatform();
    return InProcessServer::GetClassObject(classID, interfaceID, object);
  }
};

}  // namespace

extern "C" {

// For hosts that have no object context of the transaction server: gives this thread one, an object with Item(name) for the
// five intrinsics and CreateInstance(progID), or takes it away by null.
HRESULT __stdcall VarnelSetObjectContext(IDispatch* context) {
  hostwindows::SetThreadContext(context);
  return S_OK;
}

// Nothing is done here but to tell the exports who answers.
BOOL __stdcall DllMain(HINSTANCE, DWORD reason, void*) {
  if (reason != DLL_PROCESS_ATTACH) return TRUE;
  static auto* server = new WindowsServer;
  varnel::SetComponentServer(server);
  return TRUE;
}
}
