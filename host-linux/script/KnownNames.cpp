#include "host-linux/script/KnownNames.h"

#include "host-linux/script/V8Text.h"

namespace hostlinux {

bool KnownNames::MayBeName(v8::Local<v8::Value> value) {
  constexpr int kMost = 64;
  return value->IsString() && value.As<v8::String>()->Length() <= kMost;
}

const varnel::String& KnownNames::TextOf(v8::Isolate* isolate, v8::Local<v8::String> name) {
  Entry& entry = m_entries[static_cast<std::size_t>(name->GetIdentityHash()) % m_entries.size()];
  if (entry.name == name) return entry.text;
  if (entry.name.IsEmpty()) m_used.push_back(&entry);
  entry.text = ToText(isolate, name);
  entry.name.Reset(isolate, name);
  return entry.text;
}

void KnownNames::Clear() {
  for (Entry* entry : m_used) entry->name.Reset();
  m_used.clear();
}

}  // namespace hostlinux
