#include "host-linux/script/HostFunctions.h"

#include "host-linux/script/Arguments.h"
#include "host-linux/script/ScriptErrors.h"
#include "host-linux/script/V8Text.h"
#include "host-linux/script/Values.h"

namespace hostlinux {

namespace {

void CallHost(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    const auto& function = *static_cast<const HostFunction*>(call.Data().As<v8::External>()->Value());
    CallArguments arguments(core, call);
    const varnel::Variant result = function.call(arguments.Values());
    arguments.StoreBack();
    if (!core.Stopping()) call.GetReturnValue().Set(ToScript(core, result));
  });
}

}  // namespace

void AddHostFunctions(v8::Local<v8::Context> context, v8::Local<v8::Object> target,
                      const std::vector<HostFunction>& functions) {
  v8::Isolate* isolate = context->GetIsolate();
  for (const HostFunction& function : functions) {
    const auto data = v8::External::New(isolate, const_cast<HostFunction*>(&function));
    const auto script = Take(v8::Function::New(context, CallHost, data, 0, v8::ConstructorBehavior::kThrow));
    script->SetName(Name(isolate, function.name));
    Check(target->DefineOwnProperty(context, Name(isolate, function.name), script, v8::DontEnum));
  }
}

}  // namespace hostlinux
