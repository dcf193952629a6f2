// The library's objects as a script sees them: one wrapper for each, made from its class's member table.
//
// A wrapper points to a slot and knows the slot's generation. At the end of a request all slots let their
// objects go and begin a new generation, so that a wrapper that was kept beyond finds nothing.
#pragma once

#include <v8.h>

#include <cstdint>
#include <deque>
#include <memory>
#include <unordered_map>

#include "host-linux/script/AddressMap.h"
#include "varnel/automation/Object.h"

namespace hostlinux {

class ScriptCore;

class Wrappers {
 public:
  explicit Wrappers(ScriptCore& core);
  ~Wrappers();

  // The script's object for `object`, the same each time within a request. A script's own object, handed
  // out and coming back, is not for here.
  v8::Local<v8::Object> Wrap(const varnel::ObjectPtr& object);
  // The same where it was made already; empty where not.
  v8::Local<v8::Object> Known(const varnel::Object& object) const;

  static bool IsWrapper(v8::Local<v8::Value> value);
  // The object behind a wrapper. Raises 91 where its request is over.
  static const varnel::ObjectPtr& Unwrap(v8::Local<v8::Object> wrapper);

  // Has all objects let each other go, and then lets them go, the youngest first. What holds something else
  // of the request was given it by a script, and so has a wrapper: no circle of objects outlives this, and no
  // chain of them ends all at once, which would need a stack as deep as it is long.
  void ReleaseAll();

  // True while the engine itself changes a prototype.
  bool IsBuilding() const { return m_building; }

 private:
  struct Slot {
    varnel::ObjectPtr object;
    v8::Global<v8::Object> wrapper;
    std::uint32_t generation = 0;
  };
  struct ClassBinding;

  ClassBinding& Bind(const varnel::ClassInfo& info);
  void AddMember(v8::Local<v8::FunctionTemplate> function, const varnel::ClassInfo& info,
                 const varnel::Member& member);
  void FinishPrototype(ClassBinding& binding, v8::Local<v8::Function> constructor);
  const varnel::Member* FindMember(v8::Local<v8::Name> name, const varnel::Object& object,
                                   const varnel::String& text);
  void AddAlias(ClassBinding& binding, v8::Local<v8::Name> name, const varnel::Member& member);

  v8::Local<v8::Object> KeptItem(const varnel::Object& object,
                                 const v8::FunctionCallbackInfo<v8::Value>& call) const;

  static void CallMember(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void EncodeHtml(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void GetProperty(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void PutProperty(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void CallDefault(const v8::FunctionCallbackInfo<v8::Value>& call);
  static void GetOther(v8::Local<v8::Name> name, const v8::PropertyCallbackInfo<v8::Value>& info);
  static void SetOther(v8::Local<v8::Name> name, v8::Local<v8::Value> value,
                       const v8::PropertyCallbackInfo<v8::Value>& info);
  static void GetIndex(std::uint32_t index, const v8::PropertyCallbackInfo<v8::Value>& info);
  static void SetIndex(std::uint32_t index, v8::Local<v8::Value> value,
                       const v8::PropertyCallbackInfo<v8::Value>& info);
  static void QueryOther(v8::Local<v8::Name> name, const v8::PropertyCallbackInfo<v8::Integer>& info);
  static void DefineOther(v8::Local<v8::Name> name, const v8::PropertyDescriptor& descriptor,
                          const v8::PropertyCallbackInfo<v8::Value>& info);

  ScriptCore& m_core;
  std::deque<Slot> m_slots;
  std::size_t m_used = 0;
  AddressMap<Slot> m_slotOf;
  std::unordered_map<const varnel::ClassInfo*, std::unique_ptr<ClassBinding>> m_classes;
  bool m_building = false;
};

}  // namespace hostlinux
