// The one global scope of an engine, made so that no request can leave anything in it for the next.
#pragma once

#include <v8.h>

#include <functional>
#include <string_view>
#include <utility>
#include <vector>

namespace hostlinux {

// Makes a realm, lets `populate` add its names to the global object, then seals it: the global object and
// everything reachable from it is frozen. Names of prototypes that scripts set on objects of their own
// (toString, name, message, constructor, ...) stay assignable there, but for the constructor of arrays,
// promises, patterns and typed arrays. What would carry state from one request to the next or stop the thread
// is removed: the statics of RegExp, WeakRef, FinalizationRegistry, console, Atomics and SharedArrayBuffer.
// Throws std::logic_error where the engine refuses.
v8::Local<v8::Context> MakeRealm(v8::Isolate* isolate,
                                 const std::function<void(v8::Local<v8::Context>)>& populate);

// Runs `text`, a function's body, with `arguments` by `names`, as part of making a realm. Its result.
v8::Local<v8::Value> RunSetup(
    v8::Local<v8::Context> context, std::string_view text, const char* scriptName,
    const std::vector<std::pair<const char*, v8::Local<v8::Value>>>& arguments = {});

}  // namespace hostlinux
