// Functions of the host among the global names of pages.
#pragma once

#include <v8.h>

#include <vector>

#include "host-linux/script/ScriptEngine.h"

namespace hostlinux {

// Adds them to `target`, such as the global object of a realm that isn't sealed yet. `functions` outlives the
// realm.
void AddHostFunctions(v8::Local<v8::Context> context, v8::Local<v8::Object> target,
                      const std::vector<HostFunction>& functions);

}  // namespace hostlinux
