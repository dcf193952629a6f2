// The object context of the component that runs on this thread.
#pragma once

#include "varnel/host/Platform.h"

namespace hostwindows {

// The context that a host has given to this thread (SetThreadContext), or else the one that the transaction server has
// for it. Null where there is none.
std::shared_ptr<varnel::host::IObjectContext> FindObjectContext();

// Gives this thread a context, for hosts that have none of the transaction server: an object with Item(name) and
// CreateInstance(progID). Null takes it away. A host takes it away before its thread ends.
void SetThreadContext(void* dispatch);

// A component of the platform as the library takes it: "Ostrand.Log" is a log.
varnel::ObjectPtr AdaptComponent(varnel::StringView progID, varnel::ObjectPtr component);

}  // namespace hostwindows
