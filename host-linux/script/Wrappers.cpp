#include "host-linux/script/Wrappers.h"

#include <algorithm>
#include <array>

#include "host-linux/base/HtmlMarks.h"
#include "host-linux/base/NearestName.h"
#include "host-linux/script/Arguments.h"
#include "host-linux/script/InternalFields.h"
#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/ScriptErrors.h"
#include "host-linux/script/V8Text.h"
#include "host-linux/script/Values.h"
#include "varnel/automation/Error.h"

namespace hostlinux {
namespace {

using varnel::Member;
using varnel::runtime_error::kNoSuchMember;
using varnel::runtime_error::kObjectNotSet;

constexpr auto kFixed = static_cast<v8::PropertyAttribute>(v8::ReadOnly | v8::DontDelete | v8::DontEnum);
constexpr auto kHidden = static_cast<v8::PropertyAttribute>(v8::DontDelete | v8::DontEnum);

// Each spelling of a name that a page uses becomes an alias; a script that makes names up can't fill memory.
constexpr int kMaxAliases = 2000;

void RefuseConstruction(const v8::FunctionCallbackInfo<v8::Value>& call) {
  call.GetIsolate()->ThrowException(v8::Exception::TypeError(
      Name(call.GetIsolate(), "Objects of this class are made by Server.CreateObject")));
}

bool IsReadAsProperty(const Member& member) {
  return member.kind == Member::Kind::Property && member.parameters == 0;
}

v8::Local<v8::Value> MemberData(v8::Isolate* isolate, const Member& member) {
  return v8::External::New(isolate, const_cast<Member*>(&member));
}

const Member& MemberOf(const v8::FunctionCallbackInfo<v8::Value>& call) {
  return *static_cast<const Member*>(call.Data().As<v8::External>()->Value());
}

// Asked for by the language itself of any object: no mistake in the page.
bool IsProbe(const varnel::String& name) { return name == u"then" || name == u"toJSON"; }

void Freeze(v8::Local<v8::Context> context, v8::Local<v8::Value> value) {
  if (value->IsObject())
    Check(value.As<v8::Object>()->SetIntegrityLevel(context, v8::IntegrityLevel::kFrozen));
}

bool AllowChange(const v8::PropertyCallbackInfo<v8::Value>& info) {
  return ScriptCore::Of(info.GetIsolate()).Objects().IsBuilding();
}

// A prototype is shared by all requests: a script can put nothing there.
void RefuseChange(const v8::PropertyCallbackInfo<v8::Value>& info) {
  if (AllowChange(info)) return;
  Guarded(info.GetIsolate(),
          [] { varnel::RaiseRuntimeError(kNoSuchMember, u"prototypes can't be changed"); });
  info.GetReturnValue().SetUndefined();
}

void RefuseSet(v8::Local<v8::Name>, v8::Local<v8::Value>, const v8::PropertyCallbackInfo<v8::Value>& info) {
  // The prototype itself is meant, not an object made from it.
  if (info.This() == info.Holder()) RefuseChange(info);
}

void RefuseDefine(v8::Local<v8::Name>, const v8::PropertyDescriptor&,
                  const v8::PropertyCallbackInfo<v8::Value>& info) {
  RefuseChange(info);
}

// Nearly every cell of a list goes through this one member.
bool IsHtmlEncode(const varnel::ClassInfo& info, const Member& member) {
  return info.name == u"Server" && member.name == u"HTMLEncode";
}

// A short text of one byte a character as HTML: the text itself where it needs no encoding. Empty for any other text.
v8::MaybeLocal<v8::String> ShortHtml(v8::Isolate* isolate, v8::Local<v8::String> text) {
  constexpr int kMost = 400;
  std::array<std::uint8_t, kMost> units;
  const int length = text->Length();
  if (length > kMost || !text->IsOneByte()) return {};
  text->WriteOneByte(isolate, units.data(), 0, length, v8::String::NO_NULL_TERMINATION);
  const auto end = units.begin() + length;
  if (std::none_of(units.begin(), end, IsHtmlMark)) return text;

  std::array<std::uint8_t, kMost * kMostHtmlOfMark> html;
  auto htmlEnd = html.begin();
  for (auto unit = units.begin(); unit != end; ++unit) {
    if (IsHtmlMark(*unit))
      htmlEnd = std::ranges::copy(HtmlOfMark(*unit), htmlEnd).out;
    else
      *htmlEnd++ = *unit;
  }
  return v8::String::NewFromOneByte(isolate, html.data(), v8::NewStringType::kNormal,
                                    static_cast<int>(htmlEnd - html.begin()));
}

// What a call has changed by reference goes back into the script even where it fails.
template <typename Callee>
varnel::Variant CallAndStoreBack(CallArguments& arguments, Callee callee) {
  varnel::Variant result;
  try {
    result = callee(arguments.Values());
  } catch (const varnel::Error&) {
    arguments.StoreBack();
    throw;
  }
  arguments.StoreBack();
  return result;
}

std::vector<varnel::String> MemberNames(const varnel::Object& object) {
  std::vector<varnel::String> names;
  for (const Member& member : object.Class().members) names.push_back(member.name);
  return names;
}

// Runs `action`, which uses `name` of an object whose class has no such member; others may know it. What fails names
// the member that may have been meant.
template <typename Action>
auto SuggestingMember(const varnel::Object& object, const varnel::String& name, Action action) {
  try {
    return action();
  } catch (const varnel::Error& error) {
    if (error.Info().Number != kNoSuchMember) throw;
    const varnel::String sentence = DidYouMean(name, MemberNames(object));
    if (sentence.empty()) throw;
    throw HintedError(error.Info(), sentence.substr(1));
  }
}

varnel::String Arguments(int count) {
  return varnel::DecimalText(count) + (count == 1 ? u" argument" : u" arguments");
}

// "DRecordset.OpenRS takes 2 arguments; 1 was given."
varnel::String CountSentence(const varnel::Object& object, const Member& member, std::size_t given) {
  varnel::String takes = member.Required() == member.parameters ? Arguments(member.parameters)
                                                                : varnel::DecimalText(member.Required()) +
                                                                      u" to " + Arguments(member.parameters);
  return object.Class().name + u"." + member.name + u" takes " + takes + u"; " +
         varnel::DecimalText(static_cast<std::int64_t>(given)) +
         (given == 1 ? u" was given." : u" were given.");
}

// A call that names what it takes where it got another number of arguments.
varnel::Variant Invoke(varnel::Object& object, const Member& member, varnel::Arguments values) {
  const auto given = static_cast<int>(values.size());
  const bool fits = given >= member.Required() && (given <= member.parameters || member.takesMore);
  if (fits) return varnel::InvokeMember(object, member, values);
  try {
    return varnel::InvokeMember(object, member, values);
  } catch (const varnel::Error& error) {
    throw HintedError(error.Info(), CountSentence(object, member, values.size()));
  }
}

// A slot's generation as a wrapper keeps it: read as a pointer, it needs no handle of the engine. The lowest
// bit of a pointer must be clear.
void* GenerationMark(std::uint32_t generation) {
  return reinterpret_cast<void*>(std::uintptr_t{generation} << 1);
}

}  // namespace

namespace {
// While it lives, the engine itself may put things onto a prototype.
class Building {
 public:
  explicit Building(bool& flag) : m_flag(flag) { m_flag = true; }
  ~Building() { m_flag = false; }
  Building(const Building&) = delete;
  Building& operator=(const Building&) = delete;

