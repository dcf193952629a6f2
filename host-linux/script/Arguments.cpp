#include "host-linux/script/Arguments.h"

#include <memory>

#include "host-linux/script/InternalFields.h"
#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/V8Text.h"

namespace hostlinux {

CallArguments::CallArguments(ScriptCore& core, const v8::FunctionCallbackInfo<v8::Value>& call)
    : m_core(core), m_values(Place(static_cast<std::size_t>(call.Length()))) {
  try {
    Convert(call);
  } catch (...) {
    if (m_many.empty()) std::destroy(m_values.begin(), m_values.end());
    throw;
  }
}

CallArguments::~CallArguments() {
  if (m_many.empty()) std::destroy(m_values.begin(), m_values.end());
}

varnel::Arguments CallArguments::Place(std::size_t count) {
  if (count > kFew) {
    m_many.resize(count);
    return m_many;
  }
  auto* first = reinterpret_cast<varnel::Variant*>(m_few);
  std::uninitialized_value_construct_n(first, count);
  return {first, count};
}

void CallArguments::Convert(const v8::FunctionCallbackInfo<v8::Value>& call) {
  for (std::size_t i = 0; i < m_values.size(); ++i) {
    const v8::Local<v8::Value> given = call[static_cast<int>(i)];
    m_values[i] = ToVariant(m_core, given, &m_arrays);
    if (given->IsObject() && HasTag(given.As<v8::Object>(), byRefTag))
      m_references.push_back({i, given.As<v8::Object>(), m_values[i]});
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
    const varnel::Variant& now = m_values[reference.position];
    if (now == reference.before) continue;
    Check(reference.holder->Set(context, Name(isolate, "value"), ToScript(m_core, now)));
  }
}

}  // namespace hostlinux
