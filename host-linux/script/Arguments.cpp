#include "host-linux/script/Arguments.h"

#include <algorithm>
#include <memory>

#include "host-linux/script/InternalFields.h"
#include "host-linux/script/ScriptCore.h"
#include "host-linux/script/V8Text.h"

namespace hostlinux {

namespace {

// The bytes of an array of bytes, as many as `to` has room for.
void CopyInto(v8::Local<v8::Uint8Array> to, const varnel::Variant& from) {
  const varnel::BytesPtr* bytes = from.As<varnel::BytesPtr>();
  if (bytes == nullptr || *bytes == nullptr) return;
  auto* room = static_cast<varnel::Byte*>(to->Buffer()->Data()) + to->ByteOffset();
  std::copy_n((*bytes)->begin(), std::min((*bytes)->size(), to->ByteLength()), room);
}

}  // namespace

CallArguments::CallArguments(ScriptCore& core, const v8::FunctionCallbackInfo<v8::Value>& call, Texts texts)
    : m_core(core), m_texts(texts) {
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

varnel::Variant CallArguments::Read(v8::Local<v8::Value> given) {
  if (m_texts == Texts::Names && KnownNames::MayBeName(given))
    return m_core.Names().TextOf(m_core.Isolate(), given.As<v8::String>());
  return ToVariant(m_core, given, &m_arrays);
}

void CallArguments::Convert(const v8::FunctionCallbackInfo<v8::Value>& call) {
  const auto count = static_cast<std::size_t>(call.Length());
  if (count > kFew) m_many.resize(count);
  auto* first = reinterpret_cast<varnel::Variant*>(m_few);
  for (std::size_t i = 0; i < count; ++i) {
    const v8::Local<v8::Value> given = call[static_cast<int>(i)];
    if (count > kFew) {
      m_many[i] = Read(given);
      m_values = varnel::Arguments(m_many.data(), i + 1);
    } else {
      new (first + i) varnel::Variant(Read(given));
      m_values = varnel::Arguments(first, i + 1);
    }
    Note(i, given);
  }
}

void CallArguments::Note(std::size_t position, v8::Local<v8::Value> given) {
  if (given->IsString() || !given->IsObject()) return;
  if (!given->IsUint8Array() && !HasTag(given.As<v8::Object>(), byRefTag)) return;
  m_references.push_back({position, given.As<v8::Object>(), m_values[position]});
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
    if (reference.holder->IsUint8Array()) {
      CopyInto(reference.holder.As<v8::Uint8Array>(), now);
      continue;
    }
    Check(reference.holder->Set(context, Name(isolate, "value"), ToScript(m_core, now)));
  }
}

}  // namespace hostlinux
