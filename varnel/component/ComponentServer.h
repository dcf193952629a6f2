// The exports of an in-process component server. Each hands over to the platform's class factory and
// registration; the library knows nothing of either.
#pragma once

#include "varnel/host/IComponentServer.h"

// How the system's loader calls an export.
#ifdef _WIN32
#define VARNEL_EXPORT_CALL __stdcall
#else
#define VARNEL_EXPORT_CALL
#endif

namespace varnel {

// Answers of the exports while no server is set, and the answer to a missing place for the result.
namespace component_result {
inline constexpr Long kKeepLoaded = 1;
inline constexpr Long kInvalidPointer = static_cast<Long>(0x80004003);
inline constexpr Long kClassNotAvailable = static_cast<Long>(0x80040111);
inline constexpr Long kRegistrationFailed = static_cast<Long>(0x80040201);
}  // namespace component_result

// The platform's server; null takes it away. Set by the platform's loader, before the first export is called.
void SetComponentServer(host::IComponentServer* server);

}  // namespace varnel

extern "C" {

// Without a server the class isn't available, and `*object` becomes null.
varnel::Long VARNEL_EXPORT_CALL DllGetClassObject(const void* classID, const void* interfaceID,
                                                  void** object);
// Without a server: stay loaded.
varnel::Long VARNEL_EXPORT_CALL DllCanUnloadNow();
varnel::Long VARNEL_EXPORT_CALL DllRegisterServer();
varnel::Long VARNEL_EXPORT_CALL DllUnregisterServer();
}