 private:
  bool& m_flag;
};
}  // namespace

struct Wrappers::ClassBinding {
  const varnel::ClassInfo& info;
  v8::Global<v8::ObjectTemplate> instances;
  v8::Global<v8::Object> prototype;
  int aliases = 0;
};

Wrappers::Wrappers(ScriptCore& core) : m_core(core) {}

Wrappers::~Wrappers() = default;

bool Wrappers::IsWrapper(v8::Local<v8::Value> value) {
  return value->IsObject() && HasTag(value.As<v8::Object>(), wrapperTag);
}

const varnel::ObjectPtr& Wrappers::Unwrap(v8::Local<v8::Object> wrapper) {
  const auto* slot = static_cast<const Slot*>(wrapper->GetAlignedPointerFromInternalField(kFieldData));
  const void* generation = wrapper->GetAlignedPointerFromInternalField(kFieldGeneration);
  if (generation != GenerationMark(slot->generation) || !slot->object)
    varnel::RaiseRuntimeError(kObjectNotSet, u"the request that made this object is over");
  return slot->object;
}

v8::Local<v8::Object> Wrappers::Known(const varnel::Object& object) const {
  const Slot* slot = m_slotOf.Find(&object);
  if (slot == nullptr) return {};
  return slot->wrapper.Get(m_core.Isolate());
}

v8::Local<v8::Object> Wrappers::Wrap(const varnel::ObjectPtr& object) {
  v8::Isolate* isolate = m_core.Isolate();
  if (const auto known = Known(*object); !known.IsEmpty()) return known;

  const ClassBinding& binding = Bind(object->Class());
  const v8::Local<v8::Object> wrapper =
      Take(binding.instances.Get(isolate)->NewInstance(isolate->GetCurrentContext()));
  if (m_used == m_slots.size()) m_slots.emplace_back();
  Slot& slot = m_slots[m_used++];
  slot.object = object;
  slot.wrapper.Reset(isolate, wrapper);
  wrapper->SetAlignedPointerInInternalField(kFieldData, &slot);
  wrapper->SetAlignedPointerInInternalField(kFieldGeneration, GenerationMark(slot.generation));
  SetTag(wrapper, wrapperTag);
  m_slotOf.Add(object.get(), &slot);
  return wrapper;
}

// An object's end may run code of the library, which must not find half-released neighbours in the map.
void Wrappers::ReleaseAll() {
  m_slotOf.Clear();
  for (std::size_t i = m_used; i > 0; --i) m_slots[i - 1].object->LetGo();
  while (m_used > 0) {
    Slot& slot = m_slots[--m_used];
    slot.wrapper.Reset();
    ++slot.generation;
    const varnel::ObjectPtr last = std::move(slot.object);
  }
}

Wrappers::ClassBinding& Wrappers::Bind(const varnel::ClassInfo& info) {
  std::unique_ptr<ClassBinding>& binding = m_classes[&info];
  if (binding && !binding->prototype.IsEmpty()) return *binding;

  v8::Isolate* isolate = m_core.Isolate();
  binding.reset(new ClassBinding{info, {}, {}, 0});
  const auto function = v8::FunctionTemplate::New(isolate, RefuseConstruction);
  function->SetClassName(Take(ToV8(isolate, varnel::StringView(info.name))));
  const auto instances = function->InstanceTemplate();
  instances->SetInternalFieldCount(kFieldCount);
  instances->SetHandler(v8::NamedPropertyHandlerConfiguration(
      GetOther, SetOther, QueryOther, nullptr, nullptr, DefineOther, nullptr, v8::Local<v8::Value>(),
      static_cast<v8::PropertyHandlerFlags>(
          static_cast<int>(v8::PropertyHandlerFlags::kNonMasking) |
          static_cast<int>(v8::PropertyHandlerFlags::kOnlyInterceptStrings))));
  instances->SetHandler(v8::IndexedPropertyHandlerConfiguration(GetIndex, SetIndex));
  instances->SetImmutableProto();
  if (info.Default() != nullptr) instances->SetCallAsFunctionHandler(CallDefault);
  function->PrototypeTemplate()->SetHandler(v8::NamedPropertyHandlerConfiguration(
      nullptr, RefuseSet, nullptr, nullptr, nullptr, RefuseDefine, nullptr, v8::Local<v8::Value>(),
      v8::PropertyHandlerFlags::kNonMasking));
  function->PrototypeTemplate()->SetImmutableProto();
  for (const Member& member : info.members) AddMember(function, info, member);

  const v8::Local<v8::Function> constructor = Take(function->GetFunction(isolate->GetCurrentContext()));
  binding->instances.Reset(isolate, instances);
  FinishPrototype(*binding, constructor);
  return *binding;
}

void Wrappers::AddMember(v8::Local<v8::FunctionTemplate> function, const varnel::ClassInfo& info,
                         const Member& member) {
  v8::Isolate* isolate = m_core.Isolate();
  const v8::Local<v8::String> name = Take(ToV8(isolate, varnel::StringView(member.name)));
  const v8::Local<v8::Value> data = MemberData(isolate, member);
  const v8::Local<v8::Signature> signature = v8::Signature::New(isolate, function);
  const auto make = [&](v8::FunctionCallback callback, int length) {
    return v8::FunctionTemplate::New(isolate, callback, data, signature, length,
                                     v8::ConstructorBehavior::kThrow);
  };
  if (IsReadAsProperty(member)) {
    function->PrototypeTemplate()->SetAccessorProperty(name, make(GetProperty, 0), make(PutProperty, 1),
                                                       kHidden);
  } else {
    const auto callback = IsHtmlEncode(info, member) ? EncodeHtml : CallMember;
    function->PrototypeTemplate()->Set(name, make(callback, member.Required()), kFixed);
  }
}

// Adds what is written in the language itself, and closes the prototype for scripts.
void Wrappers::FinishPrototype(ClassBinding& binding, v8::Local<v8::Function> constructor) {
  v8::Isolate* isolate = m_core.Isolate();
  const v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const Building building(m_building);
  const auto prototype = Take(constructor->Get(context, Name(isolate, "prototype"))).As<v8::Object>();
  m_core.Tools().AddSharedMethods(context, prototype, binding.info.Default() != nullptr);
  for (const Member& member : binding.info.members) {
    const auto name = Take(ToV8(isolate, varnel::StringView(member.name)));
    const auto descriptor = Take(prototype->GetOwnPropertyDescriptor(context, name)).As<v8::Object>();
    for (const char* part : {"value", "get", "set"})
      Freeze(context, Take(descriptor->Get(context, Name(isolate, part))));
  }
  Freeze(context, constructor);
  binding.prototype.Reset(isolate, prototype);
}

// Defines another spelling of a member's name, so that only its first use comes by here.
void Wrappers::AddAlias(ClassBinding& binding, v8::Local<v8::Name> name, const Member& member) {
  if (binding.aliases == kMaxAliases) return;
  ++binding.aliases;
  v8::Isolate* isolate = m_core.Isolate();
  const v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const Building building(m_building);
  const auto prototype = binding.prototype.Get(isolate);
  const auto canonical = Take(ToV8(isolate, varnel::StringView(member.name)));
  const auto known = Take(prototype->GetOwnPropertyDescriptor(context, canonical)).As<v8::Object>();
  if (!IsReadAsProperty(member)) {
    const auto method = Take(known->Get(context, Name(isolate, "value")));
    Check(prototype->DefineOwnProperty(context, name, method, kFixed));
    return;
  }
  const auto getter = Take(known->Get(context, Name(isolate, "get"))).As<v8::Function>();
  const auto setter = Take(known->Get(context, Name(isolate, "set"))).As<v8::Function>();
  prototype->SetAccessorProperty(name, getter, setter, kHidden);
}

const Member* Wrappers::FindMember(v8::Local<v8::Name> name, const varnel::Object& object,
                                   const varnel::String& text) {
  const Member* member = object.Class().Find(text);
  if (member != nullptr) AddAlias(Bind(object.Class()), name, *member);
  return member;
}

void Wrappers::CallMember(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    varnel::Object& object = *Unwrap(call.Holder());
    CallArguments arguments(core, call);
    const varnel::Variant result = CallAndStoreBack(
        arguments, [&](varnel::Arguments values) { return Invoke(object, MemberOf(call), values); });
    if (!core.Stopping()) call.GetReturnValue().Set(ToScript(core, result));
  });
}

