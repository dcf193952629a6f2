#include "host-linux/script/ScriptObject.h"

#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/ScriptErrors.h"
#include "host-linux/script/V8Text.h"
#include "host-linux/script/Values.h"
#include "varnel/automation/Members.h"

namespace hostlinux {
namespace {

using varnel::Variant;
using varnel::runtime_error::kNoSuchMember;
using varnel::runtime_error::kObjectNotSet;

class ListEnumeration final : public varnel::Enumeration {
 public:
  explicit ListEnumeration(varnel::ArrayPtr items) : m_items(std::move(items)) {}
  bool Next(Variant& value) override {
    if (m_next == m_items->items.size()) return false;
    value = m_items->items[m_next++];
    return true;
  }

 private:
  varnel::ArrayPtr m_items;
  std::size_t m_next = 0;
};

[[noreturn]] void RaiseNoSuchMember(varnel::StringView name) {
  varnel::RaiseRuntimeError(kNoSuchMember, name);
}

Variant WithoutMissing(const Variant& value) { return value.IsMissing() ? Variant() : value; }

}  // namespace

ScriptObject::ScriptObject(ScriptCore& core, ScriptObjects& owner, v8::Local<v8::Object> object)
    : m_core(&core), m_owner(&owner), m_object(core.Isolate(), object) {
  m_owner->m_alive.insert(this);
}

ScriptObject::~ScriptObject() {
  if (m_core != nullptr) m_owner->m_alive.erase(this);
}

const varnel::ClassInfo& ScriptObject::Class() const {
  // Only conversions look here: an object used as a value is its primitive value.
  static const varnel::ClassInfo info{u"Object",
                                      {varnel::Method<&ScriptObject::DefaultValue>(u"valueOf").AsDefault()}};
  return info;
}

v8::Local<v8::Object> ScriptObject::Local() const {
  if (m_core == nullptr)
    varnel::RaiseRuntimeError(kObjectNotSet, u"the request that made this script object is over");
  return m_object.Get(m_core->Isolate());
}

// Runs `body`; what the script throws in it leaves as a varnel::Error.
template <typename Body>
auto ScriptObject::InScript(Body body) const {
  if (m_core == nullptr) (void)Local();
  v8::Isolate* isolate = m_core->Isolate();
  if (m_core->Stopping()) throw varnel::Error(StoppedError());
  const v8::HandleScope handles(isolate);
  v8::TryCatch trap(isolate);
  try {
    return body();
  } catch (const PendingException&) {
    throw varnel::Error(ErrorOf(*m_core, trap));
  }
}

v8::Local<v8::Name> ScriptObject::FindName(v8::Local<v8::Object> object, varnel::StringView name) const {
  v8::Isolate* isolate = m_core->Isolate();
  const v8::Local<v8::Context> context = isolate->GetCurrentContext();
  const v8::Local<v8::String> exact = Take(ToV8(isolate, name));
  const v8::Maybe<bool> found = object->Has(context, exact);
  Check(found);
  if (found.FromJust()) return exact;
  const v8::Local<v8::Array> names = Take(object->GetPropertyNames(
      context, v8::KeyCollectionMode::kIncludePrototypes, v8::SKIP_SYMBOLS, v8::IndexFilter::kSkipIndices));
  for (std::uint32_t i = 0; i < names->Length(); ++i) {
    const v8::Local<v8::Value> candidate = Take(names->Get(context, i));
    if (candidate->IsString() && varnel::EqualsNoCase(ToText(isolate, candidate.As<v8::String>()), name))
      return candidate.As<v8::Name>();
  }
  return {};
}

Variant ScriptObject::CallFunction(v8::Local<v8::Object> function, v8::Local<v8::Value> receiver,
                                   varnel::Arguments arguments) const {
  std::vector<v8::Local<v8::Value>> values;
  for (const Variant& argument : arguments) values.push_back(ToScript(*m_core, argument));
  const v8::Local<v8::Value> result = Take(function->CallAsFunction(
      m_core->Isolate()->GetCurrentContext(), receiver, static_cast<int>(values.size()), values.data()));
  return WithoutMissing(ToVariant(*m_core, result));
}

Variant ScriptObject::Call(varnel::StringView name, varnel::Arguments arguments) {
  return InScript([&] {
    const v8::Local<v8::Object> object = Local();
    const v8::Local<v8::Name> found = FindName(object, name);
    if (found.IsEmpty()) RaiseNoSuchMember(name);
    const v8::Local<v8::Value> member = Take(object->Get(m_core->Isolate()->GetCurrentContext(), found));
    if (member->IsFunction()) return CallFunction(member.As<v8::Object>(), object, arguments);
    if (!arguments.empty()) RaiseNoSuchMember(name);
    return WithoutMissing(ToVariant(*m_core, member));
  });
}

Variant ScriptObject::Get(varnel::StringView name) {
  return InScript([&] {
    const v8::Local<v8::Object> object = Local();
    const v8::Local<v8::Name> found = FindName(object, name);
    if (found.IsEmpty()) RaiseNoSuchMember(name);
    return WithoutMissing(
        ToVariant(*m_core, Take(object->Get(m_core->Isolate()->GetCurrentContext(), found))));
  });
}

void ScriptObject::Put(varnel::StringView name, const Variant& value) {
  InScript([&] {
    const v8::Local<v8::Object> object = Local();
    const v8::Local<v8::Name> found = FindName(object, name);
    if (found.IsEmpty()) RaiseNoSuchMember(name);
    Check(object->Set(m_core->Isolate()->GetCurrentContext(), found, ToScript(*m_core, value)));
  });
}

Variant ScriptObject::CallDefault(varnel::Arguments arguments) {
  return InScript([&] {
    const v8::Local<v8::Object> object = Local();
    v8::Isolate* isolate = m_core->Isolate();
    if (object->IsCallable()) return CallFunction(object, v8::Undefined(isolate), arguments);
    if (!arguments.empty()) RaiseNoSuchMember(u"a default member");
    return WithoutMissing(
        ToVariant(*m_core, m_core->Tools().Primitive(isolate->GetCurrentContext(), object)));
  });
}

Variant ScriptObject::DefaultValue() { return CallDefault({}); }

std::unique_ptr<varnel::Enumeration> ScriptObject::Enumerate() {
  return InScript([&]() -> std::unique_ptr<varnel::Enumeration> {
    const v8::Local<v8::Value> items =
        m_core->Tools().ListOf(m_core->Isolate()->GetCurrentContext(), Local());
    if (!items->IsArray()) return nullptr;
    const Variant list = ToVariant(*m_core, items);
    return std::make_unique<ListEnumeration>(*list.As<varnel::ArrayPtr>());
  });
}

std::shared_ptr<ScriptObject> ScriptObjects::Make(ScriptCore& core, v8::Local<v8::Object> object) {
  return std::make_shared<ScriptObject>(core, *this, object);
}

void ScriptObjects::ReleaseAll() {
  for (ScriptObject* object : m_alive) {
    object->m_object.Reset();
    object->m_core = nullptr;
  }
  m_alive.clear();
}

}  // namespace hostlinux
