// The one global scope of an engine, made so that no request can leave anything in it for the next.
#pragma once

#include <v8.h>

#include <string>
#include <utility>
#include <vector>

namespace hostlinux {

// Makes a realm with `constants` as further global names, then seals it: the global object and everything
// reachable from it is frozen. Names of prototypes that scripts set on objects of their own (toString, name,
// constructor, message, ...) stay assignable there. What would carry state from one request to the next or
// stop the thread is removed: the statics of RegExp, WeakRef, FinalizationRegistry, console, Atomics and
// SharedArrayBuffer. Throws std::logic_error where the engine refuses.
v8::Local<v8::Context> MakeRealm(v8::Isolate* isolate,
                                 const std::vector<std::pair<std::string, double>>& constants);

}  // namespace hostlinux