// Most texts need not be copied there and back.
void Wrappers::EncodeHtml(const v8::FunctionCallbackInfo<v8::Value>& call) {
  v8::Local<v8::String> html;
  const bool isText = call.Length() == 1 && call[0]->IsString();
  if (!isText || !ShortHtml(call.GetIsolate(), call[0].As<v8::String>()).ToLocal(&html))
    return CallMember(call);
  call.GetReturnValue().Set(html);
}

void Wrappers::GetProperty(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    const Member& member = MemberOf(call);
    varnel::Object& object = *Unwrap(call.Holder());
    if (member.look != nullptr) {
      // No script runs while it is looked at.
      if (!core.Stopping()) call.GetReturnValue().Set(ToScript(core, member.look(object)));
      return;
    }
    const varnel::Variant value = member.call(object, {});
    if (!core.Stopping()) call.GetReturnValue().Set(ToScript(core, value));
  });
}

void Wrappers::PutProperty(const v8::FunctionCallbackInfo<v8::Value>& call) {
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    varnel::PutMember(*Unwrap(call.Holder()), MemberOf(call), ToVariant(core, call[0]));
  });
}

// What a text alone names, where it was handed out before.
v8::Local<v8::Object> Wrappers::KeptItem(const varnel::Object& object,
                                         const v8::FunctionCallbackInfo<v8::Value>& call) const {
  if (call.Length() != 1 || !KnownNames::MayBeName(call[0])) return {};
  const varnel::String& name = m_core.Names().TextOf(m_core.Isolate(), call[0].As<v8::String>());
  const varnel::ObjectPtr* item = object.KeptItem(name);
  return item == nullptr ? v8::Local<v8::Object>() : Known(**item);
}

