#include "host-linux/script/Arguments.h"

#include "host-linux/script/InternalFields.h"
#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/V8Text.h"

namespace hostlinux {

CallArguments::CallArguments(ScriptCore& core, const v8::FunctionCallbackInfo<v8::Value>& call)
    : m_core(core), m_count(static_cast<std::size_t>(call.Length())) {
  if (m_count > m_few.size()) m_many.resize(m_count);
  Convert(call, m_count);
}

varnel::Arguments CallArguments::Values() {
  return m_many.empty() ? varnel::Arguments(m_few.data(), m_count) : varnel::Arguments(m_many);
}

void CallArguments::Convert(const v8::FunctionCallbackInfo<v8::Value>& call, std::size_t count) {
  const varnel::Arguments values = Values();
  for (std::size_t i = 0; i < count; ++i) {
    const v8::Local<v8::Value> given = call[static_cast<int>(i)];
    values[i] = ToVariant(m_core, given, &m_arrays);
    if (given->IsObject() && HasTag(given.As<v8::Object>(), byRefTag))
      m_references.push_back({i, given.As<v8::Object>(), values[i]});
  }
}

void CallArguments::StoreBack() {
  if ((m_references.empty() && m_arrays.empty()) || m_core.Stopping()) return;
  v8::Isolate* isolate = m_core.Isolate();
  const v8::Local<v8::Context> context = isolate->GetCurrentContext();
  for (const PassedArray& passed : m_arrays) {
    const std::vector<varnel::Variant>& now = passed.copy->items;
    for (std::size_t i = 0; i < now.size(); ++i) {
      if (i < passed.before.size() && now[i] == passed.before[i]) continue;
      Check(passed.array->Set(context, static_cast<std::uint32_t>(i), ToScript(m_core, now[i])));
    }
    if (now.size() < passed.before.size())
      Check(passed.array->Set(context, Name(isolate, "length"),
                              v8::Number::New(isolate, static_cast<double>(now.size()))));
  }
  for (const Reference& reference : m_references) {
    const varnel::Variant& now = Values()[reference.position];
    if (now == reference.before) continue;
    Check(reference.holder->Set(context, Name(isolate, "value"), ToScript(m_core, now)));
  }
}

}  // namespace hostlinux
