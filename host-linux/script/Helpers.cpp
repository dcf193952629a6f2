#include "host-linux/script/Helpers.h"

#include <array>
#include <string>
#include <tuple>

#include "host-linux/script/InternalFields.h"
#include "host-linux/script/Realm.h"
#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/ScriptErrors.h"
#include "host-linux/script/V8Text.h"
#include "host-linux/script/Values.h"
#include "varnel/automation/Convert.h"
#include "varnel/automation/Members.h"

namespace hostlinux {
namespace {

using varnel::Variant;

// Runs before the realm is sealed. Nothing in it may look up a name that a page can change; pages can't
// change any.
constexpr std::string_view kTools = R"js(
'use strict';

// Walks a collection of the library, or anything iterable.
class Enumerator {
  #collection; #walk; #step;
  constructor(collection) { this.#collection = collection; this.moveFirst(); }
  atEnd() { return this.#step.done; }
  item() { return this.#step.value; }
  moveNext() { if (!this.#step.done) this.#step = this.#walk.next(); }
  moveFirst() { this.#walk = this.#collection[Symbol.iterator](); this.#step = this.#walk.next(); }
}
Object.defineProperty(globalThis, 'Enumerator', {value: Enumerator, writable: true, configurable: true});

// With a default member a wrapper is used as a plain value; a date or an array then goes on to one itself.
const toPlain = (value, hint) =>
    value === null || typeof value !== 'object' ? value : hint === 'number' ? Number(value) : String(value);

const shared = {
  iterate() {
    const walk = enumerate(this);
    return {
      next() {
        const step = walk.Step();
        return step === undefined ? {value: undefined, done: true} : {value: step[0], done: false};
      },
      [Symbol.iterator]() { return this; }
    };
  },
  toPrimitive(hint) { return toPlain(defaultValue(this), hint); },
  valueOf() { return defaultValue(this); },
  toText() { return String(defaultValue(this)); }
};
for (const method of Object.values(shared)) Object.freeze(method);

return {
  shared,
  // By its parts, as if local time were the world's: the offset of old dates is no whole number of minutes.
  // setUTCFullYear also takes the years 0 to 99.
  dateMs(date) {
    const world = new Date(0);
    world.setUTCFullYear(date.getFullYear(), date.getMonth(), date.getDate());
    return world.setUTCHours(date.getHours(), date.getMinutes(), date.getSeconds(), date.getMilliseconds());
  },
  makeDate(ms) {
    const world = new Date(ms);
    return new Date(world.getUTCFullYear(), world.getUTCMonth(), world.getUTCDate(), world.getUTCHours(),
                    world.getUTCMinutes(), world.getUTCSeconds(), world.getUTCMilliseconds());
  },
  primitive(object) {
    const value = object.valueOf();
    return value === null || (typeof value !== 'object' && typeof value !== 'function') ? value : String(object);
  },
  listOf(thing) { return typeof thing[Symbol.iterator] === 'function' ? [...thing] : undefined; }
};
)js";

enum class TypeName { Integer, Long, Double, Byte, Date, Text, Boolean };
constexpr std::array<std::pair<const char*, TypeName>, 7> kConversions{{{"CInt", TypeName::Integer},
                                                                        {"CLng", TypeName::Long},
                                                                        {"CDbl", TypeName::Double},
                                                                        {"CByte", TypeName::Byte},
                                                                        {"CDate", TypeName::Date},
                                                                        {"CStr", TypeName::Text},
                                                                        {"CBool", TypeName::Boolean}}};

Variant ConvertTo(TypeName type, const Variant& value) {
  switch (type) {
    case TypeName::Integer:
      return varnel::ToInteger(value);
    case TypeName::Long:
      return varnel::ToLong(value);
    case TypeName::Double:
      return varnel::ToDouble(value);
    case TypeName::Byte:
      return varnel::ToByte(value);
    case TypeName::Date:
      return varnel::ToDate(value);
    case TypeName::Text:
      return varnel::ToText(value);
    case TypeName::Boolean:
      return varnel::ToBoolean(value);
  }
  return {};
}

// The wrong value is named as one of an operation's arguments is.
Variant ConvertNamed(TypeName type, const Variant& value) {
  const auto raise = [&](varnel::StringView wanted) {
    try {
      varnel::members::RaiseForArgument(0, wanted, value);
    } catch (varnel::ArgumentError& error) {
      for (const auto& [name, of] : kConversions) {
        if (of == type && error.Operation().empty()) error.SetOperation(varnel::FromUtf8(name), false);
      }
      throw;
    }
  };
  try {
    return ConvertTo(type, value);
  } catch (const varnel::Error&) {
    const bool isWhole = type == TypeName::Integer || type == TypeName::Long || type == TypeName::Byte;
    raise(isWhole                     ? u"a whole number"
          : type == TypeName::Double  ? u"a number"
          : type == TypeName::Date    ? u"a date"
          : type == TypeName::Boolean ? u"a boolean"
                                      : u"a text");
    throw;
  }
}

// A walk through a collection, in the form that the tools step with: an array of one, or Empty at the end.
class Walk final : public varnel::Object {
 public:
  Walk(varnel::ObjectPtr collection, std::unique_ptr<varnel::Enumeration> enumeration)
      : m_collection(std::move(collection)), m_enumeration(std::move(enumeration)) {}

  const varnel::ClassInfo& Class() const override {
    static const varnel::ClassInfo info{u"Enumeration", {varnel::Method<&Walk::Step>(u"Step")}};
    return info;
  }
  void LetGo() noexcept override {
    m_enumeration = nullptr;
    m_collection = nullptr;
  }

 private:
  Variant Step() {
    Variant value;
    if (m_enumeration == nullptr || !m_enumeration->Next(value)) return {};
    return std::make_shared<varnel::Array>(varnel::Array{{std::move(value)}});
  }

  varnel::ObjectPtr m_collection;  // outlives the walk through it
  std::unique_ptr<varnel::Enumeration> m_enumeration;
};

}  // namespace

void Helpers::AddGlobals(v8::Local<v8::Context> context) {
  v8::Isolate* isolate = m_core.Isolate();
  const auto native = [&](v8::FunctionCallback callback, v8::Local<v8::Value> data = {}) {
    return Take(v8::Function::New(context, callback, data, 0, v8::ConstructorBehavior::kThrow));
  };
  const auto set = [&](const char* name, v8::Local<v8::Value> value) {
    Check(context->Global()->DefineOwnProperty(context, Name(isolate, name), value, v8::DontEnum));
  };
  set("ByRef", Take(ByRefTemplate()->GetFunction(context)));
  for (const auto& [name, type] : kConversions) {
    const v8::Local<v8::Function> function =
        native(Convert, v8::Integer::New(isolate, static_cast<int>(type)));
    function->SetName(Name(isolate, name));
    set(name, function);
  }
  MakeTypedTemplate(context);

  const auto tools = RunSetup(context, kTools, "varnel:tools",
                              {{"enumerate", native(Enumerate)}, {"defaultValue", native(DefaultValue)}})
                         .As<v8::Object>();
  const auto keep = [&](v8::Global<v8::Function>& place, const char* name) {
    place.Reset(isolate, Take(tools->Get(context, Name(isolate, name))).As<v8::Function>());
  };
  keep(m_dateMs, "dateMs");
  keep(m_makeDate, "makeDate");
  keep(m_primitive, "primitive");
  keep(m_listOf, "listOf");
  m_shared.Reset(isolate, Take(tools->Get(context, Name(isolate, "shared"))).As<v8::Object>());
}

void Helpers::AddSharedMethods(v8::Local<v8::Context> context, v8::Local<v8::Object> prototype,
                               bool hasDefault) {
  v8::Isolate* isolate = m_core.Isolate();
  constexpr auto fixed = static_cast<v8::PropertyAttribute>(v8::ReadOnly | v8::DontDelete | v8::DontEnum);
  const v8::Local<v8::Object> shared = m_shared.Get(isolate);
  const auto add = [&](v8::Local<v8::Name> name, const char* method) {
    Check(prototype->DefineOwnProperty(context, name, Take(shared->Get(context, Name(isolate, method))),
                                       fixed));
  };
  add(v8::Symbol::GetIterator(isolate), "iterate");
  if (!hasDefault) return;
  add(v8::Symbol::GetToPrimitive(isolate), "toPrimitive");
  add(Name(isolate, "valueOf"), "valueOf");
  add(Name(isolate, "toString"), "toText");
  add(Name(isolate, "toJSON"), "valueOf");
}

// --- ByRef

v8::Local<v8::FunctionTemplate> Helpers::ByRefTemplate() {
  v8::Isolate* isolate = m_core.Isolate();
  const auto function = v8::FunctionTemplate::New(isolate, NewByRef);
  function->SetClassName(Name(isolate, "ByRef"));
  function->InstanceTemplate()->SetInternalFieldCount(kFieldCount);
  return function;
}

void Helpers::NewByRef(const v8::FunctionCallbackInfo<v8::Value>& call) {
  v8::Isolate* isolate = call.GetIsolate();
  if (!call.IsConstructCall()) {
    isolate->ThrowException(v8::Exception::TypeError(Name(isolate, "ByRef is made by new ByRef(value)")));
    return;
  }
  SetTag(call.This(), byRefTag);
  std::ignore =
      call.This()->CreateDataProperty(isolate->GetCurrentContext(), Name(isolate, "value"), call[0]);
}

// --- Typed values

void Helpers::MakeTypedTemplate(v8::Local<v8::Context> context) {
  v8::Isolate* isolate = m_core.Isolate();
  const auto function = v8::FunctionTemplate::New(isolate);
  function->SetClassName(Name(isolate, "TypedValue"));
  function->InstanceTemplate()->SetInternalFieldCount(kFieldCount);
  const auto signature = v8::Signature::New(isolate, function);
  const auto method =
      v8::FunctionTemplate::New(isolate, TypedValueOf, {}, signature, 0, v8::ConstructorBehavior::kThrow);
  const auto prototype = function->PrototypeTemplate();
  prototype->Set(Name(isolate, "valueOf"), method, v8::DontEnum);
  prototype->Set(Name(isolate, "toJSON"), method, v8::DontEnum);
  prototype->Set(v8::Symbol::GetToPrimitive(isolate), method, v8::DontEnum);
  const auto text = v8::FunctionTemplate::New(isolate, TypedValueOf, v8::True(isolate), signature, 0,
                                              v8::ConstructorBehavior::kThrow);
  prototype->Set(Name(isolate, "toString"), text, v8::DontEnum);

  // Not reachable from the global object, so that sealing the realm doesn't meet it.
  const v8::Local<v8::Function> constructor = Take(function->GetFunction(context));
  const auto shared = Take(constructor->Get(context, Name(isolate, "prototype"))).As<v8::Object>();
  RunSetup(context, "for (const f of [s.valueOf, s.toString, c, s]) Object.freeze(f);", "varnel:typed",
           {{"s", shared}, {"c", constructor}});
  m_typed.Reset(isolate, function->InstanceTemplate());
}

v8::Local<v8::Value> Helpers::MakeTyped(const Variant& value) {
  v8::Isolate* isolate = m_core.Isolate();
  const auto typed = Take(m_typed.Get(isolate)->NewInstance(isolate->GetCurrentContext()));
  const TypeName type = value.Is<double>()         ? TypeName::Double
                        : value.Is<varnel::Byte>() ? TypeName::Byte
                                                   : TypeName::Integer;
  typed->SetInternalField(kFieldData, v8::Number::New(isolate, varnel::ToDouble(value)));
  typed->SetInternalField(kFieldGeneration, v8::Integer::New(isolate, static_cast<int>(type)));
  SetTag(typed, typedValueTag);
  return typed;
}

Variant Helpers::ReadTyped(v8::Local<v8::Object> typed) {
  const double value = typed->GetInternalField(kFieldData).As<v8::Number>()->Value();
  const auto type = static_cast<TypeName>(typed->GetInternalField(kFieldGeneration).As<v8::Int32>()->Value());
  return ConvertTo(type, value);
}

void Helpers::TypedValueOf(const v8::FunctionCallbackInfo<v8::Value>& call) {
  const v8::Local<v8::Value> value = call.Holder()->GetInternalField(kFieldData).As<v8::Value>();
  const bool asText =
      call.Data()->IsTrue() ||
      (call[0]->IsString() && call[0].As<v8::String>()->StringEquals(Name(call.GetIsolate(), "string")));
  v8::Local<v8::String> text;
  if (!asText) {
    call.GetReturnValue().Set(value);
  } else if (value->ToString(call.GetIsolate()->GetCurrentContext()).ToLocal(&text)) {
    call.GetReturnValue().Set(text);
  }
}

// A plain value already has the exact type of CLng, CStr, CBool and CDate; the others need one of their own.
void Helpers::Convert(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    const auto type = static_cast<TypeName>(call.Data().As<v8::Int32>()->Value());
    const Variant value = ConvertNamed(type, ToVariant(core, call[0]));
    const bool typed = type == TypeName::Integer || type == TypeName::Byte || type == TypeName::Double;
    call.GetReturnValue().Set(typed ? core.Tools().MakeTyped(value) : ToScript(core, value));
  });
}

// --- Default values and walks

void Helpers::DefaultValue(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    Variant value = ToVariant(core, call[0]);
    for (int step = 0;; ++step) {
      const varnel::ObjectPtr* object = value.As<varnel::ObjectPtr>();
      if (object == nullptr || *object == nullptr) break;
      if (step == varnel::kMostDefaultSteps)
        varnel::RaiseRuntimeError(varnel::runtime_error::kTypeMismatch, u"default values lead to each other");
      const varnel::ObjectPtr current = *object;
      value = current->CallDefault({});
    }
    if (!core.Stopping()) call.GetReturnValue().Set(ToScript(core, value));
  });
}

void Helpers::Enumerate(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    const varnel::ObjectPtr object = varnel::ToObject(ToVariant(core, call[0]));
    auto enumeration = object ? object->Enumerate() : nullptr;
    if (!enumeration)
      varnel::RaiseRuntimeError(varnel::runtime_error::kNoSuchMember, u"the object is no collection");
    call.GetReturnValue().Set(core.Objects().Wrap(std::make_shared<Walk>(object, std::move(enumeration))));
  });
}

// --- Tools written in the language

v8::Local<v8::Value> Helpers::Run(const v8::Global<v8::Function>& tool, v8::Local<v8::Context> context,
                                  v8::Local<v8::Value> argument) {
  return Take(tool.Get(m_core.Isolate())->Call(context, v8::Undefined(m_core.Isolate()), 1, &argument));
}

double Helpers::LocalMs(v8::Local<v8::Context> context, v8::Local<v8::Object> date) {
  return Run(m_dateMs, context, date).As<v8::Number>()->Value();
}

v8::Local<v8::Value> Helpers::MakeDate(v8::Local<v8::Context> context, double localMs) {
  return Run(m_makeDate, context, v8::Number::New(m_core.Isolate(), localMs));
}

v8::Local<v8::Value> Helpers::Primitive(v8::Local<v8::Context> context, v8::Local<v8::Object> object) {
  return Run(m_primitive, context, object);
}

v8::Local<v8::Value> Helpers::ListOf(v8::Local<v8::Context> context, v8::Local<v8::Object> iterable) {
  return Run(m_listOf, context, iterable);
}

}  // namespace hostlinux