void Wrappers::CallDefault(const v8::FunctionCallbackInfo<v8::Value>& call) {
  if (call.IsConstructCall()) return RefuseConstruction(call);
  Guarded(call.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(call.GetIsolate());
    varnel::Object& object = *Unwrap(call.Holder());
    if (const auto item = core.Objects().KeptItem(object, call); !item.IsEmpty())
      return call.GetReturnValue().Set(item);
    CallArguments arguments(core, call, CallArguments::Texts::Names);
    const varnel::Variant result =
        CallAndStoreBack(arguments, [&](varnel::Arguments values) { return object.CallDefault(values); });
    if (!core.Stopping()) call.GetReturnValue().Set(ToScript(core, result));
  });
}

void Wrappers::GetOther(v8::Local<v8::Name> name, const v8::PropertyCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Guarded(isolate, [&] {
    ScriptCore& core = ScriptCore::Of(isolate);
    const varnel::ObjectPtr object = Unwrap(info.Holder());
    const varnel::String text = ToText(isolate, name.As<v8::String>());
    const Member* member = core.Objects().FindMember(name, *object, text);
    if (member == nullptr && IsProbe(text)) return;
    if (member != nullptr && !IsReadAsProperty(*member)) {
      const auto canonical = Take(ToV8(isolate, varnel::StringView(member->name)));
      info.GetReturnValue().Set(Take(info.Holder()->Get(isolate->GetCurrentContext(), canonical)));
      return;
    }
    const varnel::Variant value = member != nullptr
                                      ? varnel::InvokeMember(*object, *member, {})
                                      : SuggestingMember(*object, text, [&] { return object->Get(text); });
    if (!core.Stopping()) info.GetReturnValue().Set(ToScript(core, value));
  });
}

