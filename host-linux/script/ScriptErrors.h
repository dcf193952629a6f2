// Errors between scripts and the library, and what is told of one that nobody caught.
#pragma once

#include <v8.h>

#include "host-linux/script/HintedError.h"
#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/V8Text.h"
#include "varnel/automation/Error.h"

namespace hostlinux {

// Throws `info` into the script, as an Error with number, source, description, helpFile and helpContext. The script
// can't see `hint`; FailureOf finds it.
void ThrowError(v8::Isolate* isolate, const varnel::ErrInfo& info, const varnel::String& hint = {});

// What `trap` caught, as the library's record: the script's own number, source, description, helpFile and
// helpContext where it gave them, or else kUncaughtNumber, "Script" and the error's text.
varnel::ErrInfo ErrorOf(ScriptCore& core, const v8::TryCatch& trap);

// The error that library code gets which calls back into a script that is being stopped.
varnel::ErrInfo StoppedError();

// The failure that `exception` means to the host, with the page's file and line. `message` may be empty.
ScriptFailure FailureOf(ScriptCore& core, v8::Local<v8::Value> exception, v8::Local<v8::Message> message);
ScriptFailure FailureOf(const PageError& error);

// The same of the page that the compiler has just refused, with the bracket that lacks its partner.
ScriptFailure CompilerFailureOf(ScriptCore& core, v8::Local<v8::Value> exception,
                                v8::Local<v8::Message> message);

// Formats err.stack with the pages' files and lines.
v8::MaybeLocal<v8::Value> PrepareStack(v8::Local<v8::Context> context, v8::Local<v8::Value> error,
                                       v8::Local<v8::Array> sites);

// Runs the body of a callback: a C++ exception becomes a JavaScript one, and an ended page stops here.
template <typename Body>
void Guarded(v8::Isolate* isolate, Body body) {
  ScriptCore& core = ScriptCore::Of(isolate);
  try {
    body();
  } catch (const PendingException&) {
  } catch (...) {
    if (!core.Stopping()) {
      const varnel::ErrInfo info = varnel::CurrentError();
      ThrowError(isolate, info, HintOfCurrentError());
    }
  }
  if (core.Stopping()) core.StopNow();
}

}  // namespace hostlinux
