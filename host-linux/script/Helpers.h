// What pages find beside the host's objects: ByRef, Enumerator, and the functions that make typed values.
#pragma once

#include <v8.h>

#include "varnel/automation/Variant.h"

namespace hostlinux {

class ScriptCore;

class Helpers {
 public:
  explicit Helpers(ScriptCore& core) : m_core(core) {}

  // Adds the helpers to the global object of a new realm.
  void AddGlobals(v8::Local<v8::Context> context);

  // Adds to a class's prototype what is the same for all classes: how it is walked, and how an object with a
  // default member becomes a plain value.
  void AddSharedMethods(v8::Local<v8::Context> context, v8::Local<v8::Object> prototype, bool hasDefault);

  // The value of what CInt, CByte or CDbl made.
  static varnel::Variant ReadTyped(v8::Local<v8::Object> typed);

  // A Date's local time as milliseconds, counted as if local time were the world's; NaN for an invalid one.
  double LocalMs(v8::Local<v8::Context> context, v8::Local<v8::Object> date);
  v8::Local<v8::Value> MakeDate(v8::Local<v8::Context> context, double localMs);

  // The primitive value of a script's object.
  v8::Local<v8::Value> Primitive(v8::Local<v8::Context> context, v8::Local<v8::Object> object);
  // The elements of an iterable as an array; undefined for anything else.
  v8::Local<v8::Value> ListOf(v8::Local<v8::Context> context, v8::Local<v8::Object> iterable);

 private:
  v8::Local<v8::FunctionTemplate> ByRefTemplate();
  void MakeTypedTemplate(v8::Local<v8::Context> context);
  v8::Local<v8::Value> MakeTyped(const varnel::Variant& value);
  v8::Local<v8::Value> Run(const v8::Global<v8::Function>& tool, v8::Local<v8::Context> context,
                           v8::Local<v8::Value> argument);

  static void Convert(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void NewByRef(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void TypedValueOf(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void DefaultValue(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void Enumerate(const v8::FunctionCallbackInfo<v8::Value>& call);

  ScriptCore& m_core;
  v8::Global<v8::ObjectTemplate> m_typed;
  v8::Global<v8::Function> m_dateMs;
  v8::Global<v8::Function> m_makeDate;
  v8::Global<v8::Function> m_primitive;
  v8::Global<v8::Function> m_listOf;
  v8::Global<v8::Object> m_shared;  // methods of all wrappers, copied onto each prototype
};

}  // namespace hostlinux