void Wrappers::SetOther(v8::Local<v8::Name> name, v8::Local<v8::Value> value,
                        const v8::PropertyCallbackInfo<v8::Value>& info) {
  v8::Isolate* isolate = info.GetIsolate();
  Guarded(isolate, [&] {
    ScriptCore& core = ScriptCore::Of(isolate);
    const varnel::ObjectPtr object = Unwrap(info.Holder());
    const varnel::String text = ToText(isolate, name.As<v8::String>());
    const Member* member = core.Objects().FindMember(name, *object, text);
    const varnel::Variant newValue = ToVariant(core, value);
    member != nullptr ? varnel::PutMember(*object, *member, newValue)
                      : SuggestingMember(*object, text, [&] { object->Put(text, newValue); });
  });
  info.GetReturnValue().Set(value);
}

// A number in brackets is a name like any other, which only objects with names of their own can know.
void Wrappers::GetIndex(std::uint32_t index, const v8::PropertyCallbackInfo<v8::Value>& info) {
  Guarded(info.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(info.GetIsolate());
    const varnel::ObjectPtr object = Unwrap(info.Holder());
    info.GetReturnValue().Set(ToScript(core, object->Get(varnel::DecimalText(index))));
  });
}

void Wrappers::SetIndex(std::uint32_t index, v8::Local<v8::Value> value,
                        const v8::PropertyCallbackInfo<v8::Value>& info) {
  Guarded(info.GetIsolate(), [&] {
    ScriptCore& core = ScriptCore::Of(info.GetIsolate());
    const varnel::ObjectPtr object = Unwrap(info.Holder());
    object->Put(varnel::DecimalText(index), ToVariant(core, value));
  });
  info.GetReturnValue().Set(value);
}

void Wrappers::QueryOther(v8::Local<v8::Name> name, const v8::PropertyCallbackInfo<v8::Integer>& info) {
  Guarded(info.GetIsolate(), [&] {
    const varnel::ObjectPtr object = Unwrap(info.Holder());
    if (object->Class().Find(ToText(info.GetIsolate(), name.As<v8::String>())) != nullptr)
      info.GetReturnValue().Set(v8::DontEnum);
  });
}

// `o.name = value` on an object comes by SetOther; only an explicit definition comes here.
void Wrappers::DefineOther(v8::Local<v8::Name>, const v8::PropertyDescriptor&,
                           const v8::PropertyCallbackInfo<v8::Value>& info) {
  RefuseChange(info);
}

}  // namespace hostlinux
